// The QoS MIB's table descriptions as registered: eleven tables in order under their arcs, and
// GETs through the registered callbacks for the tables whose indexes or encodings are unusual
// (the ECN counter table keyed by its descriptor string, the action value's low 32 bits, a
// queue number out of range).
#include "QosSnmp/QosMib/QosMibTables.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "QosSnmp/QosMib/QosMib.h"
#include "QosSnmp/SnmpTables/SnmpModule.h"
#include "QosSnmp/TestSupport/TableDriver.h"
#include "QosSnmp/TestSupport/TestAgent.h"
#include "QosSnmp/QosMib/veloraQosMib.h"

namespace {

using Quill::U32;
using Quill::U64;

using QosSnmp::test::Answer;
using QosSnmp::test::Hint;
using QosSnmp::test::mib;
using QosSnmp::test::TableDriver;

const std::list<netsnmp_handler_registration*>& Registrations() {
  return QosSnmp::veloraQosMibModule().handlerRegistrationsByContext().at("");
}

class QosMibTablesTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { QosSnmp::test::ensureAgent(); }
  void SetUp() override { init_veloraQosMib(""); }
  void TearDown() override {
    unregister_veloraQosMib("");
    mib().ecnCounterTableDelAll();
    mib().policyMapActionTableDelAll();
    mib().ecnQueueCounterTableDelAll();
  }

  // A driver for table `name` with exported handler `handler`.
  static TableDriver Driver(const char* name, Netsnmp_Node_Handler* handler) {
    return TableDriver(QosSnmp::veloraQosMibModule(), name, handler);
  }
};

TEST_F(QosMibTablesTest, ElevenTablesRegisterInOrderUnderTheirArcs) {
  const std::vector<std::string> names = {
      "veloraClassMapTable_",        "veloraClassMapMatchTable_",   "veloraPolicyMapTable_",
      "veloraPolicyMapClassTable_",  "veloraPolicyMapActionTable_", "veloraServicePolicyTable_",
      "veloraQosStatsTable_",        "veloraEcnCounterTable_",      "veloraEcnQueueCounterTable_",
      "veloraQosPolicerStatsTable_", "veloraQosPerIntfStatsTable_"};
  std::vector<std::string> registered;
  U32 arc = 0;
  for (auto* reg : Registrations()) {
    registered.emplace_back(reg->handlerName);
    ASSERT_EQ(reg->rootoid_len, 11u);
    EXPECT_EQ(reg->rootoid[7], 3u);
    EXPECT_EQ(reg->rootoid[8], 13u);
    EXPECT_EQ(reg->rootoid[9], 1u);
    EXPECT_EQ(reg->rootoid[10], ++arc) << reg->handlerName;
  }
  EXPECT_EQ(registered, names);
  EXPECT_EQ(QosSnmp::veloraQosMibModule().columnInfosByContext().at("").size(), 11u);
}

TEST_F(QosMibTablesTest, EcnCounterRowsAreKeyedByTheirDescriptor) {
  auto chip = Quill::make<Qos::ChipCounter>(0x100000001ULL);
  mib().ecnCounterTableIs("zz-last", chip, U32{2});
  mib().ecnCounterTableIs("ecn-b", chip, U32{7});
  TableDriver table = Driver("veloraEcnCounterTable", veloraEcnCounterTable_handler);
  EXPECT_EQ(table.walk(), (std::vector<std::string>{"ecn-b", "zz-last"}));  // shorter first
  Answer a = table.getOne(2);
  EXPECT_EQ(a.type, ASN_COUNTER64);
  EXPECT_EQ(a.counter, 0x100000001ULL);
  EXPECT_EQ(table.getOne(3).integer, 7);

  // A hint naming the second row starts there.
  Hint hint;
  EXPECT_EQ(table.first(&hint.octets("zz-last")), "zz-last");
  table.get({3});
  EXPECT_EQ(table.answer(0).integer, 2);
}

TEST_F(QosMibTablesTest, EcnCounterRowCannotBeRecreatedWithOtherArguments) {
  auto chip = Quill::make<Qos::ChipCounter>(1);
  auto row = mib().ecnCounterTableIs("ecn-a", chip, U32{1});
  EXPECT_EQ(mib().ecnCounterTableIs("ecn-a", chip, U32{1}), row);
  try {
    mib().ecnCounterTableIs("ecn-a", chip, U32{2});
    ADD_FAILURE() << "re-created with other arguments";
  } catch (const Mox::MutatorReinstantiationException& e) {
    EXPECT_NE(std::string(e.what()).find("row \"ecn-a\" exists"), std::string::npos) << e.what();
  }
  EXPECT_EQ(mib().ecnCounterTableDel("ecn-a"), row);
}

TEST_F(QosMibTablesTest, ActionValueIsReportedAsItsLow32Bits) {
  auto action = Quill::make<Qos::Action>(0xfffffffe);
  mib().policyMapActionTableIs(QosSnmp::PolicyMapActionTableIndex("pm", Qos::MapType::mapQos_, "cm",
                                                                  Qos::ActionType::actionSetShape_),
                               Quill::make<Qos::ClassAction>("cm"), action, nullptr,
                               Quill::make<Qos::HwStatus>(true, true));
  TableDriver table = Driver("veloraPolicyMapActionTable", veloraPolicyMapActionTable_handler);
  ASSERT_EQ(table.first(), "pm/2/cm/1");
  table.get({3, 2});
  EXPECT_EQ(table.answer(0).integer, -2);
  EXPECT_EQ(table.answer(1).integer, 1);
}

TEST_F(QosMibTablesTest, QueueOutOfRangeFailsTheGet) {
  auto slice = Quill::make<Qos::SliceHwStatus>();
  auto status = Quill::make<Qos::EcnIntfCounterStatus>();
  slice->ecnIntfCounterStatusIs(Linko::IntfId(1), status);
  mib().ecnQueueCounterTableIs(QosSnmp::EcnQueueCounterTableIndex(3, 17), Linko::IntfId(1), slice,
                               nullptr, false, false);
  TableDriver table = Driver("veloraEcnQueueCounterTable", veloraEcnQueueCounterTable_handler);
  ASSERT_EQ(table.first(), "3/17");
  EXPECT_EQ(table.get({4}), SNMP_ERR_GENERR);
  EXPECT_EQ(table.answer(0).status, SNMP_ERR_GENERR);
}

}  // namespace
