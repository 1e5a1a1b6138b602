#include "QosSnmp/PolicingMib/PolicingEntries.h"

namespace QosSnmp {

Mox::AllocationTracker PolicingProfileTableEntry::memAllocationTracker_(
    "QosSnmp::PolicingProfileTableEntry");
Mox::AllocationTracker PolicerInstanceTableEntry::memAllocationTracker_(
    "QosSnmp::PolicerInstanceTableEntry");

const InterfacePolicing::PolicerRateBurst* PolicingProfileTableEntry::config() const noexcept {
  return policerProfile() ? policerProfile()->config().get() : nullptr;
}

U64 PolicingProfileTableEntry::cir() const {
  return config() ? config()->cir() : 0;
}

U64 PolicingProfileTableEntry::bc() const {
  return config() ? config()->bc() : 0;
}

U64 PolicingProfileTableEntry::pir() const {
  return config() ? config()->pir() : 0;
}

U64 PolicingProfileTableEntry::be() const {
  return config() ? config()->be() : 0;
}

Qos::RateUnit PolicingProfileTableEntry::cirUnit() const {
  return config() ? config()->cirUnit() : Qos::RateUnit{};
}

Qos::BurstUnit PolicingProfileTableEntry::bcUnit() const {
  return config() ? config()->bcUnit() : Qos::BurstUnit{};
}

Qos::RateUnit PolicingProfileTableEntry::pirUnit() const {
  return config() ? config()->pirUnit() : Qos::RateUnit{};
}

Qos::BurstUnit PolicingProfileTableEntry::beUnit() const {
  return config() ? config()->beUnit() : Qos::BurstUnit{};
}

Mox::String PolicerInstanceTableEntry::profileName() const {
  return policerInstance() ? Mox::String(policerInstance()->profileName()) : Mox::String();
}

Quill::Ptr<PolicingProfileTableEntry> policingProfileTableEntryFactory(
    const PolicingProfileTableIndex& index,
    Quill::Ptr<InterfacePolicing::PolicerProfile const> policerProfile) {
  return Quill::make<PolicingProfileTableEntry>(index, std::move(policerProfile));
}

Quill::Ptr<PolicerInstanceTableEntry> policerInstanceTableEntryFactory(
    const PolicerInstanceTableIndex& index,
    Quill::Ptr<InterfacePolicing::PolicerInstance const> policerInstance) {
  return Quill::make<PolicerInstanceTableEntry>(index, std::move(policerInstance));
}

}  // namespace QosSnmp
