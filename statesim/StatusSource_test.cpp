#include "StatusSource.h"
#include "StatusSourceTest.h"

#include <filesystem>
#include <fstream>
#include <algorithm>
#include <tuple>
#include <vector>

#include <unistd.h>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "CopyAfter.h"

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

// A reload in which only class maps changed edits them key by key: it must end where a source
// given the new state alone ends, whatever order the keys come in.
TEST_F(StatusSourceTest, ClassMapEditsEndWhereAFreshSourceEnds) {
  Apply(R"({"classMaps": [{"id": "a", "type": "controlPlane"},
      {"id": "b", "type": "controlPlane", "staticType": "ospf", "matches": [
        {"index": 1, "type": "ipAccessGroup", "name": "acl-1"},
        {"index": 2, "type": "ipAccessGroup", "name": "acl-2"},
        {"index": 3, "type": "ipAccessGroup", "name": "acl-3"}]},
      {"id": "c", "type": "qos", "matches": [{"index": 1, "type": "dscpEcn", "dscp": 10}]}]})");
  auto b = Row("b", MapType::mapControlPlane_);
  const char* next = R"({"classMaps": [
      {"id": "a", "type": "controlPlane", "staticType": "ospf"},
      {"id": "b", "type": "controlPlane", "staticType": "lldp", "name": "bee", "matches": [
        {"index": 1, "type": "ipAccessGroup", "name": "acl-1"},
        {"index": 3, "type": "ipv6AccessGroup", "name": "acl-3"},
        {"index": 4, "type": "vlan", "vlan": 7}]}]})";
  Apply(next);
  // The static type moved to a key before the one that lost it, which kept its row.
  auto mib = source.qosMib();
  EXPECT_EQ(mib->cmapByStaticType(ClassMapCpStaticType::cmapCpStaticOspf_),
            Row("a", MapType::mapControlPlane_)->classMap());
  EXPECT_EQ(mib->cmapByStaticType(ClassMapCpStaticType::cmapCpStaticLldp_), b->classMap());
  EXPECT_EQ(Row("b", MapType::mapControlPlane_), b);
  EXPECT_EQ(b->classMapName(), "bee");

  auto matches = [](const QosMib& m) {
    std::vector<std::tuple<std::string, U32, U32, std::string>> rows;
    for (const auto& row : m.classMapMatchTable()) {
      rows.emplace_back(row.classMapId().str(), row.classMapMatchIndex(), row.classMapMatchType(),
                        row.classMapMatchName());
      EXPECT_EQ(
          row.classMap(),
          m.classMapTable(ClassMapTableIndex(row.classMapId(), row.classMapType()))->classMap());
    }
    return rows;
  };
  auto fresh = Quill::make<Cordb::Dir>("fresh");
  StateSim::StatusSource other(fresh);
  other.stateIs(StateSim::parseState(next, "next.json"));
  EXPECT_EQ(matches(*mib), matches(*other.qosMib()));
  EXPECT_EQ(matches(*mib).size(), 3U);
  EXPECT_EQ(RowIds(), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(mib->cmapByStaticType().size(), 2U);
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

// A copy of the state in force made in slices resumes after its last entry in each section: at
// a section's end, at the turn from input to output policers, inside each.
TEST_F(StatusSourceTest, ASnapshotMadeInSlicesIsTheStateInForce) {
  for (size_t n : {100, 128}) {
    std::string profiles, instances, intfs, pols, classMaps;
    for (size_t i = 0; i < n; ++i) {
      const char* sep = i ? "," : "";
      profiles += fmt::format(R"({}{{"name": "p{}", "cir": {}}})", sep, i, i + 1);
      instances += fmt::format(R"({}{{"name": "i{}", "profile": "p{}"}})", sep, i, i);
      intfs += fmt::format(R"({}{{"name": "Ethernet{}"}})", sep, i + 1);
      pols +=
          fmt::format(R"({0}{{"interface": "Ethernet{1}", "direction": "input", "profile": "p{2}",
                              "counters": {{"pktsSent": {2}}}}},
                             {{"interface": "Ethernet{1}", "direction": "output", "profile": "p{2}"}})",
                      sep, i + 1, i);
      classMaps += fmt::format(R"({}{{"id": "cm{}", "type": "qos"}})", sep, i);
    }
    const StateSim::State state = StateSim::parseState(
        fmt::format(R"({{"policerProfiles": [{}], "policerInstances": [{}], "interfaces": [{}],
                        "interfacePolicers": [{}], "classMaps": [{}]}})",
                    profiles, instances, intfs, pols, classMaps),
        "test.json");
    source.stateIs(state);

    StateSim::StateSnapshot snapshot;
    size_t slices = 1;
    for (int questions = 0; !source.snapshotInto(snapshot, [&] { return ++questions % 2 == 0; });) {
      ASSERT_LT(++slices, 1000U) << "the copy does not end";
    }
    EXPECT_GE(slices, n * 6 / StateSim::copyAfterBatch / 2) << "it did not stop when told";
    // Each entry once (placing would hide an entry copied twice).
    EXPECT_EQ(snapshot.policing.profiles.size(), n);
    EXPECT_EQ(snapshot.policing.instances.size(), n);
    EXPECT_EQ(snapshot.policing.intfPolicers.size(), 2 * n);
    EXPECT_EQ(StateSim::placed(std::move(snapshot)), state) << n;
  }
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
