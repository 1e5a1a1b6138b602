// StateSim::StatusSource: plays the switch's QoS agent and the QoS MIB's writer.
//
// It owns the QoS agent's status objects and the QosSnmp::QosMib entity, which it mounts at
// "snmp/qos/root" below the agent's root and fills: all eleven QoS MIB tables, and the
// cmapByStaticType member of each built-in control-plane class map. ConfigWriter, StatsWriter
// and EcnWriter say which objects and rows a state makes.
//
// It also publishes the switch's policing status, which the policing MIB's table state machines
// watch: qosStatus() (whose policingStatus is replaced only by a restart),
// aclHwStatus() and ifMib(), read-only and alive as long as the source. PolicingWriter says how
// a state reaches their collections, one notification per changed key.
//
// A new State is applied as key-level changes, as the real agent publishes edits: a key
// that stays keeps its status object and its row, and a changed value is written into that
// status object in place (the row reads it at the next request); a row whose constructor
// arguments change (another status object, a changed ifIndex or entity code) is deleted and
// created again; a key that goes loses its objects and rows; a new key gets them. Nothing is
// touched for a key whose state is unchanged, so a reload of the same file publishes no change
// at all and keeps the counts tick() has advanced.
//
// What changed is found apart from applying it (StateDiff.h): the agent reads and compares the
// file in another process and hands the edits (the diff and the values it names) to editsIs();
// applyEdits() then applies them on the agent's thread, a key at a time, writing each key's new
// entry into its status objects (for class maps and policing keys, the only copy the source
// keeps), and stopping whenever its caller's yield() says so (a scheduler task), so that
// a reload in which one key changed costs one key's work here.
// Class maps are edited key by key as well; the rest of the QoS MIB's tables are derived from
// several sections at once: each of its three writers runs in one step, and only when one of
// their sections changed. stateIs() does all of it at once.
//
// A restart of the switch's QoS agent is played when a state's qosAgentRestarts differs from the
// one in force (never at the first state), once the edits are in: the QoS agent's status objects
// and QoS MIB rows are removed and made again from the new state, and its policing status is
// replaced by a new Qos::PolicingStatus (PolicingWriter::restart). A number that grew by k plays
// k restarts in a row (at most maxPlayedRestarts); one that went down plays one.
//
// load() reads, parses and applies a state file. A bad file raises StateFileError and leaves the
// state in force as it was. tick() advances the counters by one second of traffic (the agent
// calls it once a second under --live). Single-threaded: the agent's thread, between SNMP
// requests.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "ConfigWriter.h"
#include "Cordb/Dir.h"
#include "EcnWriter.h"
#include "PolicingWriter.h"
#include "QosSnmp/QosMib/QosMib.h"
#include "Quill/Ptr.h"
#include "State.h"
#include "StateDiff.h"
#include "StatsWriter.h"

namespace StateSim {

class StatusSource {
 public:
  // Creates the QoS MIB entity, empty, and mounts it below `root` at its mountPath. REQUIRES: root.
  explicit StatusSource(Quill::Ptr<Cordb::Dir> root);
  // Empties the tables and unmounts the entity.
  ~StatusSource();
  StatusSource(const StatusSource&) = delete;
  StatusSource& operator=(const StatusSource&) = delete;

  const Quill::Ptr<QosSnmp::QosMib>& qosMib() const noexcept { return qosMib_; }
  // The state in force: what has been applied (empty before the first state; while edits are
  // being applied, the keys applied so far are new). Its class maps and policing sections are read
  // back from the status objects: a copy, made in time n log n in the state (placed() sorts).
  State state() const { return placed(snapshot()); }
  // The same, with the policing sections not yet sorted into maps (placed() does that, on any
  // thread): what the agent's thread can afford to take of a large state.
  StateSnapshot snapshot() const;
  // The same, made in slices: copies more of it into `snapshot` (empty at first), from where the
  // last call stopped, until `yield()` says so; true once it is complete. No edit may be applied
  // between the calls.
  bool snapshotInto(StateSnapshot& snapshot, const std::function<bool()>& yield) const;
  // The status object of a class map, or null.
  Quill::Ptr<Qos::ClassMapStatus const> classMap(const QosSnmp::ClassMapTableIndex& index) const {
    return config_.classMap(index);
  }
  const ConfigWriter& config() const noexcept { return config_; }
  const StatsWriter& stats() const noexcept { return stats_; }
  const EcnWriter& ecn() const noexcept { return ecn_; }
  const PolicingWriter& policing() const noexcept { return policing_; }

  // The QoS agent's status; its policingStatus changes only when a restart is played. Never null.
  Quill::Ptr<Qos::Status const> qosStatus() const { return policing_.qosStatus(); }
  // The hardware's policing capabilities, written in place on each state. Never null.
  Quill::Ptr<Qos::AclHwStatus const> aclHwStatus() const { return policing_.aclHwStatus(); }
  // The interface MIB's ifIndex map. Never null.
  Quill::Ptr<IntfSnmp::IfMib const> ifMib() const { return policing_.ifMib(); }

  // Applies `state` at once.
  void stateIs(const State& state);
  // Starts applying `edits`, taken against the state in force (or, while edits are pending,
  // against the state they lead to); applyEdits() applies them.
  void editsIs(StateEdits edits);
  // Applies pending edits, in order, until none is left (true: every edit given to editsIs is
  // in force) or `yield()` answers true after an edit (false: call again).
  bool applyEdits(const std::function<bool()>& yield);
  // Where edits go once applied (holding what they replaced); by default they are released
  // here. The agent hands them to the loader's thread: freeing large sections takes time.
  void retireIs(std::function<void(std::unique_ptr<StateEdits>)> retire) {
    retire_ = std::move(retire);
  }
  // Reads the state file at `path` and applies it; on StateFileError nothing changes.
  void load(const std::string& path);
  // Advances every counter by one second of traffic.
  void tick();

 private:
  Quill::Ptr<Cordb::Dir> root_;
  Quill::Ptr<QosSnmp::QosMib> qosMib_;
  // Edits being applied and how far they have come.
  struct Pending {
    std::unique_ptr<StateEdits> edits;
    // The next of applyStep's: scalars, class maps that come or change, QoS MIB writers, LAG
    // flag, class maps that go, the policing keys, the restarts.
    size_t step = 0;
    size_t classMapsGone = 0;  // how many of the diff's class maps go (set by the first step)
  };
  // Applies step `step` of `p`; false when there is none.
  bool applyStep(Pending& p, size_t step);
  // The QoS MIB's writers: statistics, configuration and ECN, in this order.
  static constexpr size_t qosMibWriters = 3;
  // Applies the QoS MIB part of `state`: each writer in turn.
  void qosMibIs(const State& state);
  // Applies `state` through the `writer`th of them.
  void qosMibWriterIs(size_t writer, const State& state);

  State state_;  // the state in force, but for its class maps and policing sections (see state())
  bool given_ = false;  // edits were given: the next state is not the first
  std::deque<Pending> pending_;
  std::function<void(std::unique_ptr<StateEdits>)> retire_;
  StatsWriter stats_;
  ConfigWriter config_;
  EcnWriter ecn_;
  PolicingWriter policing_;
};

}  // namespace StateSim
