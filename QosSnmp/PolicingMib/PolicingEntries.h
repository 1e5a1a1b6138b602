// Rows of the policing MIB's tables: one per policing profile and one per policer instance.
//
// A row holds its key and a counted reference to the QoS agent's status object (either may be
// absent); its column values are read from that object when asked.
#pragma once

#include <array>

#include "InterfacePolicing/PolicerInstance.h"
#include "InterfacePolicing/PolicerProfile.h"
#include "Qos/Types.h"
#include "QosSnmp/PolicingMib/PolicingMibIndexes.h"
#include "QosSnmp/SnmpTables/TableEntry.h"
#include "Quill/String.h"

namespace QosSnmp {

// A policing profile: its rates, bursts and their units, from the profile's rate/burst
// configuration. Without a profile, or a profile without configuration, every value is 0 and
// every unit the enumeration's 0.
class PolicingProfileTableEntry
    : public TableEntry<PolicingProfileTableEntry, PolicingProfileTableIndex,
                        Quill::Ptr<InterfacePolicing::PolicerProfile const>> {
 public:
  using TableEntry::TableEntry;
  static constexpr std::array argNames{"policerProfile"};
  static Mox::AllocationTracker memAllocationTracker_;

  const Snmp::String& profileName() const noexcept { return index().profileName; }
  const Quill::Ptr<InterfacePolicing::PolicerProfile const>& policerProfile() const noexcept {
    return arg<0>();
  }
  U64 cir() const;
  U64 bc() const;
  U64 pir() const;
  U64 be() const;
  Qos::RateUnit cirUnit() const;
  Qos::BurstUnit bcUnit() const;
  Qos::RateUnit pirUnit() const;
  Qos::BurstUnit beUnit() const;

  // The profile, then its configuration.
  void warm(int depth) const noexcept {
    const InterfacePolicing::PolicerProfile* profile = policerProfile().get();
    if (depth == 0) {
      prefetchObject(profile);
    } else if (profile) {
      prefetchObject(profile->config().get());
    }
  }

 private:
  // The profile's rate/burst configuration, or null.
  const InterfacePolicing::PolicerRateBurst* config() const noexcept;
};

// A named policer instance and the profile it uses ("" without an instance).
class PolicerInstanceTableEntry
    : public TableEntry<PolicerInstanceTableEntry, PolicerInstanceTableIndex,
                        Quill::Ptr<InterfacePolicing::PolicerInstance const>> {
 public:
  using TableEntry::TableEntry;
  static constexpr std::array argNames{"policerInstance"};
  static Mox::AllocationTracker memAllocationTracker_;

  const Snmp::String& policerName() const noexcept { return index().policerName; }
  const Quill::Ptr<InterfacePolicing::PolicerInstance const>& policerInstance() const noexcept {
    return arg<0>();
  }
  Mox::String profileName() const;

  // The instance (its profile's name lives inside it).
  void warm(int depth) const noexcept {
    if (depth == 0) {
      prefetchObject(policerInstance().get());
    }
  }
};

Quill::Ptr<PolicingProfileTableEntry> policingProfileTableEntryFactory(
    const PolicingProfileTableIndex& index,
    Quill::Ptr<InterfacePolicing::PolicerProfile const> policerProfile);
Quill::Ptr<PolicerInstanceTableEntry> policerInstanceTableEntryFactory(
    const PolicerInstanceTableIndex& index,
    Quill::Ptr<InterfacePolicing::PolicerInstance const> policerInstance);

}  // namespace QosSnmp
