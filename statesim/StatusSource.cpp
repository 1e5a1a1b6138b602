#include "StatusSource.h"

#include <algorithm>
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
  if (step == 0) {
    if (d.qosMibChanged || d.restarts) {
      qosMibIs(state);
    }
    if (d.lagCountersChanged || d.restarts) {
      policing_.lagCountersIs(state.hardware.interfacePolicingCountersPerLagMemberCounterInfo);
    }
    return true;
  }
  step -= 1;
  // The keys, in this order: policers before the ifIndex map, so that an interface that goes
  // with its policers loses its rows while its ifIndex still names them.
  if (step < d.profiles.size()) {
    policing_.profileIs(state, d.profiles[step]);
    return true;
  }
  step -= d.profiles.size();
  if (step < d.instances.size()) {
    policing_.instanceIs(state, d.instances[step]);
    return true;
  }
  step -= d.instances.size();
  if (step < d.intfPolicers.size()) {
    policing_.intfPolicerIs(state, d.intfPolicers[step]);
    return true;
  }
  step -= d.intfPolicers.size();
  if (step < d.ifIndexes.size()) {
    policing_.ifIndexIs(state, d.ifIndexes[step]);
    return true;
  }
  return false;
}

void StatusSource::qosMibIs(const State& state) {
  // Statistics first: the action rows of control-plane policy maps read their hardware status.
  stats_.stateIs(state, *qosMib_);
  config_.stateIs(state, stats_, *qosMib_);
  ecn_.stateIs(state, *qosMib_);
}

void StatusSource::tick() {
  stats_.tick();
  ecn_.tick();
  policing_.tick();
}

}  // namespace StateSim
