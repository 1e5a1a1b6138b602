#include "QosSnmp/PolicingMibTableSm.h"

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "QosSnmp/AssertionRegex.h"

namespace QosSnmp {
namespace {

using InterfacePolicing::PolicerName;

// Captures the lines of one trace facility.
class TraceCapture {
 public:
  explicit TraceCapture(const std::string& facility) {
    Quill::traceSpecIs(facility + "/*");
    Quill::traceSinkIs(
        [this](std::string_view, int, std::string_view text) { lines_.emplace_back(text); });
  }
  ~TraceCapture() {
    Quill::traceSinkIs({});
    Quill::traceSpecIs("");
  }
  size_t count(std::string_view text) const {
    size_t n = 0;
    for (const auto& line : lines_) {
      n += line.find(text) != std::string::npos;
    }
    return n;
  }
  // Lines that end with `tail`.
  size_t countEnding(std::string_view tail) const {
    size_t n = 0;
    for (const auto& line : lines_) {
      n += line.size() >= tail.size() &&
           line.compare(line.size() - tail.size(), tail.size(), tail) == 0;
    }
    return n;
  }

 private:
  std::vector<std::string> lines_;
};

class PolicingTableSmTest : public ::testing::Test {
 protected:
  PolicingTableSmTest()
      : mib_(PolicingMibIs("policingMib")),
        status_(Quill::make<Qos::Status>("status")),
        policing_(Quill::make<Qos::PolicingStatus>("policingStatus")),
        scheduler_(Quill::make<Dovo::TaskScheduler>("test")) {
    status_->policingStatusIs(policing_);
  }

  Quill::Ptr<InterfacePolicing::PolicerProfile const> profile(const std::string& name, U64 cir) {
    auto config = Quill::make<InterfacePolicing::PolicerRateBurst>(
        InterfacePolicing::PolicerRateBurst::Values{.cir = cir,
                                                    .cirUnit = Qos::RateUnit::rateUnitKbps_,
                                                    .bc = cir / 8,
                                                    .bcUnit = Qos::BurstUnit::burstUnitBytes_,
                                                    .pir = 2 * cir,
                                                    .pirUnit = Qos::RateUnit::rateUnitKbps_,
                                                    .be = cir / 4,
                                                    .beUnit = Qos::BurstUnit::burstUnitBytes_});
    return Quill::make<InterfacePolicing::PolicerProfile>(PolicerName(name), config);
  }
  void addProfile(const std::string& name, U64 cir = 1000) {
    policing_->profileIs(PolicerName(name), profile(name, cir));
  }
  void addInstance(const std::string& name, const std::string& profileName) {
    policing_->policerInstanceIs(PolicerName(name), Quill::make<InterfacePolicing::PolicerInstance>(
                                                        PolicerName(name), profileName));
  }

  Rivo::SmControl control(U8 mode) const {
    Rivo::SmControl c;
    c.scheduler = scheduler_;
    c.priority = 3;
    c.synchronousMode = mode;
    return c;
  }
  Quill::Ptr<PolicingProfileTableSm> profileSm(U8 mode = 2) {
    return policingProfileTableSmFactory(mib_, status_, control(mode));
  }

  // The profile table's keys in walk order.
  std::vector<std::string> profileRows() const {
    std::vector<std::string> names;
    for (const auto& row : mib_->policingProfileTableColl()) {
      names.push_back(row.index().profileName.str());
    }
    return names;
  }
  std::vector<std::string> instanceRows() const {
    std::vector<std::string> names;
    for (const auto& row : mib_->policerInstanceTableColl()) {
      names.push_back(row.index().policerName.str());
    }
    return names;
  }
  static PolicingProfileTableIndex pIndex(const std::string& name) {
    return PolicingProfileTableIndex(Snmp::String(name));
  }

  Quill::Ptr<PolicingMib> mib_;
  Quill::Ptr<Qos::Status> status_;
  Quill::Ptr<Qos::PolicingStatus> policing_;
  Quill::Ptr<Dovo::TaskScheduler> scheduler_;
};

// --- start-up ---

TEST_F(PolicingTableSmTest, SynchronousSmIsReadyWithEveryRowWhenConstructed) {
  TraceCapture trace("PolicingMibTableSm");
  addProfile("P-10");
  addProfile("P-2");
  addProfile("GOLD");
  auto sm = profileSm(1);
  EXPECT_TRUE(sm->ready());
  EXPECT_TRUE(sm->idle());
  EXPECT_FALSE(scheduler_->runnable());
  // Names shorter first, then by their bytes: the OID order of the index.
  EXPECT_EQ(profileRows(), (std::vector<std::string>{"P-2", "GOLD", "P-10"}));
  EXPECT_EQ(trace.count("yielding"), 0U);
}

TEST_F(PolicingTableSmTest, AsynchronousSmFillsTheTableInItsTasks) {
  TraceCapture trace("PolicingMibTableSm");
  addProfile("a");
  addProfile("b");
  auto sm = profileSm();
  EXPECT_FALSE(sm->ready());
  EXPECT_TRUE(profileRows().empty());  // the first pass only builds the children
  EXPECT_TRUE(scheduler_->runnable());
  scheduler_->runUntilIdle();
  EXPECT_TRUE(sm->ready());
  EXPECT_EQ(profileRows(), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(trace.count("Initial scan done for child SMs. Now scanning with events triggered."),
            1U);
  // An empty output needs no sweep.
  EXPECT_EQ(trace.count("Reconciling policingMibPolicingProfileTableOutput: false"), 1U);
  EXPECT_EQ(trace.count("Deletion scan for reconciliation is done"), 0U);
}

TEST_F(PolicingTableSmTest, TaskNamesComeFromTheDeclaration) {
  mib_->policingProfileTableIs(pIndex("stale"), nullptr);  // so that a sweep task is made
  auto profiles = profileSm();
  auto instances = policerInstanceTableSmFactory(mib_, status_, control(2));
  EXPECT_EQ(profiles->qosStatusSm()->task()->name(),
            "QosSnmp::PolicingProfileTableSm-QosStatusSm0InputScanTask0");
  EXPECT_EQ(instances->qosStatusSm()->task()->name(),
            "QosSnmp::PolicerInstanceTableSm-QosStatusSm2InputScanTask0");
  EXPECT_EQ(profiles->output().task()->name(),
            "PolicingProfileTableSm-policingMibPolicingProfileTableOutputTask");
  EXPECT_EQ(profiles->qosStatusSm()->task()->priority(), 3);
  scheduler_->runUntilIdle();
  // Done with: the scan and sweep tasks are released.
  EXPECT_EQ(profiles->qosStatusSm()->task(), nullptr);
  EXPECT_EQ(profiles->output().task(), nullptr);
}

// --- bookmarks ---

TEST_F(PolicingTableSmTest, YieldingScanHandlesEveryKeyOncePerPass) {
  TraceCapture trace("PolicingMibTableSm");
  for (int i = 0; i < 50; ++i) {
    addProfile("p" + std::to_string(i));
  }
  scheduler_->yieldPolicyIs(Dovo::yieldEvery(7));
  auto sm = profileSm();
  scheduler_->runUntilIdle();
  EXPECT_TRUE(sm->ready());
  EXPECT_EQ(profileRows().size(), 50U);
  EXPECT_GT(trace.count("yielding after"), 10U);
  for (int i = 0; i < 50; ++i) {
    // Two passes: the initial one and the event-producing one.
    EXPECT_EQ(trace.countEnding("k: p" + std::to_string(i)), 2U) << i;
  }
  EXPECT_EQ(trace.count("k: "), 100U);
}

TEST_F(PolicingTableSmTest, ScanResumesAfterItsBookmarkKeyWasDeleted) {
  for (int i = 0; i < 40; ++i) {
    addProfile("p" + std::to_string(i));
  }
  scheduler_->yieldPolicyIs(Dovo::yieldEvery(5));
  auto sm = profileSm();
  // Run the task a few times, deleting keys between the runs: the bookmark's key among them.
  for (int round = 0; round < 30 && scheduler_->runnable(); ++round) {
    scheduler_->runFor(std::chrono::microseconds(1));
    const auto& coll = policing_->profile();
    if (coll.size() > 20) {
      std::vector<PolicerName> victims;
      for (auto it = coll.begin(); it != coll.end() && victims.size() < 2; ++it) {
        victims.push_back(it->first);
      }
      for (const auto& name : victims) {
        policing_->profileDel(name);
      }
    }
  }
  scheduler_->runUntilIdle();
  ASSERT_TRUE(sm->ready());
  std::vector<std::string> expected;
  for (const auto& [name, value] : policing_->profile()) {
    expected.push_back(name.str());
  }
  std::vector<std::string> rows = profileRows();
  std::sort(expected.begin(), expected.end());
  std::sort(rows.begin(), rows.end());
  EXPECT_EQ(rows, expected);
}

// --- reconciliation ---

TEST_F(PolicingTableSmTest, StaleRowIsSweptAndProducedRowKept) {
  TraceCapture trace("PolicingMibTableSm");
  addProfile("kept");
  auto keptProfile = *policing_->profile().find(PolicerName("kept"));
  mib_->policingProfileTableIs(pIndex("kept"), keptProfile);
  mib_->policingProfileTableIs(pIndex("stale-1"), profile("stale-1", 5));
  mib_->policingProfileTableIs(pIndex("stale-2"), nullptr);
  auto keptRow = mib_->policingProfileTable(pIndex("kept"));
  scheduler_->yieldPolicyIs(Dovo::yieldEvery(1));
  auto sm = profileSm();
  EXPECT_EQ(trace.count("Reconciling policingMibPolicingProfileTableOutput: true"), 1U);
  scheduler_->runUntilIdle();
  EXPECT_TRUE(sm->ready());
  EXPECT_EQ(profileRows(), (std::vector<std::string>{"kept"}));
  EXPECT_EQ(mib_->policingProfileTable(pIndex("kept")), keptRow);  // same entity: same row
  EXPECT_EQ(trace.count("Deletion scan for reconciliation is done"), 1U);
}

TEST_F(PolicingTableSmTest, RowWithAnotherEntityAtStartIsRecreated) {
  addProfile("p");
  mib_->policingProfileTableIs(pIndex("p"), profile("p", 99));
  auto old = mib_->policingProfileTable(pIndex("p"));
  auto sm = profileSm(1);
  auto now = mib_->policingProfileTable(pIndex("p"));
  ASSERT_TRUE(now);
  EXPECT_NE(now, old);
  EXPECT_EQ(now->policerProfile(), *policing_->profile().find(PolicerName("p")));
}

// --- events ---

TEST_F(PolicingTableSmTest, RowsFollowAddedRemovedAndReplacedProfiles) {
  addProfile("a", 100);
  auto sm = profileSm();
  scheduler_->runUntilIdle();
  auto rowA = mib_->policingProfileTable(pIndex("a"));
  addProfile("b", 200);
  EXPECT_EQ(profileRows(), (std::vector<std::string>{"a", "b"}));
  addProfile("a", 300);  // replaced under the same name
  auto newA = mib_->policingProfileTable(pIndex("a"));
  ASSERT_TRUE(newA);
  EXPECT_NE(newA, rowA);
  EXPECT_EQ(newA->cir(), 300U);
  policing_->profileDel(PolicerName("b"));
  EXPECT_EQ(profileRows(), (std::vector<std::string>{"a"}));
}

TEST_F(PolicingTableSmTest, EventsBeforeTheInitialScanDoneProduceNothing) {
  scheduler_->yieldPolicyIs(Dovo::yieldEvery(1));
  addProfile("a");
  addProfile("b");
  auto sm = profileSm();
  scheduler_->runFor(std::chrono::microseconds(1));  // one item of the first pass
  addProfile("c");
  EXPECT_TRUE(profileRows().empty());
  scheduler_->runUntilIdle();
  EXPECT_EQ(profileRows(), (std::vector<std::string>{"a", "b", "c"}));
}

TEST_F(PolicingTableSmTest, LosingThePolicingStatusDeletesEveryRowOfBothTables) {
  addProfile("a");
  addProfile("b");
  addInstance("i1", "a");
  auto profiles = profileSm();
  auto instances = policerInstanceTableSmFactory(mib_, status_, control(2));
  scheduler_->runUntilIdle();
  EXPECT_EQ(profileRows().size(), 2U);
  EXPECT_EQ(instanceRows().size(), 1U);
  status_->policingStatusIs(nullptr);
  EXPECT_TRUE(profileRows().empty());
  EXPECT_TRUE(instanceRows().empty());
  // A new policing status is scanned and produces its rows.
  auto next = Quill::make<Qos::PolicingStatus>("policingStatus");
  next->profileIs(PolicerName("z"), profile("z", 1));
  status_->policingStatusIs(next);
  scheduler_->runUntilIdle();
  EXPECT_EQ(profileRows(), (std::vector<std::string>{"z"}));
}

TEST_F(PolicingTableSmTest, LosingThePolicingStatusBeforeTheInitialScanDeletesNothing) {
  scheduler_->yieldPolicyIs(Dovo::yieldEvery(1));
  addProfile("a");
  addProfile("b");
  mib_->policingProfileTableIs(pIndex("a"), *policing_->profile().find(PolicerName("a")));
  auto sm = profileSm();
  scheduler_->runFor(std::chrono::microseconds(1));
  ASSERT_FALSE(sm->initialScanDone());
  status_->policingStatusIs(nullptr);
  EXPECT_EQ(profileRows(), (std::vector<std::string>{"a"}));
  scheduler_->runUntilIdle();
  EXPECT_TRUE(sm->ready());
  EXPECT_TRUE(profileRows().empty());  // then swept: no input produced it
}

TEST_F(PolicingTableSmTest, InstanceRowsReadTheirProfileName) {
  addInstance("pol-1", "GOLD");
  auto sm = policerInstanceTableSmFactory(mib_, status_, control(1));
  auto row = mib_->policerInstanceTable(PolicerInstanceTableIndex(Snmp::String("pol-1")));
  ASSERT_TRUE(row);
  EXPECT_EQ(row->profileName(), "GOLD");
}

// --- faults ---

using PolicingTableSmDeathTest = PolicingTableSmTest;

TEST_F(PolicingTableSmDeathTest, NullArgumentsAbortWithTheirAssertion) {
  EXPECT_DEATH(policingProfileTableSmFactory(nullptr, status_, control(1)),
               test::assertionRegex("policingMib() && \"Pointer SM args cannot be null unless they "
                                    "are marked Optional\""));
  EXPECT_DEATH(
      policerInstanceTableSmFactory(mib_, nullptr, control(1)),
      test::assertionRegex("qosStatus() && \"Pointer SM args cannot be null unless they are "
                           "marked Optional\""));
}

TEST_F(PolicingTableSmDeathTest, DeletionAfterUnseenChangesAborts) {
  addProfile("a");
  auto sm = profileSm(1);
  ASSERT_TRUE(sm->ready());
  auto* scan =
      const_cast<Flume::CollScan<PolicingProfileTableSm::Map>*>(sm->qosStatusSm()->nested());
  scan->hasNotificationActiveIs(false);
  addProfile("b");  // a change the Sm does not see
  EXPECT_DEATH(scan->doDeleteAll(),
               "We missed notifications that happened to profile before "
               "the enclosing entity got deleted");
}

}  // namespace
}  // namespace QosSnmp
