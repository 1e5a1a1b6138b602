// The rows of the interface policer MIB's statistics tables, and the per-interface collection
// of member policer status they read.
//
// IntfPolicerInfoStatusColl groups the policer status of every member of one interface (a port
// channel has one per member port, a plain port one for itself). The interface statistics
// state machines build and own one per interface and share it with the interface's row, which
// reads names and counters from it when asked.
#pragma once

#include <array>

#include "Linko/IntfId.h"
#include "Mox/AllocationTracker.h"
#include "Mox/WatchedMap.h"
#include "Qos/AclHwStatus.h"
#include "Qos/IntfPolicerInfoStatus.h"
#include "QosSnmp/SnmpTables/TableEntry.h"
#include "Quill/Object.h"
#include "Quill/String.h"

namespace QosSnmp {

// The policer status of each member of one interface, by member. Iteration follows the member
// map's order: by the member's hash seeded per process (the process hash seed XOR 0x1e0f1c2f),
// then by member, so it does not depend on the order of edits but differs between runs; the
// "first member" is the first one it yields. Never holds a null status. Nothing subscribes to
// the members: rows read them when asked. The first member's status and counters are also kept
// beside the map, so that a row of a plain port (one member) reaches its counts in two steps, not
// through the map's node and the status. Agent's thread only.
class IntfPolicerInfoStatusColl : public Quill::Object,
                                  private Mox::Tracked<IntfPolicerInfoStatusColl> {
 public:
  static constexpr U32 memberSeed = 0x1e0f1c2f;
  using Map =
      Mox::WatchedMap<Linko::IntfId, Quill::Ptr<Qos::IntfPolicerInfoStatus const>, memberSeed>;
  static Mox::AllocationTracker memAllocationTracker_;

  const Map& intfPolicerInfoStatusColl() const noexcept { return members_; }
  // The member's status, or null.
  Quill::Ptr<Qos::IntfPolicerInfoStatus const> intfPolicerInfoStatusColl(Linko::IntfId id) const;
  // Sets or replaces the member's status; a null status removes the member (if present).
  void intfPolicerInfoStatusCollIs(Linko::IntfId id,
                                   Quill::Ptr<Qos::IntfPolicerInfoStatus const> status);
  // Removes the member and returns its status; null when absent.
  Quill::Ptr<Qos::IntfPolicerInfoStatus const> intfPolicerInfoStatusCollDel(Linko::IntfId id);
  void intfPolicerInfoStatusCollDelAll() {
    members_.clear();
    firstChanged();
  }
  // The first member's status and its counters; null when there is no member (or, for the
  // counters, when it has none).
  const Qos::IntfPolicerInfoStatus* first() const noexcept { return first_; }
  const Qos::IntfPolicerCounters* firstCounters() const noexcept { return firstCounters_; }

 private:
  void firstChanged() noexcept;

  Map members_;
  const Qos::IntfPolicerInfoStatus* first_ = nullptr;        // held by members_
  const Qos::IntfPolicerCounters* firstCounters_ = nullptr;  // held by *first_
};

Quill::Ptr<IntfPolicerInfoStatusColl> IntfPolicerInfoStatusCollIs();

// The ingress or egress policer statistics of one interface, keyed by its ifIndex.
//
// Counters: the members' counts of that name, in the collection's order, skipping members
// without counters. When the hardware counts each port channel member separately
// (aclHwStatus's interfacePolicingCountersPerLagMemberCounterInfo) they are summed (modulo
// 2^64); otherwise, or without aclHwStatus, the first member with counters supplies the value.
// 0 without a collection or members. Names: the first member's profile (policerProfile) or
// group policer (groupPolicer) name, "" when it has none or there is no member.
class IfPolicerStatsTableEntry
    : public TableEntry<IfPolicerStatsTableEntry, U32, Quill::Ptr<IntfPolicerInfoStatusColl>,
                        Quill::Ptr<Qos::AclHwStatus const>> {
 public:
  using TableEntry::TableEntry;
  static constexpr std::array argNames{"intfPolicerInfoStatusColl", "aclHwStatus"};
  static Mox::AllocationTracker memAllocationTracker_;

  U32 ifIndex() const noexcept { return index(); }
  const Quill::Ptr<IntfPolicerInfoStatusColl>& intfPolicerInfoStatusColl() const noexcept {
    return arg<0>();
  }
  const Quill::Ptr<Qos::AclHwStatus const>& aclHwStatus() const noexcept { return arg<1>(); }

  Mox::String policerProfile() const;
  Mox::String groupPolicer() const;
  U64 pktsDropped() const { return sum<&Qos::IntfPolicerCounters::pktsDropped>(); }
  U64 pktsSent() const { return sum<&Qos::IntfPolicerCounters::pktsSent>(); }
  U64 bytesDropped() const { return sum<&Qos::IntfPolicerCounters::bytesDropped>(); }
  U64 bytesSent() const { return sum<&Qos::IntfPolicerCounters::bytesSent>(); }
  U64 yellowPktsSent() const { return sum<&Qos::IntfPolicerCounters::yellowPktsSent>(); }
  U64 yellowBytesSent() const { return sum<&Qos::IntfPolicerCounters::yellowBytesSent>(); }

  // The collection, then its first member's status and counters.
  void warm(int depth) const noexcept {
    const IntfPolicerInfoStatusColl* coll = intfPolicerInfoStatusColl().get();
    if (depth == 0) {
      prefetchObject(coll);
    } else if (coll) {
      prefetchObject(coll->first());
      prefetchObject(coll->firstCounters());
    }
  }

 private:
  // The first member's name of this type, or "".
  Mox::String firstMemberName(InterfacePolicing::PolicerType type) const;
  template <auto Counter>
  U64 sum() const;
  bool countsPerLagMember() const noexcept {
    return aclHwStatus() && aclHwStatus()->interfacePolicingCountersPerLagMemberCounterInfo();
  }
};

template <auto Counter>
U64 IfPolicerStatsTableEntry::sum() const {
  const IntfPolicerInfoStatusColl* coll = intfPolicerInfoStatusColl().get();
  if (!coll) {
    return 0;
  }
  if (coll->intfPolicerInfoStatusColl().size() == 1) {  // a plain port: its counts, if any
    const Qos::IntfPolicerCounters* counters = coll->firstCounters();
    return counters ? (counters->*Counter)() : 0;
  }
  U64 total = 0;
  for (const auto& [member, status] : intfPolicerInfoStatusColl()->intfPolicerInfoStatusColl()) {
    const auto& counters = status->counters();
    if (!counters) {
      continue;
    }
    total += ((*counters).*Counter)();
    if (!countsPerLagMember()) {
      break;
    }
  }
  return total;
}

Quill::Ptr<IfPolicerStatsTableEntry> ifPolicerStatsTableEntryFactory(
    U32 ifIndex, Quill::Ptr<IntfPolicerInfoStatusColl> coll,
    Quill::Ptr<Qos::AclHwStatus const> aclHwStatus);

}  // namespace QosSnmp
