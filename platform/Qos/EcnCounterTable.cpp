#include "Qos/EcnCounterTable.h"

#include <fmt/format.h>

namespace Qos {

EcnCounterRecord EcnCounterTable::lookupWithDefault(const EcnCounterKey& key) const {
  if (corrupt_.contains(key)) {
    throw EcnCounterTableError(fmt::format("EcnCounterTable: corrupt record for {} queue {}",
                                           key.intfId.name(), key.txQueueId.value()));
  }
  auto it = records_.find(key);
  return it == records_.end() ? EcnCounterRecord{key} : it->second;
}

void EcnCounterTable::recordIs(const EcnCounterKey& key, U64 pktCount, U64 locallyMarkedPktCount) {
  records_[key] = EcnCounterRecord{key, pktCount, locallyMarkedPktCount};
  corrupt_.erase(key);
}

void EcnCounterTable::recordDel(const EcnCounterKey& key) {
  records_.erase(key);
  corrupt_.erase(key);
}

void EcnCounterTable::markCorrupt(const EcnCounterKey& key) {
  corrupt_.insert(key);
}

void EcnCounterTable::corruptionDetected(const std::string& message) const {
  ++corruptionDetectedCount_;
  lastCorruptionMessage_ = message;
}

}  // namespace Qos
