#include "Quill/Publisher.h"

#include <optional>
#include <vector>

#include <gtest/gtest.h>

namespace {

TEST(PublisherTest, SubscribersSeeEachPublishUntilTheirSubscriptionGoes) {
  Quill::Publisher<int> pub;
  std::vector<int> seen;
  {
    auto sub = pub.subscribe([&](const int& v) { seen.push_back(v); });
    pub.publish(1);
    pub.publish(2);
  }
  pub.publish(3);
  EXPECT_EQ(seen, (std::vector<int>{1, 2}));
  EXPECT_EQ(pub.subscriberCount(), 0U);
}

TEST(PublisherTest, ACallbackMayUnsubscribeAnotherDuringPublish) {
  Quill::Publisher<int> pub;
  int secondCalls = 0;
  std::optional<Quill::Publisher<int>::Subscription> second;
  auto first = pub.subscribe([&](const int&) { second.reset(); });
  second = pub.subscribe([&](const int&) { ++secondCalls; });
  pub.publish(1);
  EXPECT_EQ(secondCalls, 0);
}

TEST(PublisherTest, SubscriptionMayOutliveItsPublisher) {
  Quill::Publisher<int>::Subscription sub;
  {
    Quill::Publisher<int> pub;
    sub = pub.subscribe([](const int&) {});
  }
  sub.reset();  // must not touch the destroyed publisher
  SUCCEED();
}

}  // namespace
