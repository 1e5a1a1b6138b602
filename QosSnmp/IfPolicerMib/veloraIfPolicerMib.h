// The interface policer MIB module (veloraIfPolicerMib): entry points and the per-table
// exports.
//
// init_veloraIfPolicerMib(context) registers the ingress and egress policer statistics tables
// in the default context, while the toggle IntfPolicingSnmp is on (a named context, or the
// toggle off, gets the MIB context registration only); unregister_veloraIfPolicerMib(context)
// removes all of it. The model is the QosSnmp::IfPolicerMib entity at "snmp/qos/ifPolicerMib".
#pragma once

#include "QosSnmp/SnmpTables/SnmpModuleExports.h"

// The module's tables, each with its description.
#define VELORA_IF_POLICER_MIB_TABLES(X, module)                                              \
  X(module, veloraIfPolicerInStatsTable, QosSnmp::IfPolicerMibTables::IfPolicerInStatsTable) \
  X(module, veloraIfPolicerOutStatsTable, QosSnmp::IfPolicerMibTables::IfPolicerOutStatsTable)

QOSSNMP_MODULE_DECLARATIONS(veloraIfPolicerMib, VELORA_IF_POLICER_MIB_TABLES)
