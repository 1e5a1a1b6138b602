// QosSnmp::QosMib: the model behind the QoS MIB module, mounted at its mountPath.
//
// Holds each QoS MIB table as a MibTable (an ordered map from index record to row, with the
// shared mutator semantics); the SNMP layer walks them in key order and asks the rows for
// column values. The tables are written from outside the plug-in (the QoS agent's writer)
// through the tables' mutators (MibTable.h); the plug-in only reads them.
// cmapByStaticType maps the built-in control-plane class maps by purpose.
// Not thread-safe: the writer and the SNMP layer run on the agent's one thread.
#pragma once

#include "Mox/AllocationTracker.h"
#include "Mox/Entity.h"
#include "Mox/HashMap.h"
#include "Qos/ClassMapStatus.h"
#include "QosSnmp/QosMib/ClassMapEntries.h"
#include "QosSnmp/QosMib/EcnEntries.h"
#include "QosSnmp/SnmpTables/MibTable.h"
#include "QosSnmp/QosMib/PolicyMapEntries.h"
#include "QosSnmp/QosMib/StatsEntries.h"

namespace QosSnmp {

class QosMib : public Mox::Entity, private Mox::Tracked<QosMib> {
  QOSSNMP_MIB_ENTITY(QosMib, "snmp/qos/root");

  // Attribute ids, in declared order.
  enum Attr : U32 {
    classMapTableAttr = 1,
    classMapMatchTableAttr,
    policyMapTableAttr,
    policyMapClassTableAttr,
    policyMapActionTableAttr,
    servicePolicyTableAttr,
    qosStatsTableAttr,
    qosPerIntfStatsTableAttr,
    qosPolicerStatsTableAttr,
    ecnCounterTableAttr,
    ecnQueueCounterTableAttr,
    cmapByStaticTypeAttr,
  };

  QOSSNMP_MIB_TABLE(classMapTable, ClassMapTableEntry);
  QOSSNMP_MIB_TABLE(classMapMatchTable, ClassMapMatchTableEntry);
  QOSSNMP_MIB_TABLE(policyMapTable, PolicyMapTableEntry);
  QOSSNMP_MIB_TABLE(policyMapClassTable, PolicyMapClassTableEntry);
  QOSSNMP_MIB_TABLE(policyMapActionTable, PolicyMapActionTableEntry);
  QOSSNMP_MIB_TABLE(servicePolicyTable, ServicePolicyTableEntry);
  QOSSNMP_MIB_TABLE(qosStatsTable, QosStatsTableEntry);
  QOSSNMP_MIB_TABLE(qosPerIntfStatsTable, QosPerIntfStatsTableEntry);
  QOSSNMP_MIB_TABLE(qosPolicerStatsTable, QosPolicerStatsTableEntry);
  QOSSNMP_MIB_TABLE(ecnCounterTable, EcnCounterTableEntry);
  QOSSNMP_MIB_TABLE(ecnQueueCounterTable, EcnQueueCounterTableEntry);

  using CmapByStaticType =
      Mox::HashMap2018<Qos::ClassMapCpStaticType, Quill::Ptr<Qos::ClassMapStatus const>>;
  const CmapByStaticType& cmapByStaticType() const noexcept { return cmapByStaticType_; }
  Quill::Ptr<Qos::ClassMapStatus const> cmapByStaticType(Qos::ClassMapCpStaticType type) const;
  // Sets, replaces or (with a null status) deletes the member for `type`.
  void cmapByStaticTypeIs(Qos::ClassMapCpStaticType type,
                          Quill::Ptr<Qos::ClassMapStatus const> status);
  void cmapByStaticTypeDel(Qos::ClassMapCpStaticType type);
  void cmapByStaticTypeDelAll();

 private:
  CmapByStaticType cmapByStaticType_;
};

// A new, empty entity named `name` (also what the state database's directory mechanism uses).
inline constexpr Factory<QosMib> qosMibFactory;
inline constexpr Factory<QosMib> QosMibIs;

}  // namespace QosSnmp
