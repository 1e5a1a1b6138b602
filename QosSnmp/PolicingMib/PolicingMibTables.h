// Descriptions of the policing MIB's tables (veloraPolicingMib, enterprises.E.3.42): OID arc,
// index, served columns and encodings. Both are gated by the toggle PolicingConfigSnmp and
// served from the PolicingMib entity by SnmpTable.
#pragma once

#include <array>
#include <tuple>

#include "QosSnmp/SnmpTables/Conversions.h"
#include "QosSnmp/SnmpTables/FeatureToggles.h"
#include "QosSnmp/PolicingMib/PolicingMib.h"
#include "QosSnmp/SnmpTables/SnmpTableDesc.h"

namespace QosSnmp::PolicingMibTables {

inline constexpr int nameMaxLen = 64;  // profile and policer names

struct Base {
  using Entity = PolicingMib;
  static constexpr FeatureToggle toggle = {"PolicingConfigSnmp", togglePolicingConfigSnmpEnabled};
};

struct PolicingProfileTable : Base {
  using Entry = PolicingProfileTableEntry;
  using I = PolicingProfileTableIndex;
  static constexpr const char* name = "veloraPolicingProfileTable";
  static constexpr U32 arc = 1;
  static const auto& table(const PolicingMib& mib) { return mib.policingProfileTable(); }
  static constexpr std::tuple indexes = {
      stringComponent<I, &I::profileName>("veloraPolicingProfileName", "profileName", nameMaxLen),
  };
  static constexpr std::array columns = {
      counterColumn<Entry, &Entry::cir>(2, "veloraPolicingProfileCir", "cir"),
      counterColumn<Entry, &Entry::bc>(3, "veloraPolicingProfileBc", "bc"),
      counterColumn<Entry, &Entry::pir>(4, "veloraPolicingProfilePir", "pir"),
      counterColumn<Entry, &Entry::be>(5, "veloraPolicingProfileBe", "be"),
      enumColumn<Entry, &Entry::cirUnit, RateUnitToAsnInteger>(6, "veloraPolicingProfileCirUnit",
                                                               "cirUnit", "RateUnitToAsnInteger"),
      enumColumn<Entry, &Entry::bcUnit, BurstUnitToAsnInteger>(7, "veloraPolicingProfileBcUnit",
                                                               "bcUnit", "BurstUnitToAsnInteger"),
      enumColumn<Entry, &Entry::pirUnit, RateUnitToAsnInteger>(8, "veloraPolicingProfilePirUnit",
                                                               "pirUnit", "RateUnitToAsnInteger"),
      enumColumn<Entry, &Entry::beUnit, BurstUnitToAsnInteger>(9, "veloraPolicingProfileBeUnit",
                                                               "beUnit", "BurstUnitToAsnInteger"),
  };
};

// An instance's profile name must not be empty: an instance row without one fails its GET.
struct PolicerInstanceTable : Base {
  using Entry = PolicerInstanceTableEntry;
  using I = PolicerInstanceTableIndex;
  static constexpr const char* name = "veloraPolicerInstanceTable";
  static constexpr U32 arc = 2;
  static const auto& table(const PolicingMib& mib) { return mib.policerInstanceTable(); }
  static constexpr std::tuple indexes = {
      stringComponent<I, &I::policerName>("veloraPolicerInstanceName", "policerName", nameMaxLen),
  };
  static constexpr std::array columns = {
      stringColumn<Entry, &Entry::profileName>(2, "veloraPolicerInstanceProfileName", "profileName",
                                               nameMaxLen, 1),
  };
};

}  // namespace QosSnmp::PolicingMibTables
