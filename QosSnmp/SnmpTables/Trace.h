// The plug-in's trace facilities. The SNMP layer traces faults at level 0, registration at 1,
// call flow at 2 and completion at 8.
#pragma once

#include "Quill/Trace.h"

namespace QosSnmp {

// Facility "QosSnmp": the SNMP table layer of all three modules.
Quill::TraceHandle& snmpTrace();

}  // namespace QosSnmp
