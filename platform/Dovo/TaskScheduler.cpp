#include "Dovo/TaskScheduler.h"

#include "Quill/Assert.h"

namespace Dovo {

YieldPolicy yieldEvery(U64 k) {
  QUILL_ASSERT(k >= 1);
  return [k](const Task& task) { return task.yieldChecks() % k == 0; };
}

TaskScheduler::TaskScheduler(std::string name, std::chrono::microseconds timeSlice)
    : name_(std::move(name)), timeSlice_(timeSlice) {}

TaskScheduler::~TaskScheduler() {
  for (Task* task : tasks_) {
    task->scheduler_ = nullptr;
    task->scheduled_ = false;
  }
  tasks_.clear();
  queue_.clear();
}

Quill::Ptr<Task> TaskScheduler::taskIs(std::string name, TaskPriority priority,
                                       std::function<void()> run) {
  Quill::Ptr<Task> task(new Task(this, std::move(name), priority, std::move(run)));
  tasks_.insert(task.get());
  return task;
}

void TaskScheduler::enqueue(Task& task) {
  task.queueSeq_ = nextSeq_++;
  task.scheduled_ = true;
  queue_.emplace(QueueKey(255 - task.priority_, task.queueSeq_), Quill::Ptr<Task>(&task));
}

void TaskScheduler::dequeue(Task& task) {
  task.scheduled_ = false;
  queue_.erase(QueueKey(255 - task.priority_, task.queueSeq_));
}

bool TaskScheduler::shouldYield(const Task& task) const {
  if (interrupt_ && interrupt_()) {
    interrupted_ = true;
    return true;
  }
  if (yieldPolicy_) {
    return yieldPolicy_(task);
  }
  return std::chrono::steady_clock::now() - runStart_ >= timeSlice_;
}

bool TaskScheduler::runOne() {
  auto first = queue_.begin();
  Quill::Ptr<Task> task = std::move(first->second);  // held until the run returns
  queue_.erase(first);
  task->scheduled_ = false;
  if (task->refCount() == 1) {
    return false;  // the owner dropped it: discard unrun
  }
  struct Running {
    TaskScheduler& scheduler;
    Task& task;
    ~Running() {
      task.running_ = false;
      scheduler.current_ = nullptr;
      if (task.cancelled_) {
        task.run_ = nullptr;
      }
    }
  } running{*this, *task};
  task->running_ = true;
  task->yieldChecks_ = 0;
  ++task->runCount_;
  current_ = task.get();
  runStart_ = std::chrono::steady_clock::now();
  task->run_();
  return true;
}

U64 TaskScheduler::runFor(std::chrono::microseconds budget) {
  QUILL_ASSERT(current_ == nullptr);  // no scheduler run inside a task's run
  auto start = std::chrono::steady_clock::now();
  U64 runs = 0;
  interrupted_ = false;
  while (!queue_.empty()) {
    if (runOne()) {
      ++runs;
    }
    if (interrupted_ || std::chrono::steady_clock::now() - start >= budget) {
      break;
    }
  }
  return runs;
}

U64 TaskScheduler::runUntilIdle(U64 maxRuns) {
  QUILL_ASSERT(current_ == nullptr);
  U64 runs = 0;
  while (!queue_.empty()) {
    if (runOne()) {
      ++runs;
      QUILL_ASSERT(runs <= maxRuns && "a task keeps rescheduling itself");
    }
  }
  return runs;
}

Quill::Ptr<TaskScheduler> TaskSchedulerRoot::findOrCreateScheduler() {
  static Quill::Ptr<TaskScheduler> scheduler = Quill::make<TaskScheduler>("default");
  return scheduler;
}

}  // namespace Dovo
