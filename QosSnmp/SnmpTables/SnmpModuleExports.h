// A MIB module as one list: the module's tables are stated once, as a list macro that names
// each table and its description, and everything the agent and the platform see is produced
// from it.
//
//   #define VELORA_POLICING_MIB_TABLES(X, module)
//     X(module, veloraPolicingProfileTable, QosSnmp::PolicingMibTables::PolicingProfileTable)
//     X(module, veloraPolicerInstanceTable, QosSnmp::PolicingMibTables::PolicerInstanceTable)
//
// (each line but the last ending in a backslash).
//
// In the module's header, QOSSNMP_MODULE_DECLARATIONS(module, TABLES) declares the exports:
// <module>Module() (the registration bookkeeping, for tests), init_<module> and
// unregister_<module>, and per table initialize_table_<table> and <table>_handler. In its source
// file, after the SnmpModule object named <module>, QOSSNMP_MODULE_DEFINITIONS(module, TABLES)
// defines them: the table callbacks (QOSSNMP_TABLE_CALLBACKS, which checks that the table's
// name is its description's), init_<module> that initializes every listed table and registers
// the MIB context, unregister_<module>, and the module's registration with the agent.
#pragma once

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include "Quill/Ptr.h"
#include "Quill/String.h"
#include "Snmp/CordbUtil.h"

namespace QosSnmp {
class SnmpModule;
}  // namespace QosSnmp

// The exports of one table (the description is not needed to declare them).
#define QOSSNMP_TABLE_DECLARATIONS(module, table, Desc)                                        \
  void initialize_table_##table(Quill::Ptr<Snmp::Config const> config, Quill::String context); \
  int table##_handler(netsnmp_mib_handler* handler, netsnmp_handler_registration* reginfo,     \
                      netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests);

#define QOSSNMP_MODULE_DECLARATIONS(module, TABLES) \
  namespace QosSnmp {                               \
  const SnmpModule& module##Module();               \
  }                                                 \
  void init_##module(Quill::String context);        \
  void unregister_##module(Quill::String context);  \
  TABLES(QOSSNMP_TABLE_DECLARATIONS, module)

// One table's part of init_<module>.
#define QOSSNMP_TABLE_INITIALIZATION(module, table, Desc) initialize_table_##table(config, context);

// The callbacks of one table, registered in the module's SnmpModule object.
#define QOSSNMP_MODULE_TABLE_CALLBACKS(module, table, Desc) \
  QOSSNMP_TABLE_CALLBACKS(table, Desc, module)

#define QOSSNMP_MODULE_DEFINITIONS(module, TABLES)                                 \
  TABLES(QOSSNMP_MODULE_TABLE_CALLBACKS, module)                                   \
  const QosSnmp::SnmpModule& QosSnmp::module##Module() {                           \
    return module;                                                                 \
  }                                                                                \
  void init_##module(Quill::String context) {                                      \
    auto config = Snmp::CordbUtil::getSnmpConfig();                                \
    module.logInit(__func__, __FILE__, __LINE__, context);                         \
    TABLES(QOSSNMP_TABLE_INITIALIZATION, module)                                   \
    Snmp::registerMibContext(context, #module);                                    \
  }                                                                                \
  void unregister_##module(Quill::String context) {                                \
    module.unregister(context);                                                    \
  }                                                                                \
  namespace {                                                                      \
  class module##_HandlerRegistration final                                         \
      : public QosSnmp::ModuleRegistration<init_##module, unregister_##module> {}; \
  module##_HandlerRegistration module##_registration;                              \
  }
