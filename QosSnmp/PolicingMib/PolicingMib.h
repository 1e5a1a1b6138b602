// QosSnmp::PolicingMib: the model behind the policing MIB module, mounted at its mountPath.
//
// Holds the policing profile table and the policer instance table, each a MibTable ordered by
// name (the SNMP walk order). The rows are written only by the policing state machines, through
// the tables' mutators (MibTable.h), and read by the SNMP layer. A row holds counted references to
// the QoS agent's status objects and computes its columns from them when read. Re-creating a row
// with another status object raises Mox::MutatorReinstantiationException; delete it first. Every
// inserted or deleted row is published once, after the change (MibTable). Not thread-safe:
// the agent's thread.
#pragma once

#include "Mox/AllocationTracker.h"
#include "Mox/Entity.h"
#include "QosSnmp/SnmpTables/MibTable.h"
#include "QosSnmp/PolicingMib/PolicingEntries.h"

namespace QosSnmp {

class PolicingMib : public Mox::Entity, private Mox::Tracked<PolicingMib> {
  QOSSNMP_MIB_ENTITY(PolicingMib, "snmp/qos/policingMib");

  // Attribute ids, in declared order.
  enum Attr : U32 { policingProfileTableAttr = 1, policerInstanceTableAttr };

  // One row per policing profile.
  QOSSNMP_MIB_TABLE(policingProfileTable, PolicingProfileTableEntry);
  // One row per named policer instance.
  QOSSNMP_MIB_TABLE(policerInstanceTable, PolicerInstanceTableEntry);
};

// A new, empty entity named `name` (also what the state database's directory mechanism uses).
inline constexpr Factory<PolicingMib> policingMibFactory;
inline constexpr Factory<PolicingMib> PolicingMibIs;

}  // namespace QosSnmp
