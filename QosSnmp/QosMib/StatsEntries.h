// Rows of the service policy table and of the three statistics tables (per class, per class
// and interface, per policer and interface). Counters are read from the QoS agent's live
// counter objects when asked; sums and differences wrap modulo 2^64.
#pragma once

#include "Qos/Counters.h"
#include "Qos/ServicePolicyKey.h"
#include "QosSnmp/QosMib/QosMibIndexes.h"
#include "Quill/String.h"
#include "QosSnmp/SnmpTables/TableEntry.h"

namespace QosSnmp {

// A policy map applied to an interface in a direction.
class ServicePolicyTableEntry : public TableEntry<ServicePolicyTableEntry, ServicePolicyTableIndex,
                                                  Snmp::String, Qos::ServicePolicyKey> {
 public:
  using TableEntry::TableEntry;
  static constexpr std::array argNames{"policyMapId", "servicePolicyKey"};
  static Mox::AllocationTracker memAllocationTracker_;

  U32 ifIndex() const noexcept { return index().ifIndex; }
  Qos::Direction direction() const noexcept { return index().direction; }
  const Snmp::String& policyMapId() const noexcept { return arg<0>(); }
  const Qos::ServicePolicyKey& servicePolicyKey() const noexcept { return arg<1>(); }
  Qos::MapType policyMapType() const noexcept { return servicePolicyKey().mapType; }
};

// Statistics of a class in a policy map, in one direction, summed over interfaces.
//
// Each of the four counts comes from the first source that applies: the class map's hardware
// status; for QoS policy maps the sum over the counter's policers, else the sum over its
// interfaces (an empty map falls through); the counter's own count. The match counts are
// drop + out. REQUIRES: counters whenever classMapHwStatus is null.
class QosStatsTableEntry
    : public TableEntry<QosStatsTableEntry, QosStatsTableIndex,
                        Quill::Ptr<Qos::ClassMapHwStatus const>, Quill::Ptr<Qos::Counter const>> {
 public:
  using TableEntry::TableEntry;
  static constexpr std::array argNames{"classMapHwStatus", "counters"};
  static Mox::AllocationTracker memAllocationTracker_;

  const Quill::Ptr<Qos::ClassMapHwStatus const>& classMapHwStatus() const noexcept {
    return arg<0>();
  }
  const Quill::Ptr<Qos::Counter const>& counters() const noexcept { return arg<1>(); }
  const Snmp::String& policyMapId() const noexcept { return index().policyMapId; }
  Qos::MapType policyMapType() const noexcept { return index().policyMapType; }
  const Snmp::String& classMapId() const noexcept { return index().classMapId; }
  Qos::Direction direction() const noexcept { return index().direction; }

  U64 dropCount() const;
  U64 dropByteCount() const;
  U64 outCount() const;
  U64 outByteCount() const;
  U64 matchCount() const { return dropCount() + outCount(); }
  U64 matchByteCount() const { return dropByteCount() + outByteCount(); }

 private:
  // One of the four counts, by the order of preference above.
  template <auto ClassCount, auto PolicerCount>
  U64 count() const;
};

// Statistics of a class in a policy map on one interface. REQUIRES: the interface counter.
class QosPerIntfStatsTableEntry
    : public TableEntry<QosPerIntfStatsTableEntry, QosPerIntfStatsTableIndex,
                        Quill::Ptr<Qos::CounterIntf const>> {
 public:
  using TableEntry::TableEntry;
  static constexpr std::array argNames{"counterIntf"};
  static Mox::AllocationTracker memAllocationTracker_;

  const Quill::Ptr<Qos::CounterIntf const>& counterIntf() const noexcept { return arg<0>(); }

  U64 dropCount() const { return counterIntf()->dropPkts(); }
  U64 dropByteCount() const { return counterIntf()->dropBytes(); }
  U64 outCount() const { return counterIntf()->outPkts(); }
  U64 outByteCount() const { return counterIntf()->outBytes(); }
  U64 matchCount() const { return dropCount() + outCount(); }
  U64 matchByteCount() const { return dropByteCount() + outByteCount(); }
};

// A policer's statistics for a class on one interface. dropCount is 0 without a counter;
// outCount counts the packets that passed (conform + exceed) and REQUIRES the counter.
class QosPolicerStatsTableEntry
    : public TableEntry<QosPolicerStatsTableEntry, QosPolicerStatsTableIndex,
                        Quill::Ptr<Qos::PolicerCounter const>> {
 public:
  using TableEntry::TableEntry;
  static constexpr std::array argNames{"policerCounter"};
  static Mox::AllocationTracker memAllocationTracker_;

  const Quill::Ptr<Qos::PolicerCounter const>& policerCounter() const noexcept { return arg<0>(); }
  U64 dropCount() const { return policerCounter() ? policerCounter()->droppedPkts() : 0; }
  U64 outCount() const { return policerCounter()->conformPkts() + policerCounter()->exceedPkts(); }
};

}  // namespace QosSnmp
