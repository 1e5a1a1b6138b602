// Rows of the class map and class map match tables, and the texts a match is rendered with.
#pragma once

#include "Acl/Ecn.h"
#include "Qos/ClassMapMatch.h"
#include "Qos/ClassMapStatus.h"
#include "QosSnmp/QosMib/QosMibIndexes.h"
#include "Quill/String.h"
#include "QosSnmp/SnmpTables/TableEntry.h"

namespace QosSnmp {

// The standard name of a DSCP code point ("EF", "AF41", "CS0", ...).
// REQUIRES: dscp is one of the named code points (asserts "0" otherwise).
Mox::String getDscpNameFromValue(U8 dscp);
// The text of an ECN match value ("CE", "Not-ECT", ...); "" above the known values.
// REQUIRES: ecn is set (asserts "0" for Acl::Ecn 0).
Mox::String ecnValueString(Acl::Ecn ecn);

// One class map. Without a status object the name is empty and the match condition 0.
class ClassMapTableEntry : public TableEntry<ClassMapTableEntry, ClassMapTableIndex,
                                             Quill::Ptr<Qos::ClassMapStatus const>> {
 public:
  using TableEntry::TableEntry;
  static constexpr std::array argNames{"classMap"};
  static Mox::AllocationTracker memAllocationTracker_;

  const Quill::Ptr<Qos::ClassMapStatus const>& classMap() const noexcept { return arg<0>(); }
  const Snmp::String& classMapId() const noexcept { return index().classMapId; }
  Qos::MapType classMapType() const noexcept { return index().classMapType; }
  Mox::String classMapName() const;
  Qos::ClassMapMatchCondition classMapMatchCondition() const;
};

// One match rule of a class map. Without a match object the type is 1 and the name empty.
class ClassMapMatchTableEntry : public TableEntry<ClassMapMatchTableEntry, ClassMapMatchTableIndex,
                                                  Quill::Ptr<Qos::ClassMapStatus const>,
                                                  Quill::Ptr<Qos::ClassMapMatch const>> {
 public:
  using TableEntry::TableEntry;
  static constexpr std::array argNames{"classMap", "classMapMatch"};
  static Mox::AllocationTracker memAllocationTracker_;

  const Quill::Ptr<Qos::ClassMapStatus const>& classMap() const noexcept { return arg<0>(); }
  const Quill::Ptr<Qos::ClassMapMatch const>& classMapMatch() const noexcept { return arg<1>(); }
  const Snmp::String& classMapId() const noexcept { return index().classMapId; }
  Qos::MapType classMapType() const noexcept { return index().classMapType; }
  U32 classMapMatchIndex() const noexcept { return index().classMapMatchIndex; }
  U32 classMapMatchType() const;
  // The rule as text: its name, or for VLAN and DSCP/ECN rules the values it matches
  // ("100 0xfff", "1-5,7", "DSCP EF ECN CE", "ECN Not-ECT").
  Mox::String classMapMatchName() const;
};

}  // namespace QosSnmp
