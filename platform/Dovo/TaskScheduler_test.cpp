// The cooperative scheduler: run order, the owner's control over its task, and yielding.
#include "Dovo/TaskScheduler.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using Dovo::Task;
using Dovo::TaskScheduler;

class TaskSchedulerTest : public ::testing::Test {
 protected:
  // A task that logs its name each time it runs.
  Quill::Ptr<Task> Logging(const std::string& name, Dovo::TaskPriority priority) {
    return scheduler_->taskIs(name, priority, [this, name] { log_.push_back(name); });
  }
  // A task that handles items 0..n-1, yielding when the scheduler says so, resuming at a
  // bookmark. Each run's item count goes to runs_.
  Quill::Ptr<Task> Scan(int n) {
    scan_ = scheduler_->taskIs("scan", 1, [this, n] {
      int handled = 0;
      while (bookmark_ < n) {
        ++bookmark_;
        ++handled;
        if (bookmark_ < n && scan_->taskShouldYield()) {
          scan_->taskWorkPendingIs(true);
          scan_->scheduleTask();
          break;
        }
      }
      scan_->taskWorkCountInc(handled);
      runs_.push_back(handled);
    });
    return scan_;
  }

  Quill::Ptr<TaskScheduler> scheduler_ = Quill::make<TaskScheduler>("test");
  std::vector<std::string> log_;
  Quill::Ptr<Task> scan_;
  int bookmark_ = 0;
  std::vector<int> runs_;
};

TEST_F(TaskSchedulerTest, HigherPriorityRunsFirstThenFirstScheduledFirst) {
  auto low = Logging("low", 1);
  auto highA = Logging("highA", 5);
  auto mid = Logging("mid", 3);
  auto highB = Logging("highB", 5);
  low->scheduleTask();
  highB->scheduleTask();
  mid->scheduleTask();
  highA->scheduleTask();
  EXPECT_TRUE(scheduler_->runnable());
  EXPECT_EQ(scheduler_->runUntilIdle(), 4U);
  EXPECT_EQ(log_, (std::vector<std::string>{"highB", "highA", "mid", "low"}));
  EXPECT_FALSE(scheduler_->runnable());
}

TEST_F(TaskSchedulerTest, SchedulingIsIdempotentWhileQueuedAndRequeuesFromInsideARun) {
  int left = 3;
  Quill::Ptr<Task> a;
  a = scheduler_->taskIs("a", 2, [&] {
    log_.push_back("a");
    if (--left > 0) {
      a->scheduleTask();
    }
  });
  auto b = Logging("b", 2);
  a->scheduleTask();
  a->scheduleTask();
  EXPECT_TRUE(a->scheduled());
  b->scheduleTask();
  scheduler_->runUntilIdle();
  // a's second run queues behind b, which was scheduled while a's first run waited.
  EXPECT_EQ(log_, (std::vector<std::string>{"a", "b", "a", "a"}));
  EXPECT_EQ(a->runCount(), 3U);
  EXPECT_FALSE(a->scheduled());
}

TEST_F(TaskSchedulerTest, RunningStateIsVisibleOnlyDuringTheRun) {
  Quill::Ptr<Task> t;
  bool runningInside = false;
  const Task* currentInside = nullptr;
  t = scheduler_->taskIs("t", 1, [&] {
    runningInside = t->taskCurrentlyRunning();
    currentInside = scheduler_->currentTask();
  });
  t->scheduleTask();
  scheduler_->runUntilIdle();
  EXPECT_TRUE(runningInside);
  EXPECT_EQ(currentInside, t.get());
  EXPECT_FALSE(t->taskCurrentlyRunning());
  EXPECT_FALSE(t->taskShouldYield()) << "only a running task is asked to yield";
}

TEST_F(TaskSchedulerTest, ACancelledTaskNeverRunsAgain) {
  auto queued = Logging("queued", 1);
  queued->scheduleTask();
  queued->cancel();
  EXPECT_FALSE(scheduler_->runnable());
  queued->scheduleTask();
  EXPECT_FALSE(queued->scheduled());

  Quill::Ptr<Task> self;
  self = scheduler_->taskIs("self", 1, [&] {
    log_.push_back("self");
    self->scheduleTask();
    self->cancel();  // takes back the run just queued
    self->scheduleTask();
  });
  self->scheduleTask();
  EXPECT_EQ(scheduler_->runUntilIdle(), 1U);
  EXPECT_EQ(log_, (std::vector<std::string>{"self"}));
  EXPECT_TRUE(self->cancelled());
}

TEST_F(TaskSchedulerTest, TheOwnerMayDropItsTaskInsideTheRunOrWhileQueued) {
  struct Owner {
    Quill::Ptr<Task> task;
    int runs = 0;
  };
  auto owner = std::make_unique<Owner>();
  owner->task = scheduler_->taskIs("owned", 1, [&] {
    ++owner->runs;
    owner->task->scheduleTask();
    owner->task.reset();  // the scheduler's reference keeps the running task alive
  });
  owner->task->scheduleTask();
  EXPECT_EQ(scheduler_->runUntilIdle(), 1U) << "the queued rerun of a dropped task is discarded";
  EXPECT_EQ(owner->runs, 1);

  auto dropped = Logging("dropped", 1);
  dropped->scheduleTask();
  dropped.reset();
  EXPECT_EQ(scheduler_->runUntilIdle(), 0U);
  EXPECT_TRUE(log_.empty());
}

TEST_F(TaskSchedulerTest, ScriptedPolicyYieldsOnEveryKthCheckOfARun) {
  scheduler_->yieldPolicyIs(Dovo::yieldEvery(4));
  auto scan = Scan(10);
  scan->scheduleTask();
  EXPECT_EQ(scheduler_->runUntilIdle(), 3U);
  EXPECT_EQ(runs_, (std::vector<int>{4, 4, 2}));
  EXPECT_EQ(bookmark_, 10);
  EXPECT_EQ(scan->workCount(), 10U);
  EXPECT_TRUE(scan->taskWorkPending());
}

TEST_F(TaskSchedulerTest, DefaultPolicyYieldsOnceTheTimeSliceIsUsed) {
  scheduler_->timeSliceIs(2ms);
  std::chrono::steady_clock::time_point yielded;
  Quill::Ptr<Task> busy;
  busy = scheduler_->taskIs("busy", 1, [&] {
    while (!busy->taskShouldYield()) {
    }
    yielded = std::chrono::steady_clock::now();
  });
  busy->scheduleTask();
  auto before = std::chrono::steady_clock::now();
  scheduler_->runUntilIdle();
  auto ran = yielded - before;
  EXPECT_GE(ran, 2ms);
  EXPECT_GT(busy->yieldChecks(), 1U);
}

TEST_F(TaskSchedulerTest, RunForStopsOnceItsBudgetIsUsed) {
  scheduler_->timeSliceIs(1ms);
  std::vector<Quill::Ptr<Task>> tasks(3);
  for (size_t i = 0; i < tasks.size(); ++i) {
    tasks[i] = scheduler_->taskIs("busy", 1, [&tasks, i] {
      while (!tasks[i]->taskShouldYield()) {
      }
    });
    tasks[i]->scheduleTask();
  }
  EXPECT_EQ(scheduler_->runFor(1us), 1U) << "one run always happens, then the budget is gone";
  EXPECT_EQ(scheduler_->runFor(1s), 2U);
}

TEST_F(TaskSchedulerTest, AnInterruptEndsTheRunAndTheSliceAtOnce) {
  scheduler_->timeSliceIs(1h);  // only the interrupt can end the runs
  bool waiting = false;
  int checks = 0;
  scheduler_->interruptIs([&] {
    ++checks;
    return waiting;
  });
  auto scan = Scan(100);
  auto other = Logging("other", 1);
  scan->scheduleTask();
  other->scheduleTask();
  waiting = true;
  EXPECT_EQ(scheduler_->runFor(1h), 1U) << "the interrupted run ends runFor";
  EXPECT_TRUE(scheduler_->interrupted());
  EXPECT_EQ(runs_, (std::vector<int>{1}));
  EXPECT_TRUE(log_.empty());
  waiting = false;
  EXPECT_EQ(scheduler_->runFor(1h), 2U);
  EXPECT_FALSE(scheduler_->interrupted());
  EXPECT_EQ(runs_, (std::vector<int>{1, 99}));
  EXPECT_EQ(log_, (std::vector<std::string>{"other"}));
  EXPECT_EQ(checks, 1 + 98);
}

TEST_F(TaskSchedulerTest, TasksOutliveTheirSchedulerHarmlessly) {
  auto t = Logging("t", 1);
  t->scheduleTask();
  scheduler_.reset();
  EXPECT_FALSE(t->scheduled());
  t->scheduleTask();
  EXPECT_FALSE(t->scheduled());
}

TEST(TaskSchedulerDeathTest, RunUntilIdleStopsATaskThatReschedulesForever) {
  auto scheduler = Quill::make<TaskScheduler>("test");
  Quill::Ptr<Task> forever;
  forever = scheduler->taskIs("forever", 1, [&] { forever->scheduleTask(); });
  forever->scheduleTask();
  EXPECT_DEATH(scheduler->runUntilIdle(10), "a task keeps rescheduling itself");
}

TEST(TaskSchedulerRootTest, TheDefaultSchedulerIsCreatedOnce) {
  auto first = Dovo::TaskSchedulerRoot::findOrCreateScheduler();
  ASSERT_TRUE(first);
  EXPECT_EQ(first, Dovo::TaskSchedulerRoot::findOrCreateScheduler());
}

}  // namespace
