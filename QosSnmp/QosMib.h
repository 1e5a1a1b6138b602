// QosSnmp::QosMib: the model behind the QoS MIB module, mounted at "snmp/qos/root".
//
// Holds each QoS MIB table as a MibTable (an ordered map from index record to row, with the
// shared mutator semantics); the SNMP layer walks them in key order and asks the rows for
// column values. The tables are written from outside
// the plug-in (the QoS agent's writer) through the mutators; the plug-in only reads them.
// cmapByStaticType maps the built-in control-plane class maps by purpose.
// Not thread-safe: the writer and the SNMP layer run on the agent's one thread.
#pragma once

#include "Mox/AllocationTracker.h"
#include "Mox/Entity.h"
#include "Mox/HashMap.h"
#include "Qos/ClassMapStatus.h"
#include "QosSnmp/ClassMapEntries.h"
#include "QosSnmp/EcnEntries.h"
#include "QosSnmp/MibTable.h"
#include "QosSnmp/PolicyMapEntries.h"
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

  static constexpr const char* typeName = "QosSnmp::QosMib";

  explicit QosMib(Quill::String name) : Mox::Entity(std::move(name)) {}
  static Mox::AllocationTracker memAllocationTracker_;

  // Each table: the ordered rows, lookup, the mutators, and the table itself for generic code.
  const MibTable<ClassMapTableEntry>::Map& classMapTable() const noexcept {
    return classMapTable_.map();
  }
  Quill::Ptr<ClassMapTableEntry> classMapTable(const ClassMapTableIndex& index) const {
    return classMapTable_.find(index);
  }
  Quill::Ptr<ClassMapTableEntry> classMapTableIs(const ClassMapTableIndex& index,
                                                 Quill::Ptr<Qos::ClassMapStatus const> classMap) {
    return classMapTable_.is(index, std::move(classMap));
  }
  Quill::Ptr<ClassMapTableEntry> classMapTableDel(const ClassMapTableIndex& index) {
    return classMapTable_.del(index);
  }
  Quill::Ptr<ClassMapTableEntry> classMapTableDel(MibTable<ClassMapTableEntry>::const_iterator it) {
    return classMapTable_.del(it);
  }
  void classMapTableDelAll() { classMapTable_.delAll(); }
  MibTable<ClassMapTableEntry>& classMapTableColl() noexcept { return classMapTable_; }
  const MibTable<ClassMapTableEntry>& classMapTableColl() const noexcept { return classMapTable_; }

  const MibTable<ClassMapMatchTableEntry>::Map& classMapMatchTable() const noexcept {
    return classMapMatchTable_.map();
  }
  Quill::Ptr<ClassMapMatchTableEntry> classMapMatchTable(
      const ClassMapMatchTableIndex& index) const {
    return classMapMatchTable_.find(index);
  }
  Quill::Ptr<ClassMapMatchTableEntry> classMapMatchTableIs(
      const ClassMapMatchTableIndex& index, Quill::Ptr<Qos::ClassMapStatus const> classMap,
      Quill::Ptr<Qos::ClassMapMatch const> classMapMatch) {
    return classMapMatchTable_.is(index, std::move(classMap), std::move(classMapMatch));
  }
  Quill::Ptr<ClassMapMatchTableEntry> classMapMatchTableDel(const ClassMapMatchTableIndex& index) {
    return classMapMatchTable_.del(index);
  }
  Quill::Ptr<ClassMapMatchTableEntry> classMapMatchTableDel(
      MibTable<ClassMapMatchTableEntry>::const_iterator it) {
    return classMapMatchTable_.del(it);
  }
  void classMapMatchTableDelAll() { classMapMatchTable_.delAll(); }
  MibTable<ClassMapMatchTableEntry>& classMapMatchTableColl() noexcept {
    return classMapMatchTable_;
  }
  const MibTable<ClassMapMatchTableEntry>& classMapMatchTableColl() const noexcept {
    return classMapMatchTable_;
  }

  const MibTable<PolicyMapTableEntry>::Map& policyMapTable() const noexcept {
    return policyMapTable_.map();
  }
  Quill::Ptr<PolicyMapTableEntry> policyMapTable(const PolicyMapTableIndex& index) const {
    return policyMapTable_.find(index);
  }
  Quill::Ptr<PolicyMapTableEntry> policyMapTableIs(
      const PolicyMapTableIndex& index, Quill::Ptr<Qos::PolicyMapStatus const> policyMap) {
    return policyMapTable_.is(index, std::move(policyMap));
  }
  Quill::Ptr<PolicyMapTableEntry> policyMapTableDel(const PolicyMapTableIndex& index) {
    return policyMapTable_.del(index);
  }
  Quill::Ptr<PolicyMapTableEntry> policyMapTableDel(
      MibTable<PolicyMapTableEntry>::const_iterator it) {
    return policyMapTable_.del(it);
  }
  void policyMapTableDelAll() { policyMapTable_.delAll(); }
  MibTable<PolicyMapTableEntry>& policyMapTableColl() noexcept { return policyMapTable_; }
  const MibTable<PolicyMapTableEntry>& policyMapTableColl() const noexcept {
    return policyMapTable_;
  }

  const MibTable<PolicyMapClassTableEntry>::Map& policyMapClassTable() const noexcept {
    return policyMapClassTable_.map();
  }
  Quill::Ptr<PolicyMapClassTableEntry> policyMapClassTable(
      const PolicyMapClassTableIndex& index) const {
    return policyMapClassTable_.find(index);
  }
  Quill::Ptr<PolicyMapClassTableEntry> policyMapClassTableIs(
      const PolicyMapClassTableIndex& index, Quill::Ptr<Qos::PolicyMapStatus const> policyMap,
      Snmp::String classMapName) {
    return policyMapClassTable_.is(index, std::move(policyMap), std::move(classMapName));
  }
  Quill::Ptr<PolicyMapClassTableEntry> policyMapClassTableDel(
      const PolicyMapClassTableIndex& index) {
    return policyMapClassTable_.del(index);
  }
  Quill::Ptr<PolicyMapClassTableEntry> policyMapClassTableDel(
      MibTable<PolicyMapClassTableEntry>::const_iterator it) {
    return policyMapClassTable_.del(it);
  }
  void policyMapClassTableDelAll() { policyMapClassTable_.delAll(); }
  MibTable<PolicyMapClassTableEntry>& policyMapClassTableColl() noexcept {
    return policyMapClassTable_;
  }
  const MibTable<PolicyMapClassTableEntry>& policyMapClassTableColl() const noexcept {
    return policyMapClassTable_;
  }

  const MibTable<PolicyMapActionTableEntry>::Map& policyMapActionTable() const noexcept {
    return policyMapActionTable_.map();
  }
  Quill::Ptr<PolicyMapActionTableEntry> policyMapActionTable(
      const PolicyMapActionTableIndex& index) const {
    return policyMapActionTable_.find(index);
  }
  Quill::Ptr<PolicyMapActionTableEntry> policyMapActionTableIs(
      const PolicyMapActionTableIndex& index, Quill::Ptr<Qos::ClassAction const> classAction,
      Quill::Ptr<Qos::Action const> action,
      Quill::Ptr<Qos::ClassMapHwStatus const> classMapHwStatus,
      Quill::Ptr<Qos::HwStatus const> qosHwStatus) {
    return policyMapActionTable_.is(index, std::move(classAction), std::move(action),
                                    std::move(classMapHwStatus), std::move(qosHwStatus));
  }
  Quill::Ptr<PolicyMapActionTableEntry> policyMapActionTableDel(
      const PolicyMapActionTableIndex& index) {
    return policyMapActionTable_.del(index);
  }
  Quill::Ptr<PolicyMapActionTableEntry> policyMapActionTableDel(
      MibTable<PolicyMapActionTableEntry>::const_iterator it) {
    return policyMapActionTable_.del(it);
  }
  void policyMapActionTableDelAll() { policyMapActionTable_.delAll(); }
  MibTable<PolicyMapActionTableEntry>& policyMapActionTableColl() noexcept {
    return policyMapActionTable_;
  }
  const MibTable<PolicyMapActionTableEntry>& policyMapActionTableColl() const noexcept {
    return policyMapActionTable_;
  }

  const MibTable<ServicePolicyTableEntry>::Map& servicePolicyTable() const noexcept {
    return servicePolicyTable_.map();
  }
  Quill::Ptr<ServicePolicyTableEntry> servicePolicyTable(
      const ServicePolicyTableIndex& index) const {
    return servicePolicyTable_.find(index);
  }
  Quill::Ptr<ServicePolicyTableEntry> servicePolicyTableIs(const ServicePolicyTableIndex& index,
                                                           Snmp::String policyMapId,
                                                           Qos::ServicePolicyKey servicePolicyKey) {
    return servicePolicyTable_.is(index, std::move(policyMapId), std::move(servicePolicyKey));
  }
  Quill::Ptr<ServicePolicyTableEntry> servicePolicyTableDel(const ServicePolicyTableIndex& index) {
    return servicePolicyTable_.del(index);
  }
  Quill::Ptr<ServicePolicyTableEntry> servicePolicyTableDel(
      MibTable<ServicePolicyTableEntry>::const_iterator it) {
    return servicePolicyTable_.del(it);
  }
  void servicePolicyTableDelAll() { servicePolicyTable_.delAll(); }
  MibTable<ServicePolicyTableEntry>& servicePolicyTableColl() noexcept {
    return servicePolicyTable_;
  }
  const MibTable<ServicePolicyTableEntry>& servicePolicyTableColl() const noexcept {
    return servicePolicyTable_;
  }

  const MibTable<QosStatsTableEntry>::Map& qosStatsTable() const noexcept {
    return qosStatsTable_.map();
  }
  Quill::Ptr<QosStatsTableEntry> qosStatsTable(const QosStatsTableIndex& index) const {
    return qosStatsTable_.find(index);
  }
  Quill::Ptr<QosStatsTableEntry> qosStatsTableIs(
      const QosStatsTableIndex& index, Quill::Ptr<Qos::ClassMapHwStatus const> classMapHwStatus,
      Quill::Ptr<Qos::Counter const> counters) {
    return qosStatsTable_.is(index, std::move(classMapHwStatus), std::move(counters));
  }
  Quill::Ptr<QosStatsTableEntry> qosStatsTableDel(const QosStatsTableIndex& index) {
    return qosStatsTable_.del(index);
  }
  Quill::Ptr<QosStatsTableEntry> qosStatsTableDel(MibTable<QosStatsTableEntry>::const_iterator it) {
    return qosStatsTable_.del(it);
  }
  void qosStatsTableDelAll() { qosStatsTable_.delAll(); }
  MibTable<QosStatsTableEntry>& qosStatsTableColl() noexcept { return qosStatsTable_; }
  const MibTable<QosStatsTableEntry>& qosStatsTableColl() const noexcept { return qosStatsTable_; }

  const MibTable<QosPerIntfStatsTableEntry>::Map& qosPerIntfStatsTable() const noexcept {
    return qosPerIntfStatsTable_.map();
  }
  Quill::Ptr<QosPerIntfStatsTableEntry> qosPerIntfStatsTable(
      const QosPerIntfStatsTableIndex& index) const {
    return qosPerIntfStatsTable_.find(index);
  }
  Quill::Ptr<QosPerIntfStatsTableEntry> qosPerIntfStatsTableIs(
      const QosPerIntfStatsTableIndex& index, Quill::Ptr<Qos::CounterIntf const> counterIntf) {
    return qosPerIntfStatsTable_.is(index, std::move(counterIntf));
  }
  Quill::Ptr<QosPerIntfStatsTableEntry> qosPerIntfStatsTableDel(
      const QosPerIntfStatsTableIndex& index) {
    return qosPerIntfStatsTable_.del(index);
  }
  Quill::Ptr<QosPerIntfStatsTableEntry> qosPerIntfStatsTableDel(
      MibTable<QosPerIntfStatsTableEntry>::const_iterator it) {
    return qosPerIntfStatsTable_.del(it);
  }
  void qosPerIntfStatsTableDelAll() { qosPerIntfStatsTable_.delAll(); }
  MibTable<QosPerIntfStatsTableEntry>& qosPerIntfStatsTableColl() noexcept {
    return qosPerIntfStatsTable_;
  }
  const MibTable<QosPerIntfStatsTableEntry>& qosPerIntfStatsTableColl() const noexcept {
    return qosPerIntfStatsTable_;
  }

  const MibTable<QosPolicerStatsTableEntry>::Map& qosPolicerStatsTable() const noexcept {
    return qosPolicerStatsTable_.map();
  }
  Quill::Ptr<QosPolicerStatsTableEntry> qosPolicerStatsTable(
      const QosPolicerStatsTableIndex& index) const {
    return qosPolicerStatsTable_.find(index);
  }
  Quill::Ptr<QosPolicerStatsTableEntry> qosPolicerStatsTableIs(
      const QosPolicerStatsTableIndex& index,
      Quill::Ptr<Qos::PolicerCounter const> policerCounter) {
    return qosPolicerStatsTable_.is(index, std::move(policerCounter));
  }
  Quill::Ptr<QosPolicerStatsTableEntry> qosPolicerStatsTableDel(
      const QosPolicerStatsTableIndex& index) {
    return qosPolicerStatsTable_.del(index);
  }
  Quill::Ptr<QosPolicerStatsTableEntry> qosPolicerStatsTableDel(
      MibTable<QosPolicerStatsTableEntry>::const_iterator it) {
    return qosPolicerStatsTable_.del(it);
  }
  void qosPolicerStatsTableDelAll() { qosPolicerStatsTable_.delAll(); }
  MibTable<QosPolicerStatsTableEntry>& qosPolicerStatsTableColl() noexcept {
    return qosPolicerStatsTable_;
  }
  const MibTable<QosPolicerStatsTableEntry>& qosPolicerStatsTableColl() const noexcept {
    return qosPolicerStatsTable_;
  }

  // Keyed by the counter's descriptor.
  const MibTable<EcnCounterTableEntry>::Map& ecnCounterTable() const noexcept {
    return ecnCounterTable_.map();
  }
  Quill::Ptr<EcnCounterTableEntry> ecnCounterTable(const Snmp::String& index) const {
    return ecnCounterTable_.find(index);
  }
  Quill::Ptr<EcnCounterTableEntry> ecnCounterTableIs(const Snmp::String& index,
                                                     Quill::Ptr<Qos::ChipCounter const> chipCounter,
                                                     U32 veloraEcnCounterEntity) {
    return ecnCounterTable_.is(index, std::move(chipCounter), veloraEcnCounterEntity);
  }
  Quill::Ptr<EcnCounterTableEntry> ecnCounterTableDel(const Snmp::String& index) {
    return ecnCounterTable_.del(index);
  }
  Quill::Ptr<EcnCounterTableEntry> ecnCounterTableDel(
      MibTable<EcnCounterTableEntry>::const_iterator it) {
    return ecnCounterTable_.del(it);
  }
  void ecnCounterTableDelAll() { ecnCounterTable_.delAll(); }
  MibTable<EcnCounterTableEntry>& ecnCounterTableColl() noexcept { return ecnCounterTable_; }
  const MibTable<EcnCounterTableEntry>& ecnCounterTableColl() const noexcept {
    return ecnCounterTable_;
  }

  const MibTable<EcnQueueCounterTableEntry>::Map& ecnQueueCounterTable() const noexcept {
    return ecnQueueCounterTable_.map();
  }
  Quill::Ptr<EcnQueueCounterTableEntry> ecnQueueCounterTable(
      const EcnQueueCounterTableIndex& index) const {
    return ecnQueueCounterTable_.find(index);
  }
  Quill::Ptr<EcnQueueCounterTableEntry> ecnQueueCounterTableIs(
      const EcnQueueCounterTableIndex& index, Linko::IntfId intfId,
      Quill::Ptr<Qos::SliceHwStatus const> sliceHwStatus,
      Quill::Ptr<Qos::EcnCounterTable const> ecnCounterTable, bool useEcnCountersShoal,
      bool ecnQLocallyMarkedSupported) {
    return ecnQueueCounterTable_.is(index, intfId, std::move(sliceHwStatus),
                                    std::move(ecnCounterTable), useEcnCountersShoal,
                                    ecnQLocallyMarkedSupported);
  }
  Quill::Ptr<EcnQueueCounterTableEntry> ecnQueueCounterTableDel(
      const EcnQueueCounterTableIndex& index) {
    return ecnQueueCounterTable_.del(index);
  }
  Quill::Ptr<EcnQueueCounterTableEntry> ecnQueueCounterTableDel(
      MibTable<EcnQueueCounterTableEntry>::const_iterator it) {
    return ecnQueueCounterTable_.del(it);
  }
  void ecnQueueCounterTableDelAll() { ecnQueueCounterTable_.delAll(); }
  MibTable<EcnQueueCounterTableEntry>& ecnQueueCounterTableColl() noexcept {
    return ecnQueueCounterTable_;
  }
  const MibTable<EcnQueueCounterTableEntry>& ecnQueueCounterTableColl() const noexcept {
    return ecnQueueCounterTable_;
  }

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
  MibTable<ClassMapTableEntry> classMapTable_{*this, typeName, "classMapTable", classMapTableAttr};
  MibTable<ClassMapMatchTableEntry> classMapMatchTable_{*this, typeName, "classMapMatchTable",
                                                        classMapMatchTableAttr};
  MibTable<PolicyMapTableEntry> policyMapTable_{*this, typeName, "policyMapTable",
                                                policyMapTableAttr};
  MibTable<PolicyMapClassTableEntry> policyMapClassTable_{*this, typeName, "policyMapClassTable",
                                                          policyMapClassTableAttr};
  MibTable<PolicyMapActionTableEntry> policyMapActionTable_{*this, typeName, "policyMapActionTable",
                                                            policyMapActionTableAttr};
  MibTable<ServicePolicyTableEntry> servicePolicyTable_{*this, typeName, "servicePolicyTable",
                                                        servicePolicyTableAttr};
  MibTable<QosStatsTableEntry> qosStatsTable_{*this, typeName, "qosStatsTable", qosStatsTableAttr};
  MibTable<QosPerIntfStatsTableEntry> qosPerIntfStatsTable_{*this, typeName, "qosPerIntfStatsTable",
                                                            qosPerIntfStatsTableAttr};
  MibTable<QosPolicerStatsTableEntry> qosPolicerStatsTable_{*this, typeName, "qosPolicerStatsTable",
                                                            qosPolicerStatsTableAttr};
  MibTable<EcnCounterTableEntry> ecnCounterTable_{*this, typeName, "ecnCounterTable",
                                                  ecnCounterTableAttr};
  MibTable<EcnQueueCounterTableEntry> ecnQueueCounterTable_{*this, typeName, "ecnQueueCounterTable",
                                                            ecnQueueCounterTableAttr};
  CmapByStaticType cmapByStaticType_;
};

Quill::Ptr<QosMib> qosMibFactory(Quill::String name);
Quill::Ptr<QosMib> QosMibIs(Quill::String name);

}  // namespace QosSnmp
