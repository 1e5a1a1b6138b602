// Descriptions of the interface policer MIB's tables (veloraIfPolicerMib, enterprises.E.3.43):
// ingress and egress policer statistics, identical but for their names and the entity's table
// they read. Both are gated by the toggle IntfPolicingSnmp and served from the IfPolicerMib
// entity by SnmpTable. The key is the ifIndex itself, an unsigned
// 32-bit INTEGER in the OID (U32ToAsnUnsigned / AsnUnsignedToU32).
#pragma once

#include <array>
#include <tuple>

#include "QosSnmp/SnmpTables/FeatureToggles.h"
#include "QosSnmp/IfPolicerMib/IfPolicerMib.h"
#include "QosSnmp/SnmpTables/SnmpTableDesc.h"

namespace QosSnmp::IfPolicerMibTables {

inline constexpr int nameMaxLen = 64;  // profile and group policer names

// The columns under the table's MIB names: profile, group policer, then the six counters.
constexpr auto statsColumns(std::array<const char*, 8> mibNames) {
  using E = IfPolicerStatsTableEntry;
  return std::array{
      stringColumn<E, &E::policerProfile>(2, mibNames[0], "policerProfile", nameMaxLen),
      stringColumn<E, &E::groupPolicer>(3, mibNames[1], "groupPolicer", nameMaxLen),
      counterColumn<E, &E::pktsDropped>(4, mibNames[2], "pktsDropped"),
      counterColumn<E, &E::pktsSent>(5, mibNames[3], "pktsSent"),
      counterColumn<E, &E::bytesDropped>(6, mibNames[4], "bytesDropped"),
      counterColumn<E, &E::bytesSent>(7, mibNames[5], "bytesSent"),
      counterColumn<E, &E::yellowPktsSent>(8, mibNames[6], "yellowPktsSent"),
      counterColumn<E, &E::yellowBytesSent>(9, mibNames[7], "yellowBytesSent"),
  };
}

constexpr auto ifIndexComponent(const char* mibName) {
  return wholeKeyComponent<U32, Snmp::U32ToAsnUnsignedF, Snmp::AsnUnsignedToU32>(mibName,
                                                                                 "ifIndex");
}

struct Base {
  using Entity = IfPolicerMib;
  using Entry = IfPolicerStatsTableEntry;
  static constexpr FeatureToggle toggle = {"IntfPolicingSnmp", toggleIntfPolicingSnmpEnabled};
};

struct IfPolicerInStatsTable : Base {
  static constexpr const char* name = "veloraIfPolicerInStatsTable";
  static constexpr U32 arc = 1;
  static const auto& table(const IfPolicerMib& mib) { return mib.ifPolicerInStatsTable(); }
  static constexpr std::tuple indexes = {ifIndexComponent("veloraIfPolicerInStatsIfIndex")};
  static constexpr auto columns = statsColumns(
      {"veloraIfPolicerInStatsProfile", "veloraIfPolicerInStatsGroupPolicer",
       "veloraIfPolicerInStatsPktsDropped", "veloraIfPolicerInStatsPktsSent",
       "veloraIfPolicerInStatsBytesDropped", "veloraIfPolicerInStatsBytesSent",
       "veloraIfPolicerInStatsYellowPktsSent", "veloraIfPolicerInStatsYellowBytesSent"});
};

struct IfPolicerOutStatsTable : Base {
  static constexpr const char* name = "veloraIfPolicerOutStatsTable";
  static constexpr U32 arc = 2;
  static const auto& table(const IfPolicerMib& mib) { return mib.ifPolicerOutStatsTable(); }
  static constexpr std::tuple indexes = {ifIndexComponent("veloraIfPolicerOutStatsIfIndex")};
  static constexpr auto columns = statsColumns(
      {"veloraIfPolicerOutStatsProfile", "veloraIfPolicerOutStatsGroupPolicer",
       "veloraIfPolicerOutStatsPktsDropped", "veloraIfPolicerOutStatsPktsSent",
       "veloraIfPolicerOutStatsBytesDropped", "veloraIfPolicerOutStatsBytesSent",
       "veloraIfPolicerOutStatsYellowPktsSent", "veloraIfPolicerOutStatsYellowBytesSent"});
};

}  // namespace QosSnmp::IfPolicerMibTables
