#include "WaitingRequests.h"

#include <sys/socket.h>
#include <unistd.h>

#include <thread>

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

class WaitingRequestsTest : public ::testing::Test {
 protected:
  WaitingRequestsTest() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, pair_), 0); }
  ~WaitingRequestsTest() override {
    close(pair_[0]);
    close(pair_[1]);
  }
  void Send() { ASSERT_EQ(write(pair_[1], "x", 1), 1); }
  void Receive() {
    char byte;
    ASSERT_EQ(read(pair_[0], &byte, 1), 1);
  }
  int pair_[2] = {-1, -1};
};

TEST_F(WaitingRequestsTest, SeesADatagramWaitingOnAWatchedSocket) {
  Agent::WaitingRequests waiting(0us, 0us, 0us);
  EXPECT_FALSE(waiting());  // nothing watched
  waiting.fdsIs({pair_[0]});
  EXPECT_FALSE(waiting());
  Send();
  EXPECT_TRUE(waiting());
  Receive();
  EXPECT_FALSE(waiting());
}

TEST_F(WaitingRequestsTest, PollsAtMostOncePerInterval) {
  Agent::WaitingRequests waiting(1h, 0us, 0us);
  waiting.fdsIs({pair_[0]});
  EXPECT_FALSE(waiting());
  Send();
  for (int i = 0; i < 1000; ++i) {
    EXPECT_FALSE(waiting()) << "the answer of the last poll, within the interval";
  }
  EXPECT_EQ(waiting.polls(), 1U);
  waiting.fdsIs({pair_[0]});  // a new slice polls again at once
  EXPECT_TRUE(waiting());
  EXPECT_EQ(waiting.polls(), 2U);
}

TEST_F(WaitingRequestsTest, ASliceWorksAsLongAsRequestsWereServedBeforeIt) {
  Agent::WaitingRequests waiting(0us, 0us, 1h);
  waiting.sliceEnded();
  std::this_thread::sleep_for(20ms);  // requests served between the slices
  waiting.fdsIs({pair_[0]});
  Send();
  EXPECT_FALSE(waiting()) << "the slice's own work comes first";
  EXPECT_EQ(waiting.polls(), 0U);
  std::this_thread::sleep_for(25ms);
  EXPECT_TRUE(waiting());
  // A slice right after the last one owes next to nothing.
  waiting.sliceEnded();
  waiting.fdsIs({pair_[0]});
  std::this_thread::sleep_for(1ms);
  EXPECT_TRUE(waiting());
}

TEST_F(WaitingRequestsTest, TheFloorAndTheCeilingBoundTheSlicesOwnWork) {
  Agent::WaitingRequests capped(0us, 0us, 1ms);
  capped.sliceEnded();
  std::this_thread::sleep_for(20ms);
  capped.fdsIs({pair_[0]});
  Send();
  std::this_thread::sleep_for(2ms);
  EXPECT_TRUE(capped()) << "no more than the ceiling";
  Agent::WaitingRequests floored(0us, 1h, 1h);
  floored.sliceEnded();
  floored.fdsIs({pair_[0]});
  EXPECT_FALSE(floored()) << "at least the floor";
}

}  // namespace
