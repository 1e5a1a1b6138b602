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

QOSSNMP_MODULE_DEFINITIONS(veloraQosMib, VELORA_QOS_MIB_TABLES)
