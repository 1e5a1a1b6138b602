#include "QosSnmp/QosMib/StatsEntries.h"

namespace QosSnmp {

Mox::AllocationTracker ServicePolicyTableEntry::memAllocationTracker_(
    "QosSnmp::ServicePolicyTableEntry");
Mox::AllocationTracker QosStatsTableEntry::memAllocationTracker_("QosSnmp::QosStatsTableEntry");
Mox::AllocationTracker QosPerIntfStatsTableEntry::memAllocationTracker_(
    "QosSnmp::QosPerIntfStatsTableEntry");
Mox::AllocationTracker QosPolicerStatsTableEntry::memAllocationTracker_(
    "QosSnmp::QosPolicerStatsTableEntry");

namespace {

U64 policerDropPkts(const Qos::PolicerHwStatus& p) {
  return p.droppedPkts();
}
U64 policerOutPkts(const Qos::PolicerHwStatus& p) {
  return p.totalPkts() - p.droppedPkts();
}
U64 policerDropBytes(const Qos::PolicerHwStatus& p) {
  return p.droppedBytes();
}
U64 policerOutBytes(const Qos::PolicerHwStatus& p) {
  return p.totalBytes() - p.droppedBytes();
}

}  // namespace

template <auto ClassCount, auto PolicerCount>
U64 QosStatsTableEntry::count() const {
  if (classMapHwStatus()) {
    return (classMapHwStatus().get()->*ClassCount)();
  }
  const Qos::Counter& counter = *counters();
  if (policyMapType() == Qos::MapType::mapQos_) {
    if (!counter.policerStatus().empty()) {
      U64 sum = 0;
      for (const auto& [name, policer] : counter.policerStatus()) {
        sum += PolicerCount(*policer);
      }
      return sum;
    }
    if (!counter.intfCounter().empty()) {
      U64 sum = 0;
      for (const auto& [name, intf] : counter.intfCounter()) {
        sum += (intf.get()->*ClassCount)();
      }
      return sum;
    }
  }
  return (counter.*ClassCount)();
}

U64 QosStatsTableEntry::dropCount() const {
  return count<&Qos::ClassCounts::dropPkts, policerDropPkts>();
}

U64 QosStatsTableEntry::dropByteCount() const {
  return count<&Qos::ClassCounts::dropBytes, policerDropBytes>();
}

U64 QosStatsTableEntry::outCount() const {
  return count<&Qos::ClassCounts::outPkts, policerOutPkts>();
}

U64 QosStatsTableEntry::outByteCount() const {
  return count<&Qos::ClassCounts::outBytes, policerOutBytes>();
}

}  // namespace QosSnmp
