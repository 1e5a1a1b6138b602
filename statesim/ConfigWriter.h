// StateSim::ConfigWriter: the QoS agent's configuration status (class maps and their match
// rules, policy maps, their classes and actions, the hardware capabilities) and the QoS MIB's
// configuration tables: class map, class map match, policy map, policy map class, policy map
// action and service policy, plus the built-in control-plane class maps by static type.
//
// Rows derive from the configuration as the QoS agent derives them: a class map row per class
// map, a match row per match rule, a policy map row per policy map, a class row per class of a
// policy map, an action row per action of a class, a service policy row per interface and
// direction a policy map is applied in. An action row of a control-plane policy map reads its
// rate from the class's hardware status in the input direction (the control plane), when the
// state gives one.
// Single-threaded.
#pragma once

#include <optional>

#include "Qos/ClassMapMatch.h"
#include "Qos/ClassMapStatus.h"
#include "Qos/HwStatus.h"
#include "Qos/PolicyMapStatus.h"
#include "QosSnmp/QosMib/QosMib.h"
#include "State.h"
#include "StatsWriter.h"
#include "StatusObjects.h"

namespace StateSim {

// A shared profile an action takes its value from (Qos::Action::reference()).
class ActionProfile : public Quill::Object {
 public:
  explicit ActionProfile(Mox::String name) : name_(std::move(name)) {}
  const Mox::String& name() const noexcept { return name_; }

 private:
  Mox::String name_;
};

class ConfigWriter {
 public:
  ConfigWriter() : hwStatus_(Quill::make<Qos::HwStatus>(false, true)) {}

  using ClassMaps = decltype(State::classMaps);
  using ClassMapSlots =
      StatusObjects<QosSnmp::ClassMapTableIndex, Qos::ClassMapStatus,
                    std::optional<Qos::ClassMapCpStaticType>>;  // values: the static type

  // Applies `state`, all but its class maps, and writes the configuration tables of `mib`;
  // `stats` has applied the same state already (action rows read its hardware statuses).
  void stateIs(const State& state, const StatsWriter& stats, QosSnmp::QosMib& mib);

  // Brings the class map at `index` (its status object, its rows, its static type) to
  // `classMap`, or removes it when null: a key-level edit. The other tables do not depend on
  // class maps, and the class maps are not kept elsewhere: the status objects and their match
  // rules are their only copy (classMapState() reads one back).
  void classMapIs(const ClassMapState* classMap, const QosSnmp::ClassMapTableIndex& index,
                  QosSnmp::QosMib& mib);
  // Brings every class map to `classMaps`: the ones it lacks are removed.
  void classMapsIs(const ClassMaps& classMaps, QosSnmp::QosMib& mib);
  // The class maps written, by index, with their status objects and static types.
  const auto& classMapSlots() const noexcept { return classMaps_.slots(); }
  // A class map as written, read back from its slot (one of classMapSlots()).
  ClassMaps::value_type classMapState(const QosSnmp::ClassMapTableIndex& index,
                                      const ClassMapSlots::Slot& slot) const;
  // Every class map, read back.
  ClassMaps classMapStates() const;

  Quill::Ptr<Qos::ClassMapStatus const> classMap(const QosSnmp::ClassMapTableIndex& index) const {
    return classMaps_.find(index);
  }
  const Quill::Ptr<Qos::HwStatus>& hwStatus() const noexcept { return hwStatus_; }

 private:
  // Deletes the static types that name `status` (a class map's status object, or null) unless
  // `classMap` (its new state, or null when it went) keeps them.
  void staticTypesGone(const Quill::Ptr<Qos::ClassMapStatus const>& status,
                       const ClassMapState* classMap, QosSnmp::QosMib& mib);
  void policyMapsIs(const State& state, const StatsWriter& stats, QosSnmp::QosMib& mib);
  void servicePoliciesIs(const State& state, QosSnmp::QosMib& mib);

  using ClassActionKey = std::pair<QosSnmp::PolicyMapTableIndex, Snmp::String>;

  Quill::Ptr<Qos::HwStatus> hwStatus_;
  ClassMapSlots classMaps_;
  StatusObjects<QosSnmp::ClassMapMatchTableIndex, Qos::ClassMapMatch, MatchState> matches_;
  StatusObjects<QosSnmp::PolicyMapTableIndex, Qos::PolicyMapStatus, Mox::String> policyMaps_;
  StatusObjects<ClassActionKey, Qos::ClassAction> classActions_;
  StatusObjects<QosSnmp::PolicyMapActionTableIndex, Qos::Action, ActionState> actions_;
  StatusObjects<Mox::String, ActionProfile> profiles_;
};

}  // namespace StateSim
