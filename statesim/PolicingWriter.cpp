#include "PolicingWriter.h"

#include "StateSimTrace.h"

namespace StateSim {

namespace {

using InterfacePolicing::PolicerName;
using InterfacePolicing::PolicerType;

// Brings a collection from `applied` to `wanted`: del(key) for each key that went, then
// set(key, value) for each key that came or whose value changed. Unchanged keys are not touched.
template <typename K, typename V, typename Del, typename Set>
void applyKeyChanges(const std::map<K, V>& applied, const std::map<K, V>& wanted, Del&& del,
                     Set&& set) {
  for (const auto& [key, value] : applied) {
    if (!wanted.contains(key)) {
      del(key);
    }
  }
  for (const auto& [key, value] : wanted) {
    auto it = applied.find(key);
    if (it == applied.end() || !(it->second == value)) {
      set(key, value);
    }
  }
}

void writeCounts(Qos::IntfPolicerCounters& c, const IntfPolicerCounts& counts) {
  c.pktsDroppedIs(counts.pktsDropped);
  c.pktsSentIs(counts.pktsSent);
  c.bytesDroppedIs(counts.bytesDropped);
  c.bytesSentIs(counts.bytesSent);
  c.yellowPktsSentIs(counts.yellowPktsSent);
  c.yellowBytesSentIs(counts.yellowBytesSent);
}

Quill::Ptr<InterfacePolicing::PolicerRateBurst const> rateBurst(const PolicerRatesState& r) {
  return Quill::make<InterfacePolicing::PolicerRateBurst>(
      InterfacePolicing::PolicerRateBurst::Values{.cir = r.cir,
                                                  .cirUnit = r.cirUnit,
                                                  .bc = r.bc,
                                                  .bcUnit = r.bcUnit,
                                                  .pir = r.pir,
                                                  .pirUnit = r.pirUnit,
                                                  .be = r.be,
                                                  .beUnit = r.beUnit});
}

const char* directionName(Qos::Direction direction) {
  return direction == Qos::Direction::directionInput_ ? "input" : "output";
}

}  // namespace

PolicingWriter::PolicingWriter()
    : status_(Quill::make<Qos::Status>()),
      policing_(Quill::make<Qos::PolicingStatus>()),
      aclHwStatus_(Quill::make<Qos::AclHwStatus>()),
      ifMib_(Quill::make<IntfSnmp::IfMib>()) {
  status_->policingStatusIs(policing_);
}

void PolicingWriter::stateIs(const State& state) {
  aclHwStatus_->interfacePolicingCountersPerLagMemberCounterInfoIs(
      state.hardware.interfacePolicingCountersPerLagMemberCounterInfo);
  profilesIs(state);
  instancesIs(state);
  intfPolicersIs(state);
  ifIndexesIs(state);
}

void PolicingWriter::restart(const State& state) {
  profiles_.clear();
  instances_.clear();
  intfPolicers_.clear();
  counters_ = {};
  // Filled before it is published: nobody watches it yet.
  policing_ = Quill::make<Qos::PolicingStatus>();
  profilesIs(state);
  instancesIs(state);
  intfPolicersIs(state);
  QTRACE(trace(), 1, "Publishing a new policing status");
  status_->policingStatusIs(policing_);
}

void PolicingWriter::profilesIs(const State& state) {
  applyKeyChanges(
      profiles_, state.policerProfiles,
      [&](const PolicerName& name) {
        QTRACE(trace(), 7, "Deleting policer profile {}", name);
        policing_->profileDel(name);
      },
      [&](const PolicerName& name, const PolicerProfileState& profile) {
        auto object = Quill::make<InterfacePolicing::PolicerProfile>(
            name, profile.rates ? rateBurst(*profile.rates) : nullptr);
        QTRACE(trace(), 7, "Setting {}", *object);
        policing_->profileIs(name, std::move(object));
      });
  profiles_ = state.policerProfiles;
}

void PolicingWriter::instancesIs(const State& state) {
  applyKeyChanges(
      instances_, state.policerInstances,
      [&](const PolicerName& name) {
        QTRACE(trace(), 7, "Deleting policer instance {}", name);
        policing_->policerInstanceDel(name);
      },
      [&](const PolicerName& name, const PolicerInstanceState& instance) {
        auto object = Quill::make<InterfacePolicing::PolicerInstance>(name, instance.profile);
        QTRACE(trace(), 7, "Setting {}", *object);
        policing_->policerInstanceIs(name, std::move(object));
      });
  instances_ = state.policerInstances;
}

void PolicingWriter::intfPolicersIs(const State& state) {
  // Counters first, in place: a status object made below takes its key's counters object.
  std::map<IntfPolicerKey, IntfPolicerShape> wanted;
  for (const auto& [key, policer] : state.interfacePolicers) {
    IntfPolicerShape& shape = wanted[key];
    shape.names[PolicerType::policerTypeProfile] = policer.profile;
    if (policer.groupPolicer) {
      shape.names[PolicerType::policerTypeGroup] = *policer.groupPolicer;
    }
    if (policer.counters) {
      shape.counted = true;
      counters_.is(
          key, *policer.counters, [] { return Quill::make<Qos::IntfPolicerCounters>(); },
          writeCounts);
    }
  }
  applyKeyChanges(
      intfPolicers_, wanted,
      [&](const IntfPolicerKey& key) {
        QTRACE(trace(), 7, "Deleting {} policer of {}", directionName(key.direction), key.pair());
        if (key.direction == Qos::Direction::directionInput_) {
          policing_->intfPolicerDel(key.pair());
        } else {
          policing_->intfPolicerOutputDel(key.pair());
        }
      },
      [&](const IntfPolicerKey& key, const IntfPolicerShape& shape) {
        auto status = Quill::make<Qos::IntfPolicerInfoStatus>(
            shape.names, shape.counted ? counters_.find(key) : nullptr);
        QTRACE(trace(), 7, "Setting {} policer of {}: {}", directionName(key.direction), key.pair(),
               *status);
        if (key.direction == Qos::Direction::directionInput_) {
          policing_->intfPolicerIs(key.pair(), std::move(status));
        } else {
          policing_->intfPolicerOutputIs(key.pair(), std::move(status));
        }
      });
  intfPolicers_ = std::move(wanted);
  counters_.sweep();
}

void PolicingWriter::ifIndexesIs(const State& state) {
  std::map<Linko::IntfId, U32> wanted;
  for (const auto& [intf, interface] : state.interfaces) {
    if (interface.ifIndex) {
      wanted[intf] = *interface.ifIndex;
    }
  }
  applyKeyChanges(
      ifIndexes_, wanted,
      [&](Linko::IntfId intf) {
        QTRACE(trace(), 7, "Deleting the ifIndex of {}", intf);
        ifMib_->ifIndexByIntfIdDel(intf);
      },
      [&](Linko::IntfId intf, U32 ifIndex) {
        QTRACE(trace(), 7, "Setting the ifIndex of {} to {}", intf, ifIndex);
        ifMib_->ifIndexByIntfIdIs(intf, ifIndex);
      });
  ifIndexes_ = std::move(wanted);
}

void PolicingWriter::tick() {
  ++ticks_;
  counters_.forEach([&](const IntfPolicerKey& key, Qos::IntfPolicerCounters& c) {
    // One second of traffic: a rate, a packet size and a yellow share per member and direction,
    // a drop every few seconds.
    U64 seed = U64{key.member.value()} * 2 + (key.direction == Qos::Direction::directionOutput_);
    U64 sent = 300 + 40 * (seed % 11);
    U64 size = 128 + 64 * (seed % 13);
    U64 yellow = sent / (4 + seed % 3);
    U64 dropped = (ticks_ + seed) % 4 == 0 ? 1 + seed % 4 : 0;
    c.pktsSentIs(c.pktsSent() + sent);
    c.bytesSentIs(c.bytesSent() + sent * size);
    c.yellowPktsSentIs(c.yellowPktsSent() + yellow);
    c.yellowBytesSentIs(c.yellowBytesSent() + yellow * size);
    c.pktsDroppedIs(c.pktsDropped() + dropped);
    c.bytesDroppedIs(c.bytesDropped() + dropped * size);
  });
}

}  // namespace StateSim
