#include "Mox/RbTreeMap.h"

#include <vector>

#include <gtest/gtest.h>

namespace {

struct Key {
  int v;
  friend auto operator<=>(const Key&, const Key&) = default;
};

struct Row : Quill::Object, Mox::RbTreeNode {
  explicit Row(int v) : key{v} {}
  const Key& index() const { return key; }
  Key key;
};

using Map = Mox::RbTreeMap<Row, Key>;

class RbTreeMapTest : public ::testing::Test {
 protected:
  Quill::Ptr<Row> Insert(int v) {
    auto r = Quill::make<Row>(v);
    map.insert(r);
    return r;
  }
  std::vector<int> Keys() const {
    std::vector<int> out;
    for (const Row& r : map) {
      out.push_back(r.key.v);
    }
    return out;
  }
  Map map;
};

TEST_F(RbTreeMapTest, KeepsMembersInKeyOrderAndStepsBySuccessor) {
  for (int v : {5, 1, 9, 3, 7}) {
    Insert(v);
  }
  EXPECT_EQ(Keys(), (std::vector<int>{1, 3, 5, 7, 9}));
  std::vector<int> stepped;
  for (Row* r = map.first(); r; r = map.next(*r)) {
    stepped.push_back(r->key.v);
  }
  EXPECT_EQ(stepped, Keys());
}

TEST_F(RbTreeMapTest, PositionFindsTheMemberOrWhereItGoesWhateverTheOrderOfInserts) {
  // Ascending (the hint after the last insert is right), descending and scattered (it is not),
  // and with the last inserted member removed (no hint).
  for (int v : {10, 20, 30, 40, 5, 4, 35, 25, 1, 50}) {
    Map::Position at = map.position(Key{v});
    ASSERT_EQ(at.member, nullptr) << v;
    map.insertAt(Quill::make<Row>(v), at);
  }
  EXPECT_EQ(Keys(), (std::vector<int>{1, 4, 5, 10, 20, 25, 30, 35, 40, 50}));
  EXPECT_EQ(map.position(Key{25}).member->key.v, 25);
  EXPECT_EQ(map.position(Key{50}).member->key.v, 50);
  map.erase(Key{50});  // the last inserted
  map.erase(Key{1});
  EXPECT_EQ(map.position(Key{50}).member, nullptr);
  Insert(2);
  Insert(3);
  Insert(60);
  EXPECT_EQ(Keys(), (std::vector<int>{2, 3, 4, 5, 10, 20, 25, 30, 35, 40, 60}));
  EXPECT_EQ(map.position(Key{3}).member->key.v, 3);
  EXPECT_DEATH(Insert(3), "at.member");
}

TEST_F(RbTreeMapTest, BoundsDescendToTheNeighbours) {
  for (int v : {10, 20, 30}) {
    Insert(v);
  }
  EXPECT_EQ(map.lowerBound(Key{20})->key.v, 20);
  EXPECT_EQ(map.lowerBound(Key{21})->key.v, 30);
  EXPECT_EQ(map.upperBound(Key{20})->key.v, 30);
  EXPECT_EQ(map.upperBound(Key{30}), nullptr);
  EXPECT_EQ(map.lowerBound(Key{31}), nullptr);
  EXPECT_EQ(map.find(Key{15}), nullptr);
}

TEST_F(RbTreeMapTest, VersionChangesOnEveryInsertAndRemovalOnly) {
  Quill::U32 v0 = map.version();
  Insert(1);
  Quill::U32 v1 = map.version();
  EXPECT_NE(v0, v1);
  (void)map.find(Key{1});
  EXPECT_EQ(map.version(), v1);
  EXPECT_EQ(map.erase(Key{2}), nullptr);
  EXPECT_EQ(map.version(), v1);
  map.erase(Key{1});
  EXPECT_NE(map.version(), v1);
}

TEST_F(RbTreeMapTest, RemovedMemberStaysAliveForItsHolders) {
  auto held = Insert(4);
  EXPECT_EQ(held->refCount(), 2U);  // the map's and ours
  auto removed = map.erase(Key{4});
  EXPECT_EQ(removed, held);
  EXPECT_FALSE(held->is_linked());
  removed.reset();
  EXPECT_EQ(held->refCount(), 1U);
}

TEST_F(RbTreeMapTest, PublishesEachInsertedAndRemovedKey) {
  std::vector<int> keys;
  auto sub = map.changes().subscribe([&](const Key& k) { keys.push_back(k.v); });
  Insert(2);
  Insert(1);
  map.clear();
  EXPECT_EQ(keys, (std::vector<int>{2, 1, 1, 2}));
  EXPECT_TRUE(map.empty());
}

}  // namespace
