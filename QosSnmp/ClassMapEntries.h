// Rows of the class map table.
#pragma once

#include "Qos/ClassMapStatus.h"
#include "QosMibIndexes.h"
#include "TableEntry.h"

namespace QosSnmp {

// One class map. Without a status object the name is empty and the match condition 0.
class ClassMapTableEntry
    : public TableEntry<ClassMapTableEntry, ClassMapTableIndex, Quill::Ptr<Qos::ClassMapStatus const>> {
 public:
  using TableEntry::TableEntry;
  static Mox::AllocationTracker memAllocationTracker_;

  const Quill::Ptr<Qos::ClassMapStatus const>& classMap() const noexcept { return arg<0>(); }
  const Snmp::String& classMapId() const noexcept { return index().classMapId; }
  Qos::MapType classMapType() const noexcept { return index().classMapType; }
  Mox::String classMapName() const;
  Qos::ClassMapMatchCondition classMapMatchCondition() const;
};

}  // namespace QosSnmp
