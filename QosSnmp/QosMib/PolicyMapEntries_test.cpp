// Policy map rows: names, and the rate unit and value of policy map actions for control-plane
// and QoS policy maps, with the agent's "no rate" values and the combinations the writer must
// never produce.
#include "QosSnmp/QosMib/PolicyMapEntries.h"

#include <gtest/gtest.h>

#include "QosSnmp/TestSupport/AssertionRegex.h"

namespace {

using Qos::ActionType;
using Qos::MapType;
using QosSnmp::PolicyMapActionTableEntry;
using QosSnmp::PolicyMapActionTableIndex;
using QosSnmp::test::assertionRegex;
using Quill::U32;

class PolicyMapActionTest : public ::testing::Test {
 protected:
  Quill::Ptr<PolicyMapActionTableEntry> Row(MapType type, ActionType action) {
    return Quill::make<PolicyMapActionTableEntry>(
        PolicyMapActionTableIndex("pm1", type, "cm1", action), classAction_, action_, hw_, qosHw_);
  }

  Quill::Ptr<Qos::ClassAction> classAction_ = Quill::make<Qos::ClassAction>("cm1");
  Quill::Ptr<Qos::Action> action_ = Quill::make<Qos::Action>(5000);
  Quill::Ptr<Qos::ClassMapHwStatus> hw_ = Quill::make<Qos::ClassMapHwStatus>();
  Quill::Ptr<Qos::HwStatus> qosHw_ = Quill::make<Qos::HwStatus>(false, true);
};

TEST(PolicyMapEntriesTest, NamesComeFromStatusOrConstruction) {
  auto status = Quill::make<Qos::PolicyMapStatus>("policy-a");
  QosSnmp::PolicyMapTableEntry pmap(QosSnmp::PolicyMapTableIndex("pm1", MapType::mapQos_), status);
  EXPECT_EQ(pmap.policyMapName(), "policy-a");
  status->nameIs("policy-b");
  EXPECT_EQ(pmap.policyMapName(), "policy-b");
  QosSnmp::PolicyMapTableEntry bare(QosSnmp::PolicyMapTableIndex("pm1", MapType::mapQos_), nullptr);
  EXPECT_EQ(bare.policyMapName(), "");

  QosSnmp::PolicyMapClassTableEntry pclass(
      QosSnmp::PolicyMapClassTableIndex("pm1", MapType::mapQos_, 3), status, "class-x");
  EXPECT_EQ(pclass.classMapId(), "class-x");
  EXPECT_EQ(pclass.classIndex(), 3u);
}

TEST_F(PolicyMapActionTest, RateUnitByActionTypeAndHardwareCapability) {
  EXPECT_EQ(Row(MapType::mapQos_, ActionType::actionSetShape_)->actionRateUnit(), 2u);
  EXPECT_EQ(Row(MapType::mapQos_, ActionType::actionSetBandwidth_)->actionRateUnit(), 2u);
  qosHw_->coppBpsSupportedIs(true);
  EXPECT_EQ(Row(MapType::mapControlPlane_, ActionType::actionSetShape_)->actionRateUnit(), 1u);
  // Other actions have no rate unit, and need no hardware status.
  qosHw_ = nullptr;
  EXPECT_EQ(Row(MapType::mapQos_, ActionType::actionSetDscp_)->actionRateUnit(), 0u);
  EXPECT_EQ(Row(MapType::mapQos_, ActionType::actionPolice_)->actionRateUnit(), 0u);
}

TEST_F(PolicyMapActionTest, ControlPlaneValueIsTheProgrammedRateOfItsAction) {
  hw_->shapeRateIs(1000);
  hw_->bandwidthRateIs(2000);
  auto shape = Row(MapType::mapControlPlane_, ActionType::actionSetShape_);
  auto bandwidth = Row(MapType::mapControlPlane_, ActionType::actionSetBandwidth_);
  EXPECT_EQ(shape->actionValue(), 1000u);
  EXPECT_EQ(bandwidth->actionValue(), 2000u);
  // Read live, and the action object is not consulted.
  hw_->shapeRateIs(10000000);
  action_->valueIs(7);
  EXPECT_EQ(shape->actionValue(), 10000000u);
  hw_->shapeRateIs(10000001);
  hw_->bandwidthRateIs(10000002);
  EXPECT_EQ(shape->actionValue(), 0u);
  EXPECT_EQ(bandwidth->actionValue(), 0u);
  hw_ = nullptr;
  EXPECT_EQ(Row(MapType::mapControlPlane_, ActionType::actionSetShape_)->actionValue(), 0u);
}

TEST_F(PolicyMapActionTest, QosValueComesFromTheActionUnlessItRefersElsewhere) {
  auto row = Row(MapType::mapQos_, ActionType::actionSetDscp_);
  EXPECT_EQ(row->actionValue(), 5000u);
  action_->valueIs(0xfffffffe);
  EXPECT_EQ(row->actionValue(), 0xfffffffeu);
  action_->valueIs(10000001);
  EXPECT_EQ(row->actionValue(), 0u);
  action_->valueIs(10000002);
  EXPECT_EQ(row->actionValue(), 0u);
  action_->valueIs(10000003);
  EXPECT_EQ(row->actionValue(), 10000003u);
  action_->referenceIs(Quill::make<Qos::PolicyMapStatus>("profile"));
  EXPECT_EQ(row->actionValue(), 0u);
  // Static QoS maps are QoS maps; the hardware status plays no part.
  hw_->shapeRateIs(99);
  action_->referenceIs(nullptr);
  EXPECT_EQ(Row(MapType::mapQosStatic_, ActionType::actionSetShape_)->actionValue(), 10000003u);
}

using PolicyMapActionDeathTest = PolicyMapActionTest;

TEST_F(PolicyMapActionDeathTest, WriterFaultsAreAssertions) {
  EXPECT_DEATH(Row(MapType::mapControlPlane_, ActionType::actionSetDscp_)->actionValue(),
               assertionRegex("actionType() == Qos::actionSetShape_ || "
                              "actionType() == Qos::actionSetBandwidth_"));
  action_ = nullptr;
  EXPECT_DEATH(Row(MapType::mapQos_, ActionType::actionSetCos_)->actionValue(),
               assertionRegex("action() && \"Action entity must be provided for Qos ClassMaps\""));
  qosHw_->coppKbpsSupportedIs(false);
  EXPECT_DEATH(Row(MapType::mapQos_, ActionType::actionSetShape_)->actionRateUnit(),
               assertionRegex("qosHwStatus()->coppKbpsSupported()"));
}

}  // namespace
