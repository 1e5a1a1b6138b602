// The QoS MIB module (veloraQosMib): entry points and the per-table exports.
//
// init_veloraQosMib(context) registers the module's tables in the default context (a named
// context gets the MIB context registration only); unregister_veloraQosMib(context) removes all
// of it. The model is the QosSnmp::QosMib entity at "snmp/qos/root".
#pragma once

#include "QosSnmp/SnmpTables/SnmpModuleExports.h"

// The module's tables, each with its description.
#define VELORA_QOS_MIB_TABLES(X, module)                                             \
  X(module, veloraClassMapTable, QosSnmp::QosMibTables::ClassMapTable)               \
  X(module, veloraClassMapMatchTable, QosSnmp::QosMibTables::ClassMapMatchTable)     \
  X(module, veloraPolicyMapTable, QosSnmp::QosMibTables::PolicyMapTable)             \
  X(module, veloraPolicyMapClassTable, QosSnmp::QosMibTables::PolicyMapClassTable)   \
  X(module, veloraPolicyMapActionTable, QosSnmp::QosMibTables::PolicyMapActionTable) \
  X(module, veloraServicePolicyTable, QosSnmp::QosMibTables::ServicePolicyTable)     \
  X(module, veloraQosStatsTable, QosSnmp::QosMibTables::QosStatsTable)               \
  X(module, veloraEcnCounterTable, QosSnmp::QosMibTables::EcnCounterTable)           \
  X(module, veloraEcnQueueCounterTable, QosSnmp::QosMibTables::EcnQueueCounterTable) \
  X(module, veloraQosPolicerStatsTable, QosSnmp::QosMibTables::QosPolicerStatsTable) \
  X(module, veloraQosPerIntfStatsTable, QosSnmp::QosMibTables::QosPerIntfStatsTable)

QOSSNMP_MODULE_DECLARATIONS(veloraQosMib, VELORA_QOS_MIB_TABLES)
