#include "StateDiff.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace StateSim {

namespace {

// Appends to `keys` every key whose entry differs between the ordered maps `a` and `b`: first
// those only `a` has (removals), then those only `b` has or that `b` holds other values for,
// each group in key order. One merge pass.
template <typename Map, typename Same>
void changedKeys(const Map& a, const Map& b, Same&& same,
                 std::vector<typename Map::key_type>& keys) {
  std::vector<typename Map::key_type> set;
  auto ia = a.begin();
  auto ib = b.begin();
  const auto less = a.key_comp();
  while (ia != a.end() || ib != b.end()) {
    if (ib == b.end() || (ia != a.end() && less(ia->first, ib->first))) {
      keys.push_back((ia++)->first);
    } else if (ia == a.end() || less(ib->first, ia->first)) {
      set.push_back((ib++)->first);
    } else {
      if (!same(ia->second, ib->second)) {
        set.push_back(ia->first);
      }
      ++ia;
      ++ib;
    }
  }
  keys.insert(keys.end(), std::make_move_iterator(set.begin()), std::make_move_iterator(set.end()));
}

template <typename Map>
void changedKeys(const Map& a, const Map& b, std::vector<typename Map::key_type>& keys) {
  changedKeys(
      a, b, [](const auto& x, const auto& y) { return x == y; }, keys);
}

// The QoS MIB's view of the hardware: everything but the policing flag, which the policing
// status carries.
bool sameQosHardware(const HardwareState& a, const HardwareState& b) {
  HardwareState x = a;
  x.interfacePolicingCountersPerLagMemberCounterInfo =
      b.interfacePolicingCountersPerLagMemberCounterInfo;
  return x == b;
}

U64 restartsIn(const State& before, const State& after, bool first) {
  if (first || after.qosAgentRestarts == before.qosAgentRestarts) {
    return 0;
  }
  if (after.qosAgentRestarts < before.qosAgentRestarts) {
    return 1;
  }
  return std::min(after.qosAgentRestarts - before.qosAgentRestarts, maxPlayedRestarts);
}

}  // namespace

StateDiff diff(const State& before, const State& after, bool first) {
  StateDiff d;
  d.restarts = restartsIn(before, after, first);
  d.qosMibChanged =
      !sameQosHardware(before.hardware, after.hardware) || before.interfaces != after.interfaces ||
      before.policyMaps != after.policyMaps || before.servicePolicies != after.servicePolicies ||
      before.classCounters != after.classCounters || before.ecnCounters != after.ecnCounters ||
      before.ecnQueues != after.ecnQueues;
  changedKeys(before.classMaps, after.classMaps, d.classMaps);
  d.lagCountersChanged = before.hardware.interfacePolicingCountersPerLagMemberCounterInfo !=
                         after.hardware.interfacePolicingCountersPerLagMemberCounterInfo;
  changedKeys(before.policerProfiles, after.policerProfiles, d.profiles);
  changedKeys(before.policerInstances, after.policerInstances, d.instances);
  changedKeys(before.interfacePolicers, after.interfacePolicers, d.intfPolicers);
  changedKeys(
      before.interfaces, after.interfaces,
      [](const InterfaceState& x, const InterfaceState& y) { return x.ifIndex == y.ifIndex; },
      d.ifIndexes);
  // An interface without ifIndex on both sides has none to change.
  std::erase_if(d.ifIndexes, [&](Linko::IntfId intf) {
    auto x = before.interfaces.find(intf);
    auto y = after.interfaces.find(intf);
    return (x == before.interfaces.end() || !x->second.ifIndex) &&
           (y == after.interfaces.end() || !y->second.ifIndex);
  });
  return d;
}

StateEdits editsFrom(const State& before, const State& after, bool first) {
  StateEdits edits{diff(before, after, first), State{}, {}};
  const StateDiff& d = edits.diff;
  State& v = edits.values;
  v.qosAgentRestarts = after.qosAgentRestarts;
  v.hardware = after.hardware;
  if (d.qosMibChanged) {
    v.interfaces = after.interfaces;
    v.policyMaps = after.policyMaps;
    v.servicePolicies = after.servicePolicies;
    v.classCounters = after.classCounters;
    v.ecnCounters = after.ecnCounters;
    v.ecnQueues = after.ecnQueues;
  }
  auto copy = [](const auto& keys, const auto& from, auto& to) {
    for (const auto& key : keys) {
      if (auto it = from.find(key); it != from.end()) {
        to.emplace_hint(to.end(), *it);
      }
    }
  };
  copy(d.classMaps, after.classMaps, v.classMaps);
  copy(d.profiles, after.policerProfiles, v.policerProfiles);
  copy(d.instances, after.policerInstances, v.policerInstances);
  copy(d.intfPolicers, after.interfacePolicers, v.interfacePolicers);
  return edits;
}

}  // namespace StateSim
