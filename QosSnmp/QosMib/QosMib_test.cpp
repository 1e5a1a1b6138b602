#include "QosSnmp/QosMib/QosMib.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace QosSnmp;

class QosMibTest : public ::testing::Test {
 protected:
  Quill::Ptr<Qos::ClassMapStatus const> Status(const char* name) {
    return Quill::make<Qos::ClassMapStatus>(name);
  }
  Quill::Ptr<QosMib> mib = QosMibIs("root");
};

TEST_F(QosMibTest, IsIsIdempotentForTheSameArguments) {
  auto s = Status("voice");
  ClassMapTableIndex key("cm1", Qos::MapType::mapQos_);
  auto first = mib->classMapTableIs(key, s);
  auto again = mib->classMapTableIs(key, s);
  EXPECT_EQ(first, again);
  EXPECT_EQ(mib->classMapTable().size(), 1U);
  EXPECT_EQ(mib->classMapTable(key), first);
}

TEST_F(QosMibTest, ReinstantiatingARowWithOtherArgumentsFailsAndKeepsTheRow) {
  ClassMapTableIndex key("cm1", Qos::MapType::mapQos_);
  auto original = mib->classMapTableIs(key, Status("voice"));
  try {
    mib->classMapTableIs(key, Status("voice"));
    ADD_FAILURE() << "re-created with another status object";
  } catch (const Mox::MutatorReinstantiationException& e) {
    EXPECT_STREQ(e.what(),
                 "QosSnmp::QosMib::classMapTable: row classMapId=\"cm1\", classMapType=mapQos_ "
                 "exists with another classMap; delete it before re-creating it");
  }
  EXPECT_EQ(mib->classMapTable(key), original);
}

TEST_F(QosMibTest, ReinstantiationNamesTheFirstDifferingArgument) {
  auto map = Quill::make<Qos::PolicyMapStatus>("pm");
  PolicyMapClassTableIndex key("pm", Qos::MapType::mapQos_, 1);
  mib->policyMapClassTableIs(key, map, "cm");
  EXPECT_EQ(mib->policyMapClassTableIs(key, map, "cm"), mib->policyMapClassTable(key));
  try {
    mib->policyMapClassTableIs(key, map, "other");
    ADD_FAILURE() << "re-created with another class map name";
  } catch (const Mox::MutatorReinstantiationException& e) {
    EXPECT_NE(std::string(e.what()).find("exists with another classMapName;"), std::string::npos)
        << e.what();
  }
}

// The table handed to generic code is the entity's own: its changes are the entity's.
TEST_F(QosMibTest, TableCollectionIsTheEntitysTable) {
  std::vector<Quill::U32> attrs;
  auto sub = mib->changes().subscribe([&](const Quill::U32& a) { attrs.push_back(a); });
  MibTable<ClassMapTableEntry>& table = mib->classMapTableColl();
  EXPECT_EQ(table.name(), "classMapTable");
  table.is(ClassMapTableIndex("b", Qos::MapType::mapQos_), Status("b"));
  table.is(ClassMapTableIndex("a", Qos::MapType::mapQos_), Status("a"));
  EXPECT_EQ(mib->classMapTable().size(), 2U);
  EXPECT_EQ(table.begin()->index().classMapId, "a");
  EXPECT_EQ(table.del(table.begin())->index().classMapId, "a");
  EXPECT_EQ(table.find(ClassMapTableIndex("a", Qos::MapType::mapQos_)), nullptr);
  EXPECT_EQ(attrs, std::vector<Quill::U32>(3, QosMib::classMapTableAttr));
}

TEST_F(QosMibTest, DelOfAnAbsentKeyReturnsNullAndChangesNothing) {
  mib->classMapTableIs(ClassMapTableIndex("cm1", Qos::MapType::mapQos_), Status("a"));
  Quill::U32 version = mib->classMapTable().version();
  EXPECT_EQ(mib->classMapTableDel(ClassMapTableIndex("cm2", Qos::MapType::mapQos_)), nullptr);
  EXPECT_EQ(mib->classMapTable().version(), version);
  EXPECT_EQ(mib->classMapTable().size(), 1U);
}

TEST_F(QosMibTest, MutatorsNotifyTheEntityOncePerChangedRow) {
  std::vector<Quill::U32> attrs;
  auto sub = mib->changes().subscribe([&](const Quill::U32& a) { attrs.push_back(a); });
  auto s = Status("a");
  mib->classMapTableIs(ClassMapTableIndex("cm1", Qos::MapType::mapQos_), s);
  mib->classMapTableIs(ClassMapTableIndex("cm1", Qos::MapType::mapQos_), s);
  mib->classMapTableIs(ClassMapTableIndex("cm2", Qos::MapType::mapQos_), s);
  mib->classMapTableDelAll();
  EXPECT_EQ(attrs, std::vector<Quill::U32>(4, QosMib::classMapTableAttr));
  EXPECT_TRUE(mib->classMapTable().empty());
}

TEST_F(QosMibTest, RowsReadTheirStatusWhenAsked) {
  auto s = Quill::make<Qos::ClassMapStatus>("before");
  auto row = mib->classMapTableIs(ClassMapTableIndex("cm1", Qos::MapType::mapQos_),
                                  Quill::Ptr<Qos::ClassMapStatus const>(s));
  s->nameIs("after");
  s->matchConditionIs(Qos::ClassMapMatchCondition::matchConditionAll_);
  EXPECT_EQ(row->classMapName(), "after");
  EXPECT_EQ(row->classMapMatchCondition(), Qos::ClassMapMatchCondition::matchConditionAll_);
  auto bare = mib->classMapTableIs(ClassMapTableIndex("cm2", Qos::MapType::mapQos_), nullptr);
  EXPECT_EQ(bare->classMapName(), "");
  EXPECT_EQ(bare->classMapMatchCondition(), Qos::ClassMapMatchCondition{});
}

TEST_F(QosMibTest, DestroyingTheEntityReleasesEveryRow) {
  Quill::U64 live = ClassMapTableEntry::memAllocationTracker_.live();
  mib->classMapTableIs(ClassMapTableIndex("cm1", Qos::MapType::mapQos_), Status("a"));
  EXPECT_EQ(ClassMapTableEntry::memAllocationTracker_.live(), live + 1);
  mib.reset();
  EXPECT_EQ(ClassMapTableEntry::memAllocationTracker_.live(), live);
}

TEST_F(QosMibTest, CmapByStaticTypeSetsReplacesAndDeletes) {
  using Qos::ClassMapCpStaticType;
  int changes = 0;
  auto sub = mib->changes().subscribe([&](const Quill::U32&) { ++changes; });
  mib->cmapByStaticTypeIs(ClassMapCpStaticType::cmapCpStaticBgp_, nullptr);  // absent: nothing
  EXPECT_EQ(changes, 0);
  auto a = Status("bgp");
  auto b = Status("bgp2");
  mib->cmapByStaticTypeIs(ClassMapCpStaticType::cmapCpStaticBgp_, a);
  mib->cmapByStaticTypeIs(ClassMapCpStaticType::cmapCpStaticBgp_, a);  // same: nothing
  EXPECT_EQ(changes, 1);
  mib->cmapByStaticTypeIs(ClassMapCpStaticType::cmapCpStaticBgp_, b);
  EXPECT_EQ(mib->cmapByStaticType(ClassMapCpStaticType::cmapCpStaticBgp_), b);
  mib->cmapByStaticTypeIs(ClassMapCpStaticType::cmapCpStaticBgp_, nullptr);
  EXPECT_EQ(mib->cmapByStaticType(ClassMapCpStaticType::cmapCpStaticBgp_), nullptr);
  EXPECT_EQ(changes, 3);
}

}  // namespace
