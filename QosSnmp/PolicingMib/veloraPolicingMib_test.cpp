// The policing MIB module as net-snmp drives it: its two tables registered per context at
// enterprises.E.3.42.1, walked in name order with hints, and the GET answers and errors of the
// profile and instance columns.
#include "QosSnmp/PolicingMib/veloraPolicingMib.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Mox/Singleton.h"
#include "QosSnmp/TestSupport/AssertionRegex.h"
#include "QosSnmp/SnmpTables/SnmpModule.h"
#include "QosSnmp/TestSupport/TableDriver.h"
#include "QosSnmp/TestSupport/TestAgent.h"
#include "QosSnmp/TestSupport/TraceCapture.h"
#include "Snmp/MibContext.h"
#include "Snmp/RegVoidCollByContext.h"

namespace {

using InterfacePolicing::PolicerInstance;
using InterfacePolicing::PolicerName;
using InterfacePolicing::PolicerProfile;
using InterfacePolicing::PolicerRateBurst;
using QosSnmp::PolicerInstanceTableIndex;
using QosSnmp::PolicingProfileTableIndex;
using QosSnmp::test::Events;
using QosSnmp::test::Hint;
using QosSnmp::test::policingMib;
using QosSnmp::test::TableDriver;
using QosSnmp::test::TraceCapture;

const QosSnmp::SnmpModule& Module() {
  return QosSnmp::veloraPolicingMibModule();
}

class VeloraPolicingMibTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { QosSnmp::test::ensureAgent(); }
  void SetUp() override { init_veloraPolicingMib(""); }
  void TearDown() override {
    policingMib().policingProfileTableDelAll();
    policingMib().policerInstanceTableDelAll();
    unregister_veloraPolicingMib("");
  }

  static void Profile(const char* name, PolicerRateBurst::Values values = {}) {
    policingMib().policingProfileTableIs(
        PolicingProfileTableIndex(name),
        Quill::make<PolicerProfile>(PolicerName(name), Quill::make<PolicerRateBurst>(values)));
  }
  static void Instance(const char* name, const char* profile) {
    policingMib().policerInstanceTableIs(
        PolicerInstanceTableIndex(name),
        profile ? Quill::make<PolicerInstance>(PolicerName(name), profile) : nullptr);
  }
  static TableDriver Profiles() {
    return TableDriver(Module(), "veloraPolicingProfileTable", veloraPolicingProfileTable_handler);
  }
  static TableDriver Instances() {
    return TableDriver(Module(), "veloraPolicerInstanceTable", veloraPolicerInstanceTable_handler);
  }
};

TEST_F(VeloraPolicingMibTest, RegistersBothTablesUnderTheModulesArcWithOneStringIndex) {
  const auto& regs = Module().handlerRegistrationsByContext().at("");
  std::vector<std::string> names;
  for (auto* reg : regs) {
    names.emplace_back(reg->handlerName);
    ASSERT_EQ(reg->rootoid_len, 11U);
    EXPECT_EQ(reg->rootoid[6], static_cast<oid>(VELORA_ENTERPRISE_ARC));
    EXPECT_EQ(reg->rootoid[7], 3U);
    EXPECT_EQ(reg->rootoid[8], 42U);
    EXPECT_EQ(reg->rootoid[9], 1U);
    EXPECT_EQ(reg->rootoid[10], names.size());
    auto* iinfo = static_cast<netsnmp_iterator_info*>(
        netsnmp_find_handler_by_name(reg, "table_iterator")->myvoid);
    ASSERT_NE(iinfo->indexes, nullptr);
    EXPECT_EQ(iinfo->indexes->type, ASN_OCTET_STR);
    EXPECT_EQ(iinfo->indexes->next_variable, nullptr);
    EXPECT_EQ(iinfo->table_reginfo->min_column, 2U);
  }
  EXPECT_EQ(names, (std::vector<std::string>{"veloraPolicingProfileTable_",
                                             "veloraPolicerInstanceTable_"}));
  EXPECT_EQ(Module().columnInfosByContext().at("").front()->list_count, 8);
  EXPECT_EQ(Module().columnInfosByContext().at("").back()->list_count, 1);
  auto coll = Mox::singletonIs<Snmp::RegVoidCollByContext>();
  EXPECT_EQ(coll->regVoid("", "veloraPolicerInstanceTable")->entity, &policingMib());
  EXPECT_TRUE(Snmp::mibContexts().at("").count("veloraPolicingMib"));
}

TEST_F(VeloraPolicingMibTest, NamedContextGetsTheMibContextOnlyAndUnregisterUndoesIt) {
  init_veloraPolicingMib("vrf1");
  EXPECT_EQ(Module().handlerRegistrationsByContext().count("vrf1"), 0U);
  EXPECT_TRUE(Snmp::mibContexts().at("vrf1").count("veloraPolicingMib"));
  unregister_veloraPolicingMib("vrf1");
  EXPECT_EQ(Snmp::mibContexts().count("vrf1"), 0U);
  unregister_veloraPolicingMib("");
  EXPECT_EQ(Module().handlerRegistrationsByContext().count(""), 0U);
  EXPECT_EQ(Module().columnInfosByContext().count(""), 0U);
  EXPECT_EQ(
      Mox::singletonIs<Snmp::RegVoidCollByContext>()->regVoid("", "veloraPolicingProfileTable"),
      nullptr);
  init_veloraPolicingMib("");  // for TearDown
}

TEST_F(VeloraPolicingMibTest, ProfilesWalkInOidOrderOfTheirNames) {
  for (const char* name : {"gold", "bronze", "a", "silver"}) {
    Profile(name);
  }
  TableDriver table = Profiles();
  TraceCapture trace;
  Events before = table.events();
  EXPECT_EQ(table.walk(), (std::vector<std::string>{"a", "gold", "bronze", "silver"}));
  EXPECT_EQ(table.eventsSince(before), (Events{0, 0, 1, 0, 1, 3}));
  EXPECT_TRUE(trace.has(
      "veloraPolicingProfileTableIterationHelper - iterator has another value: profileName=gold"));
}

TEST_F(VeloraPolicingMibTest, ProfileColumnsAnswerRatesBurstsAndOneBasedUnits) {
  Profile("gold", {.cir = 1000,
                   .cirUnit = Qos::RateUnit::rateUnitKbps_,
                   .bc = 1ULL << 40,
                   .bcUnit = Qos::BurstUnit::burstUnitKBytes_,
                   .pir = 3000,
                   .pirUnit = Qos::RateUnit::rateUnitPps_,
                   .be = 4000,
                   .beUnit = Qos::BurstUnit::burstUnitPackets_});
  TableDriver table = Profiles();
  ASSERT_EQ(table.first(), "gold");
  EXPECT_EQ(table.get({2, 3, 4, 5, 6, 7, 8, 9}), SNMP_ERR_NOERROR);
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(table.answer(i).type, ASN_COUNTER64);
  }
  EXPECT_EQ(table.answer(0).counter, 1000U);
  EXPECT_EQ(table.answer(1).counter, 1ULL << 40);
  EXPECT_EQ(table.answer(2).counter, 3000U);
  EXPECT_EQ(table.answer(3).counter, 4000U);
  std::vector<long> units;
  for (size_t i = 4; i < 8; ++i) {
    EXPECT_EQ(table.answer(i).type, ASN_INTEGER);
    units.push_back(table.answer(i).integer);
  }
  EXPECT_EQ(units, (std::vector<long>{2, 3, 4, 1}));
}

TEST_F(VeloraPolicingMibTest, ProfileWithoutStatusAnswersZeroValues) {
  policingMib().policingProfileTableIs(PolicingProfileTableIndex("bare"), nullptr);
  TableDriver table = Profiles();
  ASSERT_EQ(table.first(), "bare");
  EXPECT_EQ(table.get({2, 6, 7}), SNMP_ERR_NOERROR);
  EXPECT_EQ(table.answer(0).counter, 0U);
  EXPECT_EQ(table.answer(1).integer, 1);  // the model's first rate unit
  EXPECT_EQ(table.answer(2).integer, 2);  // the model's first burst unit
}

TEST_F(VeloraPolicingMibTest, InstanceAnswersItsProfileAndFailsWithoutOne) {
  Instance("i1", "gold");
  Instance("i2", nullptr);
  TableDriver table = Instances();
  EXPECT_EQ(table.getOne(2).octets, "gold");
  TraceCapture trace;
  Hint bare;
  ASSERT_EQ(table.first(&bare.octets("i2")), "i2");
  EXPECT_EQ(table.get({2}), SNMP_ERR_GENERR);
  EXPECT_EQ(table.answer(0).status, SNMP_ERR_GENERR);
  EXPECT_TRUE(
      trace.has("handle_veloraPolicerInstanceTable - entity /localhost/snmp/qos/policingMib "
                "length out of range: profileName (0)"));
  EXPECT_TRUE(trace.has(
      "veloraPolicerInstanceTableIterationHelper - iterator has another value: policerName=i2"));
}

TEST_F(VeloraPolicingMibTest, HintsOfTheWrongTypeOrTooLongAreIgnored) {
  Profile("a");
  Profile("gold");
  TableDriver table = Profiles();
  TraceCapture trace;
  Hint good;
  EXPECT_EQ(table.first(&good.octets("gold")), "gold");
  EXPECT_TRUE(trace.has("hint component veloraPolicingProfileName is 'gold'"));
  Hint integer;
  EXPECT_EQ(table.first(&integer.integer(4)), "a");
  EXPECT_TRUE(
      trace.has("hint for veloraPolicingProfileName has incorrect type! Expecting 4 but got 2"));
  Hint tooLong;
  EXPECT_EQ(table.first(&tooLong.octets(std::string(256, 'x'))), "a");
  EXPECT_TRUE(trace.contains(
      "hint for index veloraPolicingProfileName of veloraPolicingProfileTable is out of range!"));
  Hint absent;
  EXPECT_EQ(table.first(&absent.octets("silver")), "a");
  EXPECT_TRUE(trace.has(
      "veloraPolicingProfileTable_get_first_data_point - key 'profileName=\"silver\"' not found "
      "in table"));
}

TEST_F(VeloraPolicingMibTest, ColumnTenAndColumnOneAreInvalid) {
  Profile("gold");
  Instance("i1", "gold");
  TraceCapture trace;
  TableDriver profiles = Profiles();
  ASSERT_EQ(profiles.first(), "gold");
  EXPECT_EQ(profiles.get({10}), SNMP_ERR_NOERROR);
  EXPECT_EQ(profiles.answer(0).type, SNMP_NOSUCHOBJECT);
  EXPECT_TRUE(trace.has("veloraPolicingProfileTable invalid column 10"));
  TableDriver instances = Instances();
  ASSERT_EQ(instances.first(), "i1");
  EXPECT_EQ(instances.get({1}), SNMP_ERR_NOERROR);
  EXPECT_EQ(instances.answer(0).type, SNMP_NOSUCHOBJECT);
  EXPECT_TRUE(trace.has("veloraPolicerInstanceTable invalid column 1"));
}

TEST_F(VeloraPolicingMibTest, WalkContinuesAfterARowDeletedUnderIt) {
  for (const char* name : {"a", "b", "c"}) {
    Instance(name, "gold");
  }
  TableDriver table = Instances();
  EXPECT_EQ(table.first(), "a");
  EXPECT_EQ(table.next(), "b");
  policingMib().policerInstanceTableDel(PolicerInstanceTableIndex("b"));
  Instance("bb", "gold");  // after "c" in OID order (longer)
  EXPECT_EQ(table.next(), "c");
  EXPECT_EQ(table.next(), "bb");
  EXPECT_EQ(table.next(), "");
}

// The interface policer entity where the policing entity belongs is a configuration fault.
TEST(VeloraPolicingMibDeathTest, ModelEntityOfAnotherTypeEndsTheAgent) {
  QosSnmp::test::ensureAgent();
  EXPECT_DEATH(
      {
        Snmp::CordbUtil::agentRoot()->mount("snmp/qos/policingMib",
                                            QosSnmp::ifPolicerMibFactory("ifPolicerMib"));
        init_veloraPolicingMib("");
      },
      "snmp/qos/policingMib does not appear to be of type QosSnmp::PolicingMib\\.\n(.|\n)*" +
          QosSnmp::test::assertionRegex("ptr"));
}

}  // namespace
