#include "StateDiff.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using InterfacePolicing::PolicerName;
using Linko::IntfId;
using StateSim::diff;
using StateSim::State;

State Parsed(const std::string& text) {
  return StateSim::parseState(text, "test.json");
}

std::vector<std::string> Names(const std::vector<PolicerName>& names) {
  std::vector<std::string> out;
  for (const auto& n : names) {
    out.emplace_back(n.str());
  }
  return out;
}

const std::string base = R"({
  "interfaces": [{"name": "Ethernet1", "ifIndex": 1}, {"name": "Ethernet2", "ifIndex": 2},
                 {"name": "Ethernet3", "ifIndex": null}],
  "classMaps": [{"id": "VOICE", "type": "qos"}],
  "policerProfiles": [{"name": "a", "cir": 1}, {"name": "b", "cir": 2}, {"name": "c"}],
  "policerInstances": [{"name": "i", "profile": "a"}],
  "interfacePolicers": [{"interface": "Ethernet1", "direction": "input", "profile": "a",
                         "counters": {"pktsSent": 1}}]})";

// `base` with `from` replaced by `to`.
std::string With(const std::string& from, const std::string& to) {
  std::string text = base;
  text.replace(text.find(from), from.size(), to);
  return text;
}

TEST(StateDiffTest, TheSameStateChangesNothing) {
  State s = Parsed(base);
  EXPECT_TRUE(diff(s, s, false).empty());
  EXPECT_TRUE(diff(State{}, State{}, true).empty());
}

TEST(StateDiffTest, PolicingKeysThatCameWentOrChangedAreListedInKeyOrder) {
  State before = Parsed(base);
  State after = Parsed(With(R"({"name": "a", "cir": 1}, {"name": "b", "cir": 2}, {"name": "c"})",
                            R"({"name": "0"}, {"name": "b", "cir": 3}, {"name": "c"})"));
  auto d = diff(before, after, false);
  // What went first, then what came or changed.
  EXPECT_EQ(Names(d.profiles), (std::vector<std::string>{"a", "0", "b"}));
  EXPECT_TRUE(d.instances.empty());
  EXPECT_FALSE(d.qosMibChanged);
  EXPECT_EQ(d.keys(), 3U);
  // Counts of an interface policer are a change of its key too (written in place).
  auto counts = diff(before, Parsed(With(R"("pktsSent": 1)", R"("pktsSent": 2)")), false);
  EXPECT_EQ(counts.intfPolicers.size(), 1U);
  EXPECT_EQ(counts.keys(), 1U);
}

TEST(StateDiffTest, IfIndexesChangeOnlyForInterfacesWhoseIfIndexDid) {
  State before = Parsed(base);
  auto d = diff(before,
                Parsed(With(R"({"name": "Ethernet2", "ifIndex": 2},
                 {"name": "Ethernet3", "ifIndex": null}])",
                            R"({"name": "Ethernet2", "ifIndex": 20},
                 {"name": "Ethernet4", "ifIndex": null}, {"name": "Ethernet5"}])")),
                false);
  EXPECT_EQ(d.ifIndexes, (std::vector<IntfId>{IntfId::ethernet(2), IntfId::ethernet(5)}));
  EXPECT_TRUE(d.qosMibChanged);  // the QoS MIB reads the interfaces
}

TEST(StateDiffTest, QosMibSectionsAndTheLagFlagAreToldApart) {
  State before = Parsed(base);
  // Class maps alone are key edits: the one that went first, then the one that came.
  auto renamed = diff(before, Parsed(With(R"("id": "VOICE")", R"("id": "VIDEO")")), false);
  EXPECT_FALSE(renamed.qosMibChanged);
  EXPECT_EQ(renamed.classMaps,
            (std::vector<QosSnmp::ClassMapTableIndex>{{"VOICE", Qos::MapType::mapQos_},
                                                      {"VIDEO", Qos::MapType::mapQos_}}));
  EXPECT_EQ(renamed.keys(), 2U);
  // With another QoS MIB section too, the class maps are still key edits.
  State both = Parsed(With(R"("id": "VOICE")", R"("id": "VIDEO")"));
  both.hardware.coppBpsSupported = true;
  auto qos = diff(before, both, false);
  EXPECT_TRUE(qos.qosMibChanged);
  EXPECT_EQ(qos.classMaps, renamed.classMaps);
  State lag = before;
  lag.hardware.interfacePolicingCountersPerLagMemberCounterInfo = true;
  auto flag = diff(before, lag, false);
  EXPECT_TRUE(flag.lagCountersChanged);
  EXPECT_FALSE(flag.qosMibChanged);
  State copp = before;
  copp.hardware.coppBpsSupported = true;
  EXPECT_TRUE(diff(before, copp, false).qosMibChanged);
}

TEST(StateDiffTest, EditsCarryTheValuesTheyNameAndTheFirstCarryEverything) {
  State before = Parsed(base);
  EXPECT_EQ(StateSim::editsFrom(State{}, before, true).values, before);
  State example = StateSim::readStateFile(QOSSNMP_EXAMPLES_DIR "/default.json");
  EXPECT_EQ(StateSim::editsFrom(State{}, example, true).values, example);

  State after = Parsed(With(R"({"name": "b", "cir": 2})", R"({"name": "b", "cir": 3})"));
  after.policerInstances.clear();
  auto edits = StateSim::editsFrom(before, after, false);
  EXPECT_EQ(edits.diff.keys(), 2U);
  // The changed profile with its value; the instance that went has none; nothing else.
  ASSERT_EQ(edits.values.policerProfiles.size(), 1U);
  EXPECT_EQ(edits.values.policerProfiles.begin()->second.rates->cir, 3U);
  EXPECT_TRUE(edits.values.policerInstances.empty());
  EXPECT_TRUE(edits.values.interfacePolicers.empty());
  EXPECT_TRUE(edits.values.interfaces.empty());  // the QoS MIB's sections did not change
}

TEST(StateDiffTest, RestartsAreCountedFromTheStateInForceButNeverAtTheFirst) {
  State before = Parsed(base);
  auto restarts = [&](Quill::U64 n, bool first = false) {
    State after = before;
    after.qosAgentRestarts = n;
    return diff(before, after, first).restarts;
  };
  before.qosAgentRestarts = 10;
  EXPECT_EQ(restarts(10), 0U);
  EXPECT_EQ(restarts(12), 2U);
  EXPECT_EQ(restarts(1000), StateSim::maxPlayedRestarts);
  EXPECT_EQ(restarts(3), 1U);
  EXPECT_EQ(restarts(12, true), 0U);
  // The first state lists everything it has.
  auto first = diff(State{}, Parsed(base), true);
  EXPECT_EQ(first.profiles.size(), 3U);
  EXPECT_EQ(first.ifIndexes.size(), 2U);
  EXPECT_TRUE(first.qosMibChanged);
}

}  // namespace
