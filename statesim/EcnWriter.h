// StateSim::EcnWriter: the QoS agent's ECN counters and the QoS MIB's two ECN tables.
//
// Chip counters: one Qos::ChipCounter and one ECN counter row per descriptor. Queue counters:
// each interface with ECN state has a Qos::EcnIntfCounterStatus in the Qos::SliceHwStatus of
// its slice, holding each listed queue's enabled flag and, for interfaces that count in the
// interface status, its marked packet count; interfaces that count in the shared-memory table
// (useEcnCountersShoal) have their queues' records in the one Qos::EcnCounterTable instead. One
// ECN queue row per interface and queue.
//
// tick() advances the chip counters and the counts of enabled queues. Single-threaded.
#pragma once

#include <map>

#include "Qos/EcnCounterTable.h"
#include "Qos/EcnStatus.h"
#include "QosSnmp/QosMib/QosMib.h"
#include "State.h"
#include "StatusObjects.h"

namespace StateSim {

class EcnWriter {
 public:
  EcnWriter() : table_(Quill::make<Qos::EcnCounterTable>()) {}

  void stateIs(const State& state, QosSnmp::QosMib& mib);
  void tick();

  const Quill::Ptr<Qos::EcnCounterTable>& ecnCounterTable() const noexcept { return table_; }
  // The slice's hardware status, or null.
  Quill::Ptr<Qos::SliceHwStatus const> slice(U32 slice) const { return slices_.find(slice); }

 private:
  // What a queue's counts were last written from, and where they live.
  struct QueueValues {
    EcnQueueState queue;
    bool shoal = false;
    friend bool operator==(const QueueValues&, const QueueValues&) = default;
  };

  StatusObjects<Snmp::String, Qos::ChipCounter, U64> chipCounters_;
  StatusObjects<U32, Qos::SliceHwStatus> slices_;
  StatusObjects<Linko::IntfId, Qos::EcnIntfCounterStatus> intfStatus_;
  std::map<Qos::EcnCounterKey, QueueValues> queues_;
  Quill::Ptr<Qos::EcnCounterTable> table_;
  U64 ticks_ = 0;
};

}  // namespace StateSim
