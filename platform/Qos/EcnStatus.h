// ECN counter status of the QoS agent: chip-level named counters, and per interface the
// per-queue ECN counter configuration and counts, grouped by the slice (forwarding chip) that
// holds the interface. Counts are advanced in place by the QoS agent.
#pragma once

#include "Linko/IntfId.h"
#include "Mox/HashMap.h"
#include "Qos/TxQueueId.h"
#include "Quill/IntTypes.h"
#include "Quill/Object.h"
#include "Quill/Ptr.h"

namespace Qos {

// One chip-level ECN counter.
class ChipCounter : public Quill::Object {
 public:
  explicit ChipCounter(U64 count = 0) : count_(count) {}
  U64 count() const noexcept { return count_; }
  void countIs(U64 v) noexcept { count_ = v; }

 private:
  U64 count_;
};

// The ECN counter configuration of one transmit queue.
struct EcnQueueConfig {
  bool enabled = false;
};

// ECN counters of one interface, per transmit queue: whether counting is enabled, and the count
// of ECN-marked packets.
class EcnIntfCounterStatus : public Quill::Object {
 public:
  using QueueConfigMap = Mox::HashMap2018<TxQueueId, EcnQueueConfig>;
  using QueuePktCountMap = Mox::HashMap2018<TxQueueId, U64>;

  const QueueConfigMap& queueConfig() const noexcept { return queueConfig_; }
  void queueConfigIs(TxQueueId q, EcnQueueConfig c) { queueConfig_[q] = c; }
  void queueConfigDel(TxQueueId q) { queueConfig_.erase(q); }

  const QueuePktCountMap& queuePktCount() const noexcept { return queuePktCount_; }
  void queuePktCountIs(TxQueueId q, U64 count) { queuePktCount_[q] = count; }
  void queuePktCountDel(TxQueueId q) { queuePktCount_.erase(q); }

 private:
  QueueConfigMap queueConfig_;
  QueuePktCountMap queuePktCount_;
};

// The hardware status of one slice: the ECN counter status of each interface it holds.
class SliceHwStatus : public Quill::Object {
 public:
  using EcnIntfCounterStatusMap =
      Mox::HashMap2018<Linko::IntfId, Quill::Ptr<EcnIntfCounterStatus const>>;

  const EcnIntfCounterStatusMap& ecnIntfCounterStatus() const noexcept { return ecnStatus_; }
  // The interface's status, or null.
  Quill::Ptr<EcnIntfCounterStatus const> ecnIntfCounterStatus(Linko::IntfId intf) const {
    auto it = ecnStatus_.find(intf);
    return it == ecnStatus_.end() ? nullptr : it->second;
  }
  // Sets or replaces the member; a null status deletes it.
  void ecnIntfCounterStatusIs(Linko::IntfId intf, Quill::Ptr<EcnIntfCounterStatus const> s) {
    if (s) {
      ecnStatus_[intf] = std::move(s);
    } else {
      ecnStatus_.erase(intf);
    }
  }
  void ecnIntfCounterStatusDel(Linko::IntfId intf) { ecnStatus_.erase(intf); }

 private:
  EcnIntfCounterStatusMap ecnStatus_;
};

}  // namespace Qos
