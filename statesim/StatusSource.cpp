#include "StatusSource.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "Quill/Assert.h"
#include "StateSimTrace.h"

namespace StateSim {

StatusSource::StatusSource(Quill::Ptr<Cordb::Dir> root)
    : root_(std::move(root)),
      qosMib_(QosSnmp::qosMibFactory("root")),
      state_(std::make_shared<const State>()) {
  QUILL_ASSERT(root_);
  root_->mount(qosMibPath, qosMib_);
}

StatusSource::~StatusSource() {
  pending_.clear();  // edits not applied yet are dropped
  latest_ = state_;
  State none;  // and no restart to play
  none.qosAgentRestarts = state_->qosAgentRestarts;
  stateIs(none);
  if (root_->lookup(qosMibPath) == qosMib_) {
    root_->unmount(qosMibPath);
  }
}

void StatusSource::load(const std::string& path) {
  State state = readStateFile(path);
  QTRACE(trace(), 1, "Applying state file {}", path);
  stateIs(state);
}

void StatusSource::stateIs(const State& state) {
  const bool first = !latest_;
  auto next = std::make_shared<const State>(state);
  editsIs(next, diff(first ? State{} : *latest_, *next, first));
  applyEdits([] { return false; });
}

void StatusSource::editsIs(std::shared_ptr<const State> state, StateDiff diff) {
  QUILL_ASSERT(state);
  QTRACE(trace(), 1, "Applying {} key edits{}{}", diff.keys(),
         diff.qosMibChanged ? " and the QoS MIB" : "",
         diff.restarts ? fmt::format(" after {} restarts", diff.restarts) : "");
  latest_ = state;
  pending_.push_back(Pending{std::move(state), std::move(diff)});
}

bool StatusSource::applyEdits(const std::function<bool()>& yield) {
  while (!pending_.empty()) {
    Pending& p = pending_.front();
    while (applyStep(p, p.step++)) {
      if (yield()) {
        return false;
      }
    }
    std::shared_ptr<const State> replaced = std::exchange(state_, std::move(p.state));
    pending_.pop_front();
    if (retire_) {
      retire_(std::move(replaced));
    }
  }
  return true;
}

bool StatusSource::applyStep(const Pending& p, size_t step) {
  const State& state = *p.state;
  const StateDiff& d = p.diff;
  if (step < d.restarts) {
    QTRACE(trace(), 1, "Playing a restart of the QoS agent ({} of {})", step + 1, d.restarts);
    qosMibIs(State{});  // its status objects and rows go with it
    policing_.restart(state);
    return true;
  }
  step -= d.restarts;
  // The QoS MIB's three writers, one step each, then the LAG counter flag.
  const bool qosMib = d.qosMibChanged || d.restarts;
  if (step < 4) {
    if (step < 3 && qosMib) {
      qosMibIs(state, step);
    } else if (step == 3 && (d.lagCountersChanged || d.restarts)) {
      policing_.lagCountersIs(state.hardware.interfacePolicingCountersPerLagMemberCounterInfo);
    }
    return true;
  }
  step -= 4;
  // The keys, in this order: policers before the ifIndex map, so that an interface that goes
  // with its policers loses its rows while its ifIndex still names them.
  auto edit = [&step](const auto& keys, auto&& apply) {
    if (step < keys.size()) {
      apply(keys[step]);
      return true;
    }
    step -= keys.size();
    return false;
  };
  return edit(d.classMaps,
              [&](const auto& index) { config_.classMapIs(state, index, *qosMib_); }) ||
         edit(d.profiles, [&](const auto& name) { policing_.profileIs(state, name); }) ||
         edit(d.instances, [&](const auto& name) { policing_.instanceIs(state, name); }) ||
         edit(d.intfPolicers, [&](const auto& key) { policing_.intfPolicerIs(state, key); }) ||
         edit(d.ifIndexes, [&](const auto& intf) { policing_.ifIndexIs(state, intf); });
}

void StatusSource::qosMibIs(const State& state, std::optional<size_t> writer) {
  // Statistics first: the action rows of control-plane policy maps read their hardware status.
  if (!writer || *writer == 0) {
    stats_.stateIs(state, *qosMib_);
  }
  if (!writer || *writer == 1) {
    config_.stateIs(state, stats_, *qosMib_);
  }
  if (!writer || *writer == 2) {
    ecn_.stateIs(state, *qosMib_);
  }
}

void StatusSource::tick() {
  stats_.tick();
  ecn_.tick();
  policing_.tick();
}

}  // namespace StateSim
