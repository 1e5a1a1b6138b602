// StateSim::StatusSource: plays the switch's QoS agent and the QoS MIB's writer.
//
// It owns the QoS agent's status objects (one Qos::ClassMapStatus per class map of the state)
// and the QosSnmp::QosMib entity, which it mounts at "snmp/qos/root" below the agent's root and
// fills: one class map table row per class map, pointing at that class map's status, and the
// cmapByStaticType member of each built-in control-plane class map.
//
// stateIs() applies a new State as key-level changes, as the real agent publishes edits: a class
// map that stays keeps its status object and its row, and a changed name or match condition is
// written into that status object in place (the row reads it at the next request); a class map
// that goes loses its row; a new one gets a status object and a row. Nothing is touched for a
// key whose state is unchanged, so a reload of the same file publishes no change at all.
//
// load() reads, parses and applies a state file. A bad file raises StateFileError and leaves the
// state in force as it was. Single-threaded: the agent's thread, between SNMP requests.
#pragma once

#include <map>
#include <string>

#include "Cordb/Dir.h"
#include "Qos/ClassMapStatus.h"
#include "QosMib.h"
#include "Quill/Ptr.h"
#include "State.h"

namespace StateSim {

class StatusSource {
 public:
  // Where the QoS MIB entity is mounted, relative to the agent's root.
  static constexpr const char* qosMibPath = "snmp/qos/root";

  // Creates the QoS MIB entity, empty, and mounts it below `root`. REQUIRES: root.
  explicit StatusSource(Quill::Ptr<Cordb::Dir> root);
  // Empties the tables and unmounts the entity.
  ~StatusSource();
  StatusSource(const StatusSource&) = delete;
  StatusSource& operator=(const StatusSource&) = delete;

  const Quill::Ptr<QosSnmp::QosMib>& qosMib() const noexcept { return qosMib_; }
  // The state in force (empty before the first stateIs or load).
  const State& state() const noexcept { return state_; }
  // The status object of a class map, or null.
  Quill::Ptr<Qos::ClassMapStatus const> classMap(const QosSnmp::ClassMapTableIndex& index) const;

  void stateIs(const State& state);
  // Reads the state file at `path` and applies it; on StateFileError nothing changes.
  void load(const std::string& path);

 private:
  void classMapsIs(const State& state);

  Quill::Ptr<Cordb::Dir> root_;
  Quill::Ptr<QosSnmp::QosMib> qosMib_;
  State state_;
  std::map<QosSnmp::ClassMapTableIndex, Quill::Ptr<Qos::ClassMapStatus>> classMaps_;
};

}  // namespace StateSim
