// Descriptions of the QoS MIB tables: OID arc, index components, served columns, encodings
// and string limits. The mechanism that serves them is SnmpTable.
#pragma once

#include <array>
#include <tuple>

#include "QosSnmp/SnmpTables/Conversions.h"
#include "QosSnmp/QosMib/QosMib.h"
#include "QosSnmp/SnmpTables/SnmpTableDesc.h"

namespace QosSnmp::QosMibTables {

inline constexpr int idMaxLen = 40;  // class map and policy map identifiers
inline constexpr int ecnDescriptorMaxLen = 32;

// Integer index components of the QoS tables (ifIndex, queue, sequence numbers): unsigned
// 32-bit values, written with U32ToAsnUnsigned and read back with AsnUnsignedToU32.
template <typename I, auto Field>
constexpr auto u32Component(const char* mibName, const char* attrName) {
  return integerComponent<I, Field, Snmp::U32ToAsnUnsignedF, Snmp::AsnUnsignedToU32>(mibName,
                                                                                     attrName);
}

struct Base {
  using Entity = QosMib;
};

struct ClassMapTable : Base {
  using Entry = ClassMapTableEntry;
  using I = ClassMapTableIndex;
  static constexpr const char* name = "veloraClassMapTable";
  static constexpr U32 arc = 1;
  static const auto& table(const QosMib& mib) { return mib.classMapTable(); }
  static constexpr std::tuple indexes = {
      stringComponent<I, &I::classMapId>("veloraClassMapId", "classMapId", idMaxLen),
      enumComponent<I, &I::classMapType, MapTypeToAsnInteger, AsnIntegerToMapType>(
          "veloraClassMapType", "classMapType"),
  };
  static constexpr std::array columns = {
      stringColumn<Entry, &Entry::classMapName>(3, "veloraClassMapName", "classMapName", 255),
      enumColumn<Entry, &Entry::classMapMatchCondition, MatchConditionToAsnInteger>(
          4, "veloraClassMapMatchCondition", "classMapMatchCondition",
          "MatchConditionToAsnInteger"),
  };
};

struct ClassMapMatchTable : Base {
  using Entry = ClassMapMatchTableEntry;
  using I = ClassMapMatchTableIndex;
  static constexpr const char* name = "veloraClassMapMatchTable";
  static constexpr U32 arc = 2;
  static const auto& table(const QosMib& mib) { return mib.classMapMatchTable(); }
  static constexpr std::tuple indexes = {
      stringComponent<I, &I::classMapId>("veloraClassMapId", "classMapId", idMaxLen),
      enumComponent<I, &I::classMapType, MapTypeToAsnInteger, AsnIntegerToMapType>(
          "veloraClassMapType", "classMapType"),
      u32Component<I, &I::classMapMatchIndex>("veloraClassMapMatchIndex", "classMapMatchIndex"),
  };
  static constexpr std::array columns = {
      integerColumn<Entry, &Entry::classMapMatchType>(2, "veloraClassMapMatchType",
                                                      "classMapMatchType"),
      stringColumn<Entry, &Entry::classMapMatchName>(3, "veloraClassMapMatchName",
                                                     "classMapMatchName", 100),
  };
};

struct PolicyMapTable : Base {
  using Entry = PolicyMapTableEntry;
  using I = PolicyMapTableIndex;
  static constexpr const char* name = "veloraPolicyMapTable";
  static constexpr U32 arc = 3;
  static const auto& table(const QosMib& mib) { return mib.policyMapTable(); }
  static constexpr std::tuple indexes = {
      stringComponent<I, &I::policyMapId>("veloraPolicyMapId", "policyMapId", idMaxLen),
      enumComponent<I, &I::policyMapType, MapTypeToAsnInteger, AsnIntegerToMapType>(
          "veloraPolicyMapType", "policyMapType"),
  };
  static constexpr std::array columns = {
      stringColumn<Entry, &Entry::policyMapName>(3, "veloraPolicyMapName", "policyMapName", 255),
  };
};

struct PolicyMapClassTable : Base {
  using Entry = PolicyMapClassTableEntry;
  using I = PolicyMapClassTableIndex;
  static constexpr const char* name = "veloraPolicyMapClassTable";
  static constexpr U32 arc = 4;
  static const auto& table(const QosMib& mib) { return mib.policyMapClassTable(); }
  static constexpr std::tuple indexes = {
      stringComponent<I, &I::policyMapId>("veloraPolicyMapId", "policyMapId", idMaxLen),
      enumComponent<I, &I::policyMapType, MapTypeToAsnInteger, AsnIntegerToMapType>(
          "veloraPolicyMapType", "policyMapType"),
      u32Component<I, &I::classIndex>("veloraPolicyMapClassIndex", "classIndex"),
  };
  static constexpr std::array columns = {
      stringColumn<Entry, &Entry::classMapId>(2, "veloraPolicyMapClassId", "classMapId", idMaxLen),
  };
};

struct PolicyMapActionTable : Base {
  using Entry = PolicyMapActionTableEntry;
  using I = PolicyMapActionTableIndex;
  static constexpr const char* name = "veloraPolicyMapActionTable";
  static constexpr U32 arc = 5;
  static const auto& table(const QosMib& mib) { return mib.policyMapActionTable(); }
  static constexpr std::tuple indexes = {
      stringComponent<I, &I::policyMapId>("veloraPolicyMapId", "policyMapId", idMaxLen),
      enumComponent<I, &I::policyMapType, MapTypeToAsnInteger, AsnIntegerToMapType>(
          "veloraPolicyMapType", "policyMapType"),
      stringComponent<I, &I::classMapId>("veloraClassMapId", "classMapId", idMaxLen),
      enumComponent<I, &I::classActionType, ActionTypeToAsnInteger, AsnIntegerToActionType>(
          "veloraPolicyMapActionType", "classActionType"),
  };
  // actionValue is reported as its low 32 bits.
  static constexpr std::array columns = {
      integerColumn<Entry, &Entry::actionRateUnit>(2, "veloraPolicyMapActionRateUnit",
                                                   "actionRateUnit"),
      integerColumn<Entry, &Entry::actionValue>(3, "veloraPolicyMapActionValue", "actionValue"),
  };
};

struct ServicePolicyTable : Base {
  using Entry = ServicePolicyTableEntry;
  using I = ServicePolicyTableIndex;
  static constexpr const char* name = "veloraServicePolicyTable";
  static constexpr U32 arc = 6;
  static const auto& table(const QosMib& mib) { return mib.servicePolicyTable(); }
  static constexpr std::tuple indexes = {
      u32Component<I, &I::ifIndex>("veloraServicePolicyIfIndex", "ifIndex"),
      enumComponent<I, &I::direction, DirectionToAsnInteger, AsnIntegerToDirection>(
          "veloraServicePolicyDirection", "direction"),
  };
  static constexpr std::array columns = {
      stringColumn<Entry, &Entry::policyMapId>(3, "veloraServicePolicyMapId", "policyMapId",
                                               idMaxLen),
      enumColumn<Entry, &Entry::policyMapType, MapTypeToAsnInteger>(
          4, "veloraServicePolicyMapType", "policyMapType", "MapTypeToAsnInteger"),
  };
};

// Index components of the statistics tables: policy map, class map and direction, and for the
// per-interface tables the interface last.
template <typename I>
constexpr auto statsIndexes() {
  return std::tuple{
      stringComponent<I, &I::policyMapId>("veloraPolicyMapId", "policyMapId", idMaxLen),
      enumComponent<I, &I::policyMapType, MapTypeToAsnInteger, AsnIntegerToMapType>(
          "veloraPolicyMapType", "policyMapType"),
      stringComponent<I, &I::classMapId>("veloraClassMapId", "classMapId", idMaxLen),
      enumComponent<I, &I::direction, DirectionToAsnInteger, AsnIntegerToDirection>(
          "veloraServicePolicyDirection", "direction"),
  };
}

template <typename I>
constexpr auto perIntfStatsIndexes() {
  return std::tuple_cat(statsIndexes<I>(), std::tuple{u32Component<I, &I::ifIndex>(
                                               "veloraServicePolicyIfIndex", "ifIndex")});
}

// The six counters of the statistics tables, under the table's MIB names, in column order.
template <typename Entry>
constexpr auto statsColumns(std::array<const char*, 6> mibNames) {
  return std::array{
      counterColumn<Entry, &Entry::dropCount>(1, mibNames[0], "dropCount"),
      counterColumn<Entry, &Entry::outCount>(2, mibNames[1], "outCount"),
      counterColumn<Entry, &Entry::matchCount>(3, mibNames[2], "matchCount"),
      counterColumn<Entry, &Entry::dropByteCount>(4, mibNames[3], "dropByteCount"),
      counterColumn<Entry, &Entry::outByteCount>(5, mibNames[4], "outByteCount"),
      counterColumn<Entry, &Entry::matchByteCount>(6, mibNames[5], "matchByteCount"),
  };
}

struct QosStatsTable : Base {
  using Entry = QosStatsTableEntry;
  using I = QosStatsTableIndex;
  static constexpr const char* name = "veloraQosStatsTable";
  static constexpr U32 arc = 7;
  static const auto& table(const QosMib& mib) { return mib.qosStatsTable(); }
  static constexpr auto indexes = statsIndexes<I>();
  static constexpr auto columns =
      statsColumns<Entry>({"veloraQosPktsDropped", "veloraQosPktsSent", "veloraQosPktsMatched",
                           "veloraQosBytesDropped", "veloraQosBytesSent", "veloraQosBytesMatched"});
};

struct EcnCounterTable : Base {
  using Entry = EcnCounterTableEntry;
  static constexpr const char* name = "veloraEcnCounterTable";
  static constexpr U32 arc = 8;
  static const auto& table(const QosMib& mib) { return mib.ecnCounterTable(); }
  // Keyed by the counter's descriptor itself, not by an index record.
  static constexpr std::tuple indexes = {wholeKeyComponent<Snmp::String>(
      "veloraEcnCounterDescriptor", "ecnCounterDescriptor", ecnDescriptorMaxLen)};
  static constexpr std::array columns = {
      counterColumn<Entry, &Entry::ecnCounter>(2, "veloraEcnCounterValue", "ecnCounter"),
      integerColumn<Entry, &Entry::veloraEcnCounterEntity>(3, "veloraEcnCounterEntity",
                                                           "veloraEcnCounterEntity"),
  };
};

struct EcnQueueCounterTable : Base {
  using Entry = EcnQueueCounterTableEntry;
  using I = EcnQueueCounterTableIndex;
  static constexpr const char* name = "veloraEcnQueueCounterTable";
  static constexpr U32 arc = 9;
  static const auto& table(const QosMib& mib) { return mib.ecnQueueCounterTable(); }
  static constexpr std::tuple indexes = {
      u32Component<I, &I::ifIndex>("veloraEcnIfIndex", "ifIndex"),
      u32Component<I, &I::queueIndex>("veloraEcnEgressQueueIndex", "queueIndex"),
  };
  static constexpr std::array columns = {
      truthColumn<Entry, &Entry::counterEnabled>(3, "veloraEcnQueueCounterEnabled",
                                                 "counterEnabled"),
      counterColumn<Entry, &Entry::pktCount>(4, "veloraEcnQueuePktsMarked", "pktCount"),
      counterColumn<Entry, &Entry::locallyMarkedPktCount>(5, "veloraEcnQueuePktsLocallyMarked",
                                                          "locallyMarkedPktCount"),
  };
};

struct QosPolicerStatsTable : Base {
  using Entry = QosPolicerStatsTableEntry;
  using I = QosPolicerStatsTableIndex;
  static constexpr const char* name = "veloraQosPolicerStatsTable";
  static constexpr U32 arc = 10;
  static const auto& table(const QosMib& mib) { return mib.qosPolicerStatsTable(); }
  static constexpr auto indexes = perIntfStatsIndexes<I>();
  static constexpr std::array columns = {
      counterColumn<Entry, &Entry::dropCount>(1, "veloraQosPolicerPktsDropped", "dropCount"),
      counterColumn<Entry, &Entry::outCount>(2, "veloraQosPolicerPktsSent", "outCount"),
  };
};

struct QosPerIntfStatsTable : Base {
  using Entry = QosPerIntfStatsTableEntry;
  using I = QosPerIntfStatsTableIndex;
  static constexpr const char* name = "veloraQosPerIntfStatsTable";
  static constexpr U32 arc = 11;
  static const auto& table(const QosMib& mib) { return mib.qosPerIntfStatsTable(); }
  static constexpr auto indexes = perIntfStatsIndexes<I>();
  static constexpr auto columns =
      statsColumns<Entry>({"veloraQosPerIntfPktsDropped", "veloraQosPerIntfPktsSent",
                           "veloraQosPerIntfPktsMatched", "veloraQosPerIntfBytesDropped",
                           "veloraQosPerIntfBytesSent", "veloraQosPerIntfBytesMatched"});
};

}  // namespace QosSnmp::QosMibTables
