// QosSnmp::SnmpTableRegistration<Desc>: registers one MIB table with net-snmp for a context.
//
// In the default context it records the table's model entity in the registration collection,
// builds the table information (index types, column range, valid columns) and the iterator
// information (the named callbacks, sorted, the iterator owning it), registers the table
// iterator and injects the serialize handler, so the handler sees one request at a time. A
// named context gets no table. Everything registered is recorded in the table's SnmpModule,
// which undoes it. A missing or mistyped model entity is a configuration fault: it is
// reported on standard error and ends the agent.
#pragma once

#include <array>
#include <cstdio>
#include <cstdlib>
#include <tuple>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include "Mox/Singleton.h"
#include "Quill/Assert.h"
#include "Snmp/CordbUtil.h"
#include "Snmp/RegVoidCollByContext.h"
#include "QosSnmp/SnmpModule.h"
#include "QosSnmp/SnmpTableDesc.h"
#include "QosSnmp/Trace.h"

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
 public:
  using Entity = typename Desc::Entity;

  // Registers the table for `context` (default context only) in `module`.
  static void initialize(SnmpModule& module, const TableCallbacks& cb,
                         const Quill::String& context) {
    std::vector<oid> tableOid = module.tableOid(Desc::arc);
    if (snmpTrace().enabled(1)) {
      char text[200];
      snprint_objid(text, sizeof text, tableOid.data(), tableOid.size());
      QTRACE(snmpTrace(), 1, "initialize_table_{} initializing oid {} in context \"{}\"",
             Desc::name, text, context);
    }
    Quill::String regName = Quill::String(Desc::name) + "_" + context;
    netsnmp_handler_registration* reg = netsnmp_create_handler_registration(
        regName.c_str(), cb.handler, tableOid.data(), tableOid.size(), HANDLER_CAN_GETANDGETNEXT);
    if (!context.empty()) {
      netsnmp_handler_registration_free(reg);
      QTRACE(snmpTrace(), 2,
             "initialize_table_{} in context \"{}\" cordbPathWithContext not specified ",
             Desc::name, context);
      return;
    }
    module.registrationAdd(context, reg);

    auto e = Snmp::CordbUtil::getEntityRelative(Desc::modelPath);
    if (!e) {
      std::fprintf(stderr, "Can not getEntityRelative( %s ) for table %s. Is this path correct?\n",
                   Desc::modelPath, Desc::name);
      std::fflush(stderr);
    }
    QUILL_ASSERT(e);
    auto* ptr = dynamic_cast<Entity*>(e.get());
    if (!ptr) {
      std::fprintf(stderr, "%s does not appear to be of type %s.\n", Desc::modelPath,
                   Desc::entityType);
    }
    QUILL_ASSERT(ptr);
    auto coll = Mox::singletonIs<Snmp::RegVoidCollByContext>();
    reg->my_reg_void = coll->addRegVoid(context, Desc::name, ptr);

    auto* colInfo = static_cast<netsnmp_column_info*>(std::calloc(1, sizeof(netsnmp_column_info)));
    colInfo->isRange = 0;
    colInfo->list_count = static_cast<char>(Desc::columns.size());
    colInfo->details.list = const_cast<unsigned int*>(columnNumbers().data());
    colInfo->next = nullptr;

    auto* tinfo = static_cast<netsnmp_table_registration_info*>(
        std::calloc(1, sizeof(netsnmp_table_registration_info)));
    std::apply(
        [&](const auto&... component) {
          (addIndexVariable(tinfo, component.asnType, component.mibName, context), ...);
        },
        Desc::indexes);
    tinfo->min_column = Desc::columns.front().number;
    tinfo->max_column = Desc::columns.back().number;
    tinfo->valid_columns = colInfo;

    auto* iinfo =
        static_cast<netsnmp_iterator_info*>(std::calloc(1, sizeof(netsnmp_iterator_info)));
    iinfo->refcnt = 0;
    iinfo->get_first_data_point = cb.getFirst;
    iinfo->get_next_data_point = cb.getNext;
    iinfo->make_data_context = cb.makeDataContext;
    iinfo->free_data_context = cb.freeDataContext;
    iinfo->free_loop_context_at_end = cb.freeLoopContextAtEnd;
    iinfo->free_loop_context = nullptr;
    iinfo->myvoid = reg->my_reg_void;
    iinfo->flags = NETSNMP_ITERATOR_FLAG_SORTED | NETSNMP_HANDLER_OWNS_IINFO;
    iinfo->table_reginfo = tinfo;

    module.columnInfoAdd(context, colInfo);
    int result = netsnmp_register_table_iterator(reg, iinfo);
    QUILL_ASSERT(result == MIB_REGISTERED_OK);
    int injected = netsnmp_inject_handler(reg, netsnmp_get_serialize_handler());
    QUILL_ASSERT(injected == SNMPERR_SUCCESS);
    QTRACE(snmpTrace(), 8, "Initialized table {} in context \"{}\"", Desc::name, context);
  }

  static void addIndexVariable(netsnmp_table_registration_info* tinfo, u_char asnType,
                               const char* mibName, const Quill::String& context) {
    if (!snmp_varlist_add_variable(&tinfo->indexes, nullptr, 0, asnType, nullptr, 0)) {
      QTRACE(snmpTrace(), 0, "Failed to set up {} in netsnmp table_info in context \"{}\"", mibName,
             context);
    }
  }

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
};

}  // namespace QosSnmp
