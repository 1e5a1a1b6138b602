#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "State.h"

namespace {

using InterfacePolicing::PolicerName;
using Linko::IntfId;
using Qos::BurstUnit;
using Qos::Direction;
using Qos::RateUnit;
using StateSim::IntfPolicerKey;

StateSim::State Parse(std::string_view text) {
  return StateSim::parseState(text, "test.json");
}

// The error a state text raises, as "<where>: <message>" without the file name.
std::string ErrorOf(std::string_view text) {
  try {
    Parse(text);
  } catch (const StateSim::StateFileError& e) {
    return std::string(e.what()).substr(std::string("test.json: ").size());
  }
  ADD_FAILURE() << "no error for " << text;
  return {};
}

// Interfaces for the policer tests: two ports, one without ifIndex, a port channel of two.
constexpr std::string_view interfaces = R"("interfaces": [
    {"name": "Ethernet1"}, {"name": "Ethernet2", "ifIndex": null},
    {"name": "Ethernet3"}, {"name": "Ethernet4"},
    {"name": "Port-Channel7", "members": ["Ethernet3", "Ethernet4"]}])";

// A state with the interfaces above and the interface policers `policers`.
std::string WithPolicers(std::string_view policers) {
  return "{" + std::string(interfaces) + R"(, "interfacePolicers": [)" + std::string(policers) +
         "]}";
}

std::string Name(size_t bytes) {
  return std::string(bytes, 'n');
}

TEST(PolicingStateTest, ReadsTheHardwareFlagAndInterfacesWithoutIfIndex) {
  EXPECT_FALSE(Parse("{}").hardware.interfacePolicingCountersPerLagMemberCounterInfo);
  auto state =
      Parse(R"({"hardware": {"interfacePolicingCountersPerLagMemberCounterInfo": true}, )" +
            std::string(interfaces) + "}");
  EXPECT_TRUE(state.hardware.interfacePolicingCountersPerLagMemberCounterInfo);
  EXPECT_EQ(state.interfaces.at(IntfId::ethernet(1)).ifIndex, 1U);  // the default stays
  EXPECT_FALSE(state.interfaces.at(IntfId::ethernet(2)).ifIndex);
  EXPECT_EQ(state.interfaces.at(IntfId::portChannel(7)).ifIndex, 1000007U);
  // Interfaces without ifIndex do not collide with each other.
  EXPECT_EQ(Parse(R"({"interfaces": [{"name": "Ethernet1", "ifIndex": null},
                                     {"name": "Ethernet2", "ifIndex": null}]})")
                .interfaces.size(),
            2U);
}

TEST(PolicingStateTest, QosRowsNeedAnIfIndex) {
  EXPECT_EQ(ErrorOf(R"({"interfaces": [{"name": "Ethernet2", "ifIndex": null}],
      "classMaps": [{"id": "C", "type": "qos"}],
      "policyMaps": [{"id": "P", "type": "qos", "classes": [{"classMap": "C"}]}],
      "servicePolicies": [{"interface": "Ethernet2", "direction": "input", "policyMap": "P"}]})"),
            "/servicePolicies/0/interface: Ethernet2 has no ifIndex, so no QoS MIB row can show "
            "its policy");
  EXPECT_EQ(ErrorOf(R"({"interfaces": [{"name": "Ethernet2", "ifIndex": null}],
                        "ecnQueues": [{"interface": "Ethernet2"}]})"),
            "/ecnQueues/0/interface: Ethernet2 has no ifIndex, so no QoS MIB row can show its "
            "queues");
  EXPECT_EQ(ErrorOf(R"({"interfaces": [{"name": "Ethernet2", "ifIndex": "none"}]})"),
            "/interfaces/0/ifIndex: expected a whole number from 0 to 2147483647, found \"none\"");
}

TEST(PolicingStateTest, ReadsProfilesWithAndWithoutRates) {
  auto state = Parse(R"({"policerProfiles": [
      {"name": "gold", "cir": 100000, "cirUnit": "kbps", "bc": 256, "bcUnit": "kbytes",
       "pir": 200, "pirUnit": "mbps", "be": 1000, "beUnit": "packets"},
      {"name": "cir-only", "cir": 64},
      {"name": "by-number", "cirUnit": 3, "bcUnit": 2},
      {"name": "empty"}]})");
  ASSERT_EQ(state.policerProfiles.size(), 4U);
  const auto& gold = state.policerProfiles.at(PolicerName("gold")).rates;
  ASSERT_TRUE(gold);
  EXPECT_EQ(gold->cir, 100000U);
  EXPECT_EQ(gold->cirUnit, RateUnit::rateUnitKbps_);
  EXPECT_EQ(gold->bc, 256U);
  EXPECT_EQ(gold->bcUnit, BurstUnit::burstUnitKBytes_);
  EXPECT_EQ(gold->pir, 200U);
  EXPECT_EQ(gold->pirUnit, RateUnit::rateUnitMbps_);
  EXPECT_EQ(gold->be, 1000U);
  EXPECT_EQ(gold->beUnit, BurstUnit::burstUnitPackets_);
  // One rate member makes a rate record; the others take their defaults.
  StateSim::PolicerRatesState cirOnly;
  cirOnly.cir = 64;
  EXPECT_EQ(state.policerProfiles.at(PolicerName("cir-only")).rates, cirOnly);
  EXPECT_EQ(cirOnly.pirUnit, RateUnit::rateUnitKbps_);
  EXPECT_EQ(cirOnly.beUnit, BurstUnit::burstUnitBytes_);
  const auto& byNumber = state.policerProfiles.at(PolicerName("by-number")).rates;
  ASSERT_TRUE(byNumber);
  EXPECT_EQ(byNumber->cirUnit, RateUnit::rateUnitPps_);
  EXPECT_EQ(byNumber->bcUnit, BurstUnit::burstUnitMBytes_);
  EXPECT_FALSE(state.policerProfiles.at(PolicerName("empty")).rates);
}

TEST(PolicingStateTest, BadProfilesAreRefused) {
  auto profiles = [](std::string_view p) {
    return ErrorOf(R"({"policerProfiles": [)" + std::string(p) + "]}");
  };
  EXPECT_EQ(profiles(R"({"name": ""})"),
            "/policerProfiles/0/name: a policer profile name is 1 to 64 bytes long, not 0");
  EXPECT_EQ(profiles(R"({"name": ")" + Name(65) + R"("})"),
            "/policerProfiles/0/name: a policer profile name is 1 to 64 bytes long, not 65");
  EXPECT_NO_THROW(Parse(R"({"policerProfiles": [{"name": ")" + Name(64) + R"("}]})"));
  EXPECT_EQ(profiles(R"({"name": "a"}, {"name": "b"}, {"name": "a", "cir": 1})"),
            "/policerProfiles/2/name: policer profile 'a' appears twice");
  EXPECT_EQ(profiles(R"({"name": "a", "cirUnit": "gbps"})"),
            "/policerProfiles/0/cirUnit: \"gbps\" is not a rate unit (bps, kbps, mbps, pps)");
  EXPECT_EQ(profiles(R"({"name": "a", "beUnit": 4})"),
            "/policerProfiles/0/beUnit: 4 is not a burst unit (bytes, kbytes, mbytes, packets)");
  EXPECT_EQ(profiles(R"({"name": "a", "pir": -5})"),
            "/policerProfiles/0/pir: expected a whole number from 0 to 18446744073709551615, "
            "found -5");
  EXPECT_EQ(profiles(R"({"name": "a", "rate": 5})"), "/policerProfiles/0/rate: unknown member");
  EXPECT_EQ(profiles(R"({"cir": 5})"), "/policerProfiles/0: missing member 'name'");
}

TEST(PolicingStateTest, InstancesKeepTheirProfileTextAsGiven) {
  auto state = Parse(R"({"policerProfiles": [{"name": "gold"}], "policerInstances": [
      {"name": "edge", "profile": "gold"}, {"name": "dangling", "profile": "no-such-profile"},
      {"name": "blank", "profile": ""}, {"name": "unset"}]})");
  ASSERT_EQ(state.policerInstances.size(), 4U);
  EXPECT_EQ(state.policerInstances.at(PolicerName("edge")).profile, "gold");
  EXPECT_EQ(state.policerInstances.at(PolicerName("dangling")).profile, "no-such-profile");
  EXPECT_EQ(state.policerInstances.at(PolicerName("blank")).profile, "");
  EXPECT_EQ(state.policerInstances.at(PolicerName("unset")).profile, "");

  EXPECT_EQ(ErrorOf(R"({"policerInstances": [{"name": "a"}, {"name": "a"}]})"),
            "/policerInstances/1/name: policer instance 'a' appears twice");
  EXPECT_EQ(ErrorOf(R"({"policerInstances": [{"name": ")" + Name(65) + R"("}]})"),
            "/policerInstances/0/name: a policer instance name is 1 to 64 bytes long, not 65");
  EXPECT_EQ(ErrorOf(R"({"policerInstances": [{"name": "a", "profile": 3}]})"),
            "/policerInstances/0/profile: expected a string, found number");
}

TEST(PolicingStateTest, ReadsInterfacePolicersPerMemberAndDirection) {
  auto state = Parse(WithPolicers(R"(
      {"interface": "Ethernet1", "direction": "input", "profile": "gold"},
      {"interface": "Ethernet1", "member": "Ethernet1", "direction": "output", "profile": "",
       "groupPolicer": "edge-group", "counters": {"pktsSent": 10, "yellowPktsSent": 4}},
      {"interface": "Ethernet2", "direction": 0, "profile": "silver"},
      {"interface": "Port-Channel7", "member": "Ethernet3", "direction": "input",
       "profile": "lag", "counters": {}},
      {"interface": "Port-Channel7", "member": "Ethernet4", "direction": "input",
       "profile": "lag"})"));
  ASSERT_EQ(state.interfacePolicers.size(), 5U);
  const auto& in = state.interfacePolicers.at(
      IntfPolicerKey{IntfId::ethernet(1), IntfId::ethernet(1), Direction::directionInput_});
  EXPECT_EQ(in.profile, PolicerName("gold"));
  EXPECT_FALSE(in.groupPolicer);
  EXPECT_FALSE(in.counters);
  const auto& out = state.interfacePolicers.at(
      IntfPolicerKey{IntfId::ethernet(1), IntfId::ethernet(1), Direction::directionOutput_});
  EXPECT_TRUE(out.profile.empty());
  EXPECT_EQ(out.groupPolicer, PolicerName("edge-group"));
  ASSERT_TRUE(out.counters);
  EXPECT_EQ(out.counters->pktsSent, 10U);
  EXPECT_EQ(out.counters->yellowPktsSent, 4U);
  EXPECT_EQ(out.counters->bytesSent, 0U);
  // An interface without ifIndex may have policers.
  EXPECT_TRUE(state.interfacePolicers.contains(
      IntfPolicerKey{IntfId::ethernet(2), IntfId::ethernet(2), Direction::directionInput_}));
  const auto& lag = state.interfacePolicers.at(
      IntfPolicerKey{IntfId::portChannel(7), IntfId::ethernet(3), Direction::directionInput_});
  EXPECT_EQ(lag.counters, StateSim::IntfPolicerCounts{});
}

TEST(PolicingStateTest, InterfacePolicersNameAListedInterfaceAndItsMember) {
  auto policer = [](std::string_view p) { return ErrorOf(WithPolicers(p)); };
  EXPECT_EQ(policer(R"({"interface": "Ethernet9", "direction": "input", "profile": "p"})"),
            "/interfacePolicers/0/interface: no interface Ethernet9 in /interfaces");
  EXPECT_EQ(policer(R"({"interface": "Ethernet3", "direction": "input", "profile": "p"})"),
            "/interfacePolicers/0/interface: Ethernet3 is a port channel member; give the policer "
            "to its port channel");
  EXPECT_EQ(policer(R"({"interface": "Ethernet1", "member": "Ethernet2", "direction": "input",
                        "profile": "p"})"),
            "/interfacePolicers/0/member: Ethernet1 is not a port channel; its policer's member "
            "is Ethernet1 itself");
  EXPECT_EQ(policer(R"({"interface": "Port-Channel7", "direction": "input", "profile": "p"})"),
            "/interfacePolicers/0: a policer of Port-Channel7 names the member that carries it "
            "(Ethernet3, Ethernet4)");
  EXPECT_EQ(policer(R"({"interface": "Port-Channel7", "member": "Ethernet1",
                        "direction": "input", "profile": "p"})"),
            "/interfacePolicers/0/member: Ethernet1 is not a member of Port-Channel7 (Ethernet3, "
            "Ethernet4)");
  EXPECT_EQ(policer(R"({"interface": "Port-Channel7", "member": "Port-Channel7",
                        "direction": "input", "profile": "p"})"),
            "/interfacePolicers/0/member: Port-Channel7 is not a member of Port-Channel7 "
            "(Ethernet3, Ethernet4)");
  EXPECT_EQ(policer(R"({"interface": "Port-Channel7", "member": "Eth3", "direction": "input",
                        "profile": "p"})"),
            "/interfacePolicers/0/member: 'Eth3' is not an interface name (Ethernet<n>, "
            "Port-Channel<n>)");
  EXPECT_EQ(ErrorOf(R"({"interfaces": [{"name": "Port-Channel1"}], "interfacePolicers": [
                        {"interface": "Port-Channel1", "direction": "input", "profile": "p"}]})"),
            "/interfacePolicers/0: a policer of Port-Channel1 names the member that carries it "
            "(none)");
}

TEST(PolicingStateTest, BadInterfacePolicersAreRefused) {
  auto policer = [](std::string_view p) { return ErrorOf(WithPolicers(p)); };
  EXPECT_EQ(policer(R"({"interface": "Ethernet1", "direction": "both", "profile": "p"})"),
            "/interfacePolicers/0/direction: \"both\" is not a direction (input, output)");
  EXPECT_EQ(policer(R"({"interface": "Ethernet1", "direction": "input"})"),
            "/interfacePolicers/0: missing member 'profile'");
  EXPECT_EQ(policer(R"({"interface": "Ethernet1", "direction": "input", "profile": ")" + Name(65) +
                    R"("})"),
            "/interfacePolicers/0/profile: a policer profile name is at most 64 bytes long, not "
            "65");
  EXPECT_EQ(policer(R"({"interface": "Ethernet1", "direction": "input", "profile": "p",
                        "groupPolicer": ")" +
                    Name(65) + R"("})"),
            "/interfacePolicers/0/groupPolicer: a group policer name is at most 64 bytes long, "
            "not 65");
  EXPECT_EQ(policer(R"({"interface": "Ethernet1", "direction": "input", "profile": "p"},
                      {"interface": "Ethernet1", "direction": "output", "profile": "p"},
                      {"interface": "Ethernet1", "direction": 0, "profile": "q"})"),
            "/interfacePolicers/2: Ethernet1 already has an input policer on member Ethernet1");
  EXPECT_EQ(policer(R"({"interface": "Port-Channel7", "member": "Ethernet4", "direction": 1,
                        "profile": "p"},
                      {"interface": "Port-Channel7", "member": "Ethernet4", "direction": 1,
                        "profile": "p"})"),
            "/interfacePolicers/1: Port-Channel7 already has an output policer on member "
            "Ethernet4");
  EXPECT_EQ(policer(R"({"interface": "Ethernet1", "direction": "input", "profile": "p",
                        "counters": {"pktsSent": 3, "yellowPktsSent": 4}})"),
            "/interfacePolicers/0/counters/yellowPktsSent: yellow packets are part of the "
            "packets sent");
  EXPECT_EQ(policer(R"({"interface": "Ethernet1", "direction": "input", "profile": "p",
                        "counters": {"yellowBytesSent": 1}})"),
            "/interfacePolicers/0/counters/yellowBytesSent: yellow bytes are part of the bytes "
            "sent");
  EXPECT_EQ(policer(R"({"interface": "Ethernet1", "direction": "input", "profile": "p",
                        "counters": {"greenPktsSent": 1}})"),
            "/interfacePolicers/0/counters/greenPktsSent: unknown member");
}

}  // namespace
