#include "QosSnmp/IfPolicerMib/IfPolicerMib.h"

namespace QosSnmp {

Mox::AllocationTracker IfPolicerMib::memAllocationTracker_("QosSnmp::IfPolicerMib");

}  // namespace QosSnmp
