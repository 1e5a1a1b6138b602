// Rows of the policy map, policy map class and policy map action tables.
#pragma once

#include "Qos/Counters.h"
#include "Qos/HwStatus.h"
#include "Qos/PolicyMapStatus.h"
#include "QosSnmp/QosMib/QosMibIndexes.h"
#include "Quill/String.h"
#include "QosSnmp/SnmpTables/TableEntry.h"

namespace QosSnmp {

// One policy map. Without a status object the name is empty.
class PolicyMapTableEntry : public TableEntry<PolicyMapTableEntry, PolicyMapTableIndex,
                                              Quill::Ptr<Qos::PolicyMapStatus const>> {
 public:
  using TableEntry::TableEntry;
  static constexpr std::array argNames{"policyMap"};
  static Mox::AllocationTracker memAllocationTracker_;

  const Quill::Ptr<Qos::PolicyMapStatus const>& policyMap() const noexcept { return arg<0>(); }
  const Snmp::String& policyMapId() const noexcept { return index().policyMapId; }
  Qos::MapType policyMapType() const noexcept { return index().policyMapType; }
  Mox::String policyMapName() const;
};

// One class of a policy map, at its position classIndex; classMapId is the class map's name
// given at construction.
class PolicyMapClassTableEntry
    : public TableEntry<PolicyMapClassTableEntry, PolicyMapClassTableIndex,
                        Quill::Ptr<Qos::PolicyMapStatus const>, Snmp::String> {
 public:
  using TableEntry::TableEntry;
  static constexpr std::array argNames{"policyMap", "classMapName"};
  static Mox::AllocationTracker memAllocationTracker_;

  const Quill::Ptr<Qos::PolicyMapStatus const>& policyMap() const noexcept { return arg<0>(); }
  const Snmp::String& classMapName() const noexcept { return arg<1>(); }
  const Snmp::String& classMapId() const noexcept { return classMapName(); }
  const Snmp::String& policyMapId() const noexcept { return index().policyMapId; }
  Qos::MapType policyMapType() const noexcept { return index().policyMapType; }
  U32 classIndex() const noexcept { return index().classIndex; }
};

// One action of a class in a policy map: its rate unit and value.
//
// Control-plane policy maps have only shape and bandwidth actions; their value is the rate the
// hardware was programmed with (classMapHwStatus, may be null). QoS policy maps take the value
// from the action object (required). The agent's "no rate" values read as 0.
class PolicyMapActionTableEntry
    : public TableEntry<PolicyMapActionTableEntry, PolicyMapActionTableIndex,
                        Quill::Ptr<Qos::ClassAction const>, Quill::Ptr<Qos::Action const>,
                        Quill::Ptr<Qos::ClassMapHwStatus const>, Quill::Ptr<Qos::HwStatus const>> {
 public:
  using TableEntry::TableEntry;
  static constexpr std::array argNames{"classAction", "action", "classMapHwStatus", "qosHwStatus"};
  static Mox::AllocationTracker memAllocationTracker_;

  const Quill::Ptr<Qos::ClassAction const>& classAction() const noexcept { return arg<0>(); }
  const Quill::Ptr<Qos::Action const>& action() const noexcept { return arg<1>(); }
  const Quill::Ptr<Qos::ClassMapHwStatus const>& classMapHwStatus() const noexcept {
    return arg<2>();
  }
  const Quill::Ptr<Qos::HwStatus const>& qosHwStatus() const noexcept { return arg<3>(); }
  const Snmp::String& policyMapId() const noexcept { return index().policyMapId; }
  Qos::MapType policyMapType() const noexcept { return index().policyMapType; }
  const Snmp::String& classMapId() const noexcept { return index().classMapId; }
  Qos::ActionType actionType() const noexcept { return index().classActionType; }

  // 0 for actions other than shape and bandwidth; else 1 (bps) or 2 (kbps) by the hardware's
  // capability. REQUIRES: qosHwStatus for shape and bandwidth actions, and one of the two
  // capabilities (asserts "qosHwStatus()->coppKbpsSupported()").
  U32 actionRateUnit() const;
  // REQUIRES: for control-plane maps a shape or bandwidth action; for QoS maps an action
  // object (both asserted).
  U32 actionValue() const;
};

}  // namespace QosSnmp
