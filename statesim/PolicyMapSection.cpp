#include "Sections.h"

namespace StateSim {

namespace {

constexpr Spelling<Qos::ActionType> actionTypeSpellings[] = {
    {"shape", Qos::ActionType::actionSetShape_},
    {"bandwidth", Qos::ActionType::actionSetBandwidth_},
    {"setCos", Qos::ActionType::actionSetCos_},
    {"setDscp", Qos::ActionType::actionSetDscp_},
    {"setTc", Qos::ActionType::actionSetTc_},
    {"setDropPrecedence", Qos::ActionType::actionSetDropPrecedence_},
    {"police", Qos::ActionType::actionPolice_},
};

bool isRate(Qos::ActionType type) {
  return type == Qos::ActionType::actionSetShape_ || type == Qos::ActionType::actionSetBandwidth_;
}

void readAction(const JsonObject& a, Qos::MapType policyMapType, const HardwareState& hardware,
                PolicyClassState& policyClass) {
  const Reader& r = a.reader();
  Qos::ActionType type = a.spelled("type", actionTypeSpellings, "action type");
  if (policyMapType == Qos::MapType::mapControlPlane_ && !isRate(type)) {
    r.fail(a.at("type"), "a controlPlane policy map has only shape and bandwidth actions");
  }
  if (isRate(type) && !hardware.coppBpsSupported && !hardware.coppKbpsSupported) {
    r.fail(a.at("type"),
           "a shape or bandwidth action needs /hardware/coppBpsSupported or "
           "/hardware/coppKbpsSupported");
  }
  ActionState action;
  action.value = static_cast<U32>(a.number("value", UINT32_MAX, 0));
  if (a.member("reference")) {
    if (a.member("value")) {
      r.fail(a.at("reference"), "an action has either 'value' or 'reference'");
    }
    action.reference = a.string("reference");
  }
  if (!policyClass.actions.emplace(type, action).second) {
    r.fail(a.at("type"),
           fmt::format("action {} appears twice in this class", a.required("type").dump()));
  }
}

void readClass(const JsonObject& c, const QosSnmp::PolicyMapTableIndex& policyMap, U32 position,
               State& state, PolicyMapState& out) {
  const Reader& r = c.reader();
  U32 index = static_cast<U32>(c.number("index", UINT32_MAX, position + 1));
  PolicyClassState policyClass;
  policyClass.classMapId = readMapId(c, "classMap", "class map");
  bool controlPlane = policyMap.policyMapType == Qos::MapType::mapControlPlane_;
  bool known =
      controlPlane
          ? state.classMaps.contains({policyClass.classMapId, Qos::MapType::mapControlPlane_})
          : state.classMaps.contains({policyClass.classMapId, Qos::MapType::mapQos_}) ||
                state.classMaps.contains({policyClass.classMapId, Qos::MapType::mapQosStatic_});
  if (!known) {
    r.fail(c.at("classMap"),
           fmt::format("no {} class map '{}'", controlPlane ? "controlPlane" : "qos or qosStatic",
                       policyClass.classMapId));
  }
  if (findClass(out, policyClass.classMapId)) {
    r.fail(c.at("classMap"), fmt::format("class map '{}' is already a class of this policy map",
                                         policyClass.classMapId));
  }
  forEach(c, "actions", [&](const Json& action, const std::string& at) {
    readAction(JsonObject(r, action, at, {"type", "value", "reference"}), policyMap.policyMapType,
               state.hardware, policyClass);
  });
  if (!out.classes.emplace(index, std::move(policyClass)).second) {
    r.fail(c.at("index"), fmt::format("class index {} appears twice in this policy map", index));
  }
}

}  // namespace

void readPolicyMaps(const Reader& r, const Json& value, const std::string& where, State& state) {
  const auto& policyMaps = r.array(value, where);
  for (size_t i = 0; i < policyMaps.size(); ++i) {
    JsonObject object(r, policyMaps[i], Reader::pointer(where, i),
                      {"id", "type", "name", "classes"});
    QosSnmp::PolicyMapTableIndex index(
        readMapId(object, "id", "policy map"),
        object.spelled("type", policyMapTypeSpellings, "policy map type"));
    PolicyMapState policyMap;
    policyMap.name = object.string("name", index.policyMapId.str());
    U32 position = 0;
    forEach(object, "classes", [&](const Json& policyClass, const std::string& at) {
      readClass(JsonObject(r, policyClass, at, {"index", "classMap", "actions"}), index, position++,
                state, policyMap);
    });
    if (!state.policyMaps.emplace(index, std::move(policyMap)).second) {
      r.fail(object.where(), fmt::format("policy map '{}' of type {} appears twice",
                                         index.policyMapId, object.required("type").dump()));
    }
  }
}

}  // namespace StateSim
