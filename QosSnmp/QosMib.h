// QosSnmp::QosMib: the model behind the QoS MIB module, mounted at "snmp/qos/root".
//
// Holds each QoS MIB table as an ordered map from index record to row; the SNMP layer walks
// them in key order and asks the rows for column values. The tables are written from outside
// the plug-in (the QoS agent's writer) through the mutators; the plug-in only reads them.
// cmapByStaticType maps the built-in control-plane class maps by purpose.
// Not thread-safe: the writer and the SNMP layer run on the agent's one thread.
#pragma once

#include "QosSnmp/ClassMapEntries.h"
#include "QosSnmp/EcnEntries.h"
#include "QosSnmp/MibTable.h"
#include "Mox/AllocationTracker.h"
#include "Mox/Entity.h"
#include "Mox/HashMap.h"
#include "QosSnmp/PolicyMapEntries.h"
#include "Qos/ClassMapStatus.h"
#include "QosSnmp/StatsEntries.h"

namespace QosSnmp {

class QosMib : public Mox::Entity, private Mox::Tracked<QosMib> {
 public:
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

  explicit QosMib(Quill::String name) : Mox::Entity(std::move(name)) {}
  ~QosMib() override;
  static Mox::AllocationTracker memAllocationTracker_;

  QOSSNMP_MIB_TABLE(classMapTable, ClassMapTableEntry, classMapTableAttr)
  QOSSNMP_MIB_TABLE(classMapMatchTable, ClassMapMatchTableEntry, classMapMatchTableAttr)
  QOSSNMP_MIB_TABLE(policyMapTable, PolicyMapTableEntry, policyMapTableAttr)
  QOSSNMP_MIB_TABLE(policyMapClassTable, PolicyMapClassTableEntry, policyMapClassTableAttr)
  QOSSNMP_MIB_TABLE(policyMapActionTable, PolicyMapActionTableEntry, policyMapActionTableAttr)
  QOSSNMP_MIB_TABLE(servicePolicyTable, ServicePolicyTableEntry, servicePolicyTableAttr)
  QOSSNMP_MIB_TABLE(qosStatsTable, QosStatsTableEntry, qosStatsTableAttr)
  QOSSNMP_MIB_TABLE(qosPerIntfStatsTable, QosPerIntfStatsTableEntry, qosPerIntfStatsTableAttr)
  QOSSNMP_MIB_TABLE(qosPolicerStatsTable, QosPolicerStatsTableEntry, qosPolicerStatsTableAttr)
  // Keyed by the counter's descriptor.
  QOSSNMP_MIB_TABLE(ecnCounterTable, EcnCounterTableEntry, ecnCounterTableAttr)
  QOSSNMP_MIB_TABLE(ecnQueueCounterTable, EcnQueueCounterTableEntry, ecnQueueCounterTableAttr)

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

Quill::Ptr<QosMib> qosMibFactory(Quill::String name);
Quill::Ptr<QosMib> QosMibIs(Quill::String name);

}  // namespace QosSnmp
