#include "Sections.h"

namespace StateSim {

namespace {

Counts readCounts(const Reader& r, const Json& value, const std::string& where) {
  JsonObject object(r, value, where, {"dropPkts", "dropBytes", "outPkts", "outBytes"});
  Counts counts;
  counts.dropPkts = object.number("dropPkts", UINT64_MAX, 0);
  counts.dropBytes = object.number("dropBytes", UINT64_MAX, 0);
  counts.outPkts = object.number("outPkts", UINT64_MAX, 0);
  counts.outBytes = object.number("outBytes", UINT64_MAX, 0);
  return counts;
}

HwCounts readHwCounts(const Reader& r, const Json& value, const std::string& where) {
  JsonObject object(r, value, where,
                    {"dropPkts", "dropBytes", "outPkts", "outBytes", "shapeRate", "bandwidthRate"});
  HwCounts counts;
  counts.dropPkts = object.number("dropPkts", UINT64_MAX, 0);
  counts.dropBytes = object.number("dropBytes", UINT64_MAX, 0);
  counts.outPkts = object.number("outPkts", UINT64_MAX, 0);
  counts.outBytes = object.number("outBytes", UINT64_MAX, 0);
  if (object.member("shapeRate")) {
    counts.shapeRate = static_cast<U32>(object.number("shapeRate", UINT32_MAX, 0));
  }
  if (object.member("bandwidthRate")) {
    counts.bandwidthRate = static_cast<U32>(object.number("bandwidthRate", UINT32_MAX, 0));
  }
  return counts;
}

PolicerCounts readPolicerCounts(const Reader& r, const Json& value, const std::string& where) {
  JsonObject object(r, value, where,
                    {"droppedPkts", "conformPkts", "exceedPkts", "droppedBytes", "totalBytes"});
  PolicerCounts counts;
  counts.droppedPkts = object.number("droppedPkts", UINT64_MAX, 0);
  counts.conformPkts = object.number("conformPkts", UINT64_MAX, 0);
  counts.exceedPkts = object.number("exceedPkts", UINT64_MAX, 0);
  counts.droppedBytes = object.number("droppedBytes", UINT64_MAX, 0);
  counts.totalBytes = object.number("totalBytes", UINT64_MAX, 0);
  if (counts.droppedBytes > counts.totalBytes) {
    r.fail(object.at("droppedBytes"), "a policer drops no more bytes than it counts in total");
  }
  return counts;
}

// Reads the per-interface members of `name` ({"Ethernet1": {...}}), each an interface the class
// is applied on.
template <typename T, typename ReadFn>
void readPerInterface(const JsonObject& object, std::string_view name,
                      const std::set<Linko::IntfId>& applied, std::map<Linko::IntfId, T>& out,
                      ReadFn read) {
  const Json* value = object.member(name);
  if (!value) {
    return;
  }
  const Reader& r = object.reader();
  const std::string where = object.at(name);
  for (const auto& [intfName, member] : r.object(*value, where)) {
    const std::string at = Reader::pointer(where, intfName);
    Linko::IntfId intf = r.interface(Json(intfName), at);
    if (!applied.contains(intf)) {
      r.fail(at, fmt::format("the class is not applied on {} in this direction", intf.name()));
    }
    out[intf] = read(r, member, at);
  }
}

}  // namespace

void readClassCounters(const Reader& r, const Json& value, const std::string& where, State& state) {
  const AppliedClasses applied = appliedClasses(state);
  const auto& entries = r.array(value, where);
  for (size_t i = 0; i < entries.size(); ++i) {
    JsonObject object(r, entries[i], Reader::pointer(where, i),
                      {"policyMap", "policyMapType", "classMap", "direction", "counts", "hwStatus",
                       "interfaces", "policers"});
    QosSnmp::QosStatsTableIndex index(readMapId(object, "policyMap", "policy map"),
                                      object.spelled("policyMapType", policyMapTypeSpellings,
                                                     "policy map type", Qos::MapType::mapQos_),
                                      readMapId(object, "classMap", "class map"),
                                      object.spelled("direction", directionSpellings, "direction"));
    auto policyMap = state.policyMaps.find({index.policyMapId, index.policyMapType});
    if (policyMap == state.policyMaps.end()) {
      r.fail(object.at("policyMap"),
             fmt::format("no policy map '{}' of that type", index.policyMapId));
    }
    const PolicyClassState* policyClass = findClass(policyMap->second, index.classMapId);
    if (!policyClass) {
      r.fail(object.at("classMap"),
             fmt::format("policy map '{}' has no class '{}'", index.policyMapId, index.classMapId));
    }
    auto interfaces = applied.find(index);
    if (interfaces == applied.end()) {
      r.fail(object.at("direction"),
             fmt::format("no service policy applies policy map '{}' in direction {}",
                         index.policyMapId, object.required("direction").dump()));
    }
    ClassCountersState counters;
    if (const Json* counts = object.member("counts")) {
      counters.counts = readCounts(r, *counts, object.at("counts"));
    }
    if (const Json* hw = object.member("hwStatus")) {
      counters.hwStatus = readHwCounts(r, *hw, object.at("hwStatus"));
    }
    readPerInterface(object, "interfaces", interfaces->second, counters.interfaces, readCounts);
    if (object.member("policers") &&
        !policyClass->actions.contains(Qos::ActionType::actionPolice_)) {
      r.fail(object.at("policers"), "only a class with a police action has policers");
    }
    readPerInterface(object, "policers", interfaces->second, counters.policers, readPolicerCounts);
    if (!state.classCounters.emplace(index, std::move(counters)).second) {
      r.fail(object.where(), "these class counters appear twice");
    }
  }
}

}  // namespace StateSim
