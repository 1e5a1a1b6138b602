#include <charconv>
#include <set>

#include "Qos/Dscp.h"
#include "Sections.h"

namespace StateSim {

namespace {

constexpr Spelling<Qos::MapType> classMapTypeSpellings[] = {
    {"controlPlane", Qos::MapType::mapControlPlane_},
    {"qos", Qos::MapType::mapQos_},
    {"qosStatic", Qos::MapType::mapQosStatic_},
};
constexpr Spelling<Qos::ClassMapMatchCondition> matchConditionSpellings[] = {
    {"any", Qos::ClassMapMatchCondition::matchConditionAny_},
    {"all", Qos::ClassMapMatchCondition::matchConditionAll_},
};
constexpr Spelling<Qos::ClassMapCpStaticType> staticTypeSpellings[] = {
    {"bgp", Qos::ClassMapCpStaticType::cmapCpStaticBgp_},
    {"ospf", Qos::ClassMapCpStaticType::cmapCpStaticOspf_},
    {"arp", Qos::ClassMapCpStaticType::cmapCpStaticArp_},
    {"igmp", Qos::ClassMapCpStaticType::cmapCpStaticIgmp_},
    {"lacp", Qos::ClassMapCpStaticType::cmapCpStaticLacp_},
    {"lldp", Qos::ClassMapCpStaticType::cmapCpStaticLldp_},
};
constexpr Spelling<Acl::Ecn> ecnSpellings[] = {
    {"anyEct", Acl::Ecn::ecnAnyEct_},
    {"notEct", Acl::Ecn::ecnNotEct_},
    {"ce", Acl::Ecn::ecnCe_},
    {"ect", Acl::Ecn::ecnEct_},
};
constexpr U8 maxDscp = 63;
constexpr U16 maxVlan = 4095;

// Match types have names; any other number is published as it is.
U32 readMatchType(const JsonObject& m) {
  constexpr Spelling<U32> names[] = {
      {"ipAccessGroup", Qos::matchIpAccessGroup_},
      {"ipv6AccessGroup", Qos::matchIpv6AccessGroup_},
      {"vlan", Qos::matchVlan_},
      {"dscpEcn", Qos::matchDscpEcn_},
  };
  const Json& value = m.required("type");
  if (value.is_number_unsigned()) {
    return static_cast<U32>(m.reader().number(value, m.at("type"), UINT32_MAX));
  }
  return m.reader().spelled(value, m.at("type"), names, "match type");
}

// "10-14", "46" or 46: an inclusive range of numbers up to `max`.
std::pair<U16, U16> readRange(const Reader& r, const Json& value, const std::string& where,
                              U16 max) {
  if (value.is_number_unsigned()) {
    U16 n = static_cast<U16>(r.number(value, where, max));
    return {n, n};
  }
  const std::string& text = r.string(value, where);
  auto parse = [&](std::string_view digits) {
    unsigned n = 0;
    auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), n);
    if (digits.empty() || ec != std::errc() || end != digits.data() + digits.size() || n > max) {
      r.fail(where, fmt::format("'{}' is not a range of numbers from 0 to {} (\"10-14\", \"46\")",
                                excerpt(text), max));
    }
    return static_cast<U16>(n);
  };
  size_t dash = text.find('-');
  U16 low = parse(std::string_view(text).substr(0, dash));
  U16 high = dash == std::string::npos ? low : parse(std::string_view(text).substr(dash + 1));
  if (low > high) {
    r.fail(where, fmt::format("range '{}' runs backwards", excerpt(text)));
  }
  return {low, high};
}

void readDscpEcn(const JsonObject& m, MatchState& match) {
  const Reader& r = m.reader();
  if (const Json* dscp = m.member("dscp")) {
    if (dscp->is_string()) {
      const std::string& name = dscp->get_ref<const std::string&>();
      const Qos::DscpName* named = Qos::dscpByName(name);
      if (!named) {
        r.fail(m.at("dscp"),
               fmt::format("'{}' is not a DSCP name (CS0-CS7, AF11-AF43, EF)", excerpt(name)));
      }
      match.dscp = named->value;
      match.dscpNamed = true;
    } else {
      match.dscp = static_cast<U8>(r.number(*dscp, m.at("dscp"), maxDscp));
    }
  }
  forEach(m, "dscpRanges", [&](const Json& value, const std::string& at) {
    auto [low, high] = readRange(r, value, at, maxDscp);
    match.dscpRanges.insert({static_cast<U8>(low), static_cast<U8>(high)});
  });
  if (const Json* ecn = m.member("ecn")) {
    match.ecn = r.spelled(*ecn, m.at("ecn"), ecnSpellings, "ECN value");
  }
  if (m.member("dscp") && m.member("dscpRanges")) {
    r.fail(m.at("dscpRanges"), "a match has either 'dscp' or 'dscpRanges'");
  }
  if (match.dscp == Qos::ClassMapMatchDscpEcn::dscpNone && match.dscpRanges.empty() &&
      match.ecn == Acl::Ecn::ecnDontCare_) {
    r.fail(m.where(), "a dscpEcn match needs 'dscp', 'dscpRanges' or 'ecn'");
  }
}

void readVlan(const JsonObject& m, MatchState& match) {
  const Reader& r = m.reader();
  if (m.member("vlan")) {
    match.vlanValueMask = true;
    match.vlanValue = static_cast<U16>(m.number("vlan", maxVlan, 0));
    match.vlanMask = static_cast<U16>(m.number("vlanMask", maxVlan, maxVlan));
  } else if (m.member("vlanMask")) {
    r.fail(m.at("vlanMask"), "'vlanMask' goes with 'vlan'");
  }
  forEach(m, "vlanRanges", [&](const Json& value, const std::string& at) {
    auto [low, high] = readRange(r, value, at, maxVlan);
    match.vlanRanges.insert({low, high});
  });
  bool ranges = m.member("vlanRanges") != nullptr;
  if (match.vlanValueMask == ranges) {
    r.fail(m.where(), "a vlan match has either 'vlan' (with 'vlanMask') or 'vlanRanges'");
  }
}

void readMatch(const JsonObject& m, ClassMapState& classMap, U32 position) {
  const Reader& r = m.reader();
  U32 index = static_cast<U32>(m.number("index", UINT32_MAX, position + 1));
  MatchState match;
  match.type = readMatchType(m);
  match.name = m.string("name", "");
  bool dscpEcn = match.type == Qos::matchDscpEcn_;
  bool vlan = match.type == Qos::matchVlan_;
  for (std::string_view member : {"dscp", "dscpRanges", "ecn"}) {
    if (!dscpEcn && m.member(member)) {
      r.fail(m.at(member), "only a dscpEcn match has this member");
    }
  }
  for (std::string_view member : {"vlan", "vlanMask", "vlanRanges"}) {
    if (!vlan && m.member(member)) {
      r.fail(m.at(member), "only a vlan match has this member");
    }
  }
  if (dscpEcn) {
    readDscpEcn(m, match);
  } else if (vlan) {
    readVlan(m, match);
  } else if ((match.type == Qos::matchIpAccessGroup_ || match.type == Qos::matchIpv6AccessGroup_) &&
             match.name.empty()) {
    r.fail(m.where(), "an access-group match needs the access list's 'name'");
  }
  if (!classMap.matches.emplace(index, std::move(match)).second) {
    r.fail(m.at("index"), fmt::format("match index {} appears twice in this class map", index));
  }
}

}  // namespace

Snmp::String readMapId(const JsonObject& object, std::string_view member, std::string_view what) {
  return Snmp::String(object.reader().identifier(object.required(member), object.at(member),
                                                 fmt::format("{} id", what), maxMapIdLength));
}

void readClassMaps(const Reader& r, const Json& value, const std::string& where, State& state) {
  std::set<Qos::ClassMapCpStaticType> staticTypes;
  const auto& classMaps = r.array(value, where);
  for (size_t i = 0; i < classMaps.size(); ++i) {
    JsonObject object(r, classMaps[i], Reader::pointer(where, i),
                      {"id", "type", "name", "matchCondition", "staticType", "matches"});
    Snmp::String id = readMapId(object, "id", "class map");
    Qos::MapType type = object.spelled("type", classMapTypeSpellings, "class map type");

    ClassMapState classMap;
    classMap.name = object.string("name", id.str());
    classMap.matchCondition =
        object.spelled("matchCondition", matchConditionSpellings, "match condition",
                       Qos::ClassMapMatchCondition::matchConditionAny_);
    if (object.member("staticType")) {
      if (type != Qos::MapType::mapControlPlane_) {
        r.fail(object.at("staticType"), "only a controlPlane class map has a static type");
      }
      classMap.staticType =
          object.spelled("staticType", staticTypeSpellings, "control-plane static type");
      if (!staticTypes.insert(*classMap.staticType).second) {
        r.fail(object.at("staticType"),
               fmt::format("static type {} is already given to another class map",
                           object.required("staticType").dump()));
      }
    }
    U32 position = 0;
    forEach(object, "matches", [&](const Json& match, const std::string& at) {
      readMatch(JsonObject(r, match, at,
                           {"index", "type", "name", "dscp", "dscpRanges", "ecn", "vlan",
                            "vlanMask", "vlanRanges"}),
                classMap, position++);
    });

    QosSnmp::ClassMapTableIndex index(id, type);
    if (!state.classMaps.emplace(index, std::move(classMap)).second) {
      r.fail(object.where(), fmt::format("class map '{}' of type {} appears twice", id,
                                         object.required("type").dump()));
    }
    // The MIB reports qosStatic maps as qos maps: one id under both would be one row twice.
    if (type != Qos::MapType::mapControlPlane_) {
      Qos::MapType twin =
          type == Qos::MapType::mapQos_ ? Qos::MapType::mapQosStatic_ : Qos::MapType::mapQos_;
      if (state.classMaps.contains(QosSnmp::ClassMapTableIndex(id, twin))) {
        r.fail(object.at("type"),
               fmt::format("class map '{}' is both a qos and a qosStatic map; the MIB "
                           "reports both as qos, so their rows would collide",
                           id));
      }
    }
  }
}

}  // namespace StateSim
