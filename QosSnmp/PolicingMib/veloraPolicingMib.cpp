#include "QosSnmp/PolicingMib/veloraPolicingMib.h"

#include "QosSnmp/PolicingMib/PolicingMibTables.h"
#include "QosSnmp/SnmpTables/SnmpModuleRegistration.h"
#include "QosSnmp/SnmpTables/SnmpTableCallbacks.h"
#include "Snmp/MibContext.h"

namespace {

QosSnmp::SnmpModule veloraPolicingMib(
    "veloraPolicingMib", {1, 3, 6, 1, 4, 1, VELORA_ENTERPRISE_ARC, 3, 42},
    "VELORA-POLICING-MIB: policing profiles and policer instances");

}  // namespace

QOSSNMP_MODULE_DEFINITIONS(veloraPolicingMib, VELORA_POLICING_MIB_TABLES)
