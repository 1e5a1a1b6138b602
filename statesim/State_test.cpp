#include "State.h"

#include <filesystem>

#include <gtest/gtest.h>

namespace {

using Qos::Direction;
using Qos::MapType;
using QosSnmp::ClassMapTableIndex;
using QosSnmp::QosStatsTableIndex;

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
            "/classMaps/0/id: a class map id is 1 to 40 bytes long, not 0");
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "a", "type": "qos", "nmae": "b"}]})"),
            "/classMaps/0/nmae: unknown member");
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "a", "type": "qosCli"}]})"),
            "/classMaps/0/type: \"qosCli\" is not a class map type (controlPlane, qos, qosStatic)");
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "a", "type": "qos", "matchCondition": "some"}]})"),
            "/classMaps/0/matchCondition: \"some\" is not a match condition (any, all)");
}

TEST(StateTest, IdsAreBoundedByTheMibButNamesAreNot) {
  std::string id(40, 'i');
  std::string name(256, 'n');  // longer than the MIB serves: the agent answers genErr for it
  auto state = StateSim::parseState(R"({"classMaps": [{"id": ")" + id +
                                        R"(", "type": "qos", "name": ")" + name + R"("}],
          "policyMaps": [{"id": ")" + id +
                                        R"(", "type": "qos", "name": ")" + name + R"("}]})",
                                    "test.json");
  EXPECT_EQ(state.classMaps.begin()->first.classMapId.size(), 40U);
  EXPECT_EQ(state.classMaps.begin()->second.name.size(), 256U);
  EXPECT_EQ(state.policyMaps.begin()->second.name.size(), 256U);
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": ")" + id + R"(i", "type": "qos"}]})"),
            "/classMaps/0/id: a class map id is 1 to 40 bytes long, not 41");
  EXPECT_EQ(ErrorOf(R"({"policyMaps": [{"id": ")" + id + R"(i", "type": "qos"}]})"),
            "/policyMaps/0/id: a policy map id is 1 to 40 bytes long, not 41");
}

TEST(StateTest, ClassMapKeysAreUnique) {
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "a", "type": "qos"}, {"id": "a", "type": "qos"}]})"),
            "/classMaps/1: class map 'a' of type \"qos\" appears twice");
  EXPECT_EQ(
      ErrorOf(R"({"classMaps": [{"id": "a", "type": "qos"}, {"id": "a", "type": "qosStatic"}]})"),
      "/classMaps/1/type: class map 'a' is both a qos and a qosStatic map; the MIB reports both "
      "as qos, so their rows would collide");
}

TEST(StateTest, StaticTypesBelongToOneControlPlaneMapEach) {
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "a", "type": "qos", "staticType": "bgp"}]})"),
            "/classMaps/0/staticType: only a controlPlane class map has a static type");
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "a", "type": "controlPlane", "staticType": "x"}]})"),
            "/classMaps/0/staticType: \"x\" is not a control-plane static type "
            "(bgp, ospf, arp, igmp, lacp, lldp)");
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "a", "type": "controlPlane", "staticType": "arp"},
                                      {"id": "b", "type": "controlPlane", "staticType": "arp"}]})"),
            "/classMaps/1/staticType: static type \"arp\" is already given to another class map");
}

// A small but complete state: the base that the section tests add to.
constexpr std::string_view base = R"(
  "interfaces": [{"name": "Ethernet1"}, {"name": "Ethernet2", "ifIndex": 102},
                 {"name": "Port-Channel5", "members": ["Ethernet3"]}, {"name": "Ethernet3"}],
  "classMaps": [{"id": "V", "type": "qos"}, {"id": "C", "type": "controlPlane"}],
  "policyMaps": [{"id": "P", "type": "qos", "classes": [
                   {"classMap": "V", "actions": [{"type": "police", "value": 100}]}]},
                 {"id": "CP", "type": "controlPlane", "classes": [
                   {"classMap": "C", "actions": [{"type": "shape", "value": 5}]}]}])";

// The base with `policies` as its service policies and the sections `more`.
std::string With(std::string_view more,
                 std::string_view policies =
                     R"({"interface": "Ethernet1", "direction": "input", "policyMap": "P"})") {
  return "{" + std::string(base) + R"(, "servicePolicies": [)" + std::string(policies) + "]" +
         (more.empty() ? "" : ", ") + std::string(more) + "}";
}

TEST(StateTest, ReadsMatchRulesOfEveryKind) {
  auto state = StateSim::parseState(R"({"classMaps": [{"id": "M", "type": "qos", "matches": [
      {"type": "ipAccessGroup", "name": "acl1"},
      {"index": 7, "type": "dscpEcn", "dscp": "EF", "ecn": "ce"},
      {"type": "dscpEcn", "dscpRanges": ["10-14", 46], "ecn": 2},
      {"type": "vlan", "vlan": 100},
      {"type": "vlan", "vlanRanges": ["1-5", "7"]},
      {"type": 99, "name": "other"}]}]})",
                                    "test.json");
  const auto& matches = state.classMaps.begin()->second.matches;
  ASSERT_EQ(matches.size(), 6U);
  EXPECT_EQ(matches.at(1).type, Qos::matchIpAccessGroup_);
  EXPECT_EQ(matches.at(1).name, "acl1");
  EXPECT_EQ(matches.at(7).dscp, 46);
  EXPECT_TRUE(matches.at(7).dscpNamed);
  EXPECT_EQ(matches.at(7).ecn, Acl::Ecn::ecnCe_);
  EXPECT_EQ(matches.at(3).dscpRanges,
            (std::set<Qos::DscpRange>{Qos::DscpRange{10, 14}, Qos::DscpRange{46, 46}}));
  EXPECT_EQ(matches.at(3).ecn, Acl::Ecn::ecnNotEct_);
  EXPECT_TRUE(matches.at(4).vlanValueMask);
  EXPECT_EQ(matches.at(4).vlanValue, 100);
  EXPECT_EQ(matches.at(4).vlanMask, 0xfff);
  EXPECT_EQ(matches.at(5).vlanRanges.size(), 2U);
  EXPECT_EQ(matches.at(6).type, 99U);
}

TEST(StateTest, BadMatchRulesAreRefused) {
  auto match = [](std::string_view m) {
    return ErrorOf(R"({"classMaps": [{"id": "M", "type": "qos", "matches": [)" + std::string(m) +
                   "]}]}");
  };
  EXPECT_EQ(match(R"({"type": "dscpEcn", "dscp": "XX"})"),
            "/classMaps/0/matches/0/dscp: 'XX' is not a DSCP name (CS0-CS7, AF11-AF43, EF)");
  EXPECT_EQ(match(R"({"type": "dscpEcn", "dscp": 64})"),
            "/classMaps/0/matches/0/dscp: expected a whole number from 0 to 63, found 64");
  EXPECT_EQ(match(R"({"type": "dscpEcn"})"),
            "/classMaps/0/matches/0: a dscpEcn match needs 'dscp', 'dscpRanges' or 'ecn'");
  EXPECT_EQ(match(R"({"type": "dscpEcn", "dscpRanges": ["14-10"]})"),
            "/classMaps/0/matches/0/dscpRanges/0: range '14-10' runs backwards");
  EXPECT_EQ(match(R"({"type": "dscpEcn", "ecn": 5})"),
            "/classMaps/0/matches/0/ecn: 5 is not an ECN value (anyEct, notEct, ce, ect)");
  EXPECT_EQ(match(R"({"type": "vlan", "dscp": 1})"),
            "/classMaps/0/matches/0/dscp: only a dscpEcn match has this member");
  EXPECT_EQ(match(R"({"type": "vlan"})"),
            "/classMaps/0/matches/0: a vlan match has either 'vlan' (with 'vlanMask') or "
            "'vlanRanges'");
  EXPECT_EQ(match(R"({"type": "ipAccessGroup"})"),
            "/classMaps/0/matches/0: an access-group match needs the access list's 'name'");
  EXPECT_EQ(match(R"({"type": "vlan", "vlan": 1}, {"index": 1, "type": "vlan", "vlan": 2})"),
            "/classMaps/0/matches/1/index: match index 1 appears twice in this class map");
}

TEST(StateTest, ReadsInterfacesPolicyMapsAndServicePolicies) {
  auto state = StateSim::parseState(With(""), "test.json");
  EXPECT_EQ(state.interfaces.at(Linko::IntfId::ethernet(1)).ifIndex, 1U);
  EXPECT_EQ(state.interfaces.at(Linko::IntfId::ethernet(2)).ifIndex, 102U);
  const auto& lag = state.interfaces.at(Linko::IntfId::portChannel(5));
  EXPECT_EQ(lag.ifIndex, 1000005U);
  EXPECT_EQ(lag.members, std::vector<Linko::IntfId>{Linko::IntfId::ethernet(3)});
  const auto& policy = state.policyMaps.at({"P", MapType::mapQos_});
  EXPECT_EQ(policy.name, "P");
  EXPECT_EQ(policy.classes.at(1).classMapId, "V");
  EXPECT_EQ(policy.classes.at(1).actions.at(Qos::ActionType::actionPolice_).value, 100U);
  const auto& sp =
      state.servicePolicies.at({Linko::IntfId::ethernet(1), Direction::directionInput_});
  EXPECT_EQ(sp.policyMapId, "P");
  // P applied on Ethernet1 input; the control-plane map CP on the control plane, input.
  auto applied = StateSim::appliedClasses(state);
  ASSERT_EQ(applied.size(), 2U);
  EXPECT_EQ(applied.at(QosStatsTableIndex("P", MapType::mapQos_, "V", Direction::directionInput_)),
            std::set<Linko::IntfId>{Linko::IntfId::ethernet(1)});
  EXPECT_TRUE(
      applied
          .at(QosStatsTableIndex("CP", MapType::mapControlPlane_, "C", Direction::directionInput_))
          .empty());
}

TEST(StateTest, ReferencesBetweenSectionsAreChecked) {
  EXPECT_EQ(ErrorOf(R"({"policyMaps": [{"id": "P", "type": "qos", "classes": [
                         {"classMap": "nope"}]}]})"),
            "/policyMaps/0/classes/0/classMap: no qos or qosStatic class map 'nope'");
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "C", "type": "controlPlane"}],
                        "policyMaps": [{"id": "P", "type": "controlPlane", "classes": [
                         {"classMap": "C", "actions": [{"type": "setDscp"}]}]}]})"),
            "/policyMaps/0/classes/0/actions/0/type: a controlPlane policy map has only shape "
            "and bandwidth actions");
  EXPECT_EQ(ErrorOf(R"({"hardware": {"coppKbpsSupported": false},
                        "classMaps": [{"id": "C", "type": "qos"}],
                        "policyMaps": [{"id": "P", "type": "qos", "classes": [
                         {"classMap": "C", "actions": [{"type": "shape"}]}]}]})"),
            "/policyMaps/0/classes/0/actions/0/type: a shape or bandwidth action needs "
            "/hardware/coppBpsSupported or /hardware/coppKbpsSupported");
  EXPECT_EQ(ErrorOf(With(R"("ecnQueues": [{"interface": "Ethernet9"}])")),
            "/ecnQueues/0/interface: no interface Ethernet9 in /interfaces");
  EXPECT_EQ(ErrorOf(R"({"interfaces": [{"name": "Port-Channel1", "members": ["Ethernet1"]}]})"),
            "/interfaces/0/members/0: no interface Ethernet1 in /interfaces");
  EXPECT_EQ(ErrorOf(R"({"interfaces": [{"name": "Eth1"}]})"),
            "/interfaces/0/name: 'Eth1' is not an interface name (Ethernet<n>, Port-Channel<n>)");
  EXPECT_EQ(
      ErrorOf(R"({"interfaces": [{"name": "Ethernet1"}, {"name": "Ethernet2", "ifIndex": 1}]})"),
      "/interfaces/1/ifIndex: ifIndex 1 is already another interface's");
}

TEST(StateTest, ServicePoliciesAreChecked) {
  auto policy = [](std::string_view p) { return ErrorOf(With("", p)); };
  EXPECT_EQ(policy(R"({"interface": "Ethernet3", "direction": "input", "policyMap": "P"})"),
            "/servicePolicies/0/interface: Ethernet3 is a port channel member; apply the policy "
            "to its port channel");
  EXPECT_EQ(policy(R"({"interface": "Ethernet1", "direction": "in", "policyMap": "P"})"),
            "/servicePolicies/0/direction: \"in\" is not a direction (input, output)");
  EXPECT_EQ(policy(R"({"interface": "Ethernet1", "direction": 1, "policyMap": "X"})"),
            "/servicePolicies/0/policyMap: no policy map 'X' of type 'qos'");
  EXPECT_EQ(policy(R"({"interface": "Ethernet1", "direction": "output", "policyMap": "P"},
                      {"interface": "Ethernet1", "direction": 1, "policyMap": "P"})"),
            "/servicePolicies/1: Ethernet1 already has a service policy in direction 1");
}

TEST(StateTest, ReadsClassCountersOfAppliedClassesOnly) {
  auto state = StateSim::parseState(With(R"("classCounters": [
      {"policyMap": "P", "classMap": "V", "direction": "input",
       "counts": {"outPkts": 5},
       "interfaces": {"Ethernet1": {"dropPkts": 1, "outBytes": 7}},
       "policers": {"Ethernet1": {"droppedPkts": 2, "conformPkts": 3, "totalBytes": 9}}},
      {"policyMap": "CP", "policyMapType": "controlPlane", "classMap": "C", "direction": "input",
       "hwStatus": {"outPkts": 4}}])"),
                                    "test.json");
  const auto& qos = state.classCounters.at(
      QosStatsTableIndex("P", MapType::mapQos_, "V", Direction::directionInput_));
  EXPECT_EQ(qos.counts.outPkts, 5U);
  EXPECT_EQ(qos.interfaces.at(Linko::IntfId::ethernet(1)).outBytes, 7U);
  EXPECT_EQ(qos.policers.at(Linko::IntfId::ethernet(1)).conformPkts, 3U);
  const auto& cp = state.classCounters.at(
      QosStatsTableIndex("CP", MapType::mapControlPlane_, "C", Direction::directionInput_));
  EXPECT_EQ(cp.hwStatus->outPkts, 4U);
  EXPECT_FALSE(cp.hwStatus->shapeRate);

  EXPECT_EQ(ErrorOf(With(R"("classCounters": [
      {"policyMap": "P", "classMap": "V", "direction": "output"}])")),
            "/classCounters/0/direction: no service policy applies policy map 'P' in direction "
            "\"output\"");
  EXPECT_EQ(ErrorOf(With(R"("classCounters": [{"policyMap": "P", "classMap": "V",
      "direction": "input", "interfaces": {"Ethernet2": {}}}])")),
            "/classCounters/0/interfaces/Ethernet2: the class is not applied on Ethernet2 in this "
            "direction");
  EXPECT_EQ(ErrorOf(With(R"("classCounters": [{"policyMap": "P", "classMap": "V",
      "direction": "input", "counts": {"dropPkts": -1}}])")),
            "/classCounters/0/counts/dropPkts: expected a whole number from 0 to "
            "18446744073709551615, found -1");
}

TEST(StateTest, ReadsEcnCountersAndQueues) {
  auto state = StateSim::parseState(With(R"(
      "hardware": {"ecnQLocallyMarkedSupported": true},
      "ecnCounters": [{"descriptor": "ce-marked", "entity": 3, "count": 10}],
      "ecnQueues": [{"interface": "Ethernet1"},
                    {"interface": "Ethernet2", "slice": 1, "useEcnCountersShoal": true,
                     "queues": [{"queue": 3, "enabled": false, "pktCount": 4,
                                 "locallyMarkedPktCount": 2}]}])"),
                                    "test.json");
  EXPECT_EQ(state.ecnCounters.at("ce-marked").entity, 3U);
  const auto& e1 = state.ecnQueues.at(Linko::IntfId::ethernet(1));
  EXPECT_EQ(e1.queues.size(), 8U);  // queues 0 to 7 when none are listed
  EXPECT_TRUE(e1.queues.at(7).enabled);
  EXPECT_FALSE(e1.useEcnCountersShoal);
  EXPECT_TRUE(e1.ecnQLocallyMarkedSupported);  // from /hardware
  const auto& e2 = state.ecnQueues.at(Linko::IntfId::ethernet(2));
  EXPECT_EQ(e2.queues.size(), 1U);
  EXPECT_FALSE(e2.queues.at(3).enabled);
  EXPECT_EQ(e2.queues.at(3).locallyMarkedPktCount, 2U);

  EXPECT_EQ(ErrorOf(R"({"ecnCounters": [{"descriptor": ")" + std::string(33, 'd') + R"("}]})"),
            "/ecnCounters/0/descriptor: a descriptor is 1 to 32 bytes long, not 33");
  EXPECT_EQ(ErrorOf(With(R"("ecnQueues": [{"interface": "Ethernet1", "queues": [
      {"queue": 1, "locallyMarkedPktCount": 2}]}])")),
            "/ecnQueues/0/queues/0/locallyMarkedPktCount: only the shared-memory counters "
            "(useEcnCountersShoal) count locally marked packets");
  EXPECT_EQ(
      ErrorOf(With(R"("ecnQueues": [{"interface": "Ethernet1", "queues": [{"queue": 16}]}])")),
      "/ecnQueues/0/queues/0/queue: expected a whole number from 0 to 15, found 16");
}

TEST(StateTest, IdentifiersHaveNoNulByte) {
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "cm\u0000voice", "type": "qos"}]})"),
            "/classMaps/0/id: a class map id has no NUL byte, not 'cm\\x00voice'");
  EXPECT_EQ(ErrorOf(R"({"policyMaps": [{"id": "\u0000", "type": "qos"}]})"),
            "/policyMaps/0/id: a policy map id has no NUL byte, not '\\x00'");
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "V", "type": "qos"}], "policyMaps": [
                        {"id": "P", "type": "qos", "classes": [{"classMap": "V\u0000"}]}]})"),
            "/policyMaps/0/classes/0/classMap: a class map id has no NUL byte, not 'V\\x00'");
  EXPECT_EQ(ErrorOf(R"({"ecnCounters": [{"descriptor": "ce\u0000"}]})"),
            "/ecnCounters/0/descriptor: a descriptor has no NUL byte, not 'ce\\x00'");
  EXPECT_EQ(ErrorOf(R"({"interfaces": [{"name": "Ethernet1\u0000"}]})"),
            "/interfaces/0/name: 'Ethernet1\\x00' is not an interface name (Ethernet<n>, "
            "Port-Channel<n>)");
  // A name is data, not an identifier: served as it is.
  auto state = StateSim::parseState(
      R"({"classMaps": [{"id": "V", "type": "qos", "name": "a\u0000b"}]})", "test.json");
  EXPECT_EQ(state.classMaps.begin()->second.name.size(), 3U);
}

TEST(StateTest, ErrorsQuoteAtMostFortyBytesOfTheInput) {
  const std::string huge(1 << 20, 'x');
  const std::string cut = std::string(40, 'x') + "...";
  EXPECT_EQ(ErrorOf(R"({")" + huge + R"(": 1})"), "/" + cut + ": unknown member");
  EXPECT_EQ(
      ErrorOf(R"({"classMaps": [{"id": "a", "type": ")" + huge + R"("}]})"),
      "/classMaps/0/type: \"" + cut + "\" is not a class map type (controlPlane, qos, qosStatic)");
  EXPECT_EQ(ErrorOf(R"({"ecnCounters": [{"descriptor": "d", "count": ")" + huge + R"("}]})"),
            "/ecnCounters/0/count: expected a whole number from 0 to 18446744073709551615, found "
            "\"" +
                cut + "\"");
  EXPECT_EQ(
      ErrorOf(R"({"interfaces": [{"name": ")" + huge + R"("}]})"),
      "/interfaces/0/name: '" + cut + "' is not an interface name (Ethernet<n>, Port-Channel<n>)");
  EXPECT_EQ(ErrorOf(With(R"("classCounters": [{"policyMap": "P", "classMap": "V",
      "direction": "input", "interfaces": {")" +
                         huge + R"(": {}}}])")),
            "/classCounters/0/interfaces/" + cut + ": '" + cut +
                "' is not an interface name (Ethernet<n>, Port-Channel<n>)");
  auto match = [](const std::string& m) {
    return ErrorOf(R"({"classMaps": [{"id": "M", "type": "qos", "matches": [)" + m + "]}]}");
  };
  EXPECT_EQ(
      match(R"({"type": "dscpEcn", "dscp": ")" + huge + R"("})"),
      "/classMaps/0/matches/0/dscp: '" + cut + "' is not a DSCP name (CS0-CS7, AF11-AF43, EF)");
  EXPECT_EQ(match(R"({"type": "vlan", "vlanRanges": ["9-)" + std::string(1 << 20, '0') + R"(1"]})"),
            "/classMaps/0/matches/0/vlanRanges/0: range '9-" + std::string(38, '0') +
                "...' runs backwards");
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

TEST(StateFileTest, DirectoryIsNamedAsSuch) {
  try {
    StateSim::readStateFile(QOSSNMP_EXAMPLES_DIR);
    FAIL();
  } catch (const StateSim::StateFileError& e) {
    EXPECT_EQ(e.what(),
              std::string(QOSSNMP_EXAMPLES_DIR) + ": open: is a directory, not a state file");
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
