#include "QosSnmp/QosMib/veloraQosMib.h"

#include "QosSnmp/QosMib/QosMibTables.h"
#include "Snmp/MibContext.h"
#include "QosSnmp/SnmpTables/SnmpModuleRegistration.h"
#include "QosSnmp/SnmpTables/SnmpTableCallbacks.h"

namespace {

QosSnmp::SnmpModule veloraQosMib(
    "veloraQosMib", {1, 3, 6, 1, 4, 1, VELORA_ENTERPRISE_ARC, 3, 13},
    "VELORA-QOS-MIB: class maps, policy maps, service policies, statistics");

}  // namespace

QOSSNMP_MODULE_DEFINITIONS(veloraQosMib, VELORA_QOS_MIB_TABLES)
