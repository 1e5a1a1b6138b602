// Per-class statistics objects of the QoS agent: the hardware status of a class map in a
// policy map, its counters with their per-policer and per-interface breakdown, and the
// counters of a policer. All counts are 64-bit and are advanced in place by the QoS agent while
// the SNMP model reads them through const pointers.
#pragma once

#include "Mox/HashMap.h"
#include "Quill/IntTypes.h"
#include "Quill/Object.h"
#include "Quill/Ptr.h"
#include "Quill/String.h"

namespace Qos {

// The four counts shared by the per-class statistics objects, in their published order.
class ClassCounts : public Quill::Object {
 public:
  U64 dropPkts() const noexcept { return dropPkts_; }
  void dropPktsIs(U64 v) noexcept { dropPkts_ = v; }
  U64 dropBytes() const noexcept { return dropBytes_; }
  void dropBytesIs(U64 v) noexcept { dropBytes_ = v; }
  U64 outPkts() const noexcept { return outPkts_; }
  void outPktsIs(U64 v) noexcept { outPkts_ = v; }
  U64 outBytes() const noexcept { return outBytes_; }
  void outBytesIs(U64 v) noexcept { outBytes_ = v; }
  void countsIs(U64 dropPkts, U64 dropBytes, U64 outPkts, U64 outBytes) noexcept {
    dropPkts_ = dropPkts;
    dropBytes_ = dropBytes;
    outPkts_ = outPkts;
    outBytes_ = outBytes;
  }

 protected:
  ClassCounts() = default;

 private:
  U64 dropPkts_ = 0;
  U64 dropBytes_ = 0;
  U64 outPkts_ = 0;
  U64 outBytes_ = 0;
};

// One interface's counts of a class.
class CounterIntf : public ClassCounts {};

// A policer's counts.
class PolicerHwStatus : public Quill::Object {
 public:
  U64 droppedPkts() const noexcept { return droppedPkts_; }
  void droppedPktsIs(U64 v) noexcept { droppedPkts_ = v; }
  U64 totalPkts() const noexcept { return totalPkts_; }
  void totalPktsIs(U64 v) noexcept { totalPkts_ = v; }
  U64 droppedBytes() const noexcept { return droppedBytes_; }
  void droppedBytesIs(U64 v) noexcept { droppedBytes_ = v; }
  U64 totalBytes() const noexcept { return totalBytes_; }
  void totalBytesIs(U64 v) noexcept { totalBytes_ = v; }

 private:
  U64 droppedPkts_ = 0;
  U64 totalPkts_ = 0;
  U64 droppedBytes_ = 0;
  U64 totalBytes_ = 0;
};

// The hardware status of a class map in a policy map: its counts, then the rates the hardware
// was programmed with for the shape and bandwidth actions (Action::rateNotSet when none).
class ClassMapHwStatus : public ClassCounts {
 public:
  U32 shapeRate() const noexcept { return shapeRate_; }
  void shapeRateIs(U32 v) noexcept { shapeRate_ = v; }
  U32 bandwidthRate() const noexcept { return bandwidthRate_; }
  void bandwidthRateIs(U32 v) noexcept { bandwidthRate_ = v; }

 private:
  U32 shapeRate_ = 0;
  U32 bandwidthRate_ = 0;
};

// The counters of a class, with the same counts broken down by policer and by interface
// (both keyed by name; either map may be empty).
class Counter : public ClassCounts {
 public:
  using PolicerStatusMap = Mox::HashMap2018<Mox::String, Quill::Ptr<PolicerHwStatus const>>;
  using IntfCounterMap = Mox::HashMap2018<Mox::String, Quill::Ptr<CounterIntf const>>;

  const PolicerStatusMap& policerStatus() const noexcept { return policerStatus_; }
  // Sets or replaces the member; a null status deletes it.
  void policerStatusIs(const Mox::String& name, Quill::Ptr<PolicerHwStatus const> status) {
    if (status) {
      policerStatus_[name] = std::move(status);
    } else {
      policerStatus_.erase(name);
    }
  }
  void policerStatusDel(const Mox::String& name) { policerStatus_.erase(name); }

  const IntfCounterMap& intfCounter() const noexcept { return intfCounter_; }
  // Sets or replaces the member; a null counter deletes it.
  void intfCounterIs(const Mox::String& name, Quill::Ptr<CounterIntf const> counter) {
    if (counter) {
      intfCounter_[name] = std::move(counter);
    } else {
      intfCounter_.erase(name);
    }
  }
  void intfCounterDel(const Mox::String& name) { intfCounter_.erase(name); }

 private:
  PolicerStatusMap policerStatus_;
  IntfCounterMap intfCounter_;
};

// The packet counts of one policer on one interface: dropped packets, then per colour the
// packets that passed and those that were dropped. conformPkts and exceedPkts are the packets
// that passed the policer.
class PolicerCounter : public Quill::Object {
 public:
  U64 droppedPkts() const noexcept { return droppedPkts_; }
  void droppedPktsIs(U64 v) noexcept { droppedPkts_ = v; }
  U64 conformPkts() const noexcept { return conformPkts_; }
  void conformPktsIs(U64 v) noexcept { conformPkts_ = v; }
  U64 conformDroppedPkts() const noexcept { return conformDroppedPkts_; }
  void conformDroppedPktsIs(U64 v) noexcept { conformDroppedPkts_ = v; }
  U64 exceedDroppedPkts() const noexcept { return exceedDroppedPkts_; }
  void exceedDroppedPktsIs(U64 v) noexcept { exceedDroppedPkts_ = v; }
  U64 exceedPkts() const noexcept { return exceedPkts_; }
  void exceedPktsIs(U64 v) noexcept { exceedPkts_ = v; }

 private:
  U64 droppedPkts_ = 0;
  U64 conformPkts_ = 0;
  U64 conformDroppedPkts_ = 0;
  U64 exceedDroppedPkts_ = 0;
  U64 exceedPkts_ = 0;
};

}  // namespace Qos
