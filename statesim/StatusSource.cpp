#include "StatusSource.h"

#include <algorithm>

#include "Quill/Assert.h"
#include "StateSimTrace.h"

namespace StateSim {

StatusSource::StatusSource(Quill::Ptr<Cordb::Dir> root)
    : root_(std::move(root)), qosMib_(QosSnmp::qosMibFactory("root")) {
  QUILL_ASSERT(root_);
  root_->mount(qosMibPath, qosMib_);
}

StatusSource::~StatusSource() {
  stateIs(State{});
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
  for (U64 i = 0, n = restartsIn(state); i < n; ++i) {
    QTRACE(trace(), 1, "Playing a restart of the QoS agent ({} of {})", i + 1, n);
    qosMibIs(State{});  // its status objects and rows go with it
    policing_.restart(state);
  }
  qosMibIs(state);
  policing_.stateIs(state);
  state_ = state;
  applied_ = true;
}

U64 StatusSource::restartsIn(const State& state) const {
  if (!applied_ || state.qosAgentRestarts == state_.qosAgentRestarts) {
    return 0;
  }
  if (state.qosAgentRestarts < state_.qosAgentRestarts) {
    return 1;
  }
  return std::min(state.qosAgentRestarts - state_.qosAgentRestarts, maxPlayedRestarts);
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
