#include "Dovo/Task.h"

#include "Dovo/TaskScheduler.h"
#include "Quill/Ptr.h"

namespace Dovo {

Task::Task(TaskScheduler* scheduler, std::string name, TaskPriority priority,
           std::function<void()> run)
    : scheduler_(scheduler), name_(std::move(name)), priority_(priority), run_(std::move(run)) {}

Task::~Task() {
  if (scheduler_) {
    scheduler_->forget(*this);
  }
}

void Task::scheduleTask() {
  if (cancelled_ || scheduled_ || !scheduler_) {
    return;
  }
  scheduler_->enqueue(*this);
}

bool Task::taskShouldYield() const {
  if (!running_ || !scheduler_) {
    return false;
  }
  ++yieldChecks_;
  return scheduler_->shouldYield(*this);
}

void Task::cancel() {
  Quill::Ptr<Task> self(this);  // dequeuing may drop the scheduler's reference
  cancelled_ = true;
  if (scheduled_ && scheduler_) {
    scheduler_->dequeue(*this);
  }
  if (!running_) {
    run_ = nullptr;  // a running callback is released by the scheduler when it returns
  }
}

}  // namespace Dovo
