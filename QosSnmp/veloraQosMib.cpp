#include "QosSnmp/veloraQosMib.h"

#include "QosSnmp/QosMibTables.h"
#include "Snmp/MibContext.h"
#include "QosSnmp/SnmpModuleRegistration.h"
#include "QosSnmp/SnmpTableCallbacks.h"

namespace {

QosSnmp::SnmpModule veloraQosMib(
    "veloraQosMib", {1, 3, 6, 1, 4, 1, VELORA_ENTERPRISE_ARC, 3, 13},
    "VELORA-QOS-MIB: class maps, policy maps, service policies, statistics");

}  // namespace

QOSSNMP_TABLE_CALLBACKS(veloraClassMapTable, QosSnmp::QosMibTables::ClassMapTable, veloraQosMib)
QOSSNMP_TABLE_CALLBACKS(veloraClassMapMatchTable, QosSnmp::QosMibTables::ClassMapMatchTable,
                        veloraQosMib)
QOSSNMP_TABLE_CALLBACKS(veloraPolicyMapTable, QosSnmp::QosMibTables::PolicyMapTable, veloraQosMib)
QOSSNMP_TABLE_CALLBACKS(veloraPolicyMapClassTable, QosSnmp::QosMibTables::PolicyMapClassTable,
                        veloraQosMib)
QOSSNMP_TABLE_CALLBACKS(veloraPolicyMapActionTable, QosSnmp::QosMibTables::PolicyMapActionTable,
                        veloraQosMib)
QOSSNMP_TABLE_CALLBACKS(veloraServicePolicyTable, QosSnmp::QosMibTables::ServicePolicyTable,
                        veloraQosMib)
QOSSNMP_TABLE_CALLBACKS(veloraQosStatsTable, QosSnmp::QosMibTables::QosStatsTable, veloraQosMib)
QOSSNMP_TABLE_CALLBACKS(veloraEcnCounterTable, QosSnmp::QosMibTables::EcnCounterTable, veloraQosMib)
QOSSNMP_TABLE_CALLBACKS(veloraEcnQueueCounterTable, QosSnmp::QosMibTables::EcnQueueCounterTable,
                        veloraQosMib)
QOSSNMP_TABLE_CALLBACKS(veloraQosPolicerStatsTable, QosSnmp::QosMibTables::QosPolicerStatsTable,
                        veloraQosMib)
QOSSNMP_TABLE_CALLBACKS(veloraQosPerIntfStatsTable, QosSnmp::QosMibTables::QosPerIntfStatsTable,
                        veloraQosMib)

const QosSnmp::SnmpModule& QosSnmp::veloraQosMibModule() {
  return veloraQosMib;
}

void init_veloraQosMib(Quill::String context) {
  auto config = Snmp::CordbUtil::getSnmpConfig();
  veloraQosMib.logInit(__func__, __FILE__, __LINE__, context);
  initialize_table_veloraClassMapTable(config, context);
  initialize_table_veloraClassMapMatchTable(config, context);
  initialize_table_veloraPolicyMapTable(config, context);
  initialize_table_veloraPolicyMapClassTable(config, context);
  initialize_table_veloraPolicyMapActionTable(config, context);
  initialize_table_veloraServicePolicyTable(config, context);
  initialize_table_veloraQosStatsTable(config, context);
  initialize_table_veloraEcnCounterTable(config, context);
  initialize_table_veloraEcnQueueCounterTable(config, context);
  initialize_table_veloraQosPolicerStatsTable(config, context);
  initialize_table_veloraQosPerIntfStatsTable(config, context);
  Snmp::registerMibContext(context, "veloraQosMib");
}

void unregister_veloraQosMib(Quill::String context) {
  veloraQosMib.unregister(context);
}

namespace {

class veloraQosMib_HandlerRegistration final
    : public QosSnmp::ModuleRegistration<init_veloraQosMib, unregister_veloraQosMib> {};
veloraQosMib_HandlerRegistration veloraQosMib_registration;

}  // namespace
