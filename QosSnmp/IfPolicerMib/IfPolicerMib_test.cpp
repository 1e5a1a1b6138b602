// The interface policer MIB's model: the member collection's mutators, the counter and name
// rules of a statistics row over port channel members, and the tables' mutators.
#include "QosSnmp/IfPolicerMib/IfPolicerMib.h"

#include <limits>
#include <vector>

#include <gtest/gtest.h>

namespace {

using InterfacePolicing::PolicerName;
using InterfacePolicing::PolicerType;
using Linko::IntfId;
using Qos::IntfPolicerCounters;
using Qos::IntfPolicerInfoStatus;
using QosSnmp::IfPolicerMib;
using QosSnmp::IfPolicerStatsTableEntry;
using QosSnmp::IntfPolicerInfoStatusColl;
using Quill::U64;

// A member status with a profile name, an optional group policer and counters whose six
// values are `base` + 0 .. 5 (none when base is 0).
Quill::Ptr<IntfPolicerInfoStatus const> Status(const char* profile, U64 base,
                                               const char* group = nullptr) {
  IntfPolicerInfoStatus::PolicerNameMap names{
      {PolicerType::policerTypeProfile, PolicerName(profile)}};
  if (group) {
    names.emplace(PolicerType::policerTypeGroup, PolicerName(group));
  }
  Quill::Ptr<IntfPolicerCounters> counters;
  if (base) {
    counters = Quill::make<IntfPolicerCounters>();
    counters->pktsDroppedIs(base);
    counters->pktsSentIs(base + 1);
    counters->bytesDroppedIs(base + 2);
    counters->bytesSentIs(base + 3);
    counters->yellowPktsSentIs(base + 4);
    counters->yellowBytesSentIs(base + 5);
  }
  return Quill::make<IntfPolicerInfoStatus>(std::move(names), std::move(counters));
}

std::vector<U64> Counts(const IfPolicerStatsTableEntry& row) {
  return {row.pktsDropped(), row.pktsSent(),       row.bytesDropped(),
          row.bytesSent(),   row.yellowPktsSent(), row.yellowBytesSent()};
}

std::vector<U64> Expected(U64 base, U64 members = 1) {
  std::vector<U64> v;
  for (U64 i = 0; i < 6; ++i) {
    v.push_back(base + members * i);
  }
  return v;
}

class IfPolicerStatsTableEntryTest : public ::testing::Test {
 protected:
  // The member ids in the collection's iteration order.
  std::vector<IntfId> Order() const {
    std::vector<IntfId> ids;
    for (const auto& [id, status] : coll->intfPolicerInfoStatusColl()) {
      ids.push_back(id);
    }
    return ids;
  }
  Quill::Ptr<IfPolicerStatsTableEntry> Row(bool perLagMember) {
    return QosSnmp::ifPolicerStatsTableEntryFactory(7, coll,
                                                    Quill::make<Qos::AclHwStatus>(perLagMember));
  }

  Quill::Ptr<IntfPolicerInfoStatusColl> coll = QosSnmp::IntfPolicerInfoStatusCollIs();
  const IntfId a = IntfId::ethernet(1);
  const IntfId b = IntfId::ethernet(2);
};

TEST_F(IfPolicerStatsTableEntryTest, PortChannelCountsAreTheFirstMembersUnlessMembersCountApart) {
  coll->intfPolicerInfoStatusCollIs(a, Status("p", 10));
  coll->intfPolicerInfoStatusCollIs(b, Status("p", 5));
  U64 first = Order().front() == a ? 10 : 5;
  EXPECT_EQ(Counts(*Row(false)), Expected(first));
  EXPECT_EQ(Counts(*QosSnmp::ifPolicerStatsTableEntryFactory(7, coll, nullptr)), Expected(first));
  EXPECT_EQ(Counts(*Row(true)), Expected(15, 2));
}

TEST_F(IfPolicerStatsTableEntryTest, MembersWithoutCountersAreSkipped) {
  coll->intfPolicerInfoStatusCollIs(a, Status("p", 0));
  coll->intfPolicerInfoStatusCollIs(b, Status("p", 0));
  std::vector<IntfId> order = Order();
  // The member iterated first has no counters, the second has some.
  coll->intfPolicerInfoStatusCollIs(order[1], Status("p", 5));
  ASSERT_EQ(Order(), order);
  EXPECT_EQ(Counts(*Row(false)), Expected(5));
  EXPECT_EQ(Counts(*Row(true)), Expected(5));
}

TEST_F(IfPolicerStatsTableEntryTest, SumsWrapModulo2To64) {
  U64 max = std::numeric_limits<U64>::max();
  coll->intfPolicerInfoStatusCollIs(a, Status("p", max - 5));
  coll->intfPolicerInfoStatusCollIs(b, Status("p", 10));
  EXPECT_EQ(Row(true)->pktsDropped(), 4U);  // (2^64 - 6) + 10
}

TEST_F(IfPolicerStatsTableEntryTest, NamesComeFromTheFirstMemberOnly) {
  coll->intfPolicerInfoStatusCollIs(a, Status("pa", 1, "ga"));
  coll->intfPolicerInfoStatusCollIs(b, Status("pb", 1));
  bool aFirst = Order().front() == a;
  auto row = Row(true);
  EXPECT_EQ(row->policerProfile(), aFirst ? "pa" : "pb");
  EXPECT_EQ(row->groupPolicer(), aFirst ? "ga" : "");
}

TEST_F(IfPolicerStatsTableEntryTest, NoMembersReadZeroAndEmptyNames) {
  for (auto row : {Row(true), QosSnmp::ifPolicerStatsTableEntryFactory(7, nullptr, nullptr)}) {
    EXPECT_EQ(Counts(*row), std::vector<U64>(6, 0));
    EXPECT_EQ(row->policerProfile(), "");
    EXPECT_EQ(row->groupPolicer(), "");
  }
}

// The collection keeps its first member beside the map: every edit must keep it current.
TEST_F(IfPolicerStatsTableEntryTest, RowReadsTheCollectionAsItIsNow) {
  auto row = Row(false);
  coll->intfPolicerInfoStatusCollIs(a, Status("p", 3));
  EXPECT_EQ(row->pktsDropped(), 3U);
  EXPECT_EQ(row->ifIndex(), 7U);
  coll->intfPolicerInfoStatusCollIs(a, Status("q", 20));  // replaced
  EXPECT_EQ(Counts(*row), Expected(20));
  EXPECT_EQ(row->policerProfile(), "q");
  coll->intfPolicerInfoStatusCollIs(a, Status("q", 0));  // without counters now
  EXPECT_EQ(Counts(*row), std::vector<U64>(6, 0));
  coll->intfPolicerInfoStatusCollIs(b, Status("r", 30));  // a second member: a port channel
  EXPECT_EQ(Counts(*row), Expected(30));
  EXPECT_EQ(row->policerProfile(), Order().front() == a ? "q" : "r");
  coll->intfPolicerInfoStatusCollDel(a);  // b alone again
  EXPECT_EQ(Counts(*row), Expected(30));
  EXPECT_EQ(row->policerProfile(), "r");
  coll->intfPolicerInfoStatusCollIs(b, nullptr);
  EXPECT_EQ(Counts(*row), std::vector<U64>(6, 0));
  EXPECT_EQ(row->policerProfile(), "");
  coll->intfPolicerInfoStatusCollIs(a, Status("s", 40));
  coll->intfPolicerInfoStatusCollDelAll();
  EXPECT_EQ(Counts(*row), std::vector<U64>(6, 0));
  EXPECT_EQ(row->groupPolicer(), "");
}

TEST(IntfPolicerInfoStatusCollTest, NullStatusRemovesAPresentMemberAndIgnoresAnAbsentOne) {
  auto coll = QosSnmp::IntfPolicerInfoStatusCollIs();
  IntfId x = IntfId::ethernet(3);
  coll->intfPolicerInfoStatusCollIs(x, nullptr);
  EXPECT_TRUE(coll->intfPolicerInfoStatusColl().empty());
  auto old = Status("old", 1);
  coll->intfPolicerInfoStatusCollIs(x, old);
  Quill::U32 refs = old->refCount();
  auto replacement = Status("new", 1);
  coll->intfPolicerInfoStatusCollIs(x, replacement);
  EXPECT_EQ(old->refCount(), refs - 1);  // the old status is released
  EXPECT_EQ(coll->intfPolicerInfoStatusColl(x), replacement);
  EXPECT_EQ(coll->intfPolicerInfoStatusColl().size(), 1U);
  coll->intfPolicerInfoStatusCollIs(x, nullptr);
  EXPECT_EQ(coll->intfPolicerInfoStatusColl(x), nullptr);
  EXPECT_TRUE(coll->intfPolicerInfoStatusColl().empty());
}

// So the "first member" of a port channel is the same whichever member was reported first.
TEST(IntfPolicerInfoStatusCollTest, OrderDoesNotDependOnTheOrderOfEdits) {
  auto forward = QosSnmp::IntfPolicerInfoStatusCollIs();
  auto backward = QosSnmp::IntfPolicerInfoStatusCollIs();
  for (Quill::U32 port = 1; port <= 8; ++port) {
    forward->intfPolicerInfoStatusCollIs(IntfId::ethernet(port), Status("p", 1));
    backward->intfPolicerInfoStatusCollIs(IntfId::ethernet(9 - port), Status("p", 1));
  }
  std::vector<IntfId> a;
  std::vector<IntfId> b;
  for (const auto& [id, status] : forward->intfPolicerInfoStatusColl()) {
    a.push_back(id);
  }
  for (const auto& [id, status] : backward->intfPolicerInfoStatusColl()) {
    b.push_back(id);
  }
  EXPECT_EQ(a, b);
}

TEST(IntfPolicerInfoStatusCollTest, DelReturnsTheMembersStatusAndDelAllEmpties) {
  auto coll = QosSnmp::IntfPolicerInfoStatusCollIs();
  auto status = Status("p", 1);
  coll->intfPolicerInfoStatusCollIs(IntfId::ethernet(1), status);
  coll->intfPolicerInfoStatusCollIs(IntfId::ethernet(2), Status("p", 1));
  EXPECT_EQ(coll->intfPolicerInfoStatusCollDel(IntfId::ethernet(9)), nullptr);
  EXPECT_EQ(coll->intfPolicerInfoStatusCollDel(IntfId::ethernet(1)), status);
  EXPECT_EQ(coll->intfPolicerInfoStatusColl().size(), 1U);
  coll->intfPolicerInfoStatusCollDelAll();
  EXPECT_TRUE(coll->intfPolicerInfoStatusColl().empty());
}

class IfPolicerMibTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sub = mib->changes().subscribe([this](const Quill::U32& attr) { attrs.push_back(attr); });
  }
  Quill::Ptr<IfPolicerMib> mib = QosSnmp::IfPolicerMibIs("ifPolicerMib");
  Quill::Ptr<IntfPolicerInfoStatusColl> coll = QosSnmp::IntfPolicerInfoStatusCollIs();
  Quill::Ptr<Qos::AclHwStatus const> hw = Quill::make<Qos::AclHwStatus>(true);
  std::vector<Quill::U32> attrs;
  Quill::Publisher<Quill::U32>::Subscription sub;
};

TEST_F(IfPolicerMibTest, AnotherCollectionOrHardwareStatusIsRefusedAndKeepsTheRow) {
  auto row = mib->ifPolicerInStatsTableIs(5, coll, hw);
  EXPECT_EQ(mib->ifPolicerInStatsTableIs(5, coll, hw), row);
  try {
    mib->ifPolicerInStatsTableIs(5, QosSnmp::IntfPolicerInfoStatusCollIs(), hw);
    ADD_FAILURE() << "re-created with another collection";
  } catch (const Mox::MutatorReinstantiationException& e) {
    EXPECT_STREQ(e.what(),
                 "QosSnmp::IfPolicerMib::ifPolicerInStatsTable: row 5 exists with another "
                 "intfPolicerInfoStatusColl; delete it before re-creating it");
  }
  try {
    mib->ifPolicerInStatsTableIs(5, coll, nullptr);
    ADD_FAILURE() << "re-created with another hardware status";
  } catch (const Mox::MutatorReinstantiationException& e) {
    EXPECT_NE(std::string(e.what()).find("exists with another aclHwStatus;"), std::string::npos);
  }
  EXPECT_EQ(mib->ifPolicerInStatsTable(5), row);
  EXPECT_EQ(attrs, std::vector<Quill::U32>{IfPolicerMib::ifPolicerInStatsTableAttr});
}

TEST_F(IfPolicerMibTest, DirectionsAreSeparateTablesOrderedByIfIndex) {
  for (Quill::U32 ifIndex : {10U, 2U, 1000001U}) {
    mib->ifPolicerOutStatsTableIs(ifIndex, coll, hw);
  }
  std::vector<Quill::U32> order;
  for (const auto& row : mib->ifPolicerOutStatsTable()) {
    order.push_back(row.ifIndex());
  }
  EXPECT_EQ(order, (std::vector<Quill::U32>{2, 10, 1000001}));
  EXPECT_EQ(mib->ifPolicerInStatsTable(2), nullptr);
  EXPECT_EQ(mib->ifPolicerOutStatsTableDel(2)->ifIndex(), 2U);
  EXPECT_EQ(mib->ifPolicerOutStatsTableDel(2), nullptr);
  EXPECT_EQ(mib->ifPolicerOutStatsTableDel(mib->ifPolicerOutStatsTable().begin())->ifIndex(), 10U);
  mib->ifPolicerOutStatsTableDelAll();
  EXPECT_TRUE(mib->ifPolicerOutStatsTable().empty());
  EXPECT_EQ(attrs, std::vector<Quill::U32>(6, IfPolicerMib::ifPolicerOutStatsTableAttr));
}

TEST(IfPolicerMibLifetimeTest, ARowKeepsItsCollectionAliveAfterTheEntityGoes) {
  Quill::U64 colls = IntfPolicerInfoStatusColl::memAllocationTracker_.live();
  Quill::U64 rows = IfPolicerStatsTableEntry::memAllocationTracker_.live();
  Quill::U64 mibs = IfPolicerMib::memAllocationTracker_.live();
  auto mib = QosSnmp::ifPolicerMibFactory("ifPolicerMib");
  auto row = mib->ifPolicerInStatsTableIs(1, QosSnmp::IntfPolicerInfoStatusCollIs(), nullptr);
  mib->ifPolicerOutStatsTableIs(1, row->intfPolicerInfoStatusColl(), nullptr);
  EXPECT_EQ(IntfPolicerInfoStatusColl::memAllocationTracker_.live(), colls + 1);
  EXPECT_EQ(IfPolicerStatsTableEntry::memAllocationTracker_.live(), rows + 2);
  mib.reset();
  EXPECT_EQ(IfPolicerMib::memAllocationTracker_.live(), mibs);
  EXPECT_EQ(IfPolicerStatsTableEntry::memAllocationTracker_.live(), rows + 1);
  EXPECT_EQ(IntfPolicerInfoStatusColl::memAllocationTracker_.live(), colls + 1);
  row.reset();
  EXPECT_EQ(IntfPolicerInfoStatusColl::memAllocationTracker_.live(), colls);
}

}  // namespace
