// The policing MIB module (veloraPolicingMib): entry points and the per-table exports.
//
// init_veloraPolicingMib(context) registers the policing profile and policer instance tables
// in the default context, while the toggle PolicingConfigSnmp is on (a named context, or the
// toggle off, gets the MIB context registration only); unregister_veloraPolicingMib(context)
// removes all of it. The model is the QosSnmp::PolicingMib entity at "snmp/qos/policingMib".
#pragma once

#include "QosSnmp/SnmpTables/SnmpModuleExports.h"

// The module's tables, each with its description.
#define VELORA_POLICING_MIB_TABLES(X, module)                                             \
  X(module, veloraPolicingProfileTable, QosSnmp::PolicingMibTables::PolicingProfileTable) \
  X(module, veloraPolicerInstanceTable, QosSnmp::PolicingMibTables::PolicerInstanceTable)

QOSSNMP_MODULE_DECLARATIONS(veloraPolicingMib, VELORA_POLICING_MIB_TABLES)
