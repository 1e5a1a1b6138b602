// StateSim::StateDiff: what changed from one State to the next, as the keys a status source must
// touch. diff() is a pure function of two States: it runs where the file is read (the loader's
// thread), so that the agent's thread only applies what changed and never compares whole files.
//
//   - The policing collections are compared key by key: each list holds the keys whose entry
//     went (first, in key order), then those that came or changed (in key order); the new value
//     is read from the new State when the edit is applied. A key whose entry is the same in both
//     States is in no list.
//   - Class maps are compared key by key too: no other table derives from them.
//   - The rest of the QoS MIB is derived from several sections at once (applied classes join
//     policy maps, service policies and counters), so its writers run over the new State when
//     any of those sections changed (qosMibChanged), and not at all when none did.
//   - restarts: how many restarts of the QoS agent the new State plays (StatusSource.h).
//
// Pure functions, no state; safe on any thread.
#pragma once

#include <vector>

#include "State.h"

namespace StateSim {

struct StateDiff {
  // The QoS agent restarts to play before the edits.
  U64 restarts = 0;
  // Some section the QoS MIB is derived from, other than the class maps, differs (hardware,
  // interfaces, policy maps, service policies, class counters, ECN counters and queues).
  bool qosMibChanged = false;
  // interfacePolicingCountersPerLagMemberCounterInfo differs.
  bool lagCountersChanged = false;
  // Class maps that went, came or changed.
  std::vector<QosSnmp::ClassMapTableIndex> classMaps;
  std::vector<InterfacePolicing::PolicerName> profiles;
  std::vector<InterfacePolicing::PolicerName> instances;
  std::vector<IntfPolicerKey> intfPolicers;
  // Interfaces whose ifIndex came, went or changed.
  std::vector<Linko::IntfId> ifIndexes;

  // The number of key-level edits.
  size_t keys() const noexcept {
    return classMaps.size() + profiles.size() + instances.size() + intfPolicers.size() +
           ifIndexes.size();
  }
  // Nothing to apply at all.
  bool empty() const noexcept {
    return restarts == 0 && !qosMibChanged && !lagCountersChanged && keys() == 0;
  }

  friend bool operator==(const StateDiff&, const StateDiff&) = default;
};

// A diff with the new State's values for what it names: the entries of the keys it lists (a
// key it lists without an entry here went), the scalars (qosAgentRestarts, hardware), and,
// when qosMibChanged, the QoS MIB's other sections whole (interfaces, policy maps, service
// policies, class counters, ECN counters and queues). What the state reader process hands the
// agent: it carries what changed, not the file.
//
// `entries` says where the entries of the policing keys and ifIndex edits are in `values`, one
// per key in the diff's order (null: the key has none, it goes), so that applying them looks
// nothing up; orderAsTheCollections (PolicingWriter.h) fills it off the agent's thread. Empty
// lists mean "look the key up". It is derived from the rest and not part of the edits' value:
// equality ignores it, and a copy of the edits has none (its pointers would name the original).
struct EditEntries {
  std::vector<const PolicerProfileState*> profiles;
  std::vector<const PolicerInstanceState*> instances;
  std::vector<const IntfPolicerState*> intfPolicers;
  std::vector<const InterfaceState*> ifIndexes;

  EditEntries() = default;
  EditEntries(const EditEntries&) noexcept {}
  EditEntries& operator=(const EditEntries&) noexcept {
    *this = EditEntries();
    return *this;
  }
  EditEntries(EditEntries&&) noexcept = default;
  EditEntries& operator=(EditEntries&&) noexcept = default;
};

struct StateEdits {
  StateDiff diff;
  State values;
  EditEntries entries;

  friend bool operator==(const StateEdits& a, const StateEdits& b) {
    return a.diff == b.diff && a.values == b.values;
  }
};

// The most restarts one State plays.
inline constexpr U64 maxPlayedRestarts = 8;

// What changes from `before` to `after`. `first`: `after` is the first State applied (it plays no
// restart, and `before` is empty).
StateDiff diff(const State& before, const State& after, bool first);
// diff() with the values of `after` it names. The first edits (`first`, `before` empty) carry all
// of `after`.
StateEdits editsFrom(const State& before, const State& after, bool first);

}  // namespace StateSim
