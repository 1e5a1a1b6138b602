#include "QosSnmp/QosMib/QosMibIndexes.h"

#include <gtest/gtest.h>

namespace {

using namespace QosSnmp;
using Qos::Direction;
using Qos::MapType;

TEST(QosMibIndexesTest, MapTypeRanksBeforeTheSequenceNumberWhateverTheStorageOrder) {
  ClassMapMatchTableIndex smallType("cm", MapType::mapControlPlane_, 9);
  ClassMapMatchTableIndex bigType("cm", MapType::mapQos_, 1);
  EXPECT_LT(smallType, bigType);
  PolicyMapClassTableIndex a("pm", MapType::mapControlPlane_, 9);
  PolicyMapClassTableIndex b("pm", MapType::mapQos_, 1);
  EXPECT_LT(a, b);
  // The identifier still decides first, length first as in the OID.
  EXPECT_LT(ClassMapMatchTableIndex("zz", MapType::mapQos_, 5),
            ClassMapMatchTableIndex("aaa", MapType::mapControlPlane_, 0));
}

TEST(QosMibIndexesTest, PerInterfaceStatisticsListEveryInterfaceBeforeTheNextDirection) {
  QosPerIntfStatsTableIndex inOn9("pm", MapType::mapQos_, "cm", Direction::directionInput_, 9);
  QosPerIntfStatsTableIndex outOn1("pm", MapType::mapQos_, "cm", Direction::directionOutput_, 1);
  EXPECT_LT(inOn9, outOn1);
  QosPolicerStatsTableIndex p1("pm", MapType::mapQos_, "cm", Direction::directionInput_, 2);
  QosPolicerStatsTableIndex p2("pm", MapType::mapQos_, "cm", Direction::directionInput_, 3);
  EXPECT_LT(p1, p2);
}

TEST(QosMibIndexesTest, ServicePolicyOrdersByInterfaceThenDirection) {
  for (auto d : {Direction::directionInput_, Direction::directionOutput_}) {
    EXPECT_LT(ServicePolicyTableIndex(4, Direction::directionOutput_),
              ServicePolicyTableIndex(5, d));
  }
  EXPECT_LT(ServicePolicyTableIndex(5, Direction::directionInput_),
            ServicePolicyTableIndex(5, Direction::directionOutput_));
  EXPECT_LT(EcnQueueCounterTableIndex(1, 7), EcnQueueCounterTableIndex(2, 0));
}

TEST(QosMibIndexesTest, ActionIndexComparesPolicyMapTypeBeforeClassMap) {
  PolicyMapActionTableIndex a("pm", MapType::mapControlPlane_, "zzz",
                              Qos::ActionType::actionPolice_);
  PolicyMapActionTableIndex b("pm", MapType::mapQos_, "a", Qos::ActionType::actionSetShape_);
  EXPECT_LT(a, b);
  QosStatsTableIndex s1("pm", MapType::mapQos_, "cm", Direction::directionOutput_);
  QosStatsTableIndex s2("pm", MapType::mapQos_, "cn", Direction::directionInput_);
  EXPECT_LT(s1, s2);
}

TEST(QosMibIndexesTest, TruthIsDifferenceFromTheDefault) {
  EXPECT_FALSE(ClassMapTableIndex());
  EXPECT_TRUE(ClassMapTableIndex("", MapType::mapQos_));
  EXPECT_TRUE(ClassMapTableIndex("x", MapType::mapControlPlane_));
  EXPECT_FALSE(QosStatsTableIndex());
  EXPECT_TRUE(EcnQueueCounterTableIndex(0, 1));
  EXPECT_FALSE(EcnQueueCounterTableIndex(0, 0));
}

TEST(QosMibIndexesTest, EqualIndexesHashAlikeAndQueueIndexesAreNotHashable) {
  ClassMapTableIndex a("cm", MapType::mapQos_);
  EXPECT_EQ(a.hash(), ClassMapTableIndex("cm", MapType::mapQos_).hash());
  EXPECT_NE(a.hash(), ClassMapTableIndex("cm", MapType::mapControlPlane_).hash());
  QosStatsTableIndex s("pm", MapType::mapQos_, "cm", Direction::directionInput_);
  EXPECT_EQ(s.hash(7), QosStatsTableIndex(s).hash(7));
  EXPECT_NE(s.hash(7), s.hash(8));
  EXPECT_THROW(Mox::hashValue(EcnQueueCounterTableIndex(1, 2)), Mox::NotHashableException);
  EXPECT_NO_THROW(Mox::hashValue(a));
}

TEST(QosMibIndexesTest, TextualFormRoundTrips) {
  PolicyMapActionTableIndex a("pm \"1\"", MapType::mapQos_, "c,m", Qos::ActionType::actionPolice_);
  EXPECT_EQ(a.toString(),
            "policyMapId=\"pm \\\"1\\\"\", policyMapType=mapQos_, classMapId=\"c,m\", "
            "classActionType=actionPolice_");
  EXPECT_EQ(PolicyMapActionTableIndex::fromString(a.toString()), a);
  EXPECT_EQ(PolicyMapActionTableIndex::fromString("QosSnmp::PolicyMapActionTableIndex(" +
                                                  a.toString() + ")"),
            a);
  QosPerIntfStatsTableIndex p("pm", MapType::mapQos_, "cm", Direction::directionOutput_, 42);
  EXPECT_EQ(QosPerIntfStatsTableIndex::fromString(p.toString()), p);
}

TEST(QosMibIndexesTest, MalformedTextNamesTheAttribute) {
  try {
    PolicyMapActionTableIndex::fromString(
        "policyMapId=\"pm\", policyMapType=mapQos_, classMapId=\"cm\", classActionType=bogus_");
    FAIL() << "no exception";
  } catch (const Mox::DeserializeException& e) {
    EXPECT_EQ(e.attribute(), "classActionType");
  }
  try {
    ClassMapTableIndex::fromString("classMapId=\"cm\"");
    FAIL() << "no exception";
  } catch (const Mox::DeserializeException& e) {
    EXPECT_EQ(e.attribute(), "classMapType");
  }
}

}  // namespace
