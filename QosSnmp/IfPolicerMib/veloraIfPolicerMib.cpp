#include "QosSnmp/IfPolicerMib/veloraIfPolicerMib.h"

#include "QosSnmp/IfPolicerMib/IfPolicerMibTables.h"
#include "QosSnmp/SnmpTables/SnmpModuleRegistration.h"
#include "QosSnmp/SnmpTables/SnmpTableCallbacks.h"
#include "Snmp/MibContext.h"

namespace {

QosSnmp::SnmpModule veloraIfPolicerMib(
    "veloraIfPolicerMib", {1, 3, 6, 1, 4, 1, VELORA_ENTERPRISE_ARC, 3, 43},
    "VELORA-IF-POLICER-MIB: per-interface ingress and egress policer statistics");

}  // namespace

QOSSNMP_MODULE_DEFINITIONS(veloraIfPolicerMib, VELORA_IF_POLICER_MIB_TABLES)
