#include "WaitingRequests.h"

#include <sys/socket.h>
#include <unistd.h>

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
  Agent::WaitingRequests waiting(0us, 0us);
  EXPECT_FALSE(waiting());  // nothing watched
  waiting.fdsIs({pair_[0]});
  EXPECT_FALSE(waiting());
  Send();
  EXPECT_TRUE(waiting());
  Receive();
  EXPECT_FALSE(waiting());
}

TEST_F(WaitingRequestsTest, PollsAtMostOncePerInterval) {
  Agent::WaitingRequests waiting(1h, 0us);
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

TEST_F(WaitingRequestsTest, EachSliceGetsItsMinimumOfWorkFirst) {
  Agent::WaitingRequests waiting(0us, 1h);
  waiting.fdsIs({pair_[0]});
  Send();
  EXPECT_FALSE(waiting());
  EXPECT_EQ(waiting.polls(), 0U);
}

}  // namespace
