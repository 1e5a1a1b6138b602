// QosSnmp::IfPolicerMib: the model behind the interface policer MIB module, mounted at
// "snmp/qos/ifPolicerMib".
//
// Holds the ingress and egress policer statistics tables, each a MibTable of
// IfPolicerStatsTableEntry keyed by the interface's ifIndex (ascending, the SNMP walk order).
// The rows are written only by the interface statistics state machines, through the mutators
// below, and read by the SNMP layer. Re-creating a row with another collection or hardware
// status raises Mox::MutatorReinstantiationException; delete it first. Every inserted or
// deleted row is published once, after the change (MibTable). Not thread-safe: the agent's
// thread.
#pragma once

#include "Mox/AllocationTracker.h"
#include "Mox/Entity.h"
#include "QosSnmp/IfPolicerEntries.h"
#include "QosSnmp/MibTable.h"

namespace QosSnmp {

class IfPolicerMib : public Mox::Entity, private Mox::Tracked<IfPolicerMib> {
 public:
  // Attribute ids, in declared order.
  enum Attr : U32 {
    ifPolicerInStatsTableAttr = 1,
    ifPolicerOutStatsTableAttr,
  };
  static constexpr const char* typeName = "QosSnmp::IfPolicerMib";
  static Mox::AllocationTracker memAllocationTracker_;
  using Table = MibTable<IfPolicerStatsTableEntry>;

  explicit IfPolicerMib(Quill::String name) : Mox::Entity(std::move(name)) {}

  // --- ifPolicerInStatsTable: ingress policer statistics by ifIndex ---
  const Table::Map& ifPolicerInStatsTable() const noexcept { return ifPolicerInStatsTable_.map(); }
  // The row or null.
  Quill::Ptr<IfPolicerStatsTableEntry> ifPolicerInStatsTable(U32 ifIndex) const {
    return ifPolicerInStatsTable_.find(ifIndex);
  }
  // The row for `ifIndex` (created, or the existing one made from the same objects).
  Quill::Ptr<IfPolicerStatsTableEntry> ifPolicerInStatsTableIs(
      U32 ifIndex, Quill::Ptr<IntfPolicerInfoStatusColl> coll,
      Quill::Ptr<Qos::AclHwStatus const> aclHwStatus) {
    return ifPolicerInStatsTable_.is(ifIndex, std::move(coll), std::move(aclHwStatus));
  }
  // Removes and returns the row; null when absent.
  Quill::Ptr<IfPolicerStatsTableEntry> ifPolicerInStatsTableDel(U32 ifIndex) {
    return ifPolicerInStatsTable_.del(ifIndex);
  }
  Quill::Ptr<IfPolicerStatsTableEntry> ifPolicerInStatsTableDel(Table::const_iterator it) {
    return ifPolicerInStatsTable_.del(it);
  }
  void ifPolicerInStatsTableDelAll() { ifPolicerInStatsTable_.delAll(); }
  Table& ifPolicerInStatsTableColl() noexcept { return ifPolicerInStatsTable_; }
  const Table& ifPolicerInStatsTableColl() const noexcept { return ifPolicerInStatsTable_; }

  // --- ifPolicerOutStatsTable: egress policer statistics by ifIndex ---
  const Table::Map& ifPolicerOutStatsTable() const noexcept {
    return ifPolicerOutStatsTable_.map();
  }
  Quill::Ptr<IfPolicerStatsTableEntry> ifPolicerOutStatsTable(U32 ifIndex) const {
    return ifPolicerOutStatsTable_.find(ifIndex);
  }
  Quill::Ptr<IfPolicerStatsTableEntry> ifPolicerOutStatsTableIs(
      U32 ifIndex, Quill::Ptr<IntfPolicerInfoStatusColl> coll,
      Quill::Ptr<Qos::AclHwStatus const> aclHwStatus) {
    return ifPolicerOutStatsTable_.is(ifIndex, std::move(coll), std::move(aclHwStatus));
  }
  Quill::Ptr<IfPolicerStatsTableEntry> ifPolicerOutStatsTableDel(U32 ifIndex) {
    return ifPolicerOutStatsTable_.del(ifIndex);
  }
  Quill::Ptr<IfPolicerStatsTableEntry> ifPolicerOutStatsTableDel(Table::const_iterator it) {
    return ifPolicerOutStatsTable_.del(it);
  }
  void ifPolicerOutStatsTableDelAll() { ifPolicerOutStatsTable_.delAll(); }
  Table& ifPolicerOutStatsTableColl() noexcept { return ifPolicerOutStatsTable_; }
  const Table& ifPolicerOutStatsTableColl() const noexcept { return ifPolicerOutStatsTable_; }

 private:
  Table ifPolicerInStatsTable_{*this, typeName, "ifPolicerInStatsTable", ifPolicerInStatsTableAttr};
  Table ifPolicerOutStatsTable_{*this, typeName, "ifPolicerOutStatsTable",
                                ifPolicerOutStatsTableAttr};
};

// A new, empty entity named `name` (also what the state database's directory mechanism uses).
Quill::Ptr<IfPolicerMib> ifPolicerMibFactory(Quill::String name);
Quill::Ptr<IfPolicerMib> IfPolicerMibIs(Quill::String name);

}  // namespace QosSnmp
