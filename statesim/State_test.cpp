#include "State.h"

#include <filesystem>

#include <gtest/gtest.h>

namespace {

using Qos::MapType;
using QosSnmp::ClassMapTableIndex;

// The error a state text raises, as "<where>: <message>" without the file name.
std::string ErrorOf(std::string_view text) {
  try {
    StateSim::parseState(text, "test.json");
  } catch (const StateSim::StateFileError& e) {
    EXPECT_EQ(e.file(), "test.json");
    return std::string(e.what()).substr(std::string("test.json: ").size());
  }
  ADD_FAILURE() << "no error for " << text;
  return {};
}

TEST(StateTest, ReadsClassMapsWithTheirDefaults) {
  auto state = StateSim::parseState(R"({"classMaps": [
      {"id": "VOICE", "type": "qos", "name": "voice", "matchCondition": "all"},
      {"id": "copp-system-bgp", "type": "controlPlane", "staticType": "bgp"}]})",
                                    "test.json");
  ASSERT_EQ(state.classMaps.size(), 2U);
  const auto& voice = state.classMaps.at(ClassMapTableIndex("VOICE", MapType::mapQos_));
  EXPECT_EQ(voice.name, "voice");
  EXPECT_EQ(voice.matchCondition, Qos::ClassMapMatchCondition::matchConditionAll_);
  EXPECT_FALSE(voice.staticType);
  const auto& bgp =
      state.classMaps.at(ClassMapTableIndex("copp-system-bgp", MapType::mapControlPlane_));
  EXPECT_EQ(bgp.name, "copp-system-bgp");  // the id when no name is given
  EXPECT_EQ(bgp.matchCondition, Qos::ClassMapMatchCondition::matchConditionAny_);
  EXPECT_EQ(bgp.staticType, Qos::ClassMapCpStaticType::cmapCpStaticBgp_);
}

TEST(StateTest, EmptyObjectIsAnEmptyState) {
  EXPECT_EQ(StateSim::parseState("{}", "test.json"), StateSim::State{});
  EXPECT_EQ(StateSim::parseState(R"({"classMaps": []})", "test.json"), StateSim::State{});
}

TEST(StateTest, SameIdUnderTwoMapKindsIsTwoClassMaps) {
  auto state = StateSim::parseState(R"({"classMaps": [
      {"id": "X", "type": "qos"}, {"id": "X", "type": "controlPlane"}]})",
                                    "test.json");
  EXPECT_EQ(state.classMaps.size(), 2U);
}

TEST(StateTest, MalformedJsonNamesLineAndColumn) {
  EXPECT_EQ(ErrorOf("{\n  \"classMaps\": [,]\n}").substr(0, 20), "line 2, column 17: s");
}

TEST(StateTest, BadFieldsNameTheirJsonPointer) {
  EXPECT_EQ(ErrorOf("[]"), "/: expected an object, found array");
  EXPECT_EQ(ErrorOf(R"({"classMap": []})"), "/classMap: unknown member");
  EXPECT_EQ(ErrorOf(R"({"classMaps": {}})"), "/classMaps: expected an array, found object");
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"type": "qos"}]})"), "/classMaps/0: missing member 'id'");
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": 7, "type": "qos"}]})"),
            "/classMaps/0/id: expected a string, found number");
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "", "type": "qos"}]})"),
            "/classMaps/0/id: a class map id is 1 to 255 bytes long, not 0");
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "a", "type": "qos", "nmae": "b"}]})"),
            "/classMaps/0/nmae: unknown member");
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "a", "type": "qosCli"}]})"),
            "/classMaps/0/type: 'qosCli' is not a class map type (controlPlane, qos, qosStatic)");
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "a", "type": "qos", "matchCondition": "some"}]})"),
            "/classMaps/0/matchCondition: 'some' is not a match condition (any, all)");
}

TEST(StateTest, IdsUpToTheStringBoundAreAccepted) {
  // Longer than the MIB's 40 bytes: the switch may hold such ids, the plug-in decides what to
  // serve.
  std::string id(255, 'i');
  auto state = StateSim::parseState(R"({"classMaps": [{"id": ")" + id + R"(", "type": "qos"}]})",
                                    "test.json");
  EXPECT_EQ(state.classMaps.begin()->first.classMapId.size(), 255U);
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": ")" + id + R"(i", "type": "qos"}]})"),
            "/classMaps/0/id: a class map id is 1 to 255 bytes long, not 256");
}

TEST(StateTest, ClassMapKeysAreUnique) {
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "a", "type": "qos"}, {"id": "a", "type": "qos"}]})"),
            "/classMaps/1: class map 'a' of type 'qos' appears twice");
  EXPECT_EQ(
      ErrorOf(R"({"classMaps": [{"id": "a", "type": "qos"}, {"id": "a", "type": "qosStatic"}]})"),
      "/classMaps/1/type: class map 'a' is both a qos and a qosStatic map; the MIB reports both "
      "as qos, so their rows would collide");
}

TEST(StateTest, StaticTypesBelongToOneControlPlaneMapEach) {
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "a", "type": "qos", "staticType": "bgp"}]})"),
            "/classMaps/0/staticType: only a controlPlane class map has a static type");
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "a", "type": "controlPlane", "staticType": "x"}]})"),
            "/classMaps/0/staticType: 'x' is not a control-plane static type "
            "(bgp, ospf, arp, igmp, lacp, lldp)");
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "a", "type": "controlPlane", "staticType": "arp"},
                                      {"id": "b", "type": "controlPlane", "staticType": "arp"}]})"),
            "/classMaps/1/staticType: static type 'arp' is already given to another class map");
}

TEST(StateTest, MembersWithSlashesAreEscapedInThePointer) {
  EXPECT_EQ(ErrorOf(R"({"a/b~c": 1})"), "/a~1b~0c: unknown member");
}

TEST(StateFileTest, UnreadableFileIsAStateFileError) {
  try {
    StateSim::readStateFile("/nonexistent/state.json");
    FAIL();
  } catch (const StateSim::StateFileError& e) {
    EXPECT_EQ(e.file(), "/nonexistent/state.json");
    EXPECT_EQ(e.where(), "open");
  }
}

TEST(StateFileTest, EveryBundledExampleIsValid) {
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(QOSSNMP_EXAMPLES_DIR)) {
    if (entry.path().extension() == ".json") {
      ++files;
      EXPECT_NO_THROW(StateSim::readStateFile(entry.path().string())) << entry.path();
    }
  }
  EXPECT_GE(files, 1);
}

}  // namespace
