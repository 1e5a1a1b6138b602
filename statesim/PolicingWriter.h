// StateSim::PolicingWriter: the QoS agent's policing status and the interface MIB's ifIndex map,
// the inputs of the policing MIB's table state machines.
//
// It owns one Qos::Status, whose policingStatus is one Qos::PolicingStatus until restart()
// replaces it, one Qos::AclHwStatus and one IntfSnmp::IfMib; the agent hands them, read-only, to
// the state machines. The status source brings them to a new State key by key (StateDiff.h), so
// a watcher of a collection is told once about each key that changed and never about one that
// did not. Each edit makes the key's entry what `state` says:
//   - profileIs, instanceIs: a name that comes is set, one that goes is deleted, one whose state
//     changed is set to a new object (published objects are immutable).
//   - intfPolicerIs (intfPolicer for input, intfPolicerOutput for output, by (interface,
//     member)): the same, a new status object being made when the policer's names change or it
//     gains or loses counters. A change of the counts alone is written into the live counters
//     object in place and publishes nothing.
//   - ifIndexIs: the interface's ifIndex is set or deleted.
//   - lagCountersIs: interfacePolicingCountersPerLagMemberCounterInfo is written into the one
//     AclHwStatus in place (nobody watches it; the rows read it).
// Counters the file did not change keep the values tick() advanced them to. The status source
// applies policers before the ifIndex map, so an interface that goes with its policers loses its
// rows while its ifIndex still names them.
//
// tick() advances the counters of every interface policer that has them by one second of
// traffic. Single-threaded: the agent's thread; watchers run inside the edits.
#pragma once

#include <functional>

#include "IntfSnmp/IfMib.h"
#include "Qos/AclHwStatus.h"
#include "Qos/IntfPolicerInfoStatus.h"
#include "Qos/PolicingStatus.h"
#include "Qos/Status.h"
#include "Quill/Ptr.h"
#include "State.h"
#include "StateDiff.h"

namespace StateSim {

class PolicingWriter {
 public:
  // Empty status objects; the Status holds the policing status from here on.
  PolicingWriter();

  // The edits: each makes one key's entry what `entry` says (null: deleted; an interface without
  // an ifIndex loses its entry in the ifIndex map).
  void lagCountersIs(bool perMember);
  void profileIs(const PolicerProfileState* entry, const InterfacePolicing::PolicerName& name);
  void instanceIs(const PolicerInstanceState* entry, const InterfacePolicing::PolicerName& name);
  void intfPolicerIs(const IntfPolicerState* entry, const IntfPolicerKey& key);
  void ifIndexIs(const InterfaceState* entry, Linko::IntfId intf);
  // A restart of the QoS agent: its policing status is published anew, a new
  // Qos::PolicingStatus whose profiles, instances and interface policers (and their counters) are
  // all new objects with the values of those they replace (the counters with the counts the
  // state gave them: what tick() added is gone).
  // Watchers see one change, of Qos::Status's policingStatus. The ifIndex map and the AclHwStatus
  // are not the QoS agent's and stay.
  void restart();
  // The policing sections (policerProfiles, policerInstances, interfacePolicers) as the edits
  // applied made them: read back from the status objects, the counts as last written (not as
  // tick() has advanced them). The status objects are the only copy of these sections the source
  // keeps. In the collections' order: no key is compared, so the time is the copy's alone. Made
  // in slices: copies more of it into `snapshot` (empty at first), from where the last call
  // stopped, until `yield()` says so; true once it is complete. Nothing may be written between
  // the calls.
  bool policingSnapshotInto(PolicingSnapshot& snapshot, const std::function<bool()>& yield) const;
  // The same, whole, placed into `state`.
  void policingStateOf(State& state) const {
    PolicingSnapshot snapshot;
    policingSnapshotInto(snapshot, [] { return false; });
    placeInto(std::move(snapshot), state);
  }
  // Advances every interface policer's counters by one second of traffic.
  void tick();

  const Quill::Ptr<Qos::Status>& qosStatus() const noexcept { return status_; }
  const Quill::Ptr<Qos::PolicingStatus>& policingStatus() const noexcept { return policing_; }
  const Quill::Ptr<Qos::AclHwStatus>& aclHwStatus() const noexcept { return aclHwStatus_; }
  const Quill::Ptr<IntfSnmp::IfMib>& ifMib() const noexcept { return ifMib_; }
  // The live counters of an interface policer, or null when it has none.
  Quill::Ptr<Qos::IntfPolicerCounters const> counters(const IntfPolicerKey& key) const;

 private:
  // The live counters of an interface policer with the counts the state last gave them, which a
  // reload compares with and the snapshot reports (tick() advances the live ones alone). Made by
  // this writer only, and reached through the policer's status object: no map of their own.
  struct WrittenCounters final : Qos::IntfPolicerCounters {
    IntfPolicerCounts written;
  };
  static constexpr Qos::Direction directions[] = {Qos::Direction::directionInput_,
                                                  Qos::Direction::directionOutput_};
  // The interface policers of one direction.
  const Qos::PolicingStatus::IntfPolicerColl& collOf(Qos::Direction direction) const;
  // The counters of the status object in `status` (a collection's value), or null.
  static WrittenCounters* countersOf(const Quill::Ptr<Qos::IntfPolicerInfoStatus const>* status);

  // The edits, with `state`'s entry of the key (absent: deleted).
  void profileIs(const State& state, const InterfacePolicing::PolicerName& name);
  void instanceIs(const State& state, const InterfacePolicing::PolicerName& name);
  void intfPolicerIs(const State& state, const IntfPolicerKey& key);

  Quill::Ptr<Qos::Status> status_;
  Quill::Ptr<Qos::PolicingStatus> policing_;
  Quill::Ptr<Qos::AclHwStatus> aclHwStatus_;
  Quill::Ptr<IntfSnmp::IfMib> ifMib_;
  U64 ticks_ = 0;
};

// Orders the keys of the edits' policing sections and ifIndex map as the collections they are
// written into iterate (their hash order in this process), the keys that go before those that
// come or change as before, and sets edits.entries to where each key's entry is: applied in that
// order, each insert lands right after the previous one instead of at a random place in a large
// collection, and nothing is looked up. Safe on any thread of the process that applies the
// edits (the loader's).
void orderAsTheCollections(StateEdits& edits);

}  // namespace StateSim
