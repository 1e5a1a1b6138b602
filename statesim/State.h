// StateSim::State: what the switch's QoS agent publishes, as read from a JSON state file.
//
// A state file is one JSON object; every member is optional and names one section:
//
//   hardware         the QoS capabilities of the switch (HardwareState)
//   interfaces       the interfaces with their ifIndex and port-channel members
//   classMaps        class maps with their match rules
//   policyMaps       policy maps with their classes and each class's actions
//   servicePolicies  which policy map is applied on which interface in which direction
//   classCounters    counters of a class of an applied policy map, per direction
//   ecnCounters      named chip-level ECN counters
//   ecnQueues        per-queue ECN counters of an interface
//   policerProfiles  named policing profiles with their rates and bursts
//   policerInstances named policers and the profile each is configured with
//   interfacePolicers the policer on each interface member, per direction, and its counters
//   qosAgentRestarts  how many times the QoS agent has restarted (a number, not a section)
//
// docs/state-file.md describes every member. Objects reject unknown members, so a typo is an
// error and not a silently missing row. parseState() and readStateFile() validate everything,
// including the references between sections (a policy map class names an existing class map, a
// service policy an existing interface and policy map, ...), so applying a State never fails on
// its content. The text is UTF-8 JSON without a byte-order mark, and no object names a member
// twice (JsonDocument.h). Errors are StateFileError: the file, where in it (line and column for
// malformed JSON, a JSON pointer such as "/classMaps/2/type" for a bad field) and what is wrong,
// quoting no more than a short excerpt of the file (Excerpt.h).
#pragma once

#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Acl/Ecn.h"
#include "InterfacePolicing/PolicerName.h"
#include "InterfacePolicing/PolicerType.h"
#include "Linko/IntfId.h"
#include "Qos/ClassMapMatch.h"
#include "Qos/IntfPairKey.h"
#include "Qos/PolicyMapStatus.h"
#include "Qos/Types.h"
#include "QosSnmp/QosMib/QosMibIndexes.h"
#include "Quill/String.h"

namespace StateSim {

// Identifiers of class and policy maps are at most this long: the MIB's index length.
inline constexpr size_t maxMapIdLength = 40;
// The largest qosAgentRestarts: a counter that never wraps in practice, read exactly as a JSON
// number.
inline constexpr U64 maxQosAgentRestarts = (U64{1} << 53) - 1;
// ECN counter descriptors are at most this long.
inline constexpr size_t maxEcnDescriptorLength = 32;

struct HardwareState {
  bool coppBpsSupported = false;
  bool coppKbpsSupported = true;
  // Defaults of the ECN queue members of the same names.
  bool useEcnCountersShoal = false;
  bool ecnQLocallyMarkedSupported = false;
  // Qos::AclHwStatus: port channel members count their policers apart.
  bool interfacePolicingCountersPerLagMemberCounterInfo = false;

  friend bool operator==(const HardwareState&, const HardwareState&) = default;
};

struct InterfaceState {
  // None: the interface has no ifIndex; the reader refuses service policies and ECN queues on
  // such an interface, as no QoS MIB row could show them.
  std::optional<U32> ifIndex;
  std::vector<Linko::IntfId> members;  // port channels only

  friend bool operator==(const InterfaceState&, const InterfaceState&) = default;
};

struct MatchState {
  U32 type = Qos::matchIpAccessGroup_;
  Mox::String name;
  // matchDscpEcn_ rules.
  U8 dscp = Qos::ClassMapMatchDscpEcn::dscpNone;
  bool dscpNamed = false;
  Acl::Ecn ecn = Acl::Ecn::ecnDontCare_;
  std::set<Qos::DscpRange> dscpRanges;
  // matchVlan_ rules: value/mask form when vlanValueMask, else ranges.
  bool vlanValueMask = false;
  U16 vlanValue = 0;
  U16 vlanMask = 0;
  std::set<Qos::VlanRange> vlanRanges;

  friend bool operator==(const MatchState&, const MatchState&) = default;
};

struct ClassMapState {
  Mox::String name;
  Qos::ClassMapMatchCondition matchCondition = Qos::ClassMapMatchCondition::matchConditionAny_;
  std::optional<Qos::ClassMapCpStaticType> staticType;
  std::map<U32, MatchState> matches;  // by match index

  friend bool operator==(const ClassMapState&, const ClassMapState&) = default;
};

struct ActionState {
  U32 value = 0;
  std::optional<Mox::String> reference;  // a shared profile the value comes from

  friend bool operator==(const ActionState&, const ActionState&) = default;
};

struct PolicyClassState {
  Snmp::String classMapId;
  std::map<Qos::ActionType, ActionState> actions;

  friend bool operator==(const PolicyClassState&, const PolicyClassState&) = default;
};

struct PolicyMapState {
  Mox::String name;
  std::map<U32, PolicyClassState> classes;  // by class index

  friend bool operator==(const PolicyMapState&, const PolicyMapState&) = default;
};

struct ServicePolicyState {
  Snmp::String policyMapId;
  Qos::MapType policyMapType = Qos::MapType::mapQos_;

  friend bool operator==(const ServicePolicyState&, const ServicePolicyState&) = default;
};

struct Counts {
  U64 dropPkts = 0;
  U64 dropBytes = 0;
  U64 outPkts = 0;
  U64 outBytes = 0;

  friend bool operator==(const Counts&, const Counts&) = default;
};

struct HwCounts : Counts {
  // Unset rates are Qos::Action::rateNotSet; for control-plane classes they default to the
  // values of the class's shape and bandwidth actions.
  std::optional<U32> shapeRate;
  std::optional<U32> bandwidthRate;

  friend bool operator==(const HwCounts&, const HwCounts&) = default;
};

struct PolicerCounts {
  U64 droppedPkts = 0;
  U64 conformPkts = 0;
  U64 exceedPkts = 0;
  U64 droppedBytes = 0;
  U64 totalBytes = 0;

  friend bool operator==(const PolicerCounts&, const PolicerCounts&) = default;
};

struct ClassCountersState {
  Counts counts;
  std::optional<HwCounts> hwStatus;
  std::map<Linko::IntfId, Counts> interfaces;
  std::map<Linko::IntfId, PolicerCounts> policers;

  friend bool operator==(const ClassCountersState&, const ClassCountersState&) = default;
};

struct EcnCounterState {
  U32 entity = 0;
  U64 count = 0;

  friend bool operator==(const EcnCounterState&, const EcnCounterState&) = default;
};

struct EcnQueueState {
  bool enabled = true;
  U64 pktCount = 0;
  U64 locallyMarkedPktCount = 0;

  friend bool operator==(const EcnQueueState&, const EcnQueueState&) = default;
};

struct EcnInterfaceState {
  U32 slice = 0;
  bool useEcnCountersShoal = false;
  bool ecnQLocallyMarkedSupported = false;
  std::map<U8, EcnQueueState> queues;  // by queue number

  friend bool operator==(const EcnInterfaceState&, const EcnInterfaceState&) = default;
};

using ServicePolicyKey = std::pair<Linko::IntfId, Qos::Direction>;

// A policing profile's committed and peak rates and bursts, each with its unit.
struct PolicerRatesState {
  U64 cir = 0;
  Qos::RateUnit cirUnit = Qos::RateUnit::rateUnitKbps_;
  U64 bc = 0;
  Qos::BurstUnit bcUnit = Qos::BurstUnit::burstUnitBytes_;
  U64 pir = 0;
  Qos::RateUnit pirUnit = Qos::RateUnit::rateUnitKbps_;
  U64 be = 0;
  Qos::BurstUnit beUnit = Qos::BurstUnit::burstUnitBytes_;

  friend bool operator==(const PolicerRatesState&, const PolicerRatesState&) = default;
};

struct PolicerProfileState {
  std::optional<PolicerRatesState> rates;  // none: the profile has no rate/burst configuration

  friend bool operator==(const PolicerProfileState&, const PolicerProfileState&) = default;
};

struct PolicerInstanceState {
  Mox::String profile;  // as configured: may be empty or name no profile

  friend bool operator==(const PolicerInstanceState&, const PolicerInstanceState&) = default;
};

// The six counts of an interface policer; the yellow counts are part of the sent counts.
struct IntfPolicerCounts {
  U64 pktsDropped = 0;
  U64 pktsSent = 0;
  U64 bytesDropped = 0;
  U64 bytesSent = 0;
  U64 yellowPktsSent = 0;
  U64 yellowBytesSent = 0;

  friend bool operator==(const IntfPolicerCounts&, const IntfPolicerCounts&) = default;
};

// Names one interface policer: the member of an interface that carries it (a plain port is its
// own member), and the direction.
struct IntfPolicerKey {
  Linko::IntfId interface;
  Linko::IntfId member;
  Qos::Direction direction = Qos::Direction::directionInput_;

  Qos::IntfPairKey pair() const noexcept { return {interface, member}; }

  friend bool operator==(const IntfPolicerKey&, const IntfPolicerKey&) = default;
  friend auto operator<=>(const IntfPolicerKey&, const IntfPolicerKey&) = default;
};

struct IntfPolicerState {
  InterfacePolicing::PolicerName profile;                      // may be empty
  std::optional<InterfacePolicing::PolicerName> groupPolicer;  // none: no group policer
  std::optional<IntfPolicerCounts> counters;  // none: the hardware keeps no counters for it

  friend bool operator==(const IntfPolicerState&, const IntfPolicerState&) = default;
};

struct State {
  // How many times the switch's QoS agent has started again; the status source plays a restart
  // when a reload finds this number changed (StatusSource.h).
  U64 qosAgentRestarts = 0;
  HardwareState hardware;
  std::map<Linko::IntfId, InterfaceState> interfaces;
  std::map<QosSnmp::ClassMapTableIndex, ClassMapState> classMaps;
  std::map<QosSnmp::PolicyMapTableIndex, PolicyMapState> policyMaps;
  std::map<ServicePolicyKey, ServicePolicyState> servicePolicies;
  std::map<QosSnmp::QosStatsTableIndex, ClassCountersState> classCounters;
  std::map<Snmp::String, EcnCounterState> ecnCounters;
  std::map<Linko::IntfId, EcnInterfaceState> ecnQueues;
  std::map<InterfacePolicing::PolicerName, PolicerProfileState> policerProfiles;
  std::map<InterfacePolicing::PolicerName, PolicerInstanceState> policerInstances;
  std::map<IntfPolicerKey, IntfPolicerState> interfacePolicers;

  friend bool operator==(const State&, const State&) = default;
};

// The classes of applied policy maps: for each (policy map, class map, direction), the
// interfaces it is applied on. A service policy applies every class of its policy map on its
// interface in its direction; a control-plane policy map is in force on the control plane, so
// each of its classes is applied in the input direction even without a service policy.
using AppliedClasses = std::map<QosSnmp::QosStatsTableIndex, std::set<Linko::IntfId>>;
AppliedClasses appliedClasses(const State& state);

// The class of a policy map that has `classMapId`, or null.
const PolicyClassState* findClass(const PolicyMapState& policyMap, const Snmp::String& classMapId);

class StateFileError : public std::runtime_error {
 public:
  // what() is "<file>: <where>: <message>".
  StateFileError(std::string file, std::string where, const std::string& message);
  const std::string& file() const noexcept { return file_; }
  // "line L, column C", a JSON pointer, or "open" or "read" for a file that cannot be read.
  const std::string& where() const noexcept { return where_; }

 private:
  std::string file_;
  std::string where_;
};

// The entry of `key` in one of a State's maps, or null.
template <typename Map>
const typename Map::mapped_type* entryOf(const Map& map, const typename Map::key_type& key) {
  auto it = map.find(key);
  return it == map.end() ? nullptr : &it->second;
}

// Parses the text of a state file; `file` names it in errors.
State parseState(std::string_view text, const std::string& file);
// Reads and parses the state file at `path`; an unreadable file or a directory is a
// StateFileError too.
State readStateFile(const std::string& path);

// A copy of the policing sections in no particular order, for placeInto() to sort into a
// State: taking it on the agent's thread costs a copy, the sorting can go elsewhere.
struct PolicingSnapshot {
  std::vector<std::pair<InterfacePolicing::PolicerName, PolicerProfileState>> profiles;
  std::vector<std::pair<InterfacePolicing::PolicerName, PolicerInstanceState>> instances;
  std::vector<std::pair<IntfPolicerKey, IntfPolicerState>> intfPolicers;
};

// Replaces the policing sections of `state` with the snapshot's entries. Any thread.
void placeInto(PolicingSnapshot&& snapshot, State& state);

// A State taken apart for the agent's thread to copy cheaply: the policing sections as a
// snapshot, the rest as it is.
struct StateSnapshot {
  State rest;  // its policing sections are empty
  PolicingSnapshot policing;
};

// The State the snapshot was taken of. Any thread.
State placed(StateSnapshot&& snapshot);

}  // namespace StateSim
