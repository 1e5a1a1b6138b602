#include "QosSnmp/veloraPolicingMib.h"

#include "QosSnmp/PolicingMibTables.h"
#include "QosSnmp/SnmpModuleRegistration.h"
#include "QosSnmp/SnmpTableCallbacks.h"
#include "Snmp/MibContext.h"

namespace {

QosSnmp::SnmpModule veloraPolicingMib(
    "veloraPolicingMib", {1, 3, 6, 1, 4, 1, VELORA_ENTERPRISE_ARC, 3, 42},
    "VELORA-POLICING-MIB: policing profiles and policer instances");

}  // namespace

QOSSNMP_TABLE_CALLBACKS(veloraPolicingProfileTable,
                        QosSnmp::PolicingMibTables::PolicingProfileTable, veloraPolicingMib)
QOSSNMP_TABLE_CALLBACKS(veloraPolicerInstanceTable,
                        QosSnmp::PolicingMibTables::PolicerInstanceTable, veloraPolicingMib)

const QosSnmp::SnmpModule& QosSnmp::veloraPolicingMibModule() {
  return veloraPolicingMib;
}

void init_veloraPolicingMib(Quill::String context) {
  auto config = Snmp::CordbUtil::getSnmpConfig();
  veloraPolicingMib.logInit(__func__, __FILE__, __LINE__, context);
  initialize_table_veloraPolicingProfileTable(config, context);
  initialize_table_veloraPolicerInstanceTable(config, context);
  Snmp::registerMibContext(context, "veloraPolicingMib");
}

void unregister_veloraPolicingMib(Quill::String context) {
  veloraPolicingMib.unregister(context);
}

namespace {

class veloraPolicingMib_HandlerRegistration final
    : public QosSnmp::ModuleRegistration<init_veloraPolicingMib, unregister_veloraPolicingMib> {};
veloraPolicingMib_HandlerRegistration veloraPolicingMib_registration;

}  // namespace
