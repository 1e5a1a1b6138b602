// Descriptions of the QoS MIB tables: OID arc, index components, served columns, encodings
// and string limits. The mechanism that serves them is SnmpTable.
#pragma once

#include <array>

#include "Conversions.h"
#include "QosMib.h"
#include "SnmpTableDesc.h"

namespace QosSnmp::QosMibTables {

inline constexpr const char* modelPath = "snmp/qos/root";
inline constexpr int idMaxLen = 40;  // class map and policy map identifiers

struct Base {
  using Entity = QosMib;
  static constexpr const char* modelPath = QosMibTables::modelPath;
  static constexpr const char* entityType = "QosSnmp::QosMib";
};

struct ClassMapTable : Base {
  using Entry = ClassMapTableEntry;
  using I = ClassMapTableIndex;
  static constexpr const char* name = "veloraClassMapTable";
  static constexpr U32 arc = 1;
  static const auto& table(const QosMib& mib) { return mib.classMapTable(); }
  static constexpr std::array indexes = {
      stringComponent<I, &I::classMapId>("veloraClassMapId", "classMapId", idMaxLen),
      enumComponent<I, &I::classMapType, MapTypeToAsnInteger, AsnIntegerToMapType>(
          "veloraClassMapType", "classMapType"),
  };
  static constexpr std::array columns = {
      stringColumn<Entry, &Entry::classMapName>(3, "veloraClassMapName", "classMapName", 255),
      enumColumn<Entry, &Entry::classMapMatchCondition, MatchConditionToAsnInteger>(
          4, "veloraClassMapMatchCondition", "classMapMatchCondition", "MatchConditionToAsnInteger"),
  };
};

}  // namespace QosSnmp::QosMibTables
