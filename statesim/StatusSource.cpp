#include "StatusSource.h"

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
  // Statistics first: the action rows of control-plane policy maps read their hardware status.
  stats_.stateIs(state, *qosMib_);
  config_.stateIs(state, stats_, *qosMib_);
  ecn_.stateIs(state, *qosMib_);
  policing_.stateIs(state);
  state_ = state;
}

void StatusSource::tick() {
  stats_.tick();
  ecn_.tick();
  policing_.tick();
}

}  // namespace StateSim
