// StateSim::PolicingWriter: the QoS agent's policing status and the interface MIB's ifIndex map,
// the inputs of the policing MIB's table state machines.
//
// It owns one Qos::Status, whose policingStatus is one Qos::PolicingStatus until restart()
// replaces it, one Qos::AclHwStatus and one IntfSnmp::IfMib; the agent hands them, read-only, to
// the state machines. stateIs() brings them to a State key by key, so a watcher of a collection
// is told once about each key that changed and never about one that did not:
//   - profile, policerInstance: a name that comes is set, one that goes is deleted, one whose
//     state changed is set to a new object (published objects are immutable); an unchanged name
//     keeps its object.
//   - intfPolicer (input), intfPolicerOutput (output), by (interface, member): the same, a new
//     status object being made when the policer's names change or it gains or loses counters.
//     A change of the counts alone is written into the live counters object in place and
//     publishes nothing.
//   - ifIndexByIntfId: every interface that has an ifIndex; only interfaces whose ifIndex came,
//     went or changed are written.
//   - interfacePolicingCountersPerLagMemberCounterInfo is written into the one AclHwStatus in
//     place (nobody watches it; the rows read it).
// Counters the file did not change keep the values tick() advanced them to. Policers are
// applied before the ifIndex map, so an interface that goes with its policers loses its rows
// while its ifIndex still names them.
//
// tick() advances the counters of every interface policer that has them by one second of
// traffic. Single-threaded: the agent's thread; watchers run inside stateIs().
#pragma once

#include <map>

#include "IntfSnmp/IfMib.h"
#include "Qos/AclHwStatus.h"
#include "Qos/IntfPolicerInfoStatus.h"
#include "Qos/PolicingStatus.h"
#include "Qos/Status.h"
#include "Quill/Ptr.h"
#include "State.h"
#include "StatusObjects.h"

namespace StateSim {

class PolicingWriter {
 public:
  // Empty status objects; the Status holds the policing status from here on.
  PolicingWriter();

  // Applies the policing members of `state`: hardware flag, ifIndexes, profiles, instances and
  // interface policers.
  void stateIs(const State& state);
  // A restart of the QoS agent: its policing status is published anew, a new
  // Qos::PolicingStatus whose profiles, instances and interface policers (and their counters) are
  // all new objects, made from `state`. Watchers see one change, of Qos::Status's policingStatus.
  // The ifIndex map and the AclHwStatus are not the QoS agent's and stay.
  void restart(const State& state);
  // Advances every interface policer's counters by one second of traffic.
  void tick();

  const Quill::Ptr<Qos::Status>& qosStatus() const noexcept { return status_; }
  const Quill::Ptr<Qos::PolicingStatus>& policingStatus() const noexcept { return policing_; }
  const Quill::Ptr<Qos::AclHwStatus>& aclHwStatus() const noexcept { return aclHwStatus_; }
  const Quill::Ptr<IntfSnmp::IfMib>& ifMib() const noexcept { return ifMib_; }
  // The live counters of an interface policer, or null when it has none.
  Quill::Ptr<Qos::IntfPolicerCounters const> counters(const IntfPolicerKey& key) const {
    return counters_.find(key);
  }

 private:
  // What an interface policer's status object is made of; the counts live in counters_.
  struct IntfPolicerShape {
    Qos::IntfPolicerInfoStatus::PolicerNameMap names;
    bool counted = false;
    friend bool operator==(const IntfPolicerShape&, const IntfPolicerShape&) = default;
  };

  void profilesIs(const State& state);
  void instancesIs(const State& state);
  void intfPolicersIs(const State& state);
  void ifIndexesIs(const State& state);

  Quill::Ptr<Qos::Status> status_;
  Quill::Ptr<Qos::PolicingStatus> policing_;
  Quill::Ptr<Qos::AclHwStatus> aclHwStatus_;
  Quill::Ptr<IntfSnmp::IfMib> ifMib_;

  // What the collections hold, as last applied.
  std::map<InterfacePolicing::PolicerName, PolicerProfileState> profiles_;
  std::map<InterfacePolicing::PolicerName, PolicerInstanceState> instances_;
  std::map<IntfPolicerKey, IntfPolicerShape> intfPolicers_;
  std::map<Linko::IntfId, U32> ifIndexes_;
  StatusObjects<IntfPolicerKey, Qos::IntfPolicerCounters, IntfPolicerCounts> counters_;
  U64 ticks_ = 0;
};

}  // namespace StateSim
