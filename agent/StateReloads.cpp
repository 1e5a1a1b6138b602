#include "StateReloads.h"

namespace Agent {

StateReloads::StateReloads(StateSim::StatusSource& source, StateSim::StateLoader& loader,
                           Dovo::TaskScheduler& scheduler, Events events)
    : source_(source),
      loader_(loader),
      events_(std::move(events)),
      task_(scheduler.taskIs("qossnmpd-StateEditsTask", priority, [this] { applyRun(); })) {
  source_.retireIs(
      [this](std::shared_ptr<const StateSim::State> state) { loader_.retire(std::move(state)); });
}

StateReloads::~StateReloads() {
  task_->cancel();
  source_.retireIs(nullptr);
}

int StateReloads::fd() const {
  return applying_ ? -1 : loader_.fd();
}

void StateReloads::resultReady() {
  if (applying_) {
    return;
  }
  std::optional<Result> result = loader_.take();
  if (!result) {
    return;
  }
  if (!result->state) {
    events_.refused(*result);
    return;
  }
  source_.editsIs(result->state, std::move(result->diff));
  applying_ = std::move(result);
  task_->scheduleTask();
}

void StateReloads::applyRun() {
  Dovo::Task& task = *task_;
  if (!source_.applyEdits([&task] { return task.taskShouldYield(); })) {
    task.taskWorkPendingIs(true);
    task.scheduleTask();
    return;
  }
  task.taskWorkPendingIs(false);
  Result done = std::move(*applying_);
  applying_.reset();
  events_.applied(done);
}

}  // namespace Agent
