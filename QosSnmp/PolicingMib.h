// QosSnmp::PolicingMib: the model behind the policing MIB module, mounted at
// "snmp/qos/policingMib".
//
// Holds the policing profile table and the policer instance table, each a MibTable ordered by
// name (the SNMP walk order). The rows are written only by the policing state machines, through
// the mutators below, and read by the SNMP layer. A row holds counted references to the QoS
// agent's status objects and computes its columns from them when read. Re-creating a row with
// another status object raises Mox::MutatorReinstantiationException; delete it first. Every
// inserted or deleted row is published once, after the change (MibTable). Not thread-safe:
// the agent's thread.
#pragma once

#include "Mox/AllocationTracker.h"
#include "Mox/Entity.h"
#include "QosSnmp/MibTable.h"
#include "QosSnmp/PolicingEntries.h"

namespace QosSnmp {

class PolicingMib : public Mox::Entity, private Mox::Tracked<PolicingMib> {
 public:
  // Attribute ids, in declared order.
  enum Attr : U32 {
    policingProfileTableAttr = 1,
    policerInstanceTableAttr,
  };
  static constexpr const char* typeName = "QosSnmp::PolicingMib";
  static Mox::AllocationTracker memAllocationTracker_;

  explicit PolicingMib(Quill::String name) : Mox::Entity(std::move(name)) {}

  // --- policingProfileTable: one row per policing profile ---
  const MibTable<PolicingProfileTableEntry>::Map& policingProfileTable() const noexcept {
    return policingProfileTable_.map();
  }
  // The row or null.
  Quill::Ptr<PolicingProfileTableEntry> policingProfileTable(
      const PolicingProfileTableIndex& index) const {
    return policingProfileTable_.find(index);
  }
  // The row for `index` (created, or the existing one made from the same profile).
  Quill::Ptr<PolicingProfileTableEntry> policingProfileTableIs(
      const PolicingProfileTableIndex& index,
      Quill::Ptr<InterfacePolicing::PolicerProfile const> policerProfile) {
    return policingProfileTable_.is(index, std::move(policerProfile));
  }
  // Removes and returns the row; null when absent.
  Quill::Ptr<PolicingProfileTableEntry> policingProfileTableDel(
      const PolicingProfileTableIndex& index) {
    return policingProfileTable_.del(index);
  }
  Quill::Ptr<PolicingProfileTableEntry> policingProfileTableDel(
      MibTable<PolicingProfileTableEntry>::const_iterator it) {
    return policingProfileTable_.del(it);
  }
  void policingProfileTableDelAll() { policingProfileTable_.delAll(); }
  MibTable<PolicingProfileTableEntry>& policingProfileTableColl() noexcept {
    return policingProfileTable_;
  }
  const MibTable<PolicingProfileTableEntry>& policingProfileTableColl() const noexcept {
    return policingProfileTable_;
  }

  // --- policerInstanceTable: one row per named policer instance ---
  const MibTable<PolicerInstanceTableEntry>::Map& policerInstanceTable() const noexcept {
    return policerInstanceTable_.map();
  }
  Quill::Ptr<PolicerInstanceTableEntry> policerInstanceTable(
      const PolicerInstanceTableIndex& index) const {
    return policerInstanceTable_.find(index);
  }
  Quill::Ptr<PolicerInstanceTableEntry> policerInstanceTableIs(
      const PolicerInstanceTableIndex& index,
      Quill::Ptr<InterfacePolicing::PolicerInstance const> policerInstance) {
    return policerInstanceTable_.is(index, std::move(policerInstance));
  }
  Quill::Ptr<PolicerInstanceTableEntry> policerInstanceTableDel(
      const PolicerInstanceTableIndex& index) {
    return policerInstanceTable_.del(index);
  }
  Quill::Ptr<PolicerInstanceTableEntry> policerInstanceTableDel(
      MibTable<PolicerInstanceTableEntry>::const_iterator it) {
    return policerInstanceTable_.del(it);
  }
  void policerInstanceTableDelAll() { policerInstanceTable_.delAll(); }
  MibTable<PolicerInstanceTableEntry>& policerInstanceTableColl() noexcept {
    return policerInstanceTable_;
  }
  const MibTable<PolicerInstanceTableEntry>& policerInstanceTableColl() const noexcept {
    return policerInstanceTable_;
  }

 private:
  MibTable<PolicingProfileTableEntry> policingProfileTable_{*this, typeName, "policingProfileTable",
                                                            policingProfileTableAttr};
  MibTable<PolicerInstanceTableEntry> policerInstanceTable_{*this, typeName, "policerInstanceTable",
                                                            policerInstanceTableAttr};
};

// A new, empty entity named `name` (also what the state database's directory mechanism uses).
Quill::Ptr<PolicingMib> policingMibFactory(Quill::String name);
Quill::Ptr<PolicingMib> PolicingMibIs(Quill::String name);

}  // namespace QosSnmp
