// Dovo::Task: a unit of cooperative work on a Dovo::TaskScheduler.
//
// A task is created by TaskScheduler::taskIs(name, priority, run) and held by its owner through
// Quill::Ptr. scheduleTask() makes it runnable; the scheduler later runs it once, which is one
// call of `run`. A run that has more to do calls scheduleTask() again before returning and
// leaves a bookmark of its own; long runs ask taskShouldYield() after each item and return when
// it says so.
//
// Ownership: the owner holds the task; the scheduler holds one more reference while the task is
// queued or running, so the owner may cancel or drop it even from inside its own run. A queued
// task that nobody but the scheduler holds any more is discarded unrun, so a run never calls
// into an owner that is gone. cancel() ends the task for good: it is taken off the queue and
// never runs again. The task refers to its scheduler without owning it; once the scheduler is
// destroyed, scheduleTask() does nothing.
//
// Single-threaded: only the scheduler's thread may touch a task.
#pragma once

#include <functional>
#include <string>

#include "Quill/IntTypes.h"
#include "Quill/Object.h"

namespace Dovo {

// Higher values run first.
using TaskPriority = U8;

class TaskScheduler;

class Task : public Quill::Object {
 public:
  const std::string& name() const noexcept { return name_; }
  TaskPriority priority() const noexcept { return priority_; }

  // Makes the task runnable. Idempotent while it is queued; from inside its own run it queues
  // the next run. Does nothing once cancelled or when the scheduler is gone.
  void scheduleTask();
  // Queued and waiting to run.
  bool scheduled() const noexcept { return scheduled_; }
  // True while the run callback executes.
  bool taskCurrentlyRunning() const noexcept { return running_; }
  // The scheduler's decision whether the running task should return now (its time slice is
  // used up, or the scheduler's yield policy says so). False when the task is not running.
  bool taskShouldYield() const;
  // Calls of taskShouldYield() during the current (or last) run; scripted yield policies use it.
  U64 yieldChecks() const noexcept { return yieldChecks_; }

  // Reports n items of work done; workCount() is the total over all runs.
  void taskWorkCountInc(U64 n) noexcept { workCount_ += n; }
  U64 workCount() const noexcept { return workCount_; }
  // Whether the task has work left (a yielded scan); informational.
  void taskWorkPendingIs(bool pending) noexcept { workPending_ = pending; }
  bool taskWorkPending() const noexcept { return workPending_; }
  // Runs completed or under way.
  U64 runCount() const noexcept { return runCount_; }

  // Ends the task: off the queue, never runs again. Safe from inside its own run.
  void cancel();
  bool cancelled() const noexcept { return cancelled_; }

 private:
  friend class TaskScheduler;
  Task(TaskScheduler* scheduler, std::string name, TaskPriority priority,
       std::function<void()> run);
  ~Task() override;

  TaskScheduler* scheduler_;  // null once the scheduler is destroyed
  const std::string name_;
  const TaskPriority priority_;
  std::function<void()> run_;
  U64 queueSeq_ = 0;  // position in the scheduler's queue while scheduled
  bool scheduled_ = false;
  bool running_ = false;
  bool cancelled_ = false;
  bool workPending_ = false;
  U64 runCount_ = 0;
  U64 workCount_ = 0;
  mutable U64 yieldChecks_ = 0;
};

}  // namespace Dovo
