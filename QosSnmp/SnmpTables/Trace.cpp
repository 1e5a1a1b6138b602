#include "QosSnmp/SnmpTables/Trace.h"

namespace QosSnmp {

Quill::TraceHandle& snmpTrace() {
  static Quill::TraceHandle handle("QosSnmp");
  return handle;
}

}  // namespace QosSnmp
