// The QoS MIB module as net-snmp drives it: registration per context (and the faults that end
// the agent), the iterator callbacks of the class map table (hints, counters, rows changing
// during a walk, context lifetimes) and the GET handler's answers and errors.
#include "QosSnmp/QosMib/veloraQosMib.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Mox/Singleton.h"
#include "QosSnmp/QosMib/QosMib.h"
#include "Snmp/MibContext.h"
#include "Snmp/RegVoidCollByContext.h"
#include "QosSnmp/TestSupport/AssertionRegex.h"
#include "QosSnmp/SnmpTables/SnmpModule.h"
#include "QosSnmp/TestSupport/TableDriver.h"
#include "QosSnmp/TestSupport/TestAgent.h"
#include "QosSnmp/TestSupport/TraceCapture.h"

namespace {

using Qos::MapType;
using QosSnmp::ClassMapTableIndex;
using QosSnmp::test::assertionRegex;
using QosSnmp::test::Events;
using QosSnmp::test::Hint;
using QosSnmp::test::TableDriver;

// One agent, one model root for the whole test program.
class AgentEnvironment : public ::testing::Environment {
 public:
  void SetUp() override { QosSnmp::test::ensureAgent(); }
};
const auto* const environment = ::testing::AddGlobalTestEnvironment(new AgentEnvironment);

using QosSnmp::test::mib;

const QosSnmp::SnmpModule& Module() {
  return QosSnmp::veloraQosMibModule();
}

TEST(VeloraQosMibRegistrationTest, DefaultContextRegistersTablesAndUnregistersThemAll) {
  init_veloraQosMib("");
  const auto& regs = Module().handlerRegistrationsByContext().at("");
  ASSERT_FALSE(regs.empty());
  EXPECT_STREQ(regs.front()->handlerName, "veloraClassMapTable_");
  for (auto* reg : regs) {
    EXPECT_EQ(std::string(reg->handlerName).back(), '_');
  }
  EXPECT_EQ(Module().columnInfosByContext().at("").size(), regs.size());
  auto coll = Mox::singletonIs<Snmp::RegVoidCollByContext>();
  ASSERT_NE(coll->regVoid("", "veloraClassMapTable"), nullptr);
  EXPECT_EQ(coll->regVoid("", "veloraClassMapTable")->entity, &mib());
  EXPECT_TRUE(Snmp::mibContexts().at("").count("veloraQosMib"));

  unregister_veloraQosMib("");
  EXPECT_EQ(Module().handlerRegistrationsByContext().count(""), 0U);
  EXPECT_EQ(Module().columnInfosByContext().count(""), 0U);
  EXPECT_EQ(coll->regVoid("", "veloraClassMapTable"), nullptr);
  EXPECT_EQ(Snmp::mibContexts().count(""), 0U);
}

TEST(VeloraQosMibRegistrationTest, NamedContextGetsTheMibContextOnly) {
  init_veloraQosMib("vrf1");
  EXPECT_EQ(Module().handlerRegistrationsByContext().count("vrf1"), 0U);
  EXPECT_EQ(Module().columnInfosByContext().count("vrf1"), 0U);
  EXPECT_TRUE(Snmp::mibContexts().at("vrf1").count("veloraQosMib"));
  unregister_veloraQosMib("vrf1");
  EXPECT_EQ(Snmp::mibContexts().count("vrf1"), 0U);
  unregister_veloraQosMib("never-initialised");  // nothing registered: nothing to undo
  EXPECT_EQ(Module().handlerRegistrationsByContext().count("never-initialised"), 0U);
}

// The class map table's registered callbacks, driven as net-snmp drives them.
class ClassMapTableTest : public ::testing::Test {
 protected:
  void SetUp() override {
    init_veloraQosMib("");
    driver =
        std::make_unique<TableDriver>(Module(), "veloraClassMapTable", veloraClassMapTable_handler);
  }
  void TearDown() override {
    driver.reset();
    mib().classMapTableDelAll();
    unregister_veloraQosMib("");
  }

  Quill::Ptr<QosSnmp::ClassMapTableEntry> Row(const char* id, MapType type, const char* name) {
    return mib().classMapTableIs(ClassMapTableIndex(id, type),
                                 Quill::make<Qos::ClassMapStatus>(name));
  }
  std::string First(Hint* hint = nullptr) { return driver->first(hint); }
  std::string Next() { return driver->next(); }
  bool Traced(const std::string& fragment) const { return trace.contains(fragment); }

  QosSnmp::test::TraceCapture trace;
  std::unique_ptr<TableDriver> driver;
};

TEST_F(ClassMapTableTest, EmptyTableEndsAtOnce) {
  Events before = driver->events();
  EXPECT_EQ(First(), "");
  EXPECT_EQ(Next(), "");
  EXPECT_EQ(driver->eventsSince(before), (Events{0, 0, 1, 1, 0, 0}));
}

TEST_F(ClassMapTableTest, WalksInOidOrderAndEncodesTheMapType) {
  Row("bb", MapType::mapQos_, "b");
  Row("a", MapType::mapQosStatic_, "a2");  // folds onto the MIB's qos (2)
  Row("a", MapType::mapControlPlane_, "a0");
  Events before = driver->events();
  EXPECT_EQ(driver->walk(), (std::vector<std::string>{"a/1", "a/2", "bb/2"}));
  EXPECT_EQ(driver->eventsSince(before), (Events{0, 0, 1, 0, 1, 2}));
}

TEST_F(ClassMapTableTest, HintForAnExistingRowStartsThere) {
  Row("a", MapType::mapQos_, "a");
  Row("b", MapType::mapQos_, "b");
  Events before = driver->events();
  Hint hint;
  EXPECT_EQ(First(&hint.octets("b").integer(2)), "b/2");
  EXPECT_EQ(driver->eventsSince(before), (Events{0, 1, 0, 0, 0, 0}));
  EXPECT_TRUE(Traced("hintMatched=true"));
}

TEST_F(ClassMapTableTest, HintForAnAbsentKeyWalksFromTheFirstRow) {
  Row("a", MapType::mapQos_, "a");
  Row("c", MapType::mapQos_, "c");
  Events before = driver->events();
  Hint hint;
  EXPECT_EQ(First(&hint.octets("b").integer(2)), "a/2");
  EXPECT_EQ(driver->eventsSince(before), (Events{1, 0, 1, 0, 0, 0}));
  EXPECT_TRUE(Traced("key 'classMapId=\"b\", classMapType=mapQos_' not found in table"));
}

TEST_F(ClassMapTableTest, BadHintComponentsAreReportedAndIgnored) {
  Row("a", MapType::mapQos_, "a");
  Row("b", MapType::mapQos_, "b");
  Hint wrongType;
  EXPECT_EQ(First(&wrongType.integer(7).integer(2)), "a/2");
  EXPECT_TRUE(Traced("hint for veloraClassMapId has incorrect type! Expecting 4 but got 2"));
  EXPECT_TRUE(Traced("needed 2 components, found only 1"));
  trace.clear();
  Hint outOfRange;
  EXPECT_EQ(First(&outOfRange.octets("b").integer(3)), "a/2");
  EXPECT_TRUE(
      Traced("hint for index veloraClassMapType of veloraClassMapTable is out of range! "
             "too big for Qos::MapType"));
  Hint tooFew;
  tooFew.octets("b");
  EXPECT_EQ(First(&tooFew), "a/2");  // a hint of another table's shape: no decoding at all
}

TEST_F(ClassMapTableTest, HintsAreIgnoredWhenTheAgentSaysSo) {
  Row("a", MapType::mapQos_, "a");
  Row("b", MapType::mapQos_, "b");
  auto config = Quill::make<Snmp::Config>();
  config->ignoreIteratorHints = true;
  Snmp::CordbUtil::snmpConfigIs(config);
  Hint hint;
  EXPECT_EQ(First(&hint.octets("b").integer(2)), "a/2");
  Snmp::CordbUtil::snmpConfigIs(Quill::make<Snmp::Config>());
}

TEST_F(ClassMapTableTest, RowRemovedDuringTheWalkContinuesAfterIt) {
  Row("a", MapType::mapQos_, "a");
  Row("b", MapType::mapQos_, "b");
  Row("c", MapType::mapQos_, "c");
  EXPECT_EQ(First(), "a/2");
  EXPECT_EQ(Next(), "b/2");
  mib().classMapTableDel(ClassMapTableIndex("b", MapType::mapQos_));
  mib().classMapTableDel(ClassMapTableIndex("a", MapType::mapQos_));
  EXPECT_EQ(Next(), "c/2");
  EXPECT_EQ(Next(), "");
}

TEST_F(ClassMapTableTest, RowAddedDuringTheWalkIsSeenWhenItComesLater) {
  Row("a", MapType::mapQos_, "a");
  Row("c", MapType::mapQos_, "c");
  EXPECT_EQ(First(), "a/2");
  Row("b", MapType::mapQos_, "b");
  Row("0", MapType::mapQos_, "before");  // "0" sorts before "a": already passed
  EXPECT_EQ(Next(), "b/2");
  EXPECT_EQ(Next(), "c/2");
  EXPECT_EQ(Next(), "");
}

TEST_F(ClassMapTableTest, DataContextKeepsItsRowAfterTheTableDropsIt) {
  auto row = Row("a", MapType::mapQos_, "kept");
  EXPECT_EQ(First(), "a/2");
  netsnmp_iterator_info* iinfo = driver->iinfo();
  void* dataContext = iinfo->make_data_context(driver->loopContext(), iinfo);
  Quill::U32 refs = row->refCount();
  mib().classMapTableDel(ClassMapTableIndex("a", MapType::mapQos_));
  EXPECT_EQ(row->refCount(), refs - 1);
  driver->endWalk();
  EXPECT_EQ(row->refCount(), refs - 2);  // only the data context and `row` remain
  iinfo->free_data_context(dataContext, iinfo);
  EXPECT_EQ(row->refCount(), 1U);
}

TEST_F(ClassMapTableTest, GetAnswersNameAndMatchCondition) {
  auto status = Quill::make<Qos::ClassMapStatus>("voice");
  status->matchConditionIs(Qos::ClassMapMatchCondition::matchConditionAll_);
  mib().classMapTableIs(ClassMapTableIndex("cm", MapType::mapQos_), status);
  ASSERT_EQ(First(), "cm/2");
  EXPECT_EQ(driver->get({3, 4}), SNMP_ERR_NOERROR);
  EXPECT_EQ(driver->answer(0).type, ASN_OCTET_STR);
  EXPECT_EQ(driver->answer(0).octets, "voice");
  EXPECT_EQ(driver->answer(1).type, ASN_INTEGER);
  EXPECT_EQ(driver->answer(1).integer, 2);
}

TEST_F(ClassMapTableTest, UnknownColumnAnswersNoSuchObjectAndLeavesLaterRequests) {
  Row("cm", MapType::mapQos_, "voice");
  ASSERT_EQ(First(), "cm/2");
  EXPECT_EQ(driver->get({5, 3}), SNMP_ERR_NOERROR);
  EXPECT_EQ(driver->answer(0).type, SNMP_NOSUCHOBJECT);
  EXPECT_EQ(driver->answer(1).type, ASN_NULL);
  EXPECT_FALSE(driver->answer(1).processed);
  EXPECT_TRUE(Traced("veloraClassMapTable invalid column 5"));
}

TEST_F(ClassMapTableTest, NameOfTheMaximumLengthIsReturnedWhole) {
  Row("cm", MapType::mapQos_, std::string(255, 'n').c_str());
  EXPECT_EQ(driver->getOne(3).octets.size(), 255U);
}

TEST_F(ClassMapTableTest, OverlongNameFailsTheRequestWithGenErr) {
  Row("cm", MapType::mapQos_, std::string(256, 'n').c_str());
  ASSERT_EQ(First(), "cm/2");
  EXPECT_EQ(driver->get({3}), SNMP_ERR_GENERR);
  EXPECT_EQ(driver->answer(0).status, SNMP_ERR_GENERR);
  EXPECT_TRUE(
      Traced("handle_veloraClassMapTable - entity /localhost/snmp/qos/root length out of "
             "range: classMapName (256)"));
}

TEST_F(ClassMapTableTest, WritesAreRefused) {
  Row("cm", MapType::mapQos_, "voice");
  ASSERT_EQ(First(), "cm/2");
  EXPECT_EQ(driver->get({3}, MODE_SET_RESERVE1), SNMP_ERR_NOERROR);
  EXPECT_EQ(driver->answer(0).status, SNMP_ERR_NOTWRITABLE);
}

// A model entity that is missing or of another type is a configuration fault: it ends the agent
// with the path in the message.
TEST(VeloraQosMibRegistrationDeathTest, MissingModelEntityEndsTheAgent) {
  EXPECT_DEATH(
      {
        Snmp::CordbUtil::agentRoot()->unmount("snmp/qos/root");
        init_veloraQosMib("");
      },
      "Can not getEntityRelative\\( snmp/qos/root \\) for table veloraClassMapTable\\. Is this "
      "path correct\\?\n(.|\n)*" +
          assertionRegex("e"));
}

TEST(VeloraQosMibRegistrationDeathTest, ModelEntityOfAnotherTypeEndsTheAgent) {
  EXPECT_DEATH(
      {
        Snmp::CordbUtil::agentRoot()->mount("snmp/qos/root", Quill::make<Cordb::Dir>("root"));
        init_veloraQosMib("");
      },
      "snmp/qos/root does not appear to be of type QosSnmp::QosMib\\.\n(.|\n)*" +
          assertionRegex("ptr"));
}

}  // namespace
