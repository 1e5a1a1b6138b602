// Dovo::TaskScheduler: a small cooperative scheduler of Dovo::Tasks, run by the event loop.
//
// The loop calls runFor(budget) whenever runnable() is true. Runnable tasks run one at a time,
// highest priority first and first come, first served within a priority, each run being one
// call of the task's callback; nothing preempts a run. A run yields by returning (after
// scheduling itself again when it has more to do); taskShouldYield() tells it when: by default
// once the run has lasted the scheduler's time slice. Tests replace that decision with a
// scripted yield policy (yieldPolicyIs, yieldEvery) so that yielding is deterministic.
//
// TaskSchedulerRoot::findOrCreateScheduler() is the process-wide default scheduler, for
// components that are not given one.
//
// The scheduler owns a reference to each queued or running task (see Task's contract); the
// tasks' owners keep the scheduler alive. Single-threaded.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "Dovo/Task.h"
#include "Quill/IntTypes.h"
#include "Quill/Object.h"
#include "Quill/Ptr.h"

namespace Dovo {

// Decides whether the running task should yield now.
using YieldPolicy = std::function<bool(const Task&)>;

// A scripted policy: true on every k-th taskShouldYield() call within one run (k >= 1).
YieldPolicy yieldEvery(U64 k);

class TaskScheduler : public Quill::Object {
 public:
  static constexpr std::chrono::microseconds defaultTimeSlice{5000};
  // The bound of runUntilIdle: more runs than this means a task reschedules itself forever.
  static constexpr U64 defaultMaxIdleRuns = 1000000;

  explicit TaskScheduler(std::string name, std::chrono::microseconds timeSlice = defaultTimeSlice);
  ~TaskScheduler() override;

  const std::string& name() const noexcept { return name_; }
  std::chrono::microseconds timeSlice() const noexcept { return timeSlice_; }
  void timeSliceIs(std::chrono::microseconds slice) noexcept { timeSlice_ = slice; }

  // Creates an unscheduled task on this scheduler.
  Quill::Ptr<Task> taskIs(std::string name, TaskPriority priority, std::function<void()> run);

  // Some task is queued.
  bool runnable() const noexcept { return !queue_.empty(); }
  // Runs queued tasks until none is left or `budget` has passed (checked after each run, so a
  // runnable scheduler always runs at least one). Returns the number of runs.
  U64 runFor(std::chrono::microseconds budget);
  // Runs until nothing is runnable; returns the number of runs. Asserts after maxRuns runs.
  U64 runUntilIdle(U64 maxRuns = defaultMaxIdleRuns);

  // Replaces the time-slice decision; an empty policy restores it.
  void yieldPolicyIs(YieldPolicy policy) { yieldPolicy_ = std::move(policy); }
  // Something outside the scheduler wants the thread now (a request is waiting): asked by
  // taskShouldYield() while the slice lasts. When it answers true the running task yields and
  // runFor() returns after that run. It must be cheap: it is asked once per item of work.
  void interruptIs(std::function<bool()> interrupt) { interrupt_ = std::move(interrupt); }
  // The last runFor() ended early because the interrupt said so.
  bool interrupted() const noexcept { return interrupted_; }
  // The task whose callback is executing, or null.
  const Task* currentTask() const noexcept { return current_; }

 private:
  friend class Task;
  // Queue order: higher priority first, then first scheduled first.
  using QueueKey = std::pair<U8, U64>;  // (255 - priority, sequence number)

  void enqueue(Task& task);
  void dequeue(Task& task);
  void forget(Task& task) noexcept { tasks_.erase(&task); }
  bool shouldYield(const Task& task) const;
  // Runs the first queued task, if its owner still holds it. Returns whether it ran.
  bool runOne();

  const std::string name_;
  std::chrono::microseconds timeSlice_;
  YieldPolicy yieldPolicy_;
  std::function<bool()> interrupt_;
  mutable bool interrupted_ = false;
  std::map<QueueKey, Quill::Ptr<Task>> queue_;
  std::set<Task*> tasks_;  // every live task, to detach them when the scheduler goes
  U64 nextSeq_ = 0;
  Task* current_ = nullptr;
  std::chrono::steady_clock::time_point runStart_;
};

class TaskSchedulerRoot {
 public:
  // The process-wide default scheduler, created on first use.
  static Quill::Ptr<TaskScheduler> findOrCreateScheduler();
};

}  // namespace Dovo
