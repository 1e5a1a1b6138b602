#include "State.h"

#include <algorithm>

#include "Excerpt.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "JsonDocument.h"
#include "Sections.h"

namespace StateSim {

StateFileError::StateFileError(std::string file, std::string where, const std::string& message)
    : std::runtime_error(fmt::format("{}: {}: {}", file, shortPointer(where), message)),
      file_(std::move(file)),
      where_(shortPointer(where)) {}

AppliedClasses appliedClasses(const State& state) {
  AppliedClasses applied;
  auto apply = [&](const QosSnmp::PolicyMapTableIndex& index, const PolicyMapState& policyMap,
                   Qos::Direction direction, const Linko::IntfId* intf) {
    for (const auto& [classIndex, policyClass] : policyMap.classes) {
      auto& interfaces = applied[QosSnmp::QosStatsTableIndex(index.policyMapId, index.policyMapType,
                                                             policyClass.classMapId, direction)];
      if (intf) {
        interfaces.insert(*intf);
      }
    }
  };
  for (const auto& [index, policyMap] : state.policyMaps) {
    if (index.policyMapType == Qos::MapType::mapControlPlane_) {
      apply(index, policyMap, Qos::Direction::directionInput_, nullptr);
    }
  }
  for (const auto& [key, policy] : state.servicePolicies) {
    QosSnmp::PolicyMapTableIndex index(policy.policyMapId, policy.policyMapType);
    auto policyMap = state.policyMaps.find(index);
    if (policyMap != state.policyMaps.end()) {
      apply(index, policyMap->second, key.second, &key.first);
    }
  }
  return applied;
}

const PolicyClassState* findClass(const PolicyMapState& policyMap, const Snmp::String& classMapId) {
  for (const auto& [index, policyClass] : policyMap.classes) {
    if (policyClass.classMapId == classMapId) {
      return &policyClass;
    }
  }
  return nullptr;
}

namespace {

using SectionReader = void (*)(const Reader&, const Json&, const std::string&, State&);

// In the order that lets each section check its references to the ones before it.
constexpr std::pair<std::string_view, SectionReader> sections[] = {
    {"hardware", readHardware},
    {"interfaces", readInterfaces},
    {"classMaps", readClassMaps},
    {"policyMaps", readPolicyMaps},
    {"servicePolicies", readServicePolicies},
    {"classCounters", readClassCounters},
    {"ecnCounters", readEcnCounters},
    {"ecnQueues", readEcnQueues},
    {"policerProfiles", readPolicerProfiles},
    {"policerInstances", readPolicerInstances},
    {"interfacePolicers", readInterfacePolicers},
};

}  // namespace

State parseState(std::string_view text, const std::string& file) {
  const Json document = parseDocument(text, file);
  Reader r(file);
  State state;
  JsonObject top(r, document, "",
                 {"qosAgentRestarts", "hardware", "interfaces", "classMaps", "policyMaps",
                  "servicePolicies", "classCounters", "ecnCounters", "ecnQueues", "policerProfiles",
                  "policerInstances", "interfacePolicers"});
  state.qosAgentRestarts = top.number("qosAgentRestarts", maxQosAgentRestarts, 0);
  for (const auto& [name, read] : sections) {
    if (const Json* value = top.member(name)) {
      read(r, *value, top.at(name), state);
    }
  }
  return state;
}

State readStateFile(const std::string& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) {
    throw StateFileError(path, "open", "is a directory, not a state file");
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    throw StateFileError(path, "open", std::strerror(errno));
  }
  std::ostringstream text;
  text << in.rdbuf();
  if (in.bad()) {
    throw StateFileError(path, "read", "cannot read the file");
  }
  return parseState(text.str(), path);
}

namespace {

// `section` made of `entries`: sorted, then each appended at the end of the map (no descent).
template <typename Map, typename Entries>
void placeSection(Entries&& entries, Map& section) {
  std::sort(entries.begin(), entries.end(),
            [](const auto& a, const auto& b) { return a.first < b.first; });
  section.clear();
  for (auto& entry : entries) {
    section.emplace_hint(section.end(), std::move(entry));
  }
}

}  // namespace

void placeInto(PolicingSnapshot&& snapshot, State& state) {
  placeSection(std::move(snapshot.profiles), state.policerProfiles);
  placeSection(std::move(snapshot.instances), state.policerInstances);
  placeSection(std::move(snapshot.intfPolicers), state.interfacePolicers);
}

State placed(StateSnapshot&& snapshot) {
  State state = std::move(snapshot.rest);
  placeInto(std::move(snapshot.policing), state);
  return state;
}

}  // namespace StateSim
