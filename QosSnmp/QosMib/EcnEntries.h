// Rows of the two ECN tables: named chip-level ECN counters, and per-interface, per-queue ECN
// counters.
#pragma once

#include "Linko/IntfId.h"
#include "Qos/EcnCounterTable.h"
#include "Qos/EcnStatus.h"
#include "QosSnmp/QosMib/QosMibIndexes.h"
#include "Snmp/String.h"
#include "QosSnmp/SnmpTables/TableEntry.h"

namespace QosSnmp {

// One named chip counter; the row's key is its descriptor. REQUIRES: the chip counter.
class EcnCounterTableEntry : public TableEntry<EcnCounterTableEntry, Snmp::String,
                                               Quill::Ptr<Qos::ChipCounter const>, U32> {
 public:
  using TableEntry::TableEntry;
  static constexpr std::array argNames{"chipCounter", "veloraEcnCounterEntity"};
  static Mox::AllocationTracker memAllocationTracker_;

  const Snmp::String& ecnCounterDescriptor() const noexcept { return index(); }
  const Quill::Ptr<Qos::ChipCounter const>& chipCounter() const noexcept { return arg<0>(); }
  // The entity code given at construction, passed through.
  U32 veloraEcnCounterEntity() const noexcept { return arg<1>(); }
  U64 ecnCounter() const { return chipCounter()->count(); }
};

// The ECN counters of one transmit queue (queueIndex) of one interface (ifIndex, standing for
// intfId).
//
// Whether counting is enabled comes from the interface's ECN counter status in its slice's
// hardware status (sliceHwStatus, required). The counts come from that status, or with
// useEcnCountersShoal from the shared-memory counter table (ecnCounterTable, then required);
// only the table has locally marked counts, and only with ecnQLocallyMarkedSupported. A damaged
// table record is reported to the table and read as zero.
//
// The queue is the low byte of queueIndex; a queue above Qos::TxQueueId::invalid makes the
// counter accessors raise Quill::RangeException (unless the interface has no status at all).
class EcnQueueCounterTableEntry
    : public TableEntry<EcnQueueCounterTableEntry, EcnQueueCounterTableIndex, Linko::IntfId,
                        Quill::Ptr<Qos::SliceHwStatus const>,
                        Quill::Ptr<Qos::EcnCounterTable const>, bool, bool> {
 public:
  using TableEntry::TableEntry;
  static constexpr std::array argNames{"intfId", "sliceHwStatus", "ecnCounterTable",
                                       "useEcnCountersShoal", "ecnQLocallyMarkedSupported"};
  static Mox::AllocationTracker memAllocationTracker_;

  U32 ifIndex() const noexcept { return index().ifIndex; }
  U32 queueIndex() const noexcept { return index().queueIndex; }
  Linko::IntfId intfId() const noexcept { return arg<0>(); }
  const Quill::Ptr<Qos::SliceHwStatus const>& sliceHwStatus() const noexcept { return arg<1>(); }
  const Quill::Ptr<Qos::EcnCounterTable const>& ecnCounterTable() const noexcept {
    return arg<2>();
  }
  bool useEcnCountersShoal() const noexcept { return arg<3>(); }
  bool ecnQLocallyMarkedSupported() const noexcept { return arg<4>(); }

  // The interface's ECN counter status, or null. REQUIRES: sliceHwStatus (asserted).
  Quill::Ptr<Qos::EcnIntfCounterStatus const> ecnIntfCounterStatus() const;
  bool counterEnabled() const;
  U64 pktCount() const;
  U64 locallyMarkedPktCount() const;

 private:
  Qos::TxQueueId txQueueId() const;
  static bool queueEnabled(const Qos::EcnIntfCounterStatus& status, Qos::TxQueueId queue);
  // The table's record for this interface and queue; a damaged record reads as zero.
  Qos::EcnCounterRecord tableRecord(Qos::TxQueueId queue) const;
};

}  // namespace QosSnmp
