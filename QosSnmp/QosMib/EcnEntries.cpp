#include "QosSnmp/QosMib/EcnEntries.h"

#include "Quill/Assert.h"

namespace QosSnmp {

Mox::AllocationTracker EcnCounterTableEntry::memAllocationTracker_("QosSnmp::EcnCounterTableEntry");
Mox::AllocationTracker EcnQueueCounterTableEntry::memAllocationTracker_(
    "QosSnmp::EcnQueueCounterTableEntry");

Quill::Ptr<Qos::EcnIntfCounterStatus const> EcnQueueCounterTableEntry::ecnIntfCounterStatus()
    const {
  QUILL_ASSERT(sliceHwStatus());
  return sliceHwStatus()->ecnIntfCounterStatus(intfId());
}

Qos::TxQueueId EcnQueueCounterTableEntry::txQueueId() const {
  // Only the low byte names the queue: 256 is queue 0.
  return Qos::TxQueueId(static_cast<U8>(queueIndex()));
}

bool EcnQueueCounterTableEntry::queueEnabled(const Qos::EcnIntfCounterStatus& status,
                                             Qos::TxQueueId queue) {
  auto it = status.queueConfig().find(queue);
  return it != status.queueConfig().end() && it->second.enabled;
}

Qos::EcnCounterRecord EcnQueueCounterTableEntry::tableRecord(Qos::TxQueueId queue) const {
  QUILL_ASSERT(ecnCounterTable());
  Qos::EcnCounterKey key{intfId(), queue};
  try {
    return ecnCounterTable()->lookupWithDefault(key);
  } catch (const std::exception& e) {
    ecnCounterTable()->corruptionDetected(e.what());
    return Qos::EcnCounterRecord{key};
  }
}

bool EcnQueueCounterTableEntry::counterEnabled() const {
  auto status = ecnIntfCounterStatus();
  if (!status) {
    return false;
  }
  return queueEnabled(*status, txQueueId());
}

U64 EcnQueueCounterTableEntry::pktCount() const {
  auto status = ecnIntfCounterStatus();
  if (!status) {
    return 0;
  }
  Qos::TxQueueId queue = txQueueId();
  if (!queueEnabled(*status, queue)) {
    return 0;
  }
  if (useEcnCountersShoal()) {
    return tableRecord(queue).pktCount;
  }
  auto it = status->queuePktCount().find(queue);
  return it == status->queuePktCount().end() ? 0 : it->second;
}

U64 EcnQueueCounterTableEntry::locallyMarkedPktCount() const {
  auto status = ecnIntfCounterStatus();
  if (!status) {
    return 0;
  }
  Qos::TxQueueId queue = txQueueId();
  if (!queueEnabled(*status, queue) || !useEcnCountersShoal()) {
    return 0;
  }
  Qos::EcnCounterRecord record = tableRecord(queue);
  return ecnQLocallyMarkedSupported() ? record.locallyMarkedPktCount : 0;
}

}  // namespace QosSnmp
