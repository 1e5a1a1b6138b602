// QosSnmp::SnmpTableRegistration<Desc>: registers one MIB table with net-snmp for a context.
//
// initialize() runs the steps below in order; each may end the registration early:
//   1. trace the table's OID;
//   2. the feature-toggle gate: a table whose description names a toggle is not registered
//      while the toggle is off (a noop trace says so);
//   3. create the handler registration ("<table>_<context>", read-only); a named context gets
//      no table, so the registration is freed again there;
//   4. record it in the module, find the model entity (missing or mistyped: a configuration
//      fault, reported on standard error, that ends the agent) and record the entity in the
//      registration collection, whose record the callbacks receive;
//   5. build the column, table and iterator information (the named callbacks, sorted, the
//      iterator owning it) and register the table iterator with the serialize handler
//      injected, so the handler sees one request at a time.
// Everything registered is recorded in the table's SnmpModule, which undoes it. Runs on the
// agent's thread.
#pragma once

#include <array>
#include <cstdio>
#include <cstdlib>
#include <tuple>
#include <vector>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include "Mox/Singleton.h"
#include "QosSnmp/SnmpTables/SnmpModule.h"
#include "QosSnmp/SnmpTables/SnmpTableDesc.h"
#include "QosSnmp/SnmpTables/Trace.h"
#include "Quill/Assert.h"
#include "Snmp/CordbUtil.h"
#include "Snmp/RegVoidCollByContext.h"

namespace QosSnmp {

// The named callbacks of a table, as registered with net-snmp.
struct TableCallbacks {
  Netsnmp_First_Data_Point* getFirst;
  Netsnmp_Next_Data_Point* getNext;
  Netsnmp_Make_Data_Context* makeDataContext;
  Netsnmp_Free_Data_Context* freeDataContext;
  Netsnmp_Free_Loop_Context* freeLoopContextAtEnd;
  Netsnmp_Node_Handler* handler;
};

template <typename Desc>
class SnmpTableRegistration {
  static_assert(checkTableDescription<Desc>());

 public:
  using Entity = typename Desc::Entity;

  // Registers the table for `context` (default context only) in `module`.
  static void initialize(SnmpModule& module, const TableCallbacks& cb,
                         const Quill::String& context) {
    std::vector<oid> tableOid = module.tableOid(Desc::arc);
    traceInitializing(tableOid, context);
    if (!toggleOn()) {
      return;
    }
    netsnmp_handler_registration* reg = createRegistration(cb.handler, tableOid, context);
    if (!reg) {
      return;
    }
    module.registrationAdd(context, reg);
    reg->my_reg_void = recordEntity(context, modelEntity());
    netsnmp_column_info* columns = columnInfo();
    netsnmp_iterator_info* iinfo = iteratorInfo(cb, reg->my_reg_void, tableInfo(columns, context));
    module.columnInfoAdd(context, columns);
    registerIterator(reg, iinfo);
    QTRACE(snmpTrace(), 8, "Initialized table {} in context \"{}\"", Desc::name, context);
  }

 private:
  // The valid-column list registered with net-snmp (ascending).
  static const std::array<unsigned int, Desc::columns.size()>& columnNumbers() {
    static const auto numbers = [] {
      std::array<unsigned int, Desc::columns.size()> n{};
      for (size_t i = 0; i < n.size(); ++i) {
        n[i] = Desc::columns[i].number;
      }
      return n;
    }();
    return numbers;
  }

  static void traceInitializing(const std::vector<oid>& tableOid, const Quill::String& context) {
    if (snmpTrace().enabled(1)) {
      char text[200];
      snprint_objid(text, sizeof text, tableOid.data(), tableOid.size());
      QTRACE(snmpTrace(), 1, "initialize_table_{} initializing oid {} in context \"{}\"",
             Desc::name, text, context);
    }
  }

  // False (with its trace) when the table's feature toggle is off; tables without one are on.
  static bool toggleOn() {
    if constexpr (requires { Desc::toggle; }) {
      if (!Desc::toggle.enabled()) {
        QTRACE(snmpTrace(), 1, "initialize_table_{} is a noop because toggle {} is not enabled.",
               Desc::name, Desc::toggle.name);
        return false;
      }
    }
    return true;
  }

  // The table's handler registration; null in a named context, which serves no table.
  static netsnmp_handler_registration* createRegistration(Netsnmp_Node_Handler* handler,
                                                          const std::vector<oid>& tableOid,
                                                          const Quill::String& context) {
    Quill::String regName = Quill::String(Desc::name) + "_" + context;
    netsnmp_handler_registration* reg = netsnmp_create_handler_registration(
        regName.c_str(), handler, tableOid.data(), tableOid.size(), HANDLER_CAN_GETANDGETNEXT);
    if (!context.empty()) {
      netsnmp_handler_registration_free(reg);
      QTRACE(snmpTrace(), 2,
             "initialize_table_{} in context \"{}\" cordbPathWithContext not specified ",
             Desc::name, context);
      return nullptr;
    }
    return reg;
  }

  // The model entity at the table's path. Ends the agent when it is missing or mistyped.
  static Entity& modelEntity() {
    auto e = Snmp::CordbUtil::getEntityRelative(Entity::mountPath);
    if (!e) {
      std::fprintf(stderr, "Can not getEntityRelative( %s ) for table %s. Is this path correct?\n",
                   Entity::mountPath, Desc::name);
      std::fflush(stderr);
    }
    QUILL_ASSERT(e);
    auto* ptr = dynamic_cast<Entity*>(e.get());
    if (!ptr) {
      std::fprintf(stderr, "%s does not appear to be of type %s.\n", Entity::mountPath,
                   Entity::typeName);
    }
    QUILL_ASSERT(ptr);
    return *ptr;
  }

  static Snmp::RegVoid* recordEntity(const Quill::String& context, Entity& entity) {
    auto coll = Mox::singletonIs<Snmp::RegVoidCollByContext>();
    return coll->addRegVoid(context, Desc::name, &entity);
  }

  static netsnmp_column_info* columnInfo() {
    auto* info = static_cast<netsnmp_column_info*>(std::calloc(1, sizeof(netsnmp_column_info)));
    info->isRange = 0;
    info->list_count = static_cast<char>(Desc::columns.size());
    info->details.list = const_cast<unsigned int*>(columnNumbers().data());
    info->next = nullptr;
    return info;
  }

  static netsnmp_table_registration_info* tableInfo(netsnmp_column_info* columns,
                                                    const Quill::String& context) {
    auto* tinfo = static_cast<netsnmp_table_registration_info*>(
        std::calloc(1, sizeof(netsnmp_table_registration_info)));
    std::apply(
        [&](const auto&... component) {
          (addIndexVariable(tinfo, component.asnType, component.mibName, context), ...);
        },
        Desc::indexes);
    tinfo->min_column = Desc::columns.front().number;
    tinfo->max_column = Desc::columns.back().number;
    tinfo->valid_columns = columns;
    return tinfo;
  }

  static void addIndexVariable(netsnmp_table_registration_info* tinfo, u_char asnType,
                               const char* mibName, const Quill::String& context) {
    if (!snmp_varlist_add_variable(&tinfo->indexes, nullptr, 0, asnType, nullptr, 0)) {
      QTRACE(snmpTrace(), 0, "Failed to set up {} in netsnmp table_info in context \"{}\"", mibName,
             context);
    }
  }

  static netsnmp_iterator_info* iteratorInfo(const TableCallbacks& cb, void* regVoid,
                                             netsnmp_table_registration_info* tinfo) {
    auto* iinfo =
        static_cast<netsnmp_iterator_info*>(std::calloc(1, sizeof(netsnmp_iterator_info)));
    iinfo->refcnt = 0;
    iinfo->get_first_data_point = cb.getFirst;
    iinfo->get_next_data_point = cb.getNext;
    iinfo->make_data_context = cb.makeDataContext;
    iinfo->free_data_context = cb.freeDataContext;
    iinfo->free_loop_context_at_end = cb.freeLoopContextAtEnd;
    iinfo->free_loop_context = nullptr;
    iinfo->myvoid = regVoid;
    iinfo->flags = NETSNMP_ITERATOR_FLAG_SORTED | NETSNMP_HANDLER_OWNS_IINFO;
    iinfo->table_reginfo = tinfo;
    return iinfo;
  }

  static void registerIterator(netsnmp_handler_registration* reg, netsnmp_iterator_info* iinfo) {
    int result = netsnmp_register_table_iterator(reg, iinfo);
    QUILL_ASSERT(result == MIB_REGISTERED_OK);
    int injected = netsnmp_inject_handler(reg, netsnmp_get_serialize_handler());
    QUILL_ASSERT(injected == SNMPERR_SUCCESS);
  }
};

}  // namespace QosSnmp
