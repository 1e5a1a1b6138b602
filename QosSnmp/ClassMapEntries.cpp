#include "ClassMapEntries.h"

namespace QosSnmp {

Mox::AllocationTracker ClassMapTableEntry::memAllocationTracker_("QosSnmp::ClassMapTableEntry");

Mox::String ClassMapTableEntry::classMapName() const {
  return classMap() ? classMap()->name() : Mox::String();
}

Qos::ClassMapMatchCondition ClassMapTableEntry::classMapMatchCondition() const {
  return classMap() ? classMap()->matchCondition() : Qos::ClassMapMatchCondition{};
}

}  // namespace QosSnmp
