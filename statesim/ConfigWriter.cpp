#include "ConfigWriter.h"

#include <map>
#include <set>
#include <tuple>
#include <vector>

#include "RowSync.h"
#include "StateSimTrace.h"

namespace StateSim {

namespace {

void writeMatch(Qos::ClassMapMatch& match, const MatchState& values) {
  match.typeIs(values.type);
  match.nameIs(values.name);
  if (values.type == Qos::matchDscpEcn_) {
    match.dscpEcnIs(
        Qos::ClassMapMatchDscpEcn{values.dscp, values.ecn, values.dscpNamed, values.dscpRanges});
  } else {
    match.dscpEcnIs(std::nullopt);
  }
  if (values.type == Qos::matchVlan_) {
    match.vlanIs(Qos::ClassMapMatchVlan{values.vlanValue, values.vlanMask, values.vlanValueMask,
                                        values.vlanRanges});
  } else {
    match.vlanIs(std::nullopt);
  }
}

}  // namespace

void ConfigWriter::stateIs(const State& state, const StatsWriter& stats, QosSnmp::QosMib& mib) {
  hwStatus_->coppBpsSupportedIs(state.hardware.coppBpsSupported);
  hwStatus_->coppKbpsSupportedIs(state.hardware.coppKbpsSupported);
  policyMapsIs(state, stats, mib);
  servicePoliciesIs(state, mib);
  policyMaps_.sweep();
  classActions_.sweep();
  actions_.sweep();
  profiles_.sweep();
}

void ConfigWriter::classMapsIs(const ClassMaps& classMaps, QosSnmp::QosMib& mib) {
  std::vector<QosSnmp::ClassMapTableIndex> gone;
  for (const auto& row : mib.classMapTable()) {
    if (!classMaps.contains(row.index())) {
      gone.push_back(row.index());
    }
  }
  for (const auto& index : gone) {
    classMapIs(nullptr, index, mib);
  }
  for (const auto& [index, classMap] : classMaps) {
    classMapIs(&classMap, index, mib);
  }
}

ConfigWriter::ClassMaps::value_type ConfigWriter::classMapState(
    const QosSnmp::ClassMapTableIndex& index, const ClassMapSlots::Slot& slot) const {
  ClassMaps::value_type entry{index, ClassMapState{.name = slot.object->name(),
                                                   .matchCondition = slot.object->matchCondition(),
                                                   .staticType = slot.values}};
  const auto& matches = matches_.slots();
  for (auto it = matches.lower_bound({index.classMapId, index.classMapType, 0});
       it != matches.end() && it->first.classMapId == index.classMapId &&
       it->first.classMapType == index.classMapType;
       ++it) {
    entry.second.matches.emplace_hint(entry.second.matches.end(), it->first.classMapMatchIndex,
                                      it->second.values);
  }
  return entry;
}

ConfigWriter::ClassMaps ConfigWriter::classMapStates() const {
  ClassMaps classMaps;
  for (const auto& [index, slot] : classMaps_.slots()) {
    classMaps.insert(classMaps.end(), classMapState(index, slot));
  }
  return classMaps;
}

void ConfigWriter::classMapIs(const ClassMapState* classMap,
                              const QosSnmp::ClassMapTableIndex& index, QosSnmp::QosMib& mib) {
  const Quill::Ptr<Qos::ClassMapStatus const> before = classMaps_.find(index);
  // Its match rows that the state no longer has.
  std::vector<QosSnmp::ClassMapMatchTableIndex> staleMatches;
  const auto& matchTable = mib.classMapMatchTable();
  for (auto row = matchTable.lowerBoundIter({index.classMapId, index.classMapType, 0});
       row != matchTable.end() && row->index().classMapId == index.classMapId &&
       row->index().classMapType == index.classMapType;
       ++row) {
    if (!classMap || !classMap->matches.contains(row->index().classMapMatchIndex)) {
      staleMatches.push_back(row->index());
    }
  }
  for (const auto& key : staleMatches) {
    mib.classMapMatchTableDel(key);
    matches_.del(key);
  }
  if (!classMap) {
    mib.classMapTableDel(index);
    classMaps_.del(index);
    staticTypesGone(before, nullptr, mib);
    return;
  }

  // The object holds all the map's values it shows: what changed is written into it in place.
  Quill::Ptr<Qos::ClassMapStatus> object = classMaps_.set(
      index, classMap->staticType, [&] { return Quill::make<Qos::ClassMapStatus>(classMap->name); },
      [](Qos::ClassMapStatus&, const std::optional<Qos::ClassMapCpStaticType>&) {});
  if (object->name() != classMap->name) {
    object->nameIs(classMap->name);
  }
  if (object->matchCondition() != classMap->matchCondition) {
    object->matchConditionIs(classMap->matchCondition);
  }
  Quill::Ptr<Qos::ClassMapStatus const> status = object;
  STATESIM_SYNC_ROW(mib, classMapTable, index, status);
  for (const auto& [matchIndex, match] : classMap->matches) {
    QosSnmp::ClassMapMatchTableIndex key(index.classMapId, index.classMapType, matchIndex);
    Quill::Ptr<Qos::ClassMapMatch const> object = matches_.set(
        key, match, [&] { return Quill::make<Qos::ClassMapMatch>(match.type, match.name); },
        writeMatch);
    STATESIM_SYNC_ROW(mib, classMapMatchTable, key, status, object);
  }
  staticTypesGone(before, classMap, mib);
  if (classMap->staticType) {
    mib.cmapByStaticTypeIs(*classMap->staticType, status);
  }
}

void ConfigWriter::staticTypesGone(const Quill::Ptr<Qos::ClassMapStatus const>& status,
                                   const ClassMapState* classMap, QosSnmp::QosMib& mib) {
  if (!status) {
    return;
  }
  deleteUnwanted(
      mib.cmapByStaticType(),
      [&](Qos::ClassMapCpStaticType type) {
        return mib.cmapByStaticType(type) != status || (classMap && classMap->staticType == type);
      },
      [&](Qos::ClassMapCpStaticType type) {
        QTRACE(trace(), 7, "Deleting static class map {}", Mox::enumName(type));
        mib.cmapByStaticTypeDel(type);
      });
}

void ConfigWriter::policyMapsIs(const State& state, const StatsWriter& stats,
                                QosSnmp::QosMib& mib) {
  using PolicyMapPtr = Quill::Ptr<Qos::PolicyMapStatus const>;
  std::map<QosSnmp::PolicyMapTableIndex, std::tuple<PolicyMapPtr>> policyMapRows;
  std::map<QosSnmp::PolicyMapClassTableIndex, std::tuple<PolicyMapPtr, Snmp::String>> classRows;
  std::map<QosSnmp::PolicyMapActionTableIndex,
           std::tuple<Quill::Ptr<Qos::ClassAction const>, Quill::Ptr<Qos::Action const>,
                      Quill::Ptr<Qos::ClassMapHwStatus const>, Quill::Ptr<Qos::HwStatus const>>>
      actionRows;
  for (const auto& [index, policyMap] : state.policyMaps) {
    PolicyMapPtr status = policyMaps_.is(
        index, policyMap.name, [&] { return Quill::make<Qos::PolicyMapStatus>(policyMap.name); },
        [](Qos::PolicyMapStatus& s, const Mox::String& name) { s.nameIs(name); });
    policyMapRows[index] = {status};
    bool controlPlane = index.policyMapType == Qos::MapType::mapControlPlane_;
    for (const auto& [classIndex, policyClass] : policyMap.classes) {
      const Snmp::String& classMapId = policyClass.classMapId;
      classRows[QosSnmp::PolicyMapClassTableIndex(index.policyMapId, index.policyMapType,
                                                  classIndex)] = {status, classMapId};
      auto classAction = classActions_.is(ClassActionKey(index, classMapId), [&] {
        return Quill::make<Qos::ClassAction>(Mox::String(classMapId.str()));
      });
      // The control plane applies its policy maps in the input direction.
      auto hwStatus = controlPlane ? stats.classMapHwStatus(QosSnmp::QosStatsTableIndex(
                                         index.policyMapId, index.policyMapType, classMapId,
                                         Qos::Direction::directionInput_))
                                   : nullptr;
      for (const auto& [type, action] : policyClass.actions) {
        QosSnmp::PolicyMapActionTableIndex key(index.policyMapId, index.policyMapType, classMapId,
                                               type);
        Quill::Ptr<ActionProfile const> profile;
        if (action.reference) {
          profile = profiles_.is(*action.reference,
                                 [&] { return Quill::make<ActionProfile>(*action.reference); });
        }
        auto object = actions_.is(
            key, action, [] { return Quill::make<Qos::Action>(); },
            [&](Qos::Action& a, const ActionState& values) {
              a.valueIs(values.value);
              a.referenceIs(profile);
            });
        actionRows[key] = {classAction, object, hwStatus, hwStatus_};
      }
    }
  }
  STATESIM_SYNC_ROWS(mib, policyMapTable, policyMapRows);
  STATESIM_SYNC_ROWS(mib, policyMapClassTable, classRows);
  STATESIM_SYNC_ROWS(mib, policyMapActionTable, actionRows);
}

void ConfigWriter::servicePoliciesIs(const State& state, QosSnmp::QosMib& mib) {
  std::map<QosSnmp::ServicePolicyTableIndex, std::tuple<Snmp::String, Qos::ServicePolicyKey>> rows;
  for (const auto& [key, policy] : state.servicePolicies) {
    const auto& [intf, direction] = key;
    const PolicyMapState& policyMap =
        state.policyMaps.at({policy.policyMapId, policy.policyMapType});
    rows[QosSnmp::ServicePolicyTableIndex(*state.interfaces.at(intf).ifIndex, direction)] = {
        policy.policyMapId, Qos::ServicePolicyKey{policyMap.name, policy.policyMapType, direction}};
  }
  STATESIM_SYNC_ROWS(mib, servicePolicyTable, rows);
}

}  // namespace StateSim
