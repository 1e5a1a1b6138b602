#include "QosSnmp/PolicingMib/PolicingMib.h"

namespace QosSnmp {

Mox::AllocationTracker PolicingMib::memAllocationTracker_("QosSnmp::PolicingMib");

}  // namespace QosSnmp
