#include "QosSnmp/QosMib/PolicyMapEntries.h"

#include "Quill/Assert.h"

namespace QosSnmp {

Mox::AllocationTracker PolicyMapTableEntry::memAllocationTracker_("QosSnmp::PolicyMapTableEntry");
Mox::AllocationTracker PolicyMapClassTableEntry::memAllocationTracker_(
    "QosSnmp::PolicyMapClassTableEntry");
Mox::AllocationTracker PolicyMapActionTableEntry::memAllocationTracker_(
    "QosSnmp::PolicyMapActionTableEntry");

namespace {

U32 withoutNoRate(U32 value) {
  return value == Qos::Action::rateNotSet || value == Qos::Action::rateNotSetAlt ? 0 : value;
}

}  // namespace

Mox::String PolicyMapTableEntry::policyMapName() const {
  return policyMap() ? policyMap()->name() : Mox::String();
}

U32 PolicyMapActionTableEntry::actionRateUnit() const {
  if (actionType() > Qos::ActionType::actionSetBandwidth_) {
    return 0;
  }
  if (qosHwStatus()->coppBpsSupported()) {
    return 1;
  }
  QUILL_ASSERT(qosHwStatus()->coppKbpsSupported());
  return 2;
}

U32 PolicyMapActionTableEntry::actionValue() const {
  U32 value = 0;
  if (policyMapType() == Qos::MapType::mapControlPlane_) {
    QUILL_ASSERT(actionType() == Qos::actionSetShape_ || actionType() == Qos::actionSetBandwidth_);
    if (!classMapHwStatus()) {
      return 0;
    }
    value = actionType() == Qos::actionSetShape_ ? classMapHwStatus()->shapeRate()
                                                 : classMapHwStatus()->bandwidthRate();
  } else {
    QUILL_ASSERT(action() && "Action entity must be provided for Qos ClassMaps");
    if (action()->reference()) {
      return 0;
    }
    value = action()->value();
  }
  return withoutNoRate(value);
}

}  // namespace QosSnmp
