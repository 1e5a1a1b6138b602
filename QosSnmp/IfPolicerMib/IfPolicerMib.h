// QosSnmp::IfPolicerMib: the model behind the interface policer MIB module, mounted at its
// mountPath.
//
// Holds the ingress and egress policer statistics tables, each a MibTable of
// IfPolicerStatsTableEntry keyed by the interface's ifIndex (ascending, the SNMP walk order).
// The rows are written only by the interface statistics state machines, through the tables'
// mutators (MibTable.h), and read by the SNMP layer. Re-creating a row with another collection or
// hardware status raises Mox::MutatorReinstantiationException; delete it first. Every inserted or
// deleted row is published once, after the change (MibTable). Not thread-safe: the agent's
// thread.
#pragma once

#include "Mox/AllocationTracker.h"
#include "Mox/Entity.h"
#include "QosSnmp/IfPolicerMib/IfPolicerEntries.h"
#include "QosSnmp/SnmpTables/MibTable.h"

namespace QosSnmp {

class IfPolicerMib : public Mox::Entity, private Mox::Tracked<IfPolicerMib> {
  QOSSNMP_MIB_ENTITY(IfPolicerMib, "snmp/qos/ifPolicerMib");

  // Attribute ids, in declared order.
  enum Attr : U32 { ifPolicerInStatsTableAttr = 1, ifPolicerOutStatsTableAttr };

  // Ingress policer statistics by ifIndex.
  QOSSNMP_MIB_TABLE(ifPolicerInStatsTable, IfPolicerStatsTableEntry);
  // Egress policer statistics by ifIndex.
  QOSSNMP_MIB_TABLE(ifPolicerOutStatsTable, IfPolicerStatsTableEntry);
};

// A new, empty entity named `name` (also what the state database's directory mechanism uses).
inline constexpr Factory<IfPolicerMib> ifPolicerMibFactory;
inline constexpr Factory<IfPolicerMib> IfPolicerMibIs;

}  // namespace QosSnmp
