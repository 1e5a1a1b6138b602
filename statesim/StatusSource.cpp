#include "StatusSource.h"

#include <algorithm>
#include <span>
#include <utility>

#include "CopyAfter.h"
#include "Quill/Assert.h"
#include "StateSimTrace.h"

namespace StateSim {

StatusSource::StatusSource(Quill::Ptr<Cordb::Dir> root)
    : root_(std::move(root)), qosMib_(QosSnmp::qosMibFactory("root")) {
  QUILL_ASSERT(root_);
  root_->mount(QosSnmp::QosMib::mountPath, qosMib_);
}

StatusSource::~StatusSource() {
  pending_.clear();  // edits not applied yet are dropped
  State none;        // and no restart to play
  none.qosAgentRestarts = state_.qosAgentRestarts;
  stateIs(none);
  if (root_->lookup(QosSnmp::QosMib::mountPath) == qosMib_) {
    root_->unmount(QosSnmp::QosMib::mountPath);
  }
}

StateSnapshot StatusSource::snapshot() const {
  StateSnapshot snapshot;
  snapshotInto(snapshot, [] { return false; });
  return snapshot;
}

bool StatusSource::snapshotInto(StateSnapshot& snapshot, const std::function<bool()>& yield) const {
  // The class maps and the policing sections are read back from the status objects, which are
  // all the source keeps of them; the other sections are copied.
  State& rest = snapshot.rest;
  auto classMapOf = [this](const auto& entry) {
    return config_.classMapState(entry.first, entry.second);
  };
  if (!(copySection(state_.interfaces, rest.interfaces, yield) &&
        copySection(config_.classMapSlots(), rest.classMaps, classMapOf, yield) &&
        copySection(state_.policyMaps, rest.policyMaps, yield) &&
        copySection(state_.servicePolicies, rest.servicePolicies, yield) &&
        copySection(state_.classCounters, rest.classCounters, yield) &&
        copySection(state_.ecnCounters, rest.ecnCounters, yield) &&
        copySection(state_.ecnQueues, rest.ecnQueues, yield) &&
        policing_.policingSnapshotInto(snapshot.policing, yield))) {
    return false;
  }
  rest.qosAgentRestarts = state_.qosAgentRestarts;
  rest.hardware = state_.hardware;
  return true;
}

void StatusSource::load(const std::string& path) {
  State state = readStateFile(path);
  QTRACE(trace(), 1, "Applying state file {}", path);
  stateIs(state);
}

void StatusSource::stateIs(const State& state) {
  applyEdits([] { return false; });
  editsIs(editsFrom(this->state(), state, !given_));
  applyEdits([] { return false; });
}

void StatusSource::editsIs(StateEdits edits) {
  const StateDiff& diff = edits.diff;
  QTRACE(trace(), 1, "Applying {} key edits{}{}", diff.keys(),
         diff.qosMibChanged ? " and the QoS MIB" : "",
         diff.restarts ? fmt::format(" and {} restarts", diff.restarts) : "");
  given_ = true;
  pending_.push_back(Pending{std::make_unique<StateEdits>(std::move(edits))});
}

bool StatusSource::applyEdits(const std::function<bool()>& yield) {
  while (!pending_.empty()) {
    Pending& p = pending_.front();
    while (applyStep(p, p.step++)) {
      if (yield()) {
        return false;
      }
    }
    std::unique_ptr<StateEdits> spent = std::move(p.edits);
    pending_.pop_front();
    if (retire_) {
      retire_(std::move(spent));
    }
  }
  return true;
}

bool StatusSource::applyStep(Pending& p, size_t step) {
  const StateDiff& d = p.edits->diff;
  State& values = p.edits->values;
  if (step == 0) {
    // The scalars, and the QoS MIB's sections when they changed: swapped in whole (what they
    // replace is released with the edits).
    state_.qosAgentRestarts = values.qosAgentRestarts;
    state_.hardware = values.hardware;
    if (d.qosMibChanged) {
      std::swap(state_.interfaces, values.interfaces);
      std::swap(state_.policyMaps, values.policyMaps);
      std::swap(state_.servicePolicies, values.servicePolicies);
      std::swap(state_.classCounters, values.classCounters);
      std::swap(state_.ecnCounters, values.ecnCounters);
      std::swap(state_.ecnQueues, values.ecnQueues);
    }
    // The class maps that go come first in the diff.
    p.classMapsGone = static_cast<size_t>(
        std::find_if(d.classMaps.begin(), d.classMaps.end(),
                     [&](const auto& index) { return values.classMaps.contains(index); }) -
        d.classMaps.begin());
    return true;
  }
  step -= 1;
  // Each following part is a run of steps; edit() applies the key of this step, or takes the
  // part's steps off `step` and says no.
  auto edit = [&step](const auto& keys, auto&& apply) {
    if (step < keys.size()) {
      apply(keys[step]);
      return true;
    }
    step -= keys.size();
    return false;
  };
  // Class maps that come or change before the QoS MIB's writers, those that go after them: a
  // class of a policy map never names a class map without a row, even between two steps.
  const std::span<const QosSnmp::ClassMapTableIndex> classMaps(d.classMaps);
  auto classMapIs = [&](const auto& index) {
    config_.classMapIs(entryOf(values.classMaps, index), index, *qosMib_);
  };
  if (edit(classMaps.subspan(p.classMapsGone), classMapIs)) {
    return true;
  }
  // The QoS MIB's three writers, one step each, then the LAG counter flag.
  if (step <= qosMibWriters) {
    if (step < qosMibWriters && d.qosMibChanged) {
      qosMibWriterIs(step, state_);
    } else if (step == qosMibWriters && d.lagCountersChanged) {
      policing_.lagCountersIs(state_.hardware.interfacePolicingCountersPerLagMemberCounterInfo);
    }
    return true;
  }
  step -= qosMibWriters + 1;
  // The keys, in this order: policers before the ifIndex map, so that an interface that goes
  // with its policers loses its rows while its ifIndex still names them. Class maps and the
  // policing keys are written from the edits' values into the status objects, which are all the
  // source keeps of them.
  // A policing key's entry: where the loader found it, else looked up.
  const EditEntries& at = p.edits->entries;
  auto entry = [&step](const auto& located, const auto& map, const auto& key) {
    return located.empty() ? entryOf(map, key) : located[step];
  };
  if (edit(classMaps.first(p.classMapsGone), classMapIs) ||
      edit(d.profiles,
           [&](const auto& name) {
             policing_.profileIs(entry(at.profiles, values.policerProfiles, name), name);
           }) ||
      edit(d.instances,
           [&](const auto& name) {
             policing_.instanceIs(entry(at.instances, values.policerInstances, name), name);
           }) ||
      edit(d.intfPolicers,
           [&](const auto& key) {
             policing_.intfPolicerIs(entry(at.intfPolicers, values.interfacePolicers, key), key);
           }) ||
      edit(d.ifIndexes, [&](const auto& intf) {
        policing_.ifIndexIs(entry(at.ifIndexes, state_.interfaces, intf), intf);
      })) {
    return true;
  }
  // Last, once the state in force is the new one whole: the restarts of the QoS agent.
  if (step < d.restarts) {
    QTRACE(trace(), 1, "Playing a restart of the QoS agent ({} of {})", step + 1, d.restarts);
    const ConfigWriter::ClassMaps classMaps = config_.classMapStates();
    config_.classMapsIs({}, *qosMib_);  // its status objects and rows go with it
    qosMibIs(State{});
    policing_.restart();
    qosMibIs(state_);
    config_.classMapsIs(classMaps, *qosMib_);
    return true;
  }
  return false;
}

void StatusSource::qosMibIs(const State& state) {
  for (size_t writer = 0; writer < qosMibWriters; ++writer) {
    qosMibWriterIs(writer, state);
  }
}

void StatusSource::qosMibWriterIs(size_t writer, const State& state) {
  // Statistics first: the action rows of control-plane policy maps read their hardware status.
  switch (writer) {
    case 0:
      stats_.stateIs(state, *qosMib_);
      break;
    case 1:
      config_.stateIs(state, stats_, *qosMib_);
      break;
    default:
      ecn_.stateIs(state, *qosMib_);
  }
}

void StatusSource::tick() {
  stats_.tick();
  ecn_.tick();
  policing_.tick();
}

}  // namespace StateSim
