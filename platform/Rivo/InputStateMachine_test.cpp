// The reactive runtime's control record and the child state machine base.
#include "Rivo/InputStateMachine.h"

#include <stdexcept>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "Rivo/SmControl.h"

namespace {

// A child that records what its subscription hook was asked to do.
class WatchingSm : public Rivo::Gen::InputStateMachine {
 public:
  void hasNotificationActiveIs(bool active) override {
    calls.push_back(active);
    InputStateMachine::hasNotificationActiveIs(active);
  }
  std::vector<bool> calls;
};

TEST(InputStateMachineTest, TheSubscriptionHookIsTheDerivedMachines) {
  auto sm = Quill::make<WatchingSm>();
  EXPECT_FALSE(sm->hasNotificationActive());
  sm->hasNotificationActiveIs(true);
  EXPECT_TRUE(sm->hasNotificationActive());
  sm->hasNotificationActiveIs(false);
  EXPECT_FALSE(sm->hasNotificationActive());
  EXPECT_EQ(sm->calls, (std::vector<bool>{true, false}));
}

TEST(InputStateMachineTest, InReactorMarksTheMachineForItsScopeEvenOnExceptions) {
  auto sm = Quill::make<WatchingSm>();
  {
    Rivo::Gen::InReactor outer(*sm);
    EXPECT_TRUE(sm->inReactor());
    { Rivo::Gen::InReactor inner(*sm); }
    EXPECT_TRUE(sm->inReactor()) << "a nested reactor restores the outer one's mark";
  }
  EXPECT_FALSE(sm->inReactor());
  EXPECT_THROW(
      {
        Rivo::Gen::InReactor r(*sm);
        throw std::runtime_error("reactor failed");
      },
      std::runtime_error);
  EXPECT_FALSE(sm->inReactor());
}

TEST(SmControlTest, SynchronousModeOverridesTheClassDefaultOnlyWhenSet) {
  Rivo::SmControl c;
  EXPECT_FALSE(c.synchronous(false));
  EXPECT_TRUE(c.synchronous(true));
  c.synchronousMode = Rivo::SmControl::synchronousModeSynchronous;
  EXPECT_TRUE(c.synchronous(false));
  c.synchronousMode = Rivo::SmControl::synchronousModeAsynchronous;
  EXPECT_FALSE(c.synchronous(true));
}

TEST(SmControlTest, PrintsEveryField) {
  Rivo::SmControl c{Quill::make<Dovo::TaskScheduler>("agent"), 7, "Trace", 4, 2};
  EXPECT_EQ(fmt::format("{}", c),
            "SmControl(scheduler=agent, passThrough=7, traceName=Trace, priority=4, "
            "synchronousMode=2)");
  EXPECT_EQ(fmt::format("{}", Rivo::SmControl{}),
            "SmControl(scheduler=null, passThrough=0, traceName=, priority=0, synchronousMode=0)");
}

}  // namespace
