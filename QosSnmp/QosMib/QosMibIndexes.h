// Index records of the QoS MIB tables.
//
// Each record is a plain value whose fields() list gives the declared order: the order of
// comparison (the SNMP walk order), equality, hashing and the textual form (see
// Mox::IndexRecord). Where a record stores its fields in another order (to pack them), the
// comparison still follows the declared order: the map type ranks before the sequence number,
// the interface after the direction. The default record has empty strings and zero numbers.
// EcnQueueCounterTableIndex is deliberately not hashable.
#pragma once

#include <tuple>

#include "Mox/Record.h"
#include "Qos/Types.h"
#include "Quill/IntTypes.h"
#include "Snmp/String.h"

namespace QosSnmp {

struct ClassMapTableIndex : Mox::IndexRecord<ClassMapTableIndex> {
  static constexpr std::string_view typeName = "QosSnmp::ClassMapTableIndex";
  static constexpr Mox::HashKind hashKind = Mox::HashKind::mix4;

  ClassMapTableIndex() = default;
  ClassMapTableIndex(const Snmp::String& id, Qos::MapType type)
      : classMapId(id), classMapType(type) {}
  explicit operator bool() const { return classMapType != Qos::MapType{} || !classMapId.empty(); }

  Snmp::String classMapId;
  Qos::MapType classMapType{};

  static constexpr auto fields() {
    return std::tuple{Mox::field("classMapId", &ClassMapTableIndex::classMapId),
                      Mox::field("classMapType", &ClassMapTableIndex::classMapType)};
  }
};

struct ClassMapMatchTableIndex : Mox::IndexRecord<ClassMapMatchTableIndex> {
  static constexpr std::string_view typeName = "QosSnmp::ClassMapMatchTableIndex";
  static constexpr Mox::HashKind hashKind = Mox::HashKind::mix4;

  ClassMapMatchTableIndex() = default;
  ClassMapMatchTableIndex(const Snmp::String& id, Qos::MapType type, U32 matchIndex)
      : classMapMatchIndex(matchIndex), classMapId(id), classMapType(type) {}

  U32 classMapMatchIndex = 0;  // stored first, compared last
  Snmp::String classMapId;
  Qos::MapType classMapType{};

  static constexpr auto fields() {
    return std::tuple{
        Mox::field("classMapId", &ClassMapMatchTableIndex::classMapId),
        Mox::field("classMapType", &ClassMapMatchTableIndex::classMapType),
        Mox::field("classMapMatchIndex", &ClassMapMatchTableIndex::classMapMatchIndex)};
  }
};

struct PolicyMapTableIndex : Mox::IndexRecord<PolicyMapTableIndex> {
  static constexpr std::string_view typeName = "QosSnmp::PolicyMapTableIndex";
  static constexpr Mox::HashKind hashKind = Mox::HashKind::mix4;

  PolicyMapTableIndex() = default;
  PolicyMapTableIndex(const Snmp::String& id, Qos::MapType type)
      : policyMapId(id), policyMapType(type) {}
  explicit operator bool() const { return policyMapType != Qos::MapType{} || !policyMapId.empty(); }

  Snmp::String policyMapId;
  Qos::MapType policyMapType{};

  static constexpr auto fields() {
    return std::tuple{Mox::field("policyMapId", &PolicyMapTableIndex::policyMapId),
                      Mox::field("policyMapType", &PolicyMapTableIndex::policyMapType)};
  }
};

struct PolicyMapClassTableIndex : Mox::IndexRecord<PolicyMapClassTableIndex> {
  static constexpr std::string_view typeName = "QosSnmp::PolicyMapClassTableIndex";
  static constexpr Mox::HashKind hashKind = Mox::HashKind::mix4;

  PolicyMapClassTableIndex() = default;
  PolicyMapClassTableIndex(const Snmp::String& id, Qos::MapType type, U32 index)
      : classIndex(index), policyMapId(id), policyMapType(type) {}

  U32 classIndex = 0;  // stored first, compared last
  Snmp::String policyMapId;
  Qos::MapType policyMapType{};

  static constexpr auto fields() {
    return std::tuple{Mox::field("policyMapId", &PolicyMapClassTableIndex::policyMapId),
                      Mox::field("policyMapType", &PolicyMapClassTableIndex::policyMapType),
                      Mox::field("classIndex", &PolicyMapClassTableIndex::classIndex)};
  }
};

struct PolicyMapActionTableIndex : Mox::IndexRecord<PolicyMapActionTableIndex> {
  static constexpr std::string_view typeName = "QosSnmp::PolicyMapActionTableIndex";
  static constexpr Mox::HashKind hashKind = Mox::HashKind::mix4;

  PolicyMapActionTableIndex() = default;
  PolicyMapActionTableIndex(const Snmp::String& pmapId, Qos::MapType type,
                            const Snmp::String& cmapId, Qos::ActionType action)
      : policyMapId(pmapId), classMapId(cmapId), policyMapType(type), classActionType(action) {}

  Snmp::String policyMapId;
  Snmp::String classMapId;
  Qos::MapType policyMapType{};
  Qos::ActionType classActionType{};

  static constexpr auto fields() {
    return std::tuple{Mox::field("policyMapId", &PolicyMapActionTableIndex::policyMapId),
                      Mox::field("policyMapType", &PolicyMapActionTableIndex::policyMapType),
                      Mox::field("classMapId", &PolicyMapActionTableIndex::classMapId),
                      Mox::field("classActionType", &PolicyMapActionTableIndex::classActionType)};
  }
};

struct ServicePolicyTableIndex : Mox::IndexRecord<ServicePolicyTableIndex> {
  static constexpr std::string_view typeName = "QosSnmp::ServicePolicyTableIndex";
  static constexpr Mox::HashKind hashKind = Mox::HashKind::mix4;

  ServicePolicyTableIndex() = default;
  ServicePolicyTableIndex(U32 ifIdx, Qos::Direction dir) : ifIndex(ifIdx), direction(dir) {}

  U32 ifIndex = 0;
  Qos::Direction direction{};

  static constexpr auto fields() {
    return std::tuple{Mox::field("ifIndex", &ServicePolicyTableIndex::ifIndex),
                      Mox::field("direction", &ServicePolicyTableIndex::direction)};
  }
};

// The three statistics records share their leading fields.
struct QosStatsTableIndex : Mox::IndexRecord<QosStatsTableIndex> {
  static constexpr std::string_view typeName = "QosSnmp::QosStatsTableIndex";
  static constexpr Mox::HashKind hashKind = Mox::HashKind::seeded;

  QosStatsTableIndex() = default;
  QosStatsTableIndex(const Snmp::String& pmapId, Qos::MapType type, const Snmp::String& cmapId,
                     Qos::Direction dir)
      : policyMapId(pmapId), classMapId(cmapId), policyMapType(type), direction(dir) {}

  Snmp::String policyMapId;
  Snmp::String classMapId;
  Qos::MapType policyMapType{};
  Qos::Direction direction{};

  static constexpr auto fields() {
    return std::tuple{Mox::field("policyMapId", &QosStatsTableIndex::policyMapId),
                      Mox::field("policyMapType", &QosStatsTableIndex::policyMapType),
                      Mox::field("classMapId", &QosStatsTableIndex::classMapId),
                      Mox::field("direction", &QosStatsTableIndex::direction)};
  }
};

// Per-interface statistics: the interface ranks last, after the direction.
template <typename Self>
struct PerIntfStatsIndex : Mox::IndexRecord<Self> {
  static constexpr Mox::HashKind hashKind = Mox::HashKind::seeded;

  PerIntfStatsIndex() = default;
  PerIntfStatsIndex(const Snmp::String& pmapId, Qos::MapType type, const Snmp::String& cmapId,
                    Qos::Direction dir, U32 ifIdx)
      : ifIndex(ifIdx),
        policyMapId(pmapId),
        classMapId(cmapId),
        policyMapType(type),
        direction(dir) {}

  U32 ifIndex = 0;  // stored first, compared last
  Snmp::String policyMapId;
  Snmp::String classMapId;
  Qos::MapType policyMapType{};
  Qos::Direction direction{};

  static constexpr auto fields() {
    return std::tuple{Mox::field("policyMapId", &Self::policyMapId),
                      Mox::field("policyMapType", &Self::policyMapType),
                      Mox::field("classMapId", &Self::classMapId),
                      Mox::field("direction", &Self::direction),
                      Mox::field("ifIndex", &Self::ifIndex)};
  }
};

struct QosPerIntfStatsTableIndex : PerIntfStatsIndex<QosPerIntfStatsTableIndex> {
  static constexpr std::string_view typeName = "QosSnmp::QosPerIntfStatsTableIndex";
  using PerIntfStatsIndex::PerIntfStatsIndex;
};

struct QosPolicerStatsTableIndex : PerIntfStatsIndex<QosPolicerStatsTableIndex> {
  static constexpr std::string_view typeName = "QosSnmp::QosPolicerStatsTableIndex";
  using PerIntfStatsIndex::PerIntfStatsIndex;
};

struct EcnQueueCounterTableIndex : Mox::IndexRecord<EcnQueueCounterTableIndex> {
  static constexpr std::string_view typeName = "QosSnmp::EcnQueueCounterTableIndex";
  static constexpr Mox::HashKind hashKind = Mox::HashKind::none;

  EcnQueueCounterTableIndex() = default;
  EcnQueueCounterTableIndex(U32 ifIdx, U32 queue) : ifIndex(ifIdx), queueIndex(queue) {}

  U32 ifIndex = 0;
  U32 queueIndex = 0;

  static constexpr auto fields() {
    return std::tuple{Mox::field("ifIndex", &EcnQueueCounterTableIndex::ifIndex),
                      Mox::field("queueIndex", &EcnQueueCounterTableIndex::queueIndex)};
  }
};

}  // namespace QosSnmp
