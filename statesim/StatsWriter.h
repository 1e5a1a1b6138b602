// StateSim::StatsWriter: the QoS agent's counters of applied policy map classes, and the three
// statistics tables of the QoS MIB.
//
// For each class of an applied policy map, in each direction it is applied in (see
// appliedClasses), it keeps a Qos::Counter, and a Qos::ClassMapHwStatus when the state gives
// one. On each interface the class is applied on it keeps a Qos::CounterIntf, which is also the
// counter's member for that interface; a class with a police action has, per interface, a
// Qos::PolicerCounter and a Qos::PolicerHwStatus, the counter's member for that interface. Rows:
// one statistics row per applied class and direction, one per-interface row per interface, one
// policer row per interface of a policed class.
//
// tick() advances every count as traffic would: packets and bytes pass, a few are dropped; the
// per-interface counts, the policers of the same interface and the class's own counts and
// hardware status grow by the same amounts, so sums over the rows stay consistent.
// Single-threaded.
#pragma once

#include "Qos/Counters.h"
#include "QosSnmp/QosMib/QosMib.h"
#include "State.h"
#include "StatusObjects.h"

namespace StateSim {

class StatsWriter {
 public:
  // Applies `state` to the counters and writes the statistics tables of `mib`.
  void stateIs(const State& state, QosSnmp::QosMib& mib);
  // Advances every count by one second of traffic.
  void tick();

  // The hardware status of a class in a direction, or null.
  Quill::Ptr<Qos::ClassMapHwStatus const> classMapHwStatus(
      const QosSnmp::QosStatsTableIndex& index) const {
    return hwStatus_.find(index);
  }
  Quill::Ptr<Qos::Counter const> counter(const QosSnmp::QosStatsTableIndex& index) const {
    return counters_.find(index);
  }

 private:
  using PerIntfKey = QosSnmp::QosPerIntfStatsTableIndex;

  // What the tick needs of an applied class: its objects per interface.
  struct Applied {
    Quill::Ptr<Qos::Counter> counter;
    Quill::Ptr<Qos::ClassMapHwStatus> hwStatus;  // may be null
    struct Intf {
      Quill::Ptr<Qos::CounterIntf> counter;
      Quill::Ptr<Qos::PolicerHwStatus> policerStatus;  // null unless policed
      Quill::Ptr<Qos::PolicerCounter> policerCounter;  // null unless policed
    };
    std::vector<Intf> interfaces;
  };

  StatusObjects<QosSnmp::QosStatsTableIndex, Qos::Counter, Counts> counters_;
  StatusObjects<QosSnmp::QosStatsTableIndex, Qos::ClassMapHwStatus, HwCounts> hwStatus_;
  StatusObjects<PerIntfKey, Qos::CounterIntf, Counts> intfCounters_;
  StatusObjects<PerIntfKey, Qos::PolicerHwStatus, PolicerCounts> policerStatus_;
  StatusObjects<PerIntfKey, Qos::PolicerCounter, PolicerCounts> policerCounters_;
  std::vector<Applied> applied_;
  U64 ticks_ = 0;
};

}  // namespace StateSim
