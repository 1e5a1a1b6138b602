#include "veloraQosMib.h"

#include "QosMibTables.h"
#include "Snmp/HandlerRegistration.h"
#include "Snmp/MibContext.h"
#include "SnmpTable.h"

namespace {

QosSnmp::SnmpModule veloraQosMib("veloraQosMib",
                                 {1, 3, 6, 1, 4, 1, VELORA_ENTERPRISE_ARC, 3, 13, 1});

}  // namespace

QOSSNMP_TABLE_CALLBACKS(veloraClassMapTable, QosSnmp::QosMibTables::ClassMapTable, veloraQosMib)

const QosSnmp::SnmpModule& QosSnmp::veloraQosMibModule() { return veloraQosMib; }

void init_veloraQosMib(Quill::String context) {
  auto config = Snmp::CordbUtil::getSnmpConfig();
  veloraQosMib.logInit(__func__, __FILE__, __LINE__, context);
  initialize_table_veloraClassMapTable(config, context);
  Snmp::registerMibContext(context, "veloraQosMib");
}

void unregister_veloraQosMib(Quill::String context) { veloraQosMib.unregister(context); }

namespace {

class veloraQosMib_HandlerRegistration : public Snmp::HandlerRegistration {
 public:
  void initHandler(Quill::String context) override { init_veloraQosMib(std::move(context)); }
  void unregisterHandler(Quill::String context) override {
    unregister_veloraQosMib(std::move(context));
  }
};

veloraQosMib_HandlerRegistration veloraQosMib_registration;
Snmp::AutoRegistree veloraQosMib_autoRegistree(&veloraQosMib_registration);

}  // namespace
