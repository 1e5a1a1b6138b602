#include "QosSnmp/PolicingMib/PolicingMibTableSm.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "QosSnmp/TestSupport/AssertionRegex.h"

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
  // Profiles a and b and instance i1, and both Sms (asynchronous) once their tasks have run.
  std::pair<Quill::Ptr<PolicingProfileTableSm>, Quill::Ptr<PolicerInstanceTableSm>> bothSmsReady() {
    addProfile("a");
    addProfile("b");
    addInstance("i1", "a");
    auto profiles = profileSm();
    auto instances = policerInstanceTableSmFactory(mib_, status_, control(2));
    scheduler_->runUntilIdle();
    return {profiles, instances};
  }
  // One task run (a zero budget is spent after the first run).
  void runOnce() { scheduler_->runFor(std::chrono::microseconds(0)); }
  Quill::Ptr<PolicingProfileTableSm> profileSm(U8 mode = 2) {
    return policingProfileTableSmFactory(mib_, status_, control(mode));
  }

  // The profile table's keys in walk order.
  std::vector<std::string> profileRows() const {
    std::vector<std::string> names;
    for (const auto& row : mib_->policingProfileTableColl()) {
      names.emplace_back(row.index().profileName.str());
    }
    return names;
  }
  // The profile table holds a row for each profile of the policing status in force, no other.
  void expectProfileRowsEqual(std::vector<std::string> expected) const {
    std::vector<std::string> rows = profileRows();
    std::sort(expected.begin(), expected.end());
    std::sort(rows.begin(), rows.end());
    EXPECT_EQ(rows, expected);
  }
  void expectProfileRowsEqualTheStatus() const {
    std::vector<std::string> names;
    for (const auto& [name, value] : status_->policingStatus()->profile()) {
      names.emplace_back(name.str());
    }
    expectProfileRowsEqual(names);
  }
  std::vector<std::string> instanceRows() const {
    std::vector<std::string> names;
    for (const auto& row : mib_->policerInstanceTableColl()) {
      names.emplace_back(row.index().policerName.str());
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

TEST_F(PolicingTableSmTest, ChildrenAreThePlatformsNamedTypes) {
  addProfile("a");
  addInstance("i", "a");
  auto profiles = profileSm(1);
  auto instances = policerInstanceTableSmFactory(mib_, status_, control(1));
  const FlumeCode::PolicingProfileTableSm::QosStatusSm0* profileChild = profiles->qosStatusSm();
  const FlumeCode::PolicingProfileTableSm::PolicingStatusSm1* profileScan = profileChild->nested();
  EXPECT_EQ(profileChild->childClass(), "QosStatusSm0");
  EXPECT_EQ(profileScan->label(), "PolicingStatusSm1");
  const FlumeCode::PolicerInstanceTableSm::QosStatusSm2* instanceChild = instances->qosStatusSm();
  const FlumeCode::PolicerInstanceTableSm::PolicingStatusSm3* instanceScan =
      instanceChild->nested();
  EXPECT_EQ(instanceChild->childClass(), "QosStatusSm2");
  EXPECT_EQ(instanceScan->label(), "PolicingStatusSm3");
  // Output keys order set keys by the table's index, after every unset one.
  using ProfileKey =
      FlumeCode::PolicingProfileTableSm::PolicingMibPolicingProfileTableOutputKeyType;
  using InstanceKey =
      FlumeCode::PolicerInstanceTableSm::PolicingMibPolicerInstanceTableOutputKeyType;
  EXPECT_LT(ProfileKey{}, (ProfileKey{pIndex("a"), true}));
  EXPECT_LT((ProfileKey{pIndex("a"), true}), (ProfileKey{pIndex("b"), true}));
  EXPECT_EQ((InstanceKey{PolicerInstanceTableIndex(Snmp::String("i")), true}),
            (InstanceKey{PolicerInstanceTableIndex(Snmp::String("i")), true}));
  EXPECT_NE(InstanceKey{}, (InstanceKey{PolicerInstanceTableIndex(Snmp::String("i")), true}));
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

TEST_F(PolicingTableSmTest, TheScansRowsAreWrittenInIndexOrderOnceItIsComplete) {
  for (int i = 0; i < 40; ++i) {
    addProfile("p" + std::to_string(i));
  }
  scheduler_->yieldPolicyIs(Dovo::yieldEvery(5));
  auto sm = profileSm();
  while (scheduler_->runnable() && !sm->output().writingKept()) {
    ASSERT_TRUE(profileRows().empty());  // kept, not written, while the scan runs
    runOnce();
  }
  ASSERT_TRUE(sm->output().writingKept());
  runOnce();
  const std::vector<std::string> written = profileRows();
  ASSERT_FALSE(written.empty());
  ASSERT_LT(written.size(), 30U);
  // Written in index order: the smallest indexes first ("p0".."p9" before "p10").
  EXPECT_EQ(written.front(), "p0");
  // Events while the kept rows are written are written at once, and win over what is kept.
  policing_->profileDel(PolicerName("p39"));
  addProfile("p38", 7777);
  addProfile("p40");
  EXPECT_EQ(mib_->policingProfileTable(pIndex("p38"))->cir(), 7777U);
  EXPECT_EQ(mib_->policingProfileTable(pIndex("p39")), nullptr);
  scheduler_->runUntilIdle();
  ASSERT_TRUE(sm->ready());
  EXPECT_EQ(sm->output().rowsKept(), 0U);
  std::vector<std::string> expected;
  for (int i = 0; i <= 40; ++i) {
    if (i != 39) {
      expected.push_back("p" + std::to_string(i));
    }
  }
  expectProfileRowsEqual(expected);
  EXPECT_EQ(mib_->policingProfileTable(pIndex("p38"))->cir(), 7777U);
  EXPECT_EQ(mib_->policingProfileTable(pIndex("p38"))->policerProfile(),
            *policing_->profile().find(PolicerName("p38")));
}

TEST_F(PolicingTableSmTest, ThousandsOfKeptRowsAreSortedInSlicesAndTheLastWriteWins) {
  for (int i = 0; i < 3000; ++i) {
    addProfile("p" + std::to_string(i), 10);
  }
  scheduler_->yieldPolicyIs(Dovo::yieldEvery(3));
  auto sm = profileSm();
  // Halfway through the event-producing scan, rows already kept are written again.
  while (scheduler_->runnable() && !(sm->initialScanDone() && sm->output().rowsKept() > 1000)) {
    runOnce();
  }
  ASSERT_FALSE(sm->output().writingKept());
  // The scan goes in the collection's order: its first 1000 keys are kept already.
  std::vector<std::string> scanned;
  for (const auto& [name, value] : policing_->profile()) {
    if (scanned.size() == 1000) {
      break;
    }
    scanned.emplace_back(name.str());
  }
  const std::string replaced = scanned[0], deleted = scanned[10], again = scanned[999];
  addProfile(replaced, 999);
  policing_->profileDel(PolicerName(deleted));
  policing_->profileDel(PolicerName(again));
  addProfile(again, 997);
  size_t runs = 0;
  while (scheduler_->runnable() && !sm->ready()) {
    runOnce();
    ++runs;
  }
  ASSERT_TRUE(sm->ready());
  EXPECT_GT(runs, 50U);  // the sort and the writing yielded
  std::vector<std::string> expected;
  for (int i = 0; i < 3000; ++i) {
    if ("p" + std::to_string(i) != deleted) {
      expected.push_back("p" + std::to_string(i));
    }
  }
  expectProfileRowsEqual(expected);
  EXPECT_EQ(mib_->policingProfileTable(pIndex(replaced))->cir(), 999U);
  EXPECT_EQ(mib_->policingProfileTable(pIndex(again))->cir(), 997U);
  EXPECT_EQ(mib_->policingProfileTable(pIndex(scanned[1]))->cir(), 10U);
  const std::vector<std::string> rows = profileRows();  // in walk order: length, then bytes
  EXPECT_TRUE(std::is_sorted(rows.begin(), rows.end(), [](const auto& a, const auto& b) {
    return a.size() != b.size() ? a.size() < b.size() : a < b;
  }));
}

TEST_F(PolicingTableSmTest, ScanResumesAfterItsBookmarkKeyWasDeleted) {
  TraceCapture trace("PolicingMibTableSm");
  for (int i = 0; i < 30; ++i) {
    addProfile("p" + std::to_string(i));
  }
  scheduler_->yieldPolicyIs(Dovo::yieldEvery(4));
  auto sm = profileSm();
  auto scan = [&] { return sm->qosStatusSm()->nested(); };
  // In each pass, delete the key the yielded scan will resume at, between two task runs.
  std::vector<std::string> victims;
  for (bool second : {false, true}) {
    while (scheduler_->runnable() &&
           (sm->initialScanDone() != second || !scan() || !scan()->bookmark().has_value())) {
      runOnce();
    }
    ASSERT_TRUE(scan()->bookmark().has_value());
    victims.emplace_back(scan()->bookmark()->str());
    policing_->profileDel(*scan()->bookmark());
  }
  scheduler_->runUntilIdle();
  ASSERT_TRUE(sm->ready());
  std::vector<std::string> expected;
  for (int i = 0; i < 30; ++i) {
    std::string name = "p" + std::to_string(i);
    if (std::find(victims.begin(), victims.end(), name) != victims.end()) {
      continue;
    }
    expected.push_back(name);
    // Every key still there is handled once per pass: none skipped, none visited twice.
    EXPECT_EQ(trace.countEnding("k: " + name), 2U) << name;
  }
  // The victim of the first pass was handled by its deletion only; the second pass's victim by
  // the first pass and its deletion, never by the resumed scan.
  EXPECT_EQ(trace.countEnding("k: " + victims[0]), 1U);
  EXPECT_EQ(trace.countEnding("k: " + victims[1]), 2U);
  expectProfileRowsEqual(expected);
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

TEST_F(PolicingTableSmTest, EventsWhileTheSweepIsYieldedAreKept) {
  TraceCapture trace("PolicingMibTableSm");
  // Rows p0..p5 are produced by the input, x0..x5 are stale; all have two-byte names, so the
  // sweep meets p0..p5 first.
  for (int i = 0; i < 6; ++i) {
    std::string p = "p" + std::to_string(i);
    addProfile(p);
    mib_->policingProfileTableIs(pIndex(p), *policing_->profile().find(PolicerName(p)));
    mib_->policingProfileTableIs(pIndex("x" + std::to_string(i)), nullptr);
  }
  scheduler_->yieldPolicyIs(Dovo::yieldEvery(1));
  auto sm = profileSm();
  while (scheduler_->runnable() && trace.count("Yielding in reconciliation") == 0) {
    runOnce();
  }
  ASSERT_EQ(trace.count("Yielding in reconciliation"), 1U);
  ASSERT_FALSE(sm->ready());
  // While the sweep is yielded: a row is deleted (the one it resumes at), one is inserted
  // behind it and one ahead of it.
  policing_->profileDel(PolicerName("p1"));
  addProfile("a");
  addProfile("q9");
  scheduler_->runUntilIdle();
  EXPECT_TRUE(sm->ready());
  EXPECT_EQ(profileRows(), (std::vector<std::string>{"a", "p0", "p2", "p3", "p4", "p5", "q9"}));
  EXPECT_GT(trace.count("Yielding in reconciliation"), 5U);
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
  auto [profiles, instances] = bothSmsReady();
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
  TraceCapture trace("PolicingMibTableSm");  // traced, the first pass walks its keys: it yields
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

// A restart of the QoS agent: its policing status is replaced by a new one, possibly twice or
// cleared and set again, before the scheduler next runs.
TEST_F(PolicingTableSmTest, ReplacingThePolicingStatusTwiceBeforeTheSchedulerRunsKeepsUp) {
  auto [profiles, instances] = bothSmsReady();
  ASSERT_TRUE(profiles->idle() && instances->idle());
  auto restarted = [&](std::vector<std::string> names, std::vector<std::string> instanceNames) {
    auto next = Quill::make<Qos::PolicingStatus>("policingStatus");
    for (const auto& name : names) {
      next->profileIs(PolicerName(name), profile(name, 5));
    }
    for (const auto& name : instanceNames) {
      next->policerInstanceIs(PolicerName(name), Quill::make<InterfacePolicing::PolicerInstance>(
                                                     PolicerName(name), "a"));
    }
    return next;
  };
  auto first = restarted({"a", "b"}, {"i1"});
  status_->policingStatusIs(first);
  // Filled at once, from the new status objects.
  EXPECT_EQ(profileRows(), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(instanceRows(), (std::vector<std::string>{"i1"}));
  EXPECT_EQ(mib_->policingProfileTable(pIndex("a"))->policerProfile(),
            *first->profile().find(PolicerName("a")));
  first->profileIs(PolicerName("c"), profile("c", 1));  // a change the new child sees
  status_->policingStatusIs(restarted({"b", "d"}, {"i2"}));
  EXPECT_EQ(profileRows(), (std::vector<std::string>{"b", "d"}));
  EXPECT_EQ(instanceRows(), (std::vector<std::string>{"i2"}));
  status_->policingStatusIs(nullptr);
  status_->policingStatusIs(restarted({"e"}, {"i3"}));
  EXPECT_EQ(profileRows(), (std::vector<std::string>{"e"}));
  EXPECT_TRUE(profiles->idle() && instances->idle());
  scheduler_->runUntilIdle();
  EXPECT_EQ(profileRows(), (std::vector<std::string>{"e"}));
  EXPECT_EQ(instanceRows(), (std::vector<std::string>{"i3"}));
}

TEST_F(PolicingTableSmTest, ReplacingThePolicingStatusDuringTheInitialScansKeepsUp) {
  for (int i = 0; i < 20; ++i) {
    addProfile("p" + std::to_string(i));
  }
  mib_->policingProfileTableIs(pIndex("stale"), nullptr);
  scheduler_->yieldPolicyIs(Dovo::yieldEvery(3));
  auto sm = profileSm();
  for (int round = 0; round < 40 && !sm->ready(); ++round) {
    runOnce();
    if (round % 4 == 0) {
      auto next = Quill::make<Qos::PolicingStatus>("policingStatus");
      for (int i = 0; i < 20 - round / 4; ++i) {
        next->profileIs(PolicerName("p" + std::to_string(i)), profile("p", 1));
      }
      status_->policingStatusIs(next);
      status_->policingStatusIs(round % 8 == 0 ? nullptr : next);
      status_->policingStatusIs(next);
    }
  }
  scheduler_->runUntilIdle();
  ASSERT_TRUE(sm->idle());
  expectProfileRowsEqualTheStatus();
}

TEST_F(PolicingTableSmTest, IdleIsFalseWhileAScanIsPendingAndTraced) {
  TraceCapture trace("PolicingMibTableSm");
  addProfile("a");
  auto sm = profileSm();
  EXPECT_FALSE(sm->idle());
  EXPECT_FALSE(sm->inputSmScanState().idle());
  scheduler_->runUntilIdle();
  EXPECT_TRUE(sm->idle());
  // Each line of a Sm starts with its class.
  EXPECT_EQ(trace.count("PolicingProfileTableSm: ready: true idle: true"), 1U);
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
  const std::string text = " && \"Pointer SM args cannot be null unless they are marked Optional\"";
  for (U8 mode : {1, 2}) {
    EXPECT_DEATH(policingProfileTableSmFactory(nullptr, status_, control(mode)),
                 test::assertionRegex("policingMib()" + text));
    EXPECT_DEATH(policingProfileTableSmFactory(mib_, nullptr, control(mode)),
                 test::assertionRegex("qosStatus()" + text));
    EXPECT_DEATH(policerInstanceTableSmFactory(nullptr, status_, control(mode)),
                 test::assertionRegex("policingMib()" + text));
    EXPECT_DEATH(policerInstanceTableSmFactory(mib_, nullptr, control(mode)),
                 test::assertionRegex("qosStatus()" + text));
  }
}

TEST_F(PolicingTableSmDeathTest, DeletionAfterUnseenChangesAborts) {
  addProfile("a");
  auto sm = profileSm(1);
  ASSERT_TRUE(sm->ready());
  auto* scan =
      const_cast<Reactive::CollScan<PolicingProfileTableSm::Map>*>(sm->qosStatusSm()->nested());
  scan->hasNotificationActiveIs(false);
  addProfile("b");  // a change the Sm does not see
  EXPECT_DEATH(scan->doDeleteAll(),
               "We missed notifications that happened to profile before "
               "the enclosing entity got deleted");
}

}  // namespace
}  // namespace QosSnmp
