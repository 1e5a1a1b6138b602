// The generic table mechanism over a probe table whose key refuses some values in its
// constructor, the one case no MIB table of the plug-in can produce on demand.
#include "QosSnmp/SnmpTables/SnmpTable.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Cordb/Dir.h"
#include "Mox/Record.h"
#include "QosSnmp/SnmpTables/MibTable.h"
#include "QosSnmp/SnmpTables/SnmpModule.h"
#include "QosSnmp/SnmpTables/SnmpTableCallbacks.h"
#include "QosSnmp/TestSupport/TableDriver.h"
#include "QosSnmp/SnmpTables/TableEntry.h"
#include "QosSnmp/TestSupport/TestAgent.h"
#include "QosSnmp/TestSupport/TraceCapture.h"

namespace QosSnmp::probe {

// A key whose range is narrower than its field's: 13 is refused.
struct ProbeIndex : Mox::IndexRecord<ProbeIndex> {
  static constexpr std::string_view typeName = "QosSnmp::probe::ProbeIndex";
  static constexpr Mox::HashKind hashKind = Mox::HashKind::none;

  ProbeIndex() = default;
  explicit ProbeIndex(U32 n) : number(n) {
    if (n == 13) {
      throw Quill::RangeException("13 is not a probe number");
    }
  }

  U32 number = 0;

  static constexpr auto fields() { return std::tuple{Mox::field("number", &ProbeIndex::number)}; }
};

class ProbeEntry : public TableEntry<ProbeEntry, ProbeIndex, U32> {
 public:
  using TableEntry::TableEntry;
  static constexpr std::array argNames{"value"};
  static inline Mox::AllocationTracker memAllocationTracker_{"QosSnmp::probe::ProbeEntry"};
  U32 value() const noexcept { return arg<0>(); }

  // Which rows a walk warmed, and how deep.
  void warm(int depth) const noexcept { warmed.emplace_back(index().number, depth); }
  static inline std::vector<std::pair<U32, int>> warmed;
};

class ProbeMib : public Mox::Entity {
 public:
  enum Attr : U32 { probeTableAttr = 1 };
  static constexpr const char* typeName = "QosSnmp::probe::ProbeMib";
  static constexpr const char* mountPath = "test/probe";
  ProbeMib() : Mox::Entity("probe") {}
  QOSSNMP_MIB_TABLE(probeTable, ProbeEntry);
};

struct ProbeTable {
  using Entity = ProbeMib;
  using Entry = ProbeEntry;
  static constexpr const char* name = "probeTable";
  static constexpr U32 arc = 1;
  static const auto& table(const ProbeMib& mib) { return mib.probeTable(); }
  static constexpr std::tuple indexes = {
      integerComponent<ProbeIndex, &ProbeIndex::number, Snmp::U32ToAsnUnsignedF,
                       Snmp::AsnUnsignedToU32>("probeNumber", "number")};
  static constexpr std::array columns = {
      integerColumn<ProbeEntry, &ProbeEntry::value>(2, "probeValue", "value")};
};

SnmpModule probeModule("probeMib", {1, 3, 6, 1, 4, 1, VELORA_ENTERPRISE_ARC, 99}, "probe");

}  // namespace QosSnmp::probe

QOSSNMP_TABLE_CALLBACKS(probeTable, QosSnmp::probe::ProbeTable, QosSnmp::probe::probeModule)

namespace {

using QosSnmp::probe::ProbeIndex;
using QosSnmp::probe::ProbeMib;
using QosSnmp::test::Events;
using QosSnmp::test::Hint;
using QosSnmp::test::TableDriver;

class SnmpTableTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    QosSnmp::test::ensureAgent();
    Snmp::CordbUtil::agentRoot()->mount("test/probe", Quill::make<ProbeMib>());
  }
  static void TearDownTestSuite() { Snmp::CordbUtil::agentRoot()->unmount("test/probe"); }
  void SetUp() override {
    initialize_table_probeTable(Snmp::CordbUtil::getSnmpConfig(), "");
    driver = std::make_unique<TableDriver>(QosSnmp::probe::probeModule, "probeTable",
                                           probeTable_handler);
  }
  void TearDown() override {
    QosSnmp::probe::ProbeEntry::warmed.clear();
    driver.reset();
    Mib().probeTableColl().delAll();
    QosSnmp::probe::probeModule.unregister("");
  }
  static ProbeMib& Mib() {
    return static_cast<ProbeMib&>(*Snmp::CordbUtil::getEntityRelative("test/probe"));
  }
  bool Traced(const std::string& line) const { return trace.has(line); }

  QosSnmp::test::TraceCapture trace;
  std::unique_ptr<TableDriver> driver;
};

TEST_F(SnmpTableTest, HintWhoseKeyRefusesItsValueWalksFromTheFirstRow) {
  Mib().probeTableColl().is(ProbeIndex(7), 70U);
  Mib().probeTableColl().is(ProbeIndex(20), 200U);
  Events before = driver->events();
  Hint refused;
  EXPECT_EQ(driver->first(&refused.integer(13)), "7");
  EXPECT_TRUE(Traced("hint component probeNumber is '13'"));
  EXPECT_TRUE(
      Traced("Bad hint for probeTable: QosSnmp::probe::ProbeIndex ctor threw exception: "
             "13 is not a probe number"));
  EXPECT_EQ(driver->eventsSince(before), (Events{0, 0, 1, 0, 0, 0}));

  Hint accepted;
  EXPECT_EQ(driver->first(&accepted.integer(20)), "20");
  EXPECT_EQ(driver->get({2}), SNMP_ERR_NOERROR);
  EXPECT_EQ(driver->answer(0).integer, 200);
}

TEST_F(SnmpTableTest, NegativeIntegerHintIsOutOfRangeForAnUnsignedComponent) {
  Mib().probeTableColl().is(ProbeIndex(7), 70U);
  Hint negative;
  EXPECT_EQ(driver->first(&negative.integer(-1)), "7");
  EXPECT_TRUE(
      Traced("hint for index probeNumber of probeTable is out of range! value too big for U32"));
}

// An answer warms the next row's second level and the one after's first; it warms nothing past
// the last row, and no row of a table that changed since the walk took its row (that row may
// have left the tree).
TEST_F(SnmpTableTest, AnAnswerWarmsTheTwoRowsAfterItsOwnWhileTheTableIsUnchanged) {
  using Warmed = std::vector<std::pair<QosSnmp::U32, int>>;
  auto& warmed = QosSnmp::probe::ProbeEntry::warmed;
  for (QosSnmp::U32 number : {1U, 2U, 3U, 4U}) {
    Mib().probeTableColl().is(ProbeIndex(number), number * 10);
  }
  Hint second;
  ASSERT_EQ(driver->first(&second.integer(2)), "2");
  EXPECT_EQ(driver->get({2}), SNMP_ERR_NOERROR);
  EXPECT_EQ(warmed, (Warmed{{3, 1}, {4, 0}}));

  warmed.clear();
  ASSERT_EQ(driver->next(), "3");
  EXPECT_EQ(driver->get({2}), SNMP_ERR_NOERROR);
  EXPECT_EQ(warmed, (Warmed{{4, 1}}));
  ASSERT_EQ(driver->next(), "4");
  EXPECT_EQ(driver->get({2}), SNMP_ERR_NOERROR);
  EXPECT_EQ(warmed, (Warmed{{4, 1}}));

  warmed.clear();
  Hint first;
  ASSERT_EQ(driver->first(&first.integer(1)), "1");
  Mib().probeTableColl().del(ProbeIndex(2));
  EXPECT_EQ(driver->get({2}), SNMP_ERR_NOERROR);
  EXPECT_EQ(driver->answer(0).integer, 10);
  EXPECT_EQ(warmed, Warmed{});
}

}  // namespace

namespace QosSnmp {

TEST(ContextStoreTest, ReleasedBlocksAreReusedLastFirstAndTheRestAreNew) {
  ContextStore<32> store;
  void* a = store.allocate();
  void* b = store.allocate();
  void* c = store.allocate();
  EXPECT_TRUE(a != b && b != c && a != c);
  store.release(a);
  store.release(c);
  EXPECT_EQ(store.allocate(), c);
  EXPECT_EQ(store.allocate(), a);
  void* d = store.allocate();  // the list is empty again: a block of its own
  EXPECT_TRUE(d != a && d != b && d != c);
  // The store frees what is on its list when it goes (the leak checker of the sanitizer build
  // sees the rest otherwise).
  store.release(b);
  store.release(d);
  store.release(a);
  store.release(c);
}

}  // namespace QosSnmp
