#include "StateReloads.h"

#include <memory>
#include <utility>

namespace Agent {

StateReloads::StateReloads(StateSim::StatusSource& source, StateSim::StateLoader& loader,
                           Dovo::TaskScheduler& scheduler, Events events)
    : source_(source),
      loader_(loader),
      events_(std::move(events)),
      task_(scheduler.taskIs("qossnmpd-StateEditsTask", priority, [this] { applyRun(); })) {
  source_.retireIs(
      [this](std::unique_ptr<StateSim::StateEdits> edits) { loader_.retire(std::move(edits)); });
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
  std::optional<StateSim::StateLoader::Result> result = loader_.take(applied_);
  if (!result) {
    return;
  }
  if (!result->edits) {
    events_.refused(result->error, !applied_);
    return;
  }
  if (result->whole && applied_) {
    // A new reader's first result: compared with the state in force on the loader's thread,
    // once the task has copied it; the edits come as the next result.
    whole_ = std::move(result->edits->values);
    loader_.retire(std::make_unique<StateSim::StateEdits>(std::move(*result->edits)));  // its keys
  } else {
    source_.editsIs(std::move(*result->edits));
  }
  applying_ = true;
  task_->scheduleTask();
}

void StateReloads::applyRun() {
  Dovo::Task& task = *task_;
  auto yield = [&task] { return task.taskShouldYield(); };
  if (whole_ ? !source_.snapshotInto(snapshot_, yield) : !source_.applyEdits(yield)) {
    task.taskWorkPendingIs(true);
    task.scheduleTask();
    return;
  }
  task.taskWorkPendingIs(false);
  applying_ = false;
  if (whole_) {
    loader_.compare(std::move(*whole_), std::exchange(snapshot_, {}));
    whole_.reset();
    return;
  }
  const bool initial = !std::exchange(applied_, true);
  events_.applied(initial);
}

}  // namespace Agent
