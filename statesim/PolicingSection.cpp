#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "Sections.h"

namespace StateSim {

namespace {

using InterfacePolicing::PolicerName;

constexpr Spelling<Qos::RateUnit> rateUnitSpellings[] = {
    {"bps", Qos::RateUnit::rateUnitBps_},
    {"kbps", Qos::RateUnit::rateUnitKbps_},
    {"mbps", Qos::RateUnit::rateUnitMbps_},
    {"pps", Qos::RateUnit::rateUnitPps_},
};
constexpr Spelling<Qos::BurstUnit> burstUnitSpellings[] = {
    {"bytes", Qos::BurstUnit::burstUnitBytes_},
    {"kbytes", Qos::BurstUnit::burstUnitKBytes_},
    {"mbytes", Qos::BurstUnit::burstUnitMBytes_},
    {"packets", Qos::BurstUnit::burstUnitPackets_},
};

// The members of a profile's rate/burst configuration; a profile with none of them has none.
constexpr std::string_view rateMembers[] = {"cir",     "bc",     "pir",     "be",
                                            "cirUnit", "bcUnit", "pirUnit", "beUnit"};

// Reads a policer name of `minLength` to PolicerName::maxLength bytes. `what` names it in errors
// ("policer profile name").
PolicerName readName(const JsonObject& object, std::string_view member, size_t minLength,
                     std::string_view what) {
  const std::string& name = object.string(member);
  if (name.size() < minLength || name.size() > PolicerName::maxLength) {
    object.reader().fail(
        object.at(member),
        minLength == 0
            ? fmt::format("{} {} is at most {} bytes long, not {}", Reader::article(what), what,
                          PolicerName::maxLength, name.size())
            : fmt::format("{} {} is {} to {} bytes long, not {}", Reader::article(what), what,
                          minLength, PolicerName::maxLength, name.size()));
  }
  return PolicerName(name);
}

std::optional<PolicerRatesState> readRates(const JsonObject& object) {
  bool given = false;
  for (std::string_view member : rateMembers) {
    given = given || object.member(member);
  }
  if (!given) {
    return std::nullopt;
  }
  PolicerRatesState rates;
  rates.cir = object.number("cir", UINT64_MAX, rates.cir);
  rates.bc = object.number("bc", UINT64_MAX, rates.bc);
  rates.pir = object.number("pir", UINT64_MAX, rates.pir);
  rates.be = object.number("be", UINT64_MAX, rates.be);
  rates.cirUnit = object.spelled("cirUnit", rateUnitSpellings, "rate unit", rates.cirUnit);
  rates.pirUnit = object.spelled("pirUnit", rateUnitSpellings, "rate unit", rates.pirUnit);
  rates.bcUnit = object.spelled("bcUnit", burstUnitSpellings, "burst unit", rates.bcUnit);
  rates.beUnit = object.spelled("beUnit", burstUnitSpellings, "burst unit", rates.beUnit);
  return rates;
}

IntfPolicerCounts readIntfPolicerCounts(const Reader& r, const Json& value,
                                        const std::string& where) {
  JsonObject object(r, value, where,
                    {"pktsDropped", "pktsSent", "bytesDropped", "bytesSent", "yellowPktsSent",
                     "yellowBytesSent"});
  IntfPolicerCounts counts;
  counts.pktsDropped = object.number("pktsDropped", UINT64_MAX, 0);
  counts.pktsSent = object.number("pktsSent", UINT64_MAX, 0);
  counts.bytesDropped = object.number("bytesDropped", UINT64_MAX, 0);
  counts.bytesSent = object.number("bytesSent", UINT64_MAX, 0);
  counts.yellowPktsSent = object.number("yellowPktsSent", UINT64_MAX, 0);
  counts.yellowBytesSent = object.number("yellowBytesSent", UINT64_MAX, 0);
  if (counts.yellowPktsSent > counts.pktsSent) {
    r.fail(object.at("yellowPktsSent"), "yellow packets are part of the packets sent");
  }
  if (counts.yellowBytesSent > counts.bytesSent) {
    r.fail(object.at("yellowBytesSent"), "yellow bytes are part of the bytes sent");
  }
  return counts;
}

std::string memberNames(const std::vector<Linko::IntfId>& members) {
  std::string names;
  for (Linko::IntfId member : members) {
    names += names.empty() ? "" : ", ";
    names += member.name();
  }
  return names.empty() ? "none" : names;
}

// The member that carries an interface policer: the interface itself for a plain port, one of
// its members (named in `member`) for a port channel.
Linko::IntfId readMember(const JsonObject& object, Linko::IntfId intf,
                         const InterfaceState& interface, bool portChannel) {
  const Reader& r = object.reader();
  if (!object.member("member")) {
    if (portChannel) {
      r.fail(object.where(), fmt::format("a policer of {} names the member that carries it ({})",
                                         intf.name(), memberNames(interface.members)));
    }
    return intf;
  }
  Linko::IntfId member = object.interface("member");
  if (!portChannel && member != intf) {
    r.fail(object.at("member"),
           fmt::format("{} is not a port channel; its policer's member is {} itself", intf.name(),
                       intf.name()));
  }
  if (portChannel && std::find(interface.members.begin(), interface.members.end(), member) ==
                         interface.members.end()) {
    r.fail(object.at("member"), fmt::format("{} is not a member of {} ({})", member.name(),
                                            intf.name(), memberNames(interface.members)));
  }
  return member;
}

}  // namespace

void readPolicerProfiles(const Reader& r, const Json& value, const std::string& where,
                         State& state) {
  const auto& profiles = r.array(value, where);
  for (size_t i = 0; i < profiles.size(); ++i) {
    JsonObject object(r, profiles[i], Reader::pointer(where, i),
                      {"name", "cir", "bc", "pir", "be", "cirUnit", "bcUnit", "pirUnit", "beUnit"});
    PolicerName name = readName(object, "name", 1, "policer profile name");
    if (!state.policerProfiles.emplace(name, PolicerProfileState{readRates(object)}).second) {
      r.fail(object.at("name"), fmt::format("policer profile '{}' appears twice", name));
    }
  }
}

void readPolicerInstances(const Reader& r, const Json& value, const std::string& where,
                          State& state) {
  const auto& instances = r.array(value, where);
  for (size_t i = 0; i < instances.size(); ++i) {
    JsonObject object(r, instances[i], Reader::pointer(where, i), {"name", "profile"});
    PolicerName name = readName(object, "name", 1, "policer instance name");
    // The instance's own configuration text: not checked against /policerProfiles.
    PolicerInstanceState instance{Mox::String(object.string("profile", ""))};
    if (!state.policerInstances.emplace(name, std::move(instance)).second) {
      r.fail(object.at("name"), fmt::format("policer instance '{}' appears twice", name));
    }
  }
}

void readInterfacePolicers(const Reader& r, const Json& value, const std::string& where,
                           State& state) {
  std::set<Linko::IntfId> members;
  for (const auto& [intf, interface] : state.interfaces) {
    members.insert(interface.members.begin(), interface.members.end());
  }
  const auto& policers = r.array(value, where);
  for (size_t i = 0; i < policers.size(); ++i) {
    JsonObject object(r, policers[i], Reader::pointer(where, i),
                      {"interface", "member", "direction", "profile", "groupPolicer", "counters"});
    Linko::IntfId intf = object.interface("interface");
    auto interface = state.interfaces.find(intf);
    if (interface == state.interfaces.end()) {
      r.fail(object.at("interface"), fmt::format("no interface {} in /interfaces", intf.name()));
    }
    if (members.contains(intf)) {
      r.fail(object.at("interface"),
             fmt::format("{} is a port channel member; give the policer to its port channel",
                         intf.name()));
    }
    bool portChannel = intf.value() >= Linko::IntfId::portChannelBase;
    IntfPolicerKey key{intf, readMember(object, intf, interface->second, portChannel),
                       object.spelled("direction", directionSpellings, "direction")};
    IntfPolicerState policer;
    policer.profile = readName(object, "profile", 0, "policer profile name");
    if (object.member("groupPolicer")) {
      policer.groupPolicer = readName(object, "groupPolicer", 0, "group policer name");
    }
    if (const Json* counters = object.member("counters")) {
      policer.counters = readIntfPolicerCounts(r, *counters, object.at("counters"));
    }
    if (!state.interfacePolicers.emplace(key, std::move(policer)).second) {
      r.fail(object.where(),
             fmt::format("{} already has an {} policer on member {}", intf.name(),
                         key.direction == Qos::Direction::directionInput_ ? "input" : "output",
                         key.member.name()));
    }
  }
}

}  // namespace StateSim
