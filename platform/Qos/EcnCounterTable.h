// Qos::EcnCounterTable: the shared-memory table of per-queue ECN counters, keyed by interface
// and transmit queue. Another process (the forwarding agent) writes it; readers look records up
// with lookupWithDefault, which returns the zero record for an absent key and raises
// EcnCounterTableError when the record it finds is damaged. A reader that catches that error
// reports it with corruptionDetected(message), and the table counts the reports.
//
// This stand-in keeps the records in process memory; markCorrupt() damages a record so that
// its next lookup fails as a torn shared-memory record would.
#pragma once

#include <map>
#include <set>
#include <stdexcept>
#include <string>

#include "Linko/IntfId.h"
#include "Qos/TxQueueId.h"
#include "Quill/IntTypes.h"
#include "Quill/Object.h"

namespace Qos {

struct EcnCounterKey {
  Linko::IntfId intfId;
  TxQueueId txQueueId;
  friend auto operator<=>(const EcnCounterKey&, const EcnCounterKey&) = default;
};

struct EcnCounterRecord {
  EcnCounterKey key;
  U64 pktCount = 0;
  U64 locallyMarkedPktCount = 0;
};

// A damaged record: the message says which.
class EcnCounterTableError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class EcnCounterTable : public Quill::Object {
 public:
  // The record for `key`, or the zero record (with that key) when there is none.
  // Raises EcnCounterTableError when the record is damaged.
  EcnCounterRecord lookupWithDefault(const EcnCounterKey& key) const;
  // Sets or replaces the record's counts (and repairs a damaged record).
  void recordIs(const EcnCounterKey& key, U64 pktCount, U64 locallyMarkedPktCount);
  void recordDel(const EcnCounterKey& key);
  size_t size() const noexcept { return records_.size(); }
  // Damages the record for `key` (test and simulation aid).
  void markCorrupt(const EcnCounterKey& key);

  // A reader found a damaged record; `message` is the lookup's error text.
  void corruptionDetected(const std::string& message) const;
  U64 corruptionDetectedCount() const noexcept { return corruptionDetectedCount_; }
  const std::string& lastCorruptionMessage() const noexcept { return lastCorruptionMessage_; }

 private:
  std::map<EcnCounterKey, EcnCounterRecord> records_;
  std::set<EcnCounterKey> corrupt_;
  mutable U64 corruptionDetectedCount_ = 0;
  mutable std::string lastCorruptionMessage_;
};

}  // namespace Qos
