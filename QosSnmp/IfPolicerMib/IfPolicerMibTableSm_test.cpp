#include "QosSnmp/IfPolicerMib/IfPolicerMibTableSm.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "QosSnmp/TestSupport/AssertionRegex.h"

namespace QosSnmp {
namespace {

using InterfacePolicing::PolicerName;
using InterfacePolicing::PolicerType;
using Linko::IntfId;

class IfPolicerTableSmTest : public ::testing::Test {
 protected:
  IfPolicerTableSmTest()
      : mib_(IfPolicerMibIs("ifPolicerMib")),
        status_(Quill::make<Qos::Status>()),
        policing_(Quill::make<Qos::PolicingStatus>()),
        acl_(Quill::make<Qos::AclHwStatus>(true)),
        ifMib_(Quill::make<IntfSnmp::IfMib>()),
        scheduler_(Quill::make<Dovo::TaskScheduler>("test")) {
    status_->policingStatusIs(policing_);
  }

  static Quill::Ptr<Qos::IntfPolicerInfoStatus const> policer(const std::string& profile,
                                                              U64 pktsDropped,
                                                              const std::string& group = "") {
    Qos::IntfPolicerInfoStatus::PolicerNameMap names{
        {PolicerType::policerTypeProfile, PolicerName(profile)}};
    if (!group.empty()) {
      names.emplace(PolicerType::policerTypeGroup, PolicerName(group));
    }
    auto counters = Quill::make<Qos::IntfPolicerCounters>();
    counters->pktsDroppedIs(pktsDropped);
    return Quill::make<Qos::IntfPolicerInfoStatus>(std::move(names), counters);
  }
  void in(IntfId intf, IntfId member, const std::string& profile, U64 dropped) {
    policing_->intfPolicerIs({intf, member}, policer(profile, dropped));
  }
  void out(IntfId intf, IntfId member, const std::string& profile, U64 dropped) {
    policing_->intfPolicerOutputIs({intf, member}, policer(profile, dropped));
  }

  Rivo::SmControl control(U8 mode) const {
    Rivo::SmControl c;
    c.scheduler = scheduler_;
    c.synchronousMode = mode;
    return c;
  }
  Quill::Ptr<IfPolicerInStatsTableSm> inSm(U8 mode = 2) {
    auto sm = ifPolicerInStatsTableSmFactory(mib_, status_, acl_, ifMib_, control(mode));
    scheduler_->runUntilIdle();
    EXPECT_TRUE(sm->ready());
    return sm;
  }
  Quill::Ptr<IfPolicerOutStatsTableSm> outSm(U8 mode = 2) {
    auto sm = ifPolicerOutStatsTableSmFactory(mib_, status_, acl_, ifMib_, control(mode));
    scheduler_->runUntilIdle();
    EXPECT_TRUE(sm->ready());
    return sm;
  }

  std::vector<U32> inRows() const {
    std::vector<U32> rows;
    for (const auto& row : mib_->ifPolicerInStatsTableColl()) {
      rows.push_back(row.ifIndex());
    }
    return rows;
  }
  std::vector<U32> outRows() const {
    std::vector<U32> rows;
    for (const auto& row : mib_->ifPolicerOutStatsTableColl()) {
      rows.push_back(row.ifIndex());
    }
    return rows;
  }

  const IntfId eth1 = IntfId::ethernet(1);
  const IntfId eth2 = IntfId::ethernet(2);
  const IntfId eth5 = IntfId::ethernet(5);
  const IntfId eth6 = IntfId::ethernet(6);
  const IntfId po10 = IntfId::portChannel(10);

  Quill::Ptr<IfPolicerMib> mib_;
  Quill::Ptr<Qos::Status> status_;
  Quill::Ptr<Qos::PolicingStatus> policing_;
  Quill::Ptr<Qos::AclHwStatus> acl_;
  Quill::Ptr<IntfSnmp::IfMib> ifMib_;
  Quill::Ptr<Dovo::TaskScheduler> scheduler_;
};

TEST_F(IfPolicerTableSmTest, RowsComeInIfIndexOrderWithTheStatusValues) {
  ifMib_->ifIndexByIntfIdIs(eth1, 21);
  ifMib_->ifIndexByIntfIdIs(eth2, 3);
  policing_->intfPolicerIs({eth1, eth1}, policer("GOLD", 7, "GP-1"));
  in(eth2, eth2, "SILVER", 9);
  auto sm = inSm();
  EXPECT_EQ(inRows(), (std::vector<U32>{3, 21}));
  auto row = mib_->ifPolicerInStatsTable(21);
  EXPECT_EQ(row->policerProfile(), "GOLD");
  EXPECT_EQ(row->groupPolicer(), "GP-1");
  EXPECT_EQ(row->pktsDropped(), 7U);
  EXPECT_EQ(mib_->ifPolicerInStatsTable(3)->groupPolicer(), "");
}

TEST_F(IfPolicerTableSmTest, PortChannelMembersShareOneRow) {
  ifMib_->ifIndexByIntfIdIs(po10, 1000010);
  in(po10, eth5, "P", 10);
  auto sm = inSm();
  auto row = mib_->ifPolicerInStatsTable(1000010);
  ASSERT_TRUE(row);
  in(po10, eth6, "P", 5);
  // The same row sees the new member: counted per member when the hardware says so.
  EXPECT_EQ(mib_->ifPolicerInStatsTable(1000010), row);
  EXPECT_EQ(row->intfPolicerInfoStatusColl()->intfPolicerInfoStatusColl().size(), 2U);
  EXPECT_EQ(row->pktsDropped(), 15U);
  acl_->interfacePolicingCountersPerLagMemberCounterInfoIs(false);
  EXPECT_TRUE(row->pktsDropped() == 10U || row->pktsDropped() == 5U);
  // Removing one member keeps the row; removing both deletes it.
  policing_->intfPolicerDel({po10, eth5});
  EXPECT_EQ(mib_->ifPolicerInStatsTable(1000010), row);
  EXPECT_EQ(row->pktsDropped(), 5U);
  policing_->intfPolicerDel({po10, eth6});
  EXPECT_TRUE(inRows().empty());
  EXPECT_EQ(sm->localAttrStore().size(), 0U);
}

TEST_F(IfPolicerTableSmTest, StatusWithoutIfIndexWaitsForTheIfIndex) {
  auto sm = inSm();
  in(eth1, eth1, "P", 1);
  EXPECT_TRUE(inRows().empty());
  EXPECT_EQ(sm->localAttrStore().size(), 1U);  // the store keeps the member
  ifMib_->ifIndexByIntfIdIs(eth1, 1);
  EXPECT_EQ(inRows(), (std::vector<U32>{1}));
}

TEST_F(IfPolicerTableSmTest, LosingOrChangingTheIfIndexLeavesTheOldRow) {
  ifMib_->ifIndexByIntfIdIs(eth1, 1);
  ifMib_->ifIndexByIntfIdIs(eth2, 2);
  in(eth1, eth1, "P", 1);
  in(eth2, eth2, "P", 1);
  auto sm = inSm();
  ifMib_->ifIndexByIntfIdDel(eth1);
  EXPECT_EQ(inRows(), (std::vector<U32>{1, 2}));
  ifMib_->ifIndexByIntfIdIs(eth2, 42);
  EXPECT_EQ(inRows(), (std::vector<U32>{1, 2, 42}));
  EXPECT_EQ(mib_->ifPolicerInStatsTable(42)->intfPolicerInfoStatusColl(),
            mib_->ifPolicerInStatsTable(2)->intfPolicerInfoStatusColl());
}

TEST_F(IfPolicerTableSmTest, InAndOutFillTheirTablesIndependently) {
  ifMib_->ifIndexByIntfIdIs(eth1, 1);
  ifMib_->ifIndexByIntfIdIs(eth2, 2);
  in(eth1, eth1, "IN", 1);
  out(eth2, eth2, "OUT", 2);
  auto ingress = inSm();
  auto egress = outSm();
  EXPECT_EQ(inRows(), (std::vector<U32>{1}));
  EXPECT_EQ(outRows(), (std::vector<U32>{2}));
  out(eth1, eth1, "OUT", 3);
  EXPECT_EQ(inRows(), (std::vector<U32>{1}));
  EXPECT_EQ(outRows(), (std::vector<U32>{1, 2}));
  EXPECT_NE(mib_->ifPolicerInStatsTable(1)->intfPolicerInfoStatusColl(),
            mib_->ifPolicerOutStatsTable(1)->intfPolicerInfoStatusColl());
  EXPECT_EQ(mib_->ifPolicerOutStatsTable(1)->policerProfile(), "OUT");
}

TEST_F(IfPolicerTableSmTest, StaleRowsAreSweptAtStartAndSynchronousModeMakesNoTask) {
  ifMib_->ifIndexByIntfIdIs(eth1, 1);
  in(eth1, eth1, "P", 1);
  mib_->ifPolicerInStatsTableIs(77, IntfPolicerInfoStatusCollIs(), acl_);
  auto sm = ifPolicerInStatsTableSmFactory(mib_, status_, acl_, ifMib_, control(1));
  EXPECT_TRUE(sm->ready());
  EXPECT_FALSE(scheduler_->runnable());
  EXPECT_EQ(sm->qosStatusSm()->task(), nullptr);
  EXPECT_EQ(sm->ifMibSm()->task(), nullptr);
  EXPECT_EQ(inRows(), (std::vector<U32>{1}));
}

TEST_F(IfPolicerTableSmTest, ScanTasksAreNamedAfterTheirChildren) {
  auto sm = ifPolicerOutStatsTableSmFactory(mib_, status_, acl_, ifMib_, control(2));
  EXPECT_EQ(sm->qosStatusSm()->task()->name(),
            "QosSnmp::IfPolicerOutStatsTableSm-QosStatusSm3InputScanTask0");
  EXPECT_EQ(sm->ifMibSm()->task()->name(),
            "QosSnmp::IfPolicerOutStatsTableSm-IfMibSm5InputScanTask1");
  scheduler_->runUntilIdle();
  EXPECT_TRUE(sm->ready());
}

TEST_F(IfPolicerTableSmTest, ChildrenAreThePlatformsNamedTypes) {
  auto in = inSm(1);
  auto out = outSm(1);
  const FlumeCode::IfPolicerInStatsTableSm::QosStatusSm0* inPolicer = in->qosStatusSm();
  const FlumeCode::IfPolicerInStatsTableSm::IfMibSm2* inIfMib = in->ifMibSm();
  const FlumeCode::IfPolicerInStatsTableSm::PolicingStatusSm1* inScan = inPolicer->nested();
  EXPECT_EQ(inPolicer->childClass(), "QosStatusSm0");
  EXPECT_EQ(inIfMib->childClass(), "IfMibSm2");
  EXPECT_EQ(inScan->label(), "PolicingStatusSm1");
  const FlumeCode::IfPolicerOutStatsTableSm::QosStatusSm3* outPolicer = out->qosStatusSm();
  const FlumeCode::IfPolicerOutStatsTableSm::IfMibSm5* outIfMib = out->ifMibSm();
  const FlumeCode::IfPolicerOutStatsTableSm::PolicingStatusSm4* outScan = outPolicer->nested();
  EXPECT_EQ(outPolicer->childClass(), "QosStatusSm3");
  EXPECT_EQ(outIfMib->childClass(), "IfMibSm5");
  EXPECT_EQ(outScan->label(), "PolicingStatusSm4");
  using InKey = FlumeCode::IfPolicerInStatsTableSm::IfPolicerMibIfPolicerInStatsTableOutputKeyType;
  using OutKey =
      FlumeCode::IfPolicerOutStatsTableSm::IfPolicerMibIfPolicerOutStatsTableOutputKeyType;
  EXPECT_LT((InKey{2, true}), (InKey{10, true}));
  EXPECT_LT(OutKey{}, (OutKey{0, true}));
}

// --- the policing status lost or replaced ---

TEST_F(IfPolicerTableSmTest, LosingThePolicingStatusDeletesTheRowsAndItsStore) {
  ifMib_->ifIndexByIntfIdIs(eth1, 1);
  ifMib_->ifIndexByIntfIdIs(eth2, 2);
  in(eth1, eth1, "P", 1);
  in(eth2, eth2, "P", 2);
  out(eth1, eth1, "P", 3);
  auto ingress = inSm();
  auto egress = outSm();
  status_->policingStatusIs(nullptr);
  EXPECT_TRUE(inRows().empty());
  EXPECT_TRUE(outRows().empty());
  EXPECT_EQ(ingress->localAttrStore().size(), 0U);
  // The ifIndex map alone makes no row.
  ifMib_->ifIndexByIntfIdIs(eth5, 5);
  EXPECT_TRUE(inRows().empty());
}

TEST_F(IfPolicerTableSmTest, LosingThePolicingStatusBeforeTheInitialScanDeletesNothing) {
  ifMib_->ifIndexByIntfIdIs(eth1, 1);
  in(eth1, eth1, "P", 1);
  mib_->ifPolicerInStatsTableIs(1, IntfPolicerInfoStatusCollIs(), acl_);
  scheduler_->yieldPolicyIs(Dovo::yieldEvery(1));
  auto sm = ifPolicerInStatsTableSmFactory(mib_, status_, acl_, ifMib_, control(2));
  scheduler_->runFor(std::chrono::microseconds(0));
  ASSERT_FALSE(sm->initialScanDone());
  status_->policingStatusIs(nullptr);
  EXPECT_EQ(inRows(), (std::vector<U32>{1}));
  scheduler_->runUntilIdle();
  EXPECT_TRUE(sm->ready());
  EXPECT_TRUE(inRows().empty());  // then swept: no input produced it
}

TEST_F(IfPolicerTableSmTest, ReplacingThePolicingStatusTwiceBeforeTheSchedulerRunsKeepsUp) {
  ifMib_->ifIndexByIntfIdIs(eth1, 1);
  ifMib_->ifIndexByIntfIdIs(eth2, 2);
  ifMib_->ifIndexByIntfIdIs(po10, 10);
  in(eth1, eth1, "P", 1);
  out(eth2, eth2, "P", 1);
  auto ingress = inSm();
  auto egress = outSm();
  auto restarted = [&](std::vector<std::pair<IntfId, IntfId>> ins,
                       std::vector<std::pair<IntfId, IntfId>> outs) {
    auto next = Quill::make<Qos::PolicingStatus>();
    for (const auto& [intf, member] : ins) {
      next->intfPolicerIs({intf, member}, policer("NEW", 4));
    }
    for (const auto& [intf, member] : outs) {
      next->intfPolicerOutputIs({intf, member}, policer("NEW", 4));
    }
    return next;
  };
  auto first = restarted({{eth1, eth1}}, {{eth2, eth2}});
  status_->policingStatusIs(first);
  // Filled at once, from the new status objects.
  EXPECT_EQ(inRows(), (std::vector<U32>{1}));
  EXPECT_EQ(outRows(), (std::vector<U32>{2}));
  EXPECT_EQ(mib_->ifPolicerInStatsTable(1)->policerProfile(), "NEW");
  first->intfPolicerIs({po10, eth5}, policer("NEW", 1));  // a change the new child sees
  status_->policingStatusIs(restarted({{po10, eth5}, {po10, eth6}}, {{eth1, eth1}}));
  EXPECT_EQ(inRows(), (std::vector<U32>{10}));
  EXPECT_EQ(outRows(), (std::vector<U32>{1}));
  status_->policingStatusIs(nullptr);
  status_->policingStatusIs(restarted({{eth2, eth2}}, {}));
  EXPECT_EQ(inRows(), (std::vector<U32>{2}));
  EXPECT_TRUE(outRows().empty());
  scheduler_->runUntilIdle();
  EXPECT_TRUE(ingress->idle() && egress->idle());
  EXPECT_EQ(inRows(), (std::vector<U32>{2}));
  EXPECT_EQ(ingress->localAttrStore().size(), 1U);
  EXPECT_EQ(mib_->ifPolicerInStatsTable(2)->pktsDropped(), 4U);
}

using IfPolicerTableSmDeathTest = IfPolicerTableSmTest;

TEST_F(IfPolicerTableSmDeathTest, NullArgumentsAbortWithTheirAssertion) {
  const std::string text = " && \"Pointer SM args cannot be null unless they are marked Optional\"";
  auto check = [&](auto factory) {
    EXPECT_DEATH(factory(nullptr, status_, acl_, ifMib_, control(1)),
                 test::assertionRegex("ifPolicerMib()" + text));
    EXPECT_DEATH(factory(mib_, nullptr, acl_, ifMib_, control(1)),
                 test::assertionRegex("qosStatus()" + text));
    EXPECT_DEATH(factory(mib_, status_, nullptr, ifMib_, control(2)),
                 test::assertionRegex("aclHwStatus()" + text));
    EXPECT_DEATH(factory(mib_, status_, acl_, nullptr, control(2)),
                 test::assertionRegex("ifMib()" + text));
  };
  check(ifPolicerInStatsTableSmFactory);
  check(ifPolicerOutStatsTableSmFactory);
}

}  // namespace
}  // namespace QosSnmp
