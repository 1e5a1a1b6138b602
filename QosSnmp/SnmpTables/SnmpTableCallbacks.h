// QOSSNMP_TABLE_CALLBACKS: the named net-snmp callbacks of one table, generated from its
// description so that every table is served by the same mechanism (SnmpTable) and registered
// the same way (SnmpTableRegistration).
#pragma once

#include <string_view>

#include "QosSnmp/SnmpTables/SnmpTable.h"
#include "QosSnmp/SnmpTables/SnmpTableRegistration.h"

// Declares the named net-snmp callbacks of table `table` described by `Desc`, registered in
// module object `module` (`table` must be the description's name, or this does not compile):
// <table>_entry and the iterator callbacks in an anonymous namespace, and the exported
// <table>_handler and initialize_table_<table>.
#define QOSSNMP_TABLE_CALLBACKS(table, Desc, module)                                               \
  static_assert(std::string_view(Desc::name) == #table,                                            \
                "a table's exported callbacks are named after its description");                   \
  namespace {                                                                                      \
  using table##_entry [[maybe_unused]] = ::QosSnmp::TableContext<Desc>;                            \
  netsnmp_variable_list* table##_get_first_data_point(void** l, void** d,                          \
                                                      netsnmp_variable_list* p,                    \
                                                      netsnmp_iterator_info* i) {                  \
    return ::QosSnmp::SnmpTable<Desc>::getFirstDataPoint(l, d, p, i);                              \
  }                                                                                                \
  netsnmp_variable_list* table##_get_next_data_point(void** l, void** d, netsnmp_variable_list* p, \
                                                     netsnmp_iterator_info* i) {                   \
    return ::QosSnmp::SnmpTable<Desc>::getNextDataPoint(l, d, p, i);                               \
  }                                                                                                \
  void* table##_make_data_context(void* l, netsnmp_iterator_info* i) {                             \
    return ::QosSnmp::SnmpTable<Desc>::makeDataContext(l, i);                                      \
  }                                                                                                \
  void table##_free_data_context(void* d, netsnmp_iterator_info* i) {                              \
    ::QosSnmp::SnmpTable<Desc>::freeDataContext(d, i);                                             \
  }                                                                                                \
  void table##_free_loop_context_at_end(void* l, netsnmp_iterator_info* i) {                       \
    ::QosSnmp::SnmpTable<Desc>::freeLoopContextAtEnd(l, i);                                        \
  }                                                                                                \
  [[maybe_unused]] netsnmp_variable_list* table##IterationHelper(table##_entry* l,                 \
                                                                 netsnmp_variable_list* p) {       \
    return ::QosSnmp::SnmpTable<Desc>::iterationHelper(l, p);                                      \
  }                                                                                                \
  }                                                                                                \
  int table##_handler(netsnmp_mib_handler* h, netsnmp_handler_registration* r,                     \
                      netsnmp_agent_request_info* a, netsnmp_request_info* q) {                    \
    return ::QosSnmp::SnmpTable<Desc>::handler(h, r, a, q);                                        \
  }                                                                                                \
  void initialize_table_##table(Quill::Ptr<Snmp::Config const> /*config*/,                         \
                                Quill::String context) {                                           \
    ::QosSnmp::SnmpTableRegistration<Desc>::initialize(                                            \
        module,                                                                                    \
        {table##_get_first_data_point, table##_get_next_data_point, table##_make_data_context,     \
         table##_free_data_context, table##_free_loop_context_at_end, table##_handler},            \
        context);                                                                                  \
  }
