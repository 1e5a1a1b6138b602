// The rows of all eleven QoS tables as the status source derives them from a whole switch's
// state, and how reloads and live counters change them.
#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "StatusSource.h"
#include "StatusSourceTest.h"

namespace {

using namespace StateSim::test;

// Every row of the eleven tables, as object addresses in table order.
std::vector<const void*> AllRows(const QosMib& mib) {
  std::vector<const void*> rows;
  auto add = [&](const auto& table) {
    for (const auto& row : table) {
      rows.push_back(&row);
    }
  };
  add(mib.classMapTable());
  add(mib.classMapMatchTable());
  add(mib.policyMapTable());
  add(mib.policyMapClassTable());
  add(mib.policyMapActionTable());
  add(mib.servicePolicyTable());
  add(mib.qosStatsTable());
  add(mib.qosPerIntfStatsTable());
  add(mib.qosPolicerStatsTable());
  add(mib.ecnCounterTable());
  add(mib.ecnQueueCounterTable());
  return rows;
}

// A switch with a policed QoS policy on two ports, a control-plane policy and ECN counters.
constexpr const char* switchState = R"({
  "interfaces": [{"name": "Ethernet1"}, {"name": "Ethernet2"}, {"name": "Ethernet3"}],
  "classMaps": [
    {"id": "VOICE", "type": "qos", "matches": [{"type": "dscpEcn", "dscp": "EF", "ecn": "ce"}]},
    {"id": "GUEST", "type": "qos", "matches": [{"type": "vlan", "vlan": 100, "vlanMask": 15}]},
    {"id": "copp-bgp", "type": "controlPlane", "staticType": "bgp"}],
  "policyMaps": [
    {"id": "EDGE", "type": "qos", "name": "edge", "classes": [
      {"classMap": "VOICE", "actions": [{"type": "police", "value": 100}]},
      {"classMap": "GUEST", "actions": [{"type": "setDscp", "value": 8},
                                       {"type": "police", "reference": "guest-profile"}]}]},
    {"id": "OTHER", "type": "qos", "classes": [{"classMap": "GUEST"}]},
    {"id": "COPP", "type": "controlPlane", "classes": [
      {"classMap": "copp-bgp", "actions": [{"type": "shape", "value": 5000},
                                          {"type": "bandwidth", "value": 10000001}]}]}],
  "servicePolicies": [
    {"interface": "Ethernet1", "direction": "input", "policyMap": "EDGE"},
    {"interface": "Ethernet2", "direction": "input", "policyMap": "EDGE"},
    {"interface": "Ethernet3", "direction": "output", "policyMap": "OTHER"}],
  "classCounters": [
    {"policyMap": "EDGE", "classMap": "VOICE", "direction": "input",
     "interfaces": {"Ethernet1": {"outPkts": 10}},
     "policers": {"Ethernet1": {"droppedPkts": 5, "conformPkts": 10, "exceedPkts": 5,
                                "droppedBytes": 50, "totalBytes": 200}}},
    {"policyMap": "COPP", "policyMapType": "controlPlane", "classMap": "copp-bgp",
     "direction": "input", "hwStatus": {"outPkts": 7}}],
  "ecnCounters": [{"descriptor": "ce-marked", "entity": 1, "count": 9}],
  "ecnQueues": [
    {"interface": "Ethernet1", "queues": [{"queue": 1, "pktCount": 11}, {"queue": 2, "enabled": false}]},
    {"interface": "Ethernet2", "useEcnCountersShoal": true, "ecnQLocallyMarkedSupported": true,
     "queues": [{"queue": 1, "pktCount": 21, "locallyMarkedPktCount": 4}]}]
})";

std::string Replaced(std::string text, std::string_view from, std::string_view to) {
  size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

using Qos::Direction;
using QosSnmp::QosPerIntfStatsTableIndex;
using QosSnmp::QosPolicerStatsTableIndex;
using QosSnmp::QosStatsTableIndex;

TEST_F(StatusSourceTest, DerivesTheRowsOfEveryTableFromTheState) {
  Apply(switchState);
  const QosMib& mib = *source.qosMib();
  EXPECT_EQ(mib.classMapTable().size(), 3U);
  EXPECT_EQ(mib.classMapMatchTable().size(), 2U);
  EXPECT_EQ(mib.policyMapTable().size(), 3U);
  EXPECT_EQ(mib.policyMapClassTable().size(), 4U);
  EXPECT_EQ(mib.policyMapActionTable().size(), 5U);
  EXPECT_EQ(mib.servicePolicyTable().size(), 3U);
  // EDGE's two classes on input, OTHER's one on output, COPP's one on the control plane.
  EXPECT_EQ(mib.qosStatsTable().size(), 4U);
  EXPECT_EQ(mib.qosPerIntfStatsTable().size(), 5U);
  EXPECT_EQ(mib.qosPolicerStatsTable().size(), 4U);
  EXPECT_EQ(mib.ecnCounterTable().size(), 1U);
  EXPECT_EQ(mib.ecnQueueCounterTable().size(), 3U);

  auto match =
      mib.classMapMatchTable(QosSnmp::ClassMapMatchTableIndex("VOICE", MapType::mapQos_, 1));
  ASSERT_TRUE(match);
  EXPECT_EQ(match->classMapMatchName(), "DSCP EF ECN CE");
  EXPECT_EQ(mib.classMapMatchTable(QosSnmp::ClassMapMatchTableIndex("GUEST", MapType::mapQos_, 1))
                ->classMapMatchName(),
            "100 0x00f");
  auto sp = mib.servicePolicyTable(QosSnmp::ServicePolicyTableIndex(2, Direction::directionInput_));
  ASSERT_TRUE(sp);
  EXPECT_EQ(sp->policyMapId(), "EDGE");
  EXPECT_EQ(sp->servicePolicyKey().policyMapName, "edge");

  // Control-plane rates come from the class's hardware status; "not set" reads 0.
  auto shape = mib.policyMapActionTable(QosSnmp::PolicyMapActionTableIndex(
      "COPP", MapType::mapControlPlane_, "copp-bgp", Qos::ActionType::actionSetShape_));
  ASSERT_TRUE(shape);
  EXPECT_EQ(shape->actionValue(), 5000U);
  EXPECT_EQ(shape->actionRateUnit(), 2U);
  EXPECT_EQ(mib.policyMapActionTable(
                   QosSnmp::PolicyMapActionTableIndex("COPP", MapType::mapControlPlane_, "copp-bgp",
                                                      Qos::ActionType::actionSetBandwidth_))
                ->actionValue(),
            0U);
  // An action that refers to a profile reads 0.
  EXPECT_EQ(
      mib.policyMapActionTable(QosSnmp::PolicyMapActionTableIndex("EDGE", MapType::mapQos_, "GUEST",
                                                                  Qos::ActionType::actionPolice_))
          ->actionValue(),
      0U);

  // A policed class reports the sums over its policers.
  auto voice = mib.qosStatsTable(
      QosStatsTableIndex("EDGE", MapType::mapQos_, "VOICE", Direction::directionInput_));
  ASSERT_TRUE(voice);
  EXPECT_EQ(voice->dropCount(), 5U);
  EXPECT_EQ(voice->outCount(), 15U);
  EXPECT_EQ(voice->outByteCount(), 150U);
  EXPECT_EQ(mib.qosStatsTable(QosStatsTableIndex("COPP", MapType::mapControlPlane_, "copp-bgp",
                                                 Direction::directionInput_))
                ->outCount(),
            7U);
  EXPECT_EQ(mib.qosPerIntfStatsTable(QosPerIntfStatsTableIndex("EDGE", MapType::mapQos_, "VOICE",
                                                               Direction::directionInput_, 1))
                ->outCount(),
            10U);
  EXPECT_EQ(mib.qosPolicerStatsTable(QosPolicerStatsTableIndex("EDGE", MapType::mapQos_, "VOICE",
                                                               Direction::directionInput_, 1))
                ->outCount(),
            15U);

  auto q1 = mib.ecnQueueCounterTable(QosSnmp::EcnQueueCounterTableIndex(1, 1));
  ASSERT_TRUE(q1);
  EXPECT_TRUE(q1->counterEnabled());
  EXPECT_EQ(q1->pktCount(), 11U);
  EXPECT_FALSE(
      mib.ecnQueueCounterTable(QosSnmp::EcnQueueCounterTableIndex(1, 2))->counterEnabled());
  auto shoal = mib.ecnQueueCounterTable(QosSnmp::EcnQueueCounterTableIndex(2, 1));
  EXPECT_EQ(shoal->pktCount(), 21U);
  EXPECT_EQ(shoal->locallyMarkedPktCount(), 4U);
  EXPECT_EQ(mib.ecnCounterTable(Snmp::String("ce-marked"))->ecnCounter(), 9U);
}

TEST_F(StatusSourceTest, AReloadThatChangesACounterKeepsEveryRow) {
  Apply(switchState);
  auto rows = AllRows(*source.qosMib());
  published.clear();
  Apply(Replaced(Replaced(switchState, R"("count": 9)", R"("count": 90)"), R"("outPkts": 10)",
                 R"("outPkts": 12)"));
  EXPECT_EQ(AllRows(*source.qosMib()), rows);
  EXPECT_TRUE(published.empty());
  EXPECT_EQ(source.qosMib()->ecnCounterTable(Snmp::String("ce-marked"))->ecnCounter(), 90U);
  EXPECT_EQ(source.qosMib()
                ->qosPerIntfStatsTable(QosPerIntfStatsTableIndex("EDGE", MapType::mapQos_, "VOICE",
                                                                 Direction::directionInput_, 1))
                ->outCount(),
            12U);
}

TEST_F(StatusSourceTest, ARestartOfTheQosAgentMakesEveryRowAgainFromNewStatusObjects) {
  Apply(switchState);
  const size_t rows = AllRows(*source.qosMib()).size();
  const ClassMapTableIndex voiceIndex(Snmp::String("VOICE"), MapType::mapQos_);
  auto voice = source.classMap(voiceIndex);  // held: its address cannot be reused
  auto voiceRow = source.qosMib()->classMapTable(voiceIndex);
  Apply("{\"qosAgentRestarts\": 1, " + std::string(switchState).substr(1));
  EXPECT_EQ(AllRows(*source.qosMib()).size(), rows);
  ASSERT_TRUE(source.classMap(voiceIndex));
  EXPECT_NE(source.classMap(voiceIndex), voice);
  EXPECT_NE(source.qosMib()->classMapTable(voiceIndex), voiceRow);
  EXPECT_EQ(source.qosMib()->classMapTable(voiceIndex)->classMapName(), voiceRow->classMapName());
}

// A reload that renames a class map and the classes that name it, one step at a time (a GET
// may come between any two): no class of a policy map names a class map without a row.
TEST_F(StatusSourceTest, AClassNeverNamesAClassMapWithoutARow) {
  Apply(switchState);
  std::string renamed = switchState;
  for (size_t at; (at = renamed.find(R"("GUEST")")) != std::string::npos;) {
    renamed.replace(at, 7, R"("GUEST2")");
  }
  const StateSim::State next = StateSim::parseState(renamed, "next.json");
  source.editsIs(StateSim::editsFrom(source.state(), next, false));
  const QosMib& mib = *source.qosMib();
  size_t steps = 0;
  auto everyClassHasItsClassMap = [&] {
    ++steps;
    std::set<std::string, std::less<>> ids;
    for (const auto& row : mib.classMapTable()) {
      ids.emplace(row.index().classMapId.str());
    }
    for (const auto& row : mib.policyMapClassTable()) {
      EXPECT_TRUE(ids.contains(row.classMapId().str()))
          << "after step " << steps << ": " << row.classMapId().str();
    }
    return true;  // one step at a time
  };
  while (!source.applyEdits(everyClassHasItsClassMap)) {
  }
  EXPECT_EQ(source.state(), next);
  EXPECT_GT(steps, 4U);
}

TEST_F(StatusSourceTest, RemovingAPolicyMapRemovesItsDependentRows) {
  Apply(switchState);
  auto rows = AllRows(*source.qosMib());
  std::string without = Replaced(
      Replaced(switchState,
               R"({"id": "OTHER", "type": "qos", "classes": [{"classMap": "GUEST"}]},)", ""),
      R"(,
    {"interface": "Ethernet3", "direction": "output", "policyMap": "OTHER"})",
      "");
  Apply(without);
  const QosMib& mib = *source.qosMib();
  EXPECT_EQ(mib.policyMapTable().size(), 2U);
  EXPECT_EQ(mib.policyMapClassTable().size(), 3U);
  EXPECT_EQ(mib.servicePolicyTable().size(), 2U);
  EXPECT_EQ(mib.qosStatsTable().size(), 3U);
  EXPECT_EQ(mib.qosPerIntfStatsTable().size(), 4U);
  for (const auto& row : mib.qosStatsTable()) {
    EXPECT_NE(row.policyMapId(), "OTHER");
  }
  // Every other row is the same object as before.
  auto now = AllRows(mib);
  EXPECT_EQ(rows.size() - now.size(), 5U);  // policy map, class, service policy, stats, per-intf
  for (const void* row : now) {
    EXPECT_NE(std::find(rows.begin(), rows.end(), row), rows.end());
  }
}

TEST_F(StatusSourceTest, RowsWhoseArgumentsChangeAreCreatedAgain) {
  Apply(switchState);
  auto sp = source.qosMib()->servicePolicyTable(
      QosSnmp::ServicePolicyTableIndex(1, Direction::directionInput_));
  auto entity = source.qosMib()->ecnCounterTable(Snmp::String("ce-marked"));
  auto stats = source.qosMib()->qosStatsTable(QosStatsTableIndex(
      "COPP", MapType::mapControlPlane_, "copp-bgp", Direction::directionInput_));
  // A renamed policy map, another entity code, a hardware status that goes.
  std::string changed = Replaced(switchState, R"("name": "edge")", R"("name": "edge2")");
  changed = Replaced(changed, R"("entity": 1)", R"("entity": 2)");
  changed = Replaced(changed, R"(, "hwStatus": {"outPkts": 7})", "");
  Apply(changed);
  auto sp2 = source.qosMib()->servicePolicyTable(
      QosSnmp::ServicePolicyTableIndex(1, Direction::directionInput_));
  EXPECT_NE(sp2, sp);
  EXPECT_EQ(sp2->servicePolicyKey().policyMapName, "edge2");
  EXPECT_NE(source.qosMib()->ecnCounterTable(Snmp::String("ce-marked")), entity);
  auto stats2 = source.qosMib()->qosStatsTable(QosStatsTableIndex(
      "COPP", MapType::mapControlPlane_, "copp-bgp", Direction::directionInput_));
  EXPECT_NE(stats2, stats);
  EXPECT_FALSE(stats2->classMapHwStatus());
  EXPECT_EQ(
      source.qosMib()
          ->policyMapActionTable(QosSnmp::PolicyMapActionTableIndex(
              "COPP", MapType::mapControlPlane_, "copp-bgp", Qos::ActionType::actionSetShape_))
          ->actionValue(),
      0U);
}

TEST_F(StatusSourceTest, TickMovesCountersAndKeepsSumsConsistent) {
  Apply(switchState);
  const QosMib& mib = *source.qosMib();
  auto voice = mib.qosStatsTable(
      QosStatsTableIndex("EDGE", MapType::mapQos_, "VOICE", Direction::directionInput_));
  auto guestOut = mib.qosStatsTable(
      QosStatsTableIndex("OTHER", MapType::mapQos_, "GUEST", Direction::directionOutput_));
  U64 before = voice->matchCount();
  U64 ecnBefore = mib.ecnQueueCounterTable(QosSnmp::EcnQueueCounterTableIndex(2, 1))->pktCount();
  for (int i = 0; i < 20; ++i) {
    source.tick();
  }
  EXPECT_GT(voice->matchCount(), before);
  EXPECT_GT(guestOut->outCount(), 0U);
  EXPECT_GT(mib.ecnQueueCounterTable(QosSnmp::EcnQueueCounterTableIndex(2, 1))->pktCount(),
            ecnBefore);
  EXPECT_GT(mib.ecnQueueCounterTable(QosSnmp::EcnQueueCounterTableIndex(1, 1))->pktCount(), 11U);
  EXPECT_EQ(mib.ecnQueueCounterTable(QosSnmp::EcnQueueCounterTableIndex(1, 2))->pktCount(), 0U);
  EXPECT_GT(mib.ecnCounterTable(Snmp::String("ce-marked"))->ecnCounter(), 9U);

  // Each class's statistics are the sums of its policer rows (policed classes) and of its
  // per-interface rows (advanced alike from the state's starting counts).
  for (const auto& stats : mib.qosStatsTable()) {
    U64 intfDrop = 0, intfOut = 0, policerDrop = 0, policerOut = 0;
    bool policed = false;
    for (const auto& row : mib.qosPerIntfStatsTable()) {
      if (row.index().policyMapId == stats.policyMapId() &&
          row.index().classMapId == stats.classMapId() &&
          row.index().direction == stats.direction()) {
        intfDrop += row.dropCount();
        intfOut += row.outCount();
      }
    }
    for (const auto& row : mib.qosPolicerStatsTable()) {
      if (row.index().policyMapId == stats.policyMapId() &&
          row.index().classMapId == stats.classMapId() &&
          row.index().direction == stats.direction()) {
        policed = true;
        policerDrop += row.dropCount();
        policerOut += row.outCount();
      }
    }
    if (policed) {
      EXPECT_EQ(stats.dropCount(), policerDrop) << stats.index().toString();
      EXPECT_EQ(stats.outCount(), policerOut) << stats.index().toString();
    } else if (stats.policyMapType() == MapType::mapQos_) {
      EXPECT_EQ(stats.dropCount(), intfDrop) << stats.index().toString();
      EXPECT_EQ(stats.outCount(), intfOut) << stats.index().toString();
    }
    EXPECT_EQ(stats.matchCount(), stats.dropCount() + stats.outCount());
  }
  // Starting from the same counts, the voice class's policer and interface rows moved alike.
  EXPECT_EQ(
      voice->dropCount() - 5,
      mib.qosPerIntfStatsTable(QosPerIntfStatsTableIndex("EDGE", MapType::mapQos_, "VOICE",
                                                         Direction::directionInput_, 1))
              ->dropCount() +
          mib.qosPerIntfStatsTable(QosPerIntfStatsTableIndex("EDGE", MapType::mapQos_, "VOICE",
                                                             Direction::directionInput_, 2))
              ->dropCount());

  // A reload of an unchanged state keeps the advanced counts.
  U64 advanced = voice->matchCount();
  Apply(switchState);
  EXPECT_EQ(voice->matchCount(), advanced);
}

TEST_F(StatusSourceTest, DefaultExampleFillsEveryTable) {
  source.load(QOSSNMP_EXAMPLES_DIR "/default.json");
  const QosMib& mib = *source.qosMib();
  std::vector<std::pair<const char*, size_t>> sizes = {
      {"classMapTable", mib.classMapTable().size()},
      {"classMapMatchTable", mib.classMapMatchTable().size()},
      {"policyMapTable", mib.policyMapTable().size()},
      {"policyMapClassTable", mib.policyMapClassTable().size()},
      {"policyMapActionTable", mib.policyMapActionTable().size()},
      {"servicePolicyTable", mib.servicePolicyTable().size()},
      {"qosStatsTable", mib.qosStatsTable().size()},
      {"qosPerIntfStatsTable", mib.qosPerIntfStatsTable().size()},
      {"qosPolicerStatsTable", mib.qosPolicerStatsTable().size()},
      {"ecnCounterTable", mib.ecnCounterTable().size()},
      {"ecnQueueCounterTable", mib.ecnQueueCounterTable().size()},
  };
  for (const auto& [table, size] : sizes) {
    EXPECT_GT(size, 0U) << table;
    RecordProperty(table, static_cast<int>(size));
  }
  // Every column of every row reads without an assertion, before and after live counting.
  auto readAll = [&] {
    for (const auto& r : mib.classMapMatchTable()) {
      (void)r.classMapMatchName();
    }
    for (const auto& r : mib.policyMapActionTable()) {
      (void)r.actionRateUnit();
      (void)r.actionValue();
    }
    for (const auto& r : mib.qosStatsTable()) {
      (void)r.matchByteCount();
    }
    for (const auto& r : mib.qosPolicerStatsTable()) {
      (void)r.outCount();
    }
    for (const auto& r : mib.ecnQueueCounterTable()) {
      (void)r.locallyMarkedPktCount();
      (void)r.pktCount();
    }
  };
  readAll();
  source.tick();
  readAll();
}

}  // namespace
