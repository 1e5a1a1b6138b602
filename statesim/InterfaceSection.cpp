#include <set>

#include "Sections.h"

namespace StateSim {

namespace {

constexpr U32 portChannelIfIndexBase = 1000000;
constexpr U64 maxIfIndex = 2147483647;  // ifIndex is a positive Integer32

U32 defaultIfIndex(Linko::IntfId intf) {
  return intf.value() >= Linko::IntfId::portChannelBase
             ? portChannelIfIndexBase + (intf.value() - Linko::IntfId::portChannelBase)
             : intf.value();
}

bool isPortChannel(Linko::IntfId intf) {
  return intf.value() >= Linko::IntfId::portChannelBase;
}

}  // namespace

void readHardware(const Reader& r, const Json& value, const std::string& where, State& state) {
  JsonObject object(
      r, value, where,
      {"coppBpsSupported", "coppKbpsSupported", "useEcnCountersShoal", "ecnQLocallyMarkedSupported",
       "interfacePolicingCountersPerLagMemberCounterInfo"});
  HardwareState& hw = state.hardware;
  hw.coppBpsSupported = object.boolean("coppBpsSupported", hw.coppBpsSupported);
  hw.coppKbpsSupported = object.boolean("coppKbpsSupported", hw.coppKbpsSupported);
  hw.useEcnCountersShoal = object.boolean("useEcnCountersShoal", hw.useEcnCountersShoal);
  hw.ecnQLocallyMarkedSupported =
      object.boolean("ecnQLocallyMarkedSupported", hw.ecnQLocallyMarkedSupported);
  hw.interfacePolicingCountersPerLagMemberCounterInfo =
      object.boolean("interfacePolicingCountersPerLagMemberCounterInfo",
                     hw.interfacePolicingCountersPerLagMemberCounterInfo);
}

void readInterfaces(const Reader& r, const Json& value, const std::string& where, State& state) {
  const auto& interfaces = r.array(value, where);
  std::set<U32> ifIndexes;
  // Members may name interfaces listed after their port channel: checked once all are read.
  std::vector<std::pair<Linko::IntfId, std::string>> members;
  for (size_t i = 0; i < interfaces.size(); ++i) {
    JsonObject object(r, interfaces[i], Reader::pointer(where, i), {"name", "ifIndex", "members"});
    Linko::IntfId intf = object.interface("name");
    InterfaceState interface;
    // An explicit null: the interface has no ifIndex.
    const Json* given = object.member("ifIndex");
    if (!given || !given->is_null()) {
      U32 ifIndex = static_cast<U32>(object.number("ifIndex", maxIfIndex, defaultIfIndex(intf)));
      if (ifIndex == 0) {
        r.fail(object.at("ifIndex"), "an ifIndex is 1 or more");
      }
      if (!ifIndexes.insert(ifIndex).second) {
        r.fail(given ? object.at("ifIndex") : Where(object.where()),
               fmt::format("ifIndex {} is already another interface's", ifIndex));
      }
      interface.ifIndex = ifIndex;
    }
    if (object.member("members") && !isPortChannel(intf)) {
      r.fail(object.at("members"), "only a port channel has members");
    }
    forEach(object, "members", [&](const Json& member, const std::string& at) {
      Linko::IntfId m = r.interface(member, at);
      if (isPortChannel(m)) {
        r.fail(at, "a port channel's member is an Ethernet interface");
      }
      interface.members.push_back(m);
      members.emplace_back(m, at);
    });
    if (!state.interfaces.emplace(intf, std::move(interface)).second) {
      r.fail(object.at("name"), fmt::format("interface {} appears twice", intf.name()));
    }
  }
  std::set<Linko::IntfId> seen;
  for (const auto& [member, at] : members) {
    if (!state.interfaces.contains(member)) {
      r.fail(at, fmt::format("no interface {} in /interfaces", member.name()));
    }
    if (!seen.insert(member).second) {
      r.fail(at, fmt::format("{} is already a member of a port channel", member.name()));
    }
  }
}

void readServicePolicies(const Reader& r, const Json& value, const std::string& where,
                         State& state) {
  std::set<Linko::IntfId> members;
  for (const auto& [intf, interface] : state.interfaces) {
    members.insert(interface.members.begin(), interface.members.end());
  }
  const auto& policies = r.array(value, where);
  for (size_t i = 0; i < policies.size(); ++i) {
    JsonObject object(r, policies[i], Reader::pointer(where, i),
                      {"interface", "direction", "policyMap", "policyMapType"});
    Linko::IntfId intf = object.interface("interface");
    if (!state.interfaces.contains(intf)) {
      r.fail(object.at("interface"), fmt::format("no interface {} in /interfaces", intf.name()));
    }
    if (members.contains(intf)) {
      r.fail(object.at("interface"),
             fmt::format("{} is a port channel member; apply the policy to its port channel",
                         intf.name()));
    }
    if (!state.interfaces.at(intf).ifIndex) {
      r.fail(object.at("interface"),
             fmt::format("{} has no ifIndex, so no QoS MIB row can show its policy", intf.name()));
    }
    Qos::Direction direction = object.spelled("direction", directionSpellings, "direction");
    ServicePolicyState policy;
    policy.policyMapId = readMapId(object, "policyMap", "policy map");
    policy.policyMapType = object.spelled("policyMapType", policyMapTypeSpellings,
                                          "policy map type", Qos::MapType::mapQos_);
    if (!state.policyMaps.contains({policy.policyMapId, policy.policyMapType})) {
      r.fail(object.at("policyMap"),
             fmt::format("no policy map '{}' of type '{}'", policy.policyMapId,
                         policy.policyMapType == Qos::MapType::mapQos_ ? "qos" : "controlPlane"));
    }
    if (!state.servicePolicies.emplace(ServicePolicyKey(intf, direction), policy).second) {
      r.fail(object.where(), fmt::format("{} already has a service policy in direction {}",
                                         intf.name(), object.required("direction").dump()));
    }
  }
}

}  // namespace StateSim
