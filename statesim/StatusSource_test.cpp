#include "StatusSource.h"
#include "StatusSourceTest.h"

#include <filesystem>
#include <fstream>
#include <algorithm>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

namespace {

using namespace StateSim::test;

TEST_F(StatusSourceTest, MountsAnEmptyQosMibAtItsPath) {
  EXPECT_EQ(root->lookup("snmp/qos/root"), Quill::Ptr<Mox::Entity>(source.qosMib()));
  EXPECT_TRUE(source.qosMib()->classMapTable().empty());
  EXPECT_TRUE(source.qosMib()->cmapByStaticType().empty());
}

TEST_F(StatusSourceTest, WritesOneRowPerClassMapInWalkOrder) {
  Apply(R"({"classMaps": [
      {"id": "VOICE", "type": "qos", "name": "voice", "matchCondition": "all"},
      {"id": "AB", "type": "qos"},
      {"id": "copp-system-bgp", "type": "controlPlane", "staticType": "bgp"}]})");
  EXPECT_EQ(RowIds(), (std::vector<std::string>{"AB", "VOICE", "copp-system-bgp"}));
  auto voice = Row("VOICE", MapType::mapQos_);
  ASSERT_TRUE(voice);
  EXPECT_EQ(voice->classMapName(), "voice");
  EXPECT_EQ(voice->classMapMatchCondition(), Qos::ClassMapMatchCondition::matchConditionAll_);
  EXPECT_EQ(voice->classMap(), source.classMap(voice->index()));
  auto bgp = Row("copp-system-bgp", MapType::mapControlPlane_);
  ASSERT_TRUE(bgp);
  EXPECT_EQ(source.qosMib()->cmapByStaticType(ClassMapCpStaticType::cmapCpStaticBgp_),
            bgp->classMap());
}

TEST_F(StatusSourceTest, EditsChangeTheStatusInPlaceAndKeepTheRow) {
  Apply(R"({"classMaps": [{"id": "VOICE", "type": "qos", "name": "voice"}]})");
  auto row = Row("VOICE", MapType::mapQos_);
  published.clear();
  Apply(
      R"({"classMaps": [{"id": "VOICE", "type": "qos", "name": "rtp", "matchCondition": "all"}]})");
  EXPECT_EQ(Row("VOICE", MapType::mapQos_), row);
  EXPECT_EQ(row->classMapName(), "rtp");
  EXPECT_EQ(row->classMapMatchCondition(), Qos::ClassMapMatchCondition::matchConditionAll_);
  EXPECT_TRUE(published.empty());
}

TEST_F(StatusSourceTest, ReapplyingTheSameStatePublishesNothing) {
  const char* text = R"({"classMaps": [
      {"id": "a", "type": "qos"}, {"id": "b", "type": "controlPlane", "staticType": "lldp"}]})";
  Apply(text);
  published.clear();
  Apply(text);
  EXPECT_TRUE(published.empty());
}

TEST_F(StatusSourceTest, ClassMapsThatGoLoseTheirRowAndStaticType) {
  Apply(R"({"classMaps": [{"id": "a", "type": "qos"},
      {"id": "b", "type": "controlPlane", "staticType": "arp"}]})");
  auto gone = Row("b", MapType::mapControlPlane_);
  published.clear();
  Apply(R"({"classMaps": [{"id": "a", "type": "qos"}]})");
  EXPECT_EQ(RowIds(), (std::vector<std::string>{"a"}));
  EXPECT_TRUE(source.qosMib()->cmapByStaticType().empty());
  EXPECT_EQ(published, (std::vector<U32>{QosMib::classMapTableAttr, QosMib::cmapByStaticTypeAttr}));
  // A reader that still holds the row keeps a valid status.
  EXPECT_EQ(gone->classMapName(), "b");
}

TEST_F(StatusSourceTest, StaticTypeMovesToAnotherClassMap) {
  Apply(R"({"classMaps": [{"id": "a", "type": "controlPlane", "staticType": "ospf"},
      {"id": "b", "type": "controlPlane"}]})");
  Apply(R"({"classMaps": [{"id": "a", "type": "controlPlane"},
      {"id": "b", "type": "controlPlane", "staticType": "ospf"}]})");
  EXPECT_EQ(source.qosMib()->cmapByStaticType(ClassMapCpStaticType::cmapCpStaticOspf_),
            Row("b", MapType::mapControlPlane_)->classMap());
  EXPECT_EQ(source.qosMib()->cmapByStaticType().size(), 1U);
}

TEST_F(StatusSourceTest, LoadAppliesAFileAndABadFileChangesNothing) {
  Write(R"({"classMaps": [{"id": "a", "type": "qos"}]})");
  source.load(path.string());
  auto state = source.state();
  auto row = Row("a", MapType::mapQos_);
  ASSERT_TRUE(row);
  published.clear();

  Write(R"({"classMaps": [{"id": "b", "type": "qos"}, {"id": "c", "type": "nope"}]})");
  EXPECT_THROW(source.load(path.string()), StateSim::StateFileError);
  Write(R"({"classMaps": [)");
  EXPECT_THROW(source.load(path.string()), StateSim::StateFileError);
  EXPECT_THROW(source.load("/nonexistent/state.json"), StateSim::StateFileError);
  EXPECT_EQ(source.state(), state);
  EXPECT_EQ(Row("a", MapType::mapQos_), row);
  EXPECT_EQ(RowIds(), (std::vector<std::string>{"a"}));
  EXPECT_TRUE(published.empty());
}

TEST_F(StatusSourceTest, ClassMapsExampleLoads) {
  source.load(QOSSNMP_EXAMPLES_DIR "/class-maps.json");
  EXPECT_EQ(source.qosMib()->classMapTable().size(), source.state().classMaps.size());
  EXPECT_EQ(source.qosMib()->cmapByStaticType().size(), 5U);
}

TEST(StatusSourceLifetimeTest, DestructionEmptiesAndUnmountsTheModel) {
  auto root = Quill::make<Cordb::Dir>("sysdb");
  Quill::Ptr<QosMib> mib;
  {
    StateSim::StatusSource source(root);
    source.stateIs(StateSim::parseState(
        R"({"classMaps": [{"id": "a", "type": "controlPlane", "staticType": "igmp"}]})", "t"));
    mib = source.qosMib();
  }
  EXPECT_EQ(root->lookup("snmp/qos/root"), nullptr);
  EXPECT_TRUE(mib->classMapTable().empty());
  EXPECT_TRUE(mib->cmapByStaticType().empty());
}

}  // namespace
