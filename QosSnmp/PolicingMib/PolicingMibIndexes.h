// Index records of the policing MIB's tables: a policing profile and a policer instance, each
// keyed by its name.
//
// Plain values (see Mox::IndexRecord): ordered by Snmp::String's order of the name (length
// first, then bytes as unsigned values, the OID order of the SNMP walk), equal when the names
// are, hashed from the name. The default record holds the empty name and converts to false.
// The textual form is "profileName=\"p1\"" (fromString reads it back, raising
// Mox::DeserializeException for anything else).
#pragma once

#include <string_view>
#include <tuple>

#include "Mox/Record.h"
#include "Snmp/String.h"

namespace QosSnmp {

struct PolicingProfileTableIndex : Mox::IndexRecord<PolicingProfileTableIndex> {
  static constexpr std::string_view typeName = "QosSnmp::PolicingProfileTableIndex";
  static constexpr Mox::HashKind hashKind = Mox::HashKind::mix4;

  PolicingProfileTableIndex() = default;
  explicit PolicingProfileTableIndex(const Snmp::String& name) : profileName(name) {}

  Snmp::String profileName;

  static constexpr auto fields() {
    return std::tuple{Mox::field("profileName", &PolicingProfileTableIndex::profileName)};
  }
};

struct PolicerInstanceTableIndex : Mox::IndexRecord<PolicerInstanceTableIndex> {
  static constexpr std::string_view typeName = "QosSnmp::PolicerInstanceTableIndex";
  static constexpr Mox::HashKind hashKind = Mox::HashKind::mix4;

  PolicerInstanceTableIndex() = default;
  explicit PolicerInstanceTableIndex(const Snmp::String& name) : policerName(name) {}

  Snmp::String policerName;

  static constexpr auto fields() {
    return std::tuple{Mox::field("policerName", &PolicerInstanceTableIndex::policerName)};
  }
};

}  // namespace QosSnmp
