#include "StatsWriter.h"

#include <map>
#include <set>
#include <tuple>
#include <vector>

#include "RowSync.h"

namespace StateSim {

namespace {

// The rates a class's hardware status reports: as given, else the configured rates of the
// class's shape and bandwidth actions, else "not set".
HwCounts withRates(HwCounts hw, const PolicyClassState& policyClass) {
  auto configured = [&](Qos::ActionType type) {
    auto it = policyClass.actions.find(type);
    return it == policyClass.actions.end() ? Qos::Action::rateNotSet : it->second.value;
  };
  if (!hw.shapeRate) {
    hw.shapeRate = configured(Qos::ActionType::actionSetShape_);
  }
  if (!hw.bandwidthRate) {
    hw.bandwidthRate = configured(Qos::ActionType::actionSetBandwidth_);
  }
  return hw;
}

template <typename C>
void writeCounts(C& object, const Counts& c) {
  object.countsIs(c.dropPkts, c.dropBytes, c.outPkts, c.outBytes);
}

void writePolicerStatus(Qos::PolicerHwStatus& status, const PolicerCounts& c) {
  status.droppedPktsIs(c.droppedPkts);
  status.totalPktsIs(c.droppedPkts + c.conformPkts + c.exceedPkts);
  status.droppedBytesIs(c.droppedBytes);
  status.totalBytesIs(c.totalBytes);
}

void writePolicerCounter(Qos::PolicerCounter& counter, const PolicerCounts& c) {
  counter.droppedPktsIs(c.droppedPkts);
  counter.conformPktsIs(c.conformPkts);
  counter.exceedPktsIs(c.exceedPkts);
}

}  // namespace

void StatsWriter::stateIs(const State& state, QosSnmp::QosMib& mib) {
  using HwPtr = Quill::Ptr<Qos::ClassMapHwStatus const>;
  using CounterPtr = Quill::Ptr<Qos::Counter const>;
  std::map<QosSnmp::QosStatsTableIndex, std::tuple<HwPtr, CounterPtr>> statsRows;
  std::map<PerIntfKey, std::tuple<Quill::Ptr<Qos::CounterIntf const>>> perIntfRows;
  std::map<QosSnmp::QosPolicerStatsTableIndex, std::tuple<Quill::Ptr<Qos::PolicerCounter const>>>
      policerRows;
  applied_.clear();

  for (const auto& [index, interfaces] : appliedClasses(state)) {
    const PolicyMapState& policyMap = state.policyMaps.at({index.policyMapId, index.policyMapType});
    const PolicyClassState& policyClass = *findClass(policyMap, index.classMapId);
    bool policed = policyClass.actions.contains(Qos::ActionType::actionPolice_);
    auto given = state.classCounters.find(index);
    const ClassCountersState none;
    const ClassCountersState& values = given == state.classCounters.end() ? none : given->second;

    Applied applied;
    applied.counter = counters_.is(
        index, values.counts, [] { return Quill::make<Qos::Counter>(); },
        writeCounts<Qos::Counter>);
    if (values.hwStatus) {
      applied.hwStatus = hwStatus_.is(
          index, withRates(*values.hwStatus, policyClass),
          [] { return Quill::make<Qos::ClassMapHwStatus>(); },
          [](Qos::ClassMapHwStatus& hw, const HwCounts& c) {
            writeCounts(hw, c);
            hw.shapeRateIs(*c.shapeRate);
            hw.bandwidthRateIs(*c.bandwidthRate);
          });
    }
    statsRows[index] = {applied.hwStatus, applied.counter};

    std::set<Mox::String> names;
    for (Linko::IntfId intf : interfaces) {
      U32 ifIndex = *state.interfaces.at(intf).ifIndex;
      PerIntfKey key(index.policyMapId, index.policyMapType, index.classMapId, index.direction,
                     ifIndex);
      Mox::String name = intf.name();
      names.insert(name);
      auto counts = values.interfaces.find(intf);
      Applied::Intf objects;
      objects.counter = intfCounters_.is(
          key, counts == values.interfaces.end() ? Counts{} : counts->second,
          [] { return Quill::make<Qos::CounterIntf>(); }, writeCounts<Qos::CounterIntf>);
      applied.counter->intfCounterIs(name, objects.counter);
      perIntfRows[key] = {objects.counter};
      if (policed) {
        auto policer = values.policers.find(intf);
        PolicerCounts policerValues =
            policer == values.policers.end() ? PolicerCounts{} : policer->second;
        objects.policerStatus = policerStatus_.is(
            key, policerValues, [] { return Quill::make<Qos::PolicerHwStatus>(); },
            writePolicerStatus);
        objects.policerCounter = policerCounters_.is(
            key, policerValues, [] { return Quill::make<Qos::PolicerCounter>(); },
            writePolicerCounter);
        applied.counter->policerStatusIs(name, objects.policerStatus);
        policerRows[QosSnmp::QosPolicerStatsTableIndex(
            index.policyMapId, index.policyMapType, index.classMapId, index.direction, ifIndex)] = {
            objects.policerCounter};
      }
      applied.interfaces.push_back(std::move(objects));
    }
    Qos::Counter& counter = *applied.counter;
    deleteUnwanted(
        counter.intfCounter(), [&](const Mox::String& n) { return names.contains(n); },
        [&](const Mox::String& n) { counter.intfCounterDel(n); });
    deleteUnwanted(
        counter.policerStatus(), [&](const Mox::String& n) { return policed && names.contains(n); },
        [&](const Mox::String& n) { counter.policerStatusDel(n); });
    applied_.push_back(std::move(applied));
  }

  STATESIM_SYNC_ROWS(mib, qosStatsTable, statsRows);
  STATESIM_SYNC_ROWS(mib, qosPerIntfStatsTable, perIntfRows);
  STATESIM_SYNC_ROWS(mib, qosPolicerStatsTable, policerRows);
  counters_.sweep();
  hwStatus_.sweep();
  intfCounters_.sweep();
  policerStatus_.sweep();
  policerCounters_.sweep();
}

void StatsWriter::tick() {
  ++ticks_;
  U64 classNumber = 0;
  for (const Applied& applied : applied_) {
    ++classNumber;
    // One second of traffic per interface (one flow for a class applied on none): a rate and a
    // packet size that differ between classes and interfaces, a drop every few seconds.
    Counts sum;
    size_t flows = std::max<size_t>(applied.interfaces.size(), 1);
    for (size_t j = 0; j < flows; ++j) {
      U64 seed = classNumber * 7 + j;
      U64 out = 40 + 15 * (seed % 9);
      U64 size = 64 + 96 * (seed % 15);
      U64 drop = (ticks_ + seed) % 5 == 0 ? 1 + seed % 3 : 0;
      sum.dropPkts += drop;
      sum.dropBytes += drop * size;
      sum.outPkts += out;
      sum.outBytes += out * size;
      if (j >= applied.interfaces.size()) {
        continue;
      }
      const Applied::Intf& intf = applied.interfaces[j];
      Qos::CounterIntf& c = *intf.counter;
      c.countsIs(c.dropPkts() + drop, c.dropBytes() + drop * size, c.outPkts() + out,
                 c.outBytes() + out * size);
      if (intf.policerCounter) {
        U64 exceed = out / 4;
        Qos::PolicerCounter& p = *intf.policerCounter;
        p.droppedPktsIs(p.droppedPkts() + drop);
        p.conformPktsIs(p.conformPkts() + out - exceed);
        p.exceedPktsIs(p.exceedPkts() + exceed);
        Qos::PolicerHwStatus& s = *intf.policerStatus;
        s.droppedPktsIs(s.droppedPkts() + drop);
        s.totalPktsIs(s.totalPkts() + drop + out);
        s.droppedBytesIs(s.droppedBytes() + drop * size);
        s.totalBytesIs(s.totalBytes() + (drop + out) * size);
      }
    }
    auto add = [&](Qos::ClassCounts& c) {
      c.countsIs(c.dropPkts() + sum.dropPkts, c.dropBytes() + sum.dropBytes,
                 c.outPkts() + sum.outPkts, c.outBytes() + sum.outBytes);
    };
    add(*applied.counter);
    if (applied.hwStatus) {
      add(*applied.hwStatus);
    }
  }
}

}  // namespace StateSim
