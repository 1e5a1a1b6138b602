// The interface policer MIB module as net-snmp drives it: its two tables registered at
// enterprises.E.3.43.1 with an ifIndex key, walked in ifIndex order with hints, and the GET
// answers of the name and counter columns.
#include "QosSnmp/IfPolicerMib/veloraIfPolicerMib.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "QosSnmp/SnmpTables/SnmpModule.h"
#include "QosSnmp/TestSupport/TableDriver.h"
#include "QosSnmp/TestSupport/TestAgent.h"
#include "QosSnmp/TestSupport/TraceCapture.h"
#include "Snmp/MibContext.h"

namespace {

using InterfacePolicing::PolicerName;
using InterfacePolicing::PolicerType;
using QosSnmp::test::Events;
using QosSnmp::test::Hint;
using QosSnmp::test::ifPolicerMib;
using QosSnmp::test::TableDriver;
using QosSnmp::test::TraceCapture;

const QosSnmp::SnmpModule& Module() {
  return QosSnmp::veloraIfPolicerMibModule();
}

class VeloraIfPolicerMibTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { QosSnmp::test::ensureAgent(); }
  void SetUp() override { init_veloraIfPolicerMib(""); }
  void TearDown() override {
    ifPolicerMib().ifPolicerInStatsTableDelAll();
    ifPolicerMib().ifPolicerOutStatsTableDelAll();
    unregister_veloraIfPolicerMib("");
  }

  // A collection of one member with these names and counters 1..6 times `scale`.
  static Quill::Ptr<QosSnmp::IntfPolicerInfoStatusColl> Member(const char* profile,
                                                               const char* group,
                                                               Quill::U64 scale) {
    Qos::IntfPolicerInfoStatus::PolicerNameMap names{
        {PolicerType::policerTypeProfile, PolicerName(profile)}};
    if (group) {
      names.emplace(PolicerType::policerTypeGroup, PolicerName(group));
    }
    auto counters = Quill::make<Qos::IntfPolicerCounters>();
    counters->pktsDroppedIs(1 * scale);
    counters->pktsSentIs(2 * scale);
    counters->bytesDroppedIs(3 * scale);
    counters->bytesSentIs(4 * scale);
    counters->yellowPktsSentIs(5 * scale);
    counters->yellowBytesSentIs(6 * scale);
    auto coll = QosSnmp::IntfPolicerInfoStatusCollIs();
    coll->intfPolicerInfoStatusCollIs(Linko::IntfId::ethernet(1),
                                      Quill::make<Qos::IntfPolicerInfoStatus>(names, counters));
    return coll;
  }
  static TableDriver In() {
    return TableDriver(Module(), "veloraIfPolicerInStatsTable",
                       veloraIfPolicerInStatsTable_handler);
  }
  static TableDriver Out() {
    return TableDriver(Module(), "veloraIfPolicerOutStatsTable",
                       veloraIfPolicerOutStatsTable_handler);
  }
};

TEST_F(VeloraIfPolicerMibTest, RegistersBothTablesUnderTheModulesArcWithAnIntegerIndex) {
  std::vector<std::string> names;
  for (auto* reg : Module().handlerRegistrationsByContext().at("")) {
    names.emplace_back(reg->handlerName);
    ASSERT_EQ(reg->rootoid_len, 11U);
    EXPECT_EQ(reg->rootoid[8], 43U);
    EXPECT_EQ(reg->rootoid[10], names.size());
    auto* iinfo = static_cast<netsnmp_iterator_info*>(
        netsnmp_find_handler_by_name(reg, "table_iterator")->myvoid);
    EXPECT_EQ(iinfo->indexes->type, ASN_INTEGER);
    EXPECT_EQ(iinfo->table_reginfo->min_column, 2U);
    EXPECT_EQ(iinfo->table_reginfo->max_column, 9U);
  }
  EXPECT_EQ(names, (std::vector<std::string>{"veloraIfPolicerInStatsTable_",
                                             "veloraIfPolicerOutStatsTable_"}));
  EXPECT_TRUE(Snmp::mibContexts().at("").count("veloraIfPolicerMib"));
}

TEST_F(VeloraIfPolicerMibTest, RowsWalkInIfIndexOrderPerDirection) {
  for (Quill::U32 ifIndex : {1000U, 2U, 10U}) {
    ifPolicerMib().ifPolicerInStatsTableIs(ifIndex, Member("p", nullptr, 1), nullptr);
  }
  ifPolicerMib().ifPolicerOutStatsTableIs(7, Member("p", nullptr, 1), nullptr);
  TableDriver in = In();
  TraceCapture trace;
  EXPECT_EQ(in.walk(), (std::vector<std::string>{"2", "10", "1000"}));
  EXPECT_TRUE(
      trace.has("veloraIfPolicerInStatsTableIterationHelper - iterator has another value: "
                "ifIndex=10"));
  EXPECT_EQ(Out().walk(), std::vector<std::string>{"7"});
}

TEST_F(VeloraIfPolicerMibTest, ColumnsAnswerNamesAndCountersAnEmptyGroupIsNoError) {
  ifPolicerMib().ifPolicerOutStatsTableIs(3, Member("gold", nullptr, 10), nullptr);
  ifPolicerMib().ifPolicerOutStatsTableIs(4, Member("gold", "shared", 1), nullptr);
  TableDriver out = Out();
  ASSERT_EQ(out.first(), "3");
  EXPECT_EQ(out.get({2, 3, 4, 5, 6, 7, 8, 9}), SNMP_ERR_NOERROR);
  EXPECT_EQ(out.answer(0).octets, "gold");
  EXPECT_EQ(out.answer(1).type, ASN_OCTET_STR);
  EXPECT_EQ(out.answer(1).octets, "");
  EXPECT_EQ(out.answer(1).status, SNMP_ERR_NOERROR);
  std::vector<Quill::U64> counters;
  for (size_t i = 2; i < 8; ++i) {
    EXPECT_EQ(out.answer(i).type, ASN_COUNTER64);
    counters.push_back(out.answer(i).counter);
  }
  EXPECT_EQ(counters, (std::vector<Quill::U64>{10, 20, 30, 40, 50, 60}));
  Hint four;
  ASSERT_EQ(out.first(&four.integer(4)), "4");
  out.get({3});
  EXPECT_EQ(out.answer(0).octets, "shared");
}

TEST_F(VeloraIfPolicerMibTest, IntegerHintsStartAtTheirRowOtherHintsAtTheFirst) {
  for (Quill::U32 ifIndex : {2U, 10U}) {
    ifPolicerMib().ifPolicerInStatsTableIs(ifIndex, Member("p", nullptr, 1), nullptr);
  }
  TableDriver in = In();
  TraceCapture trace;
  Events before = in.events();
  Hint ten;
  EXPECT_EQ(in.first(&ten.integer(10)), "10");
  EXPECT_EQ(in.eventsSince(before), (Events{0, 1, 0, 0, 0, 0}));
  Hint octets;
  EXPECT_EQ(in.first(&octets.octets("10")), "2");
  EXPECT_TRUE(trace.has(
      "hint for veloraIfPolicerInStatsIfIndex has incorrect type! Expecting 2 but got 4"));
  Hint negative;
  EXPECT_EQ(in.first(&negative.integer(-3)), "2");
  EXPECT_TRUE(
      trace.has("hint for index veloraIfPolicerInStatsIfIndex of veloraIfPolicerInStatsTable is "
                "out of range! value too big for U32"));
  Hint absent;
  EXPECT_EQ(in.first(&absent.integer(5)), "2");
  EXPECT_TRUE(
      trace.has("veloraIfPolicerInStatsTable_get_first_data_point - key '5' not found in table"));
}

TEST_F(VeloraIfPolicerMibTest, ColumnTenIsInvalid) {
  ifPolicerMib().ifPolicerOutStatsTableIs(1, Member("p", nullptr, 1), nullptr);
  TableDriver out = Out();
  TraceCapture trace;
  ASSERT_EQ(out.first(), "1");
  EXPECT_EQ(out.get({10, 2}), SNMP_ERR_NOERROR);
  EXPECT_EQ(out.answer(0).type, SNMP_NOSUCHOBJECT);
  EXPECT_FALSE(out.answer(1).processed);
  EXPECT_TRUE(trace.has("veloraIfPolicerOutStatsTable invalid column 10"));
}

}  // namespace
