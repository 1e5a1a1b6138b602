#include "EcnWriter.h"

#include <tuple>
#include <vector>

#include "RowSync.h"

namespace StateSim {

void EcnWriter::stateIs(const State& state, QosSnmp::QosMib& mib) {
  std::map<Snmp::String, std::tuple<Quill::Ptr<Qos::ChipCounter const>, U32>> chipRows;
  for (const auto& [descriptor, counter] : state.ecnCounters) {
    auto chip = chipCounters_.is(
        descriptor, counter.count, [] { return Quill::make<Qos::ChipCounter>(); },
        [](Qos::ChipCounter& c, U64 count) { c.countIs(count); });
    chipRows[descriptor] = {chip, counter.entity};
  }
  STATESIM_SYNC_ROWS(mib, ecnCounterTable, chipRows);

  std::map<QosSnmp::EcnQueueCounterTableIndex,
           std::tuple<Linko::IntfId, Quill::Ptr<Qos::SliceHwStatus const>,
                      Quill::Ptr<Qos::EcnCounterTable const>, bool, bool>>
      queueRows;
  std::map<Qos::EcnCounterKey, QueueValues> queues;
  std::map<U32, std::set<Linko::IntfId>> sliceMembers;
  for (const auto& [intf, ecn] : state.ecnQueues) {
    auto slice = slices_.is(ecn.slice, [] { return Quill::make<Qos::SliceHwStatus>(); });
    auto status = intfStatus_.is(intf, [] { return Quill::make<Qos::EcnIntfCounterStatus>(); });
    slice->ecnIntfCounterStatusIs(intf, status);
    sliceMembers[ecn.slice].insert(intf);
    U32 ifIndex = *state.interfaces.at(intf).ifIndex;
    for (const auto& [number, queue] : ecn.queues) {
      Qos::TxQueueId q(number);
      Qos::EcnCounterKey key{intf, q};
      QueueValues values{queue, ecn.useEcnCountersShoal};
      auto last = queues_.find(key);
      if (last == queues_.end() || !(last->second == values)) {
        status->queueConfigIs(q, Qos::EcnQueueConfig{queue.enabled});
        if (values.shoal) {
          status->queuePktCountDel(q);
          table_->recordIs(key, queue.pktCount, queue.locallyMarkedPktCount);
        } else {
          table_->recordDel(key);
          status->queuePktCountIs(q, queue.pktCount);
        }
      }
      queues[key] = values;
      queueRows[QosSnmp::EcnQueueCounterTableIndex(ifIndex, number)] = {
          intf, slice, ecn.useEcnCountersShoal ? table_ : nullptr, ecn.useEcnCountersShoal,
          ecn.ecnQLocallyMarkedSupported};
    }
  }
  // Queues that went: their configuration, counts and records.
  for (const auto& [key, values] : queues_) {
    if (queues.contains(key)) {
      continue;
    }
    table_->recordDel(key);
    if (auto status = intfStatus_.find(key.intfId)) {
      status->queueConfigDel(key.txQueueId);
      status->queuePktCountDel(key.txQueueId);
    }
  }
  queues_ = std::move(queues);
  STATESIM_SYNC_ROWS(mib, ecnQueueCounterTable, queueRows);

  // Interfaces that left a slice (or went).
  slices_.forEach([&](U32 number, Qos::SliceHwStatus& slice) {
    deleteUnwanted(
        slice.ecnIntfCounterStatus(),
        [&](Linko::IntfId intf) { return sliceMembers[number].contains(intf); },
        [&](Linko::IntfId intf) { slice.ecnIntfCounterStatusDel(intf); });
  });
  chipCounters_.sweep();
  slices_.sweep();
  intfStatus_.sweep();
}

void EcnWriter::tick() {
  ++ticks_;
  U64 n = 0;
  chipCounters_.forEach(
      [&](const Snmp::String&, Qos::ChipCounter& c) { c.countIs(c.count() + 3 + n++ % 5); });
  for (const auto& [key, values] : queues_) {
    if (!values.queue.enabled) {
      continue;
    }
    // Higher queues carry more congestion-prone traffic; a quarter of the marks are local.
    U64 marked = (key.txQueueId.value() + 1) * (1 + key.intfId.value() % 3);
    if (values.shoal) {
      Qos::EcnCounterRecord record{key};
      try {
        record = table_->lookupWithDefault(key);
      } catch (const Qos::EcnCounterTableError&) {
        // A damaged record starts again from zero; recordIs repairs it.
      }
      table_->recordIs(key, record.pktCount + marked, record.locallyMarkedPktCount + marked / 4);
    } else if (auto status = intfStatus_.find(key.intfId)) {
      auto count = status->queuePktCount().find(key.txQueueId);
      status->queuePktCountIs(
          key.txQueueId, (count == status->queuePktCount().end() ? 0 : count->second) + marked);
    }
  }
}

}  // namespace StateSim
