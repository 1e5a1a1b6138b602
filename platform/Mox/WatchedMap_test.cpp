// Watched status collections: the order that bookmarked scans rely on, the version in the
// header word, and notifications after each change.
#include "Mox/WatchedMap.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "InterfacePolicing/PolicerName.h"
#include "Linko/IntfId.h"
#include "Qos/IntfPairKey.h"

namespace Mox {
struct WatchedMapTestAccess {
  template <typename M>
  static void versionIs(M& m, U32 v) {
    m.version_ = v;
  }
};
}  // namespace Mox

namespace {

using Linko::IntfId;
using Quill::U32;
using IfIndexMap = Mox::WatchedMap<IntfId, U32>;

std::vector<IntfId> keysOf(const IfIndexMap& m) {
  std::vector<IntfId> keys;
  for (const auto& [k, v] : m) {
    keys.push_back(k);
  }
  return keys;
}

class WatchedMapTest : public ::testing::Test {
 protected:
  void Fill(U32 n) {
    for (U32 i = 1; i <= n; ++i) {
      map_.set(IntfId(i), 1000 + i);
    }
  }
  // Records, for each notification, the key and what a reader sees at that moment.
  void Watch() {
    sub_ = map_.changes().subscribe([this](const IntfId& k) {
      const U32* v = map_.find(k);
      seen_.push_back({k, v ? *v : 0, map_.version(), map_.size()});
    });
  }
  struct Seen {
    IntfId key;
    U32 value;  // 0: absent
    U32 version;
    size_t size;
  };

  IfIndexMap map_;
  Quill::Publisher<IntfId>::Subscription sub_;
  std::vector<Seen> seen_;
};

TEST_F(WatchedMapTest, OrderDependsOnTheKeysAloneNotOnInsertionOrder) {
  Fill(300);
  IfIndexMap reversed;
  for (U32 i = 300; i >= 1; --i) {
    reversed.set(IntfId(i), 0);
  }
  EXPECT_EQ(keysOf(map_), keysOf(reversed));
  std::vector<IntfId> sorted = keysOf(map_);
  std::sort(sorted.begin(), sorted.end());
  EXPECT_NE(keysOf(map_), sorted) << "order is by hash first, not by key";
}

// set() places a key after the one inserted last without a descent when it belongs there; any
// other order, deletions of that key, and replacements must give the same map.
TEST_F(WatchedMapTest, SettingInIterationOrderOrAnyOtherGivesTheSameMap) {
  Fill(500);
  const std::vector<IntfId> order = keysOf(map_);
  std::vector<IntfId> shuffled = order;
  std::reverse(shuffled.begin(), shuffled.begin() + 100);
  std::rotate(shuffled.begin() + 100, shuffled.begin() + 300, shuffled.end());

  IfIndexMap inOrder, mixed;
  for (size_t i = 0; i < order.size(); ++i) {
    EXPECT_TRUE(inOrder.set(order[i], 1000 + order[i].value()));
    EXPECT_TRUE(mixed.set(shuffled[i], 1000 + shuffled[i].value()));
    if (i % 7 == 3) {  // the key just inserted goes, and comes back on the next round
      EXPECT_TRUE(inOrder.del(order[i]));
      EXPECT_TRUE(inOrder.set(order[i], 1));
      EXPECT_TRUE(inOrder.set(order[i], 1000 + order[i].value()));  // replaced in place
    }
    if (i % 11 == 5) {  // a key inserted earlier goes; the next insert lands after it
      IntfId gone = order[i / 2];
      EXPECT_TRUE(inOrder.del(gone));
      EXPECT_TRUE(inOrder.set(gone, 1000 + gone.value()));
    }
  }
  EXPECT_FALSE(inOrder.set(order[0], 1000 + order[0].value())) << "the same value is no change";
  EXPECT_EQ(keysOf(inOrder), order);
  EXPECT_EQ(keysOf(mixed), order);
  for (const IntfId& k : order) {
    ASSERT_NE(inOrder.find(k), nullptr);
    EXPECT_EQ(*inOrder.find(k), 1000 + k.value());
    EXPECT_EQ(*mixed.find(k), 1000 + k.value());
  }
}

TEST_F(WatchedMapTest, ResumingAtADeletedBookmarkVisitsEveryRemainingKeyOnce) {
  Fill(200);
  std::multiset<IntfId> visited;
  auto it = map_.begin();
  for (int i = 0; i < 70; ++i, ++it) {
    visited.insert(it->first);
  }
  IntfId bookmark = it->first;
  IntfId alreadyVisited = map_.begin()->first;
  IntfId notYetVisited = std::next(it, 5)->first;
  ASSERT_TRUE(map_.del(bookmark));
  ASSERT_TRUE(map_.del(alreadyVisited));
  ASSERT_TRUE(map_.del(notYetVisited));

  for (auto r = map_.resumeAt(bookmark); r != map_.end(); ++r) {
    visited.insert(r->first);
  }
  visited.erase(alreadyVisited);
  std::vector<IntfId> remaining = keysOf(map_);
  std::sort(remaining.begin(), remaining.end());
  EXPECT_EQ(std::vector<IntfId>(visited.begin(), visited.end()), remaining);
}

TEST_F(WatchedMapTest, ResumeAtAPresentKeyStartsThere) {
  Fill(50);
  for (const auto& [k, v] : map_) {
    EXPECT_EQ(map_.resumeAt(k)->first, k);
  }
  map_.clear();
  EXPECT_EQ(map_.resumeAt(IntfId(3)), map_.end());
}

TEST_F(WatchedMapTest, EveryChangeCountsInTheHeaderVersion) {
  EXPECT_EQ(map_.header(), 0U);
  map_.set(IntfId(1), 10);                // insert
  map_.set(IntfId(1), 11);                // replace
  EXPECT_FALSE(map_.set(IntfId(1), 11));  // same value: no change
  EXPECT_FALSE(map_.del(IntfId(2)));
  EXPECT_TRUE(map_.del(IntfId(1)));
  EXPECT_EQ(map_.version(), 3U);
  EXPECT_EQ((map_.header() >> 8) & 0x7fffff, 3U);
  EXPECT_EQ(map_.header() & 0x800000ffU, 0U);

  Mox::WatchedMapTestAccess::versionIs(map_, 0x7fffff);
  EXPECT_EQ(map_.header(), 0x7fffffU << 8);
  map_.set(IntfId(1), 10);
  EXPECT_EQ(map_.version(), 0U) << "the version wraps within 23 bits";
  EXPECT_EQ(map_.header(), 0U);
}

TEST_F(WatchedMapTest, SubscribersSeeTheNewStateOncePerChange) {
  map_.set(IntfId(7), 1);
  Watch();
  map_.set(IntfId(5), 50);
  map_.set(IntfId(5), 51);
  map_.set(IntfId(5), 51);
  map_.del(IntfId(5));
  map_.del(IntfId(5));
  ASSERT_EQ(seen_.size(), 3U);
  EXPECT_EQ(seen_[0].key, IntfId(5));
  EXPECT_EQ(seen_[0].value, 50U);
  EXPECT_EQ(seen_[0].version, 2U);
  EXPECT_EQ(seen_[1].value, 51U) << "a replacement publishes once, after the change";
  EXPECT_EQ(seen_[2].value, 0U);
  EXPECT_EQ(seen_[2].size, 1U);
}

TEST_F(WatchedMapTest, ClearPublishesEachKeyAfterItsOwnRemoval) {
  Fill(4);
  std::vector<IntfId> order = keysOf(map_);
  Watch();
  map_.clear();
  ASSERT_EQ(seen_.size(), 4U);
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(seen_[i].key, order[i]);
    EXPECT_EQ(seen_[i].value, 0U);
    EXPECT_EQ(seen_[i].size, 3 - i);
  }
  EXPECT_TRUE(map_.empty());
}

TEST(WatchedMapKeysTest, StatusKeyTypesHashUnderTheirOwnSeed) {
  Mox::WatchedMap<Qos::IntfPairKey, int> members;
  members.set({IntfId(1), IntfId(2)}, 1);
  members.set({IntfId(2), IntfId(1)}, 2);
  EXPECT_EQ(*members.find({IntfId(2), IntfId(1)}), 2);
  Qos::IntfPairKey k12{IntfId(1), IntfId(2)};
  U32 seed = Mox::processHashSeed() ^ Mox::watchedMapDefaultTypeSeed;
  EXPECT_EQ((Mox::WatchedMap<Qos::IntfPairKey, int>::keyHash(k12)), k12.hash(seed));

  using InterfacePolicing::PolicerName;
  Mox::WatchedMap<PolicerName, std::string> names;
  Mox::WatchedMap<PolicerName, std::string, 0x1e0f1c2f> otherType;
  for (int i = 0; i < 64; ++i) {
    names.set(PolicerName("p" + std::to_string(i)), "");
    otherType.set(PolicerName("p" + std::to_string(i)), "");
  }
  EXPECT_TRUE(names.contains(PolicerName("p3")));
  EXPECT_FALSE(names.contains(PolicerName("p64")));
  EXPECT_FALSE(std::equal(names.begin(), names.end(), otherType.begin(),
                          [](const auto& a, const auto& b) { return a.first == b.first; }))
      << "each map type has its own order";
}

}  // namespace
