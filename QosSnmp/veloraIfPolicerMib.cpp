#include "QosSnmp/veloraIfPolicerMib.h"

#include "QosSnmp/IfPolicerMibTables.h"
#include "QosSnmp/SnmpModuleRegistration.h"
#include "QosSnmp/SnmpTableCallbacks.h"
#include "Snmp/MibContext.h"

namespace {

QosSnmp::SnmpModule veloraIfPolicerMib(
    "veloraIfPolicerMib", {1, 3, 6, 1, 4, 1, VELORA_ENTERPRISE_ARC, 3, 43},
    "VELORA-IF-POLICER-MIB: per-interface ingress and egress policer statistics");

}  // namespace

QOSSNMP_TABLE_CALLBACKS(veloraIfPolicerInStatsTable,
                        QosSnmp::IfPolicerMibTables::IfPolicerInStatsTable, veloraIfPolicerMib)
QOSSNMP_TABLE_CALLBACKS(veloraIfPolicerOutStatsTable,
                        QosSnmp::IfPolicerMibTables::IfPolicerOutStatsTable, veloraIfPolicerMib)

const QosSnmp::SnmpModule& QosSnmp::veloraIfPolicerMibModule() {
  return veloraIfPolicerMib;
}

void init_veloraIfPolicerMib(Quill::String context) {
  auto config = Snmp::CordbUtil::getSnmpConfig();
  veloraIfPolicerMib.logInit(__func__, __FILE__, __LINE__, context);
  initialize_table_veloraIfPolicerInStatsTable(config, context);
  initialize_table_veloraIfPolicerOutStatsTable(config, context);
  Snmp::registerMibContext(context, "veloraIfPolicerMib");
}

void unregister_veloraIfPolicerMib(Quill::String context) {
  veloraIfPolicerMib.unregister(context);
}

namespace {

class veloraIfPolicerMib_HandlerRegistration final
    : public QosSnmp::ModuleRegistration<init_veloraIfPolicerMib, unregister_veloraIfPolicerMib> {};
veloraIfPolicerMib_HandlerRegistration veloraIfPolicerMib_registration;

}  // namespace
