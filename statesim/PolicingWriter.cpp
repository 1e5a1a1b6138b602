#include "PolicingWriter.h"

#include <algorithm>
#include <tuple>
#include <vector>

#include "CopyAfter.h"
#include "StateSimTrace.h"

namespace StateSim {

namespace {

using InterfacePolicing::PolicerName;
using InterfacePolicing::PolicerType;

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

// The policer names of an interface policer's status object.
Qos::IntfPolicerInfoStatus::PolicerNameMap policerNames(const IntfPolicerState& policer) {
  Qos::IntfPolicerInfoStatus::PolicerNameMap names{
      {PolicerType::policerTypeProfile, policer.profile}};
  if (policer.groupPolicer) {
    names[PolicerType::policerTypeGroup] = *policer.groupPolicer;
  }
  return names;
}

// The entry of each of `keys` in `map` (null when it has none). The keys come in sorted runs
// (those that go, then those that come or change) and the map is sorted, so a walk along the map
// finds them: a step or two per key, a descent only where a run starts again.
template <typename Key, typename Map>
std::vector<const typename Map::mapped_type*> locate(const std::vector<Key>& keys, const Map& map) {
  std::vector<const typename Map::mapped_type*> entries;
  entries.reserve(keys.size());
  auto at = map.begin();
  for (const Key& key : keys) {
    for (int step = 0; at != map.end() && at->first < key && step < 4; ++step) {
      ++at;
    }
    if (at == map.end() || at->first != key) {
      at = map.lower_bound(key);
    }
    entries.push_back(at != map.end() && at->first == key ? &at->second : nullptr);
  }
  return entries;
}

// Sorts `keys` and their `entries` by (goes first, the collection's order), where a key goes
// when it has no entry (or `goes(entry)` says so) and `rank(key)` orders it as its collection
// does (its ordering hash), ties broken by the key.
template <typename Key, typename Entry, typename Rank, typename Goes>
void sortKeys(std::vector<Key>& keys, std::vector<const Entry*>& entries, Rank rank, Goes goes) {
  struct Sorted {
    bool comes;
    U64 rank;
    U32 at;
  };
  std::vector<Sorted> sorted;
  sorted.reserve(keys.size());
  for (U32 at = 0; at < keys.size(); ++at) {
    sorted.push_back({entries[at] && !goes(*entries[at]), rank(keys[at]), at});
  }
  std::sort(sorted.begin(), sorted.end(), [&](const Sorted& a, const Sorted& b) {
    if (a.comes != b.comes || a.rank != b.rank) {
      return std::tie(a.comes, a.rank) < std::tie(b.comes, b.rank);
    }
    return keys[a.at] < keys[b.at];
  });
  std::vector<Key> orderedKeys;
  std::vector<const Entry*> orderedEntries;
  orderedKeys.reserve(keys.size());
  orderedEntries.reserve(keys.size());
  for (const Sorted& s : sorted) {
    orderedKeys.push_back(std::move(keys[s.at]));
    orderedEntries.push_back(entries[s.at]);
  }
  keys = std::move(orderedKeys);
  entries = std::move(orderedEntries);
}

template <typename Key, typename Map, typename Rank>
void orderKeys(std::vector<Key>& keys, std::vector<const typename Map::mapped_type*>& entries,
               const Map& map, Rank rank) {
  entries = locate(keys, map);
  sortKeys(keys, entries, rank, [](const auto&) { return false; });
}

}  // namespace

void orderAsTheCollections(StateEdits& edits) {
  StateDiff& d = edits.diff;
  const State& values = edits.values;
  EditEntries& e = edits.entries;
  orderKeys(d.profiles, e.profiles, values.policerProfiles,
            Qos::PolicingStatus::ProfileColl::keyHash);
  orderKeys(d.instances, e.instances, values.policerInstances,
            Qos::PolicingStatus::PolicerInstanceColl::keyHash);
  // Input and output policers go into two collections: each direction's keys together, each in
  // its collection's order.
  orderKeys(d.intfPolicers, e.intfPolicers, values.interfacePolicers,
            [](const IntfPolicerKey& key) {
              const U64 output = key.direction == Qos::Direction::directionOutput_;
              return output << 32 | Qos::PolicingStatus::IntfPolicerColl::keyHash(key.pair());
            });
  // ifIndex edits come with the interfaces section whole (qosMibChanged); an interface without
  // an ifIndex loses its entry in the map.
  e.ifIndexes = locate(d.ifIndexes, values.interfaces);
  sortKeys(d.ifIndexes, e.ifIndexes, IntfSnmp::IfMib::IfIndexByIntfIdColl::keyHash,
           [](const InterfaceState& intf) { return !intf.ifIndex; });
  if (!d.qosMibChanged) {
    e.ifIndexes.clear();  // the interfaces are those in force: looked up where applied
  }
}

PolicingWriter::PolicingWriter()
    : status_(Quill::make<Qos::Status>()),
      policing_(Quill::make<Qos::PolicingStatus>()),
      aclHwStatus_(Quill::make<Qos::AclHwStatus>()),
      ifMib_(Quill::make<IntfSnmp::IfMib>()) {
  status_->policingStatusIs(policing_);
}

void PolicingWriter::lagCountersIs(bool perMember) {
  aclHwStatus_->interfacePolicingCountersPerLagMemberCounterInfoIs(perMember);
}

void PolicingWriter::profileIs(const State& state, const PolicerName& name) {
  profileIs(entryOf(state.policerProfiles, name), name);
}

void PolicingWriter::instanceIs(const State& state, const PolicerName& name) {
  instanceIs(entryOf(state.policerInstances, name), name);
}

void PolicingWriter::intfPolicerIs(const State& state, const IntfPolicerKey& key) {
  intfPolicerIs(entryOf(state.interfacePolicers, key), key);
}

void PolicingWriter::profileIs(const PolicerProfileState* entry, const PolicerName& name) {
  if (!entry) {
    QTRACE(trace(), 7, "Deleting policer profile {}", name);
    policing_->profileDel(name);
    return;
  }
  const PolicerProfileState& profile = *entry;
  auto object = Quill::make<InterfacePolicing::PolicerProfile>(
      name, profile.rates ? rateBurst(*profile.rates) : nullptr);
  QTRACE(trace(), 7, "Setting {}", *object);
  policing_->profileIs(name, std::move(object));
}

void PolicingWriter::instanceIs(const PolicerInstanceState* entry, const PolicerName& name) {
  if (!entry) {
    QTRACE(trace(), 7, "Deleting policer instance {}", name);
    policing_->policerInstanceDel(name);
    return;
  }
  auto object = Quill::make<InterfacePolicing::PolicerInstance>(name, entry->profile);
  QTRACE(trace(), 7, "Setting {}", *object);
  policing_->policerInstanceIs(name, std::move(object));
}

void PolicingWriter::intfPolicerIs(const IntfPolicerState* entry, const IntfPolicerKey& key) {
  const bool input = key.direction == Qos::Direction::directionInput_;
  const auto& coll = collOf(key.direction);
  if (!entry) {
    QTRACE(trace(), 7, "Deleting {} policer of {}", directionName(key.direction), key.pair());
    if (input) {
      policing_->intfPolicerDel(key.pair());
    } else {
      policing_->intfPolicerOutputDel(key.pair());
    }
    return;
  }
  const IntfPolicerState& policer = *entry;
  const auto* current = coll.find(key.pair());
  // Counts are written into the live counters in place; a status object made below takes them.
  Quill::Ptr<Qos::IntfPolicerCounters const> counters;
  if (policer.counters) {
    WrittenCounters* live = countersOf(current);
    const bool made = live == nullptr;
    if (made) {
      auto object = Quill::make<WrittenCounters>();
      live = object.get();
      counters = std::move(object);
    } else {
      counters = (*current)->counters();
    }
    // Counts the file did not change keep what tick() added.
    if (made || !(live->written == *policer.counters)) {
      live->written = *policer.counters;
      writeCounts(*live, *policer.counters);
    }
  }
  Qos::IntfPolicerInfoStatus::PolicerNameMap names = policerNames(policer);
  if (current && *current && (*current)->policerName() == names &&
      (*current)->counters() == counters) {
    return;  // the counts alone changed
  }
  auto status = Quill::make<Qos::IntfPolicerInfoStatus>(std::move(names), counters);
  QTRACE(trace(), 7, "Setting {} policer of {}: {}", directionName(key.direction), key.pair(),
         *status);
  if (input) {
    policing_->intfPolicerIs(key.pair(), std::move(status));
  } else {
    policing_->intfPolicerOutputIs(key.pair(), std::move(status));
  }
}

void PolicingWriter::ifIndexIs(const InterfaceState* entry, Linko::IntfId intf) {
  if (!entry || !entry->ifIndex) {
    QTRACE(trace(), 7, "Deleting the ifIndex of {}", intf);
    ifMib_->ifIndexByIntfIdDel(intf);
    return;
  }
  QTRACE(trace(), 7, "Setting the ifIndex of {} to {}", intf, *entry->ifIndex);
  ifMib_->ifIndexByIntfIdIs(intf, *entry->ifIndex);
}

void PolicingWriter::restart() {
  State now;
  policingStateOf(now);
  // Filled before it is published: nobody watches it yet.
  policing_ = Quill::make<Qos::PolicingStatus>();
  for (const auto& [name, profile] : now.policerProfiles) {
    profileIs(now, name);
  }
  for (const auto& [name, instance] : now.policerInstances) {
    instanceIs(now, name);
  }
  for (const auto& [key, policer] : now.interfacePolicers) {
    intfPolicerIs(now, key);
  }
  QTRACE(trace(), 1, "Publishing a new policing status");
  status_->policingStatusIs(policing_);
}

bool PolicingWriter::policingSnapshotInto(PolicingSnapshot& snapshot,
                                          const std::function<bool()>& yield) const {
  auto profileOf = [](const auto& entry) {
    std::pair<PolicerName, PolicerProfileState> copy{entry.first, {}};
    if (const auto& r = entry.second->config()) {
      copy.second.rates = PolicerRatesState{.cir = r->cir(),
                                            .cirUnit = r->cirUnit(),
                                            .bc = r->bc(),
                                            .bcUnit = r->bcUnit(),
                                            .pir = r->pir(),
                                            .pirUnit = r->pirUnit(),
                                            .be = r->be(),
                                            .beUnit = r->beUnit()};
    }
    return copy;
  };
  auto instanceOf = [](const auto& entry) {
    return std::pair{entry.first,
                     PolicerInstanceState{.profile = std::string(entry.second->profileName())}};
  };
  if (!copySection(policing_->profile(), snapshot.profiles, profileOf, yield) ||
      !copySection(policing_->policerInstance(), snapshot.instances, instanceOf, yield)) {
    return false;
  }
  // The input direction's policers, then the output's, in one vector.
  snapshot.intfPolicers.reserve(policing_->intfPolicer().size() +
                                policing_->intfPolicerOutput().size());
  size_t before = 0;  // the entries of the directions before this one
  for (Qos::Direction direction : directions) {
    const auto& coll = collOf(direction);
    auto& entries = snapshot.intfPolicers;
    if (entries.size() < before + coll.size()) {
      auto entryOf = [&](const auto& entry) {
        const IntfPolicerKey key{entry.first.intfId, entry.first.memberId, direction};
        std::pair<IntfPolicerKey, IntfPolicerState> copy{key, {}};
        const auto& status = entry.second;
        if (const PolicerName* profile = status->policerName(PolicerType::policerTypeProfile)) {
          copy.second.profile = *profile;
        }
        if (const PolicerName* group = status->policerName(PolicerType::policerTypeGroup)) {
          copy.second.groupPolicer = *group;
        }
        if (const WrittenCounters* counts = countersOf(&status)) {
          copy.second.counters = counts->written;  // not as tick() has advanced them
        }
        return copy;
      };
      const Qos::IntfPairKey lastPair =
          entries.size() > before ? entries.back().first.pair() : Qos::IntfPairKey{};
      if (!copyAfter(coll, entries.size() > before ? &lastPair : nullptr, entries, entryOf,
                     yield)) {
        return false;
      }
    }
    before += coll.size();
  }
  return true;
}

Quill::Ptr<Qos::IntfPolicerCounters const> PolicingWriter::counters(
    const IntfPolicerKey& key) const {
  const auto* status = collOf(key.direction).find(key.pair());
  return status && *status ? (*status)->counters() : nullptr;
}

const Qos::PolicingStatus::IntfPolicerColl& PolicingWriter::collOf(Qos::Direction direction) const {
  return direction == Qos::Direction::directionInput_ ? policing_->intfPolicer()
                                                      : policing_->intfPolicerOutput();
}

PolicingWriter::WrittenCounters* PolicingWriter::countersOf(
    const Quill::Ptr<Qos::IntfPolicerInfoStatus const>* status) {
  if (!status || !*status || !(*status)->counters()) {
    return nullptr;
  }
  // Every counters object in the policing status was made non-const by this writer, which alone
  // writes it.
  return const_cast<WrittenCounters*>(
      static_cast<const WrittenCounters*>((*status)->counters().get()));
}

void PolicingWriter::tick() {
  ++ticks_;
  for (Qos::Direction direction : directions) {
    for (const auto& entry : collOf(direction)) {
      WrittenCounters* c = countersOf(&entry.second);
      if (!c) {
        continue;
      }
      // One second of traffic: a rate, a packet size and a yellow share per member and
      // direction, a drop every few seconds.
      U64 seed =
          U64{entry.first.memberId.value()} * 2 + (direction == Qos::Direction::directionOutput_);
      U64 sent = 300 + 40 * (seed % 11);
      U64 size = 128 + 64 * (seed % 13);
      U64 yellow = sent / (4 + seed % 3);
      U64 dropped = (ticks_ + seed) % 4 == 0 ? 1 + seed % 4 : 0;
      c->pktsSentIs(c->pktsSent() + sent);
      c->bytesSentIs(c->bytesSent() + sent * size);
      c->yellowPktsSentIs(c->yellowPktsSent() + yellow);
      c->yellowBytesSentIs(c->yellowBytesSent() + yellow * size);
      c->pktsDroppedIs(c->pktsDropped() + dropped);
      c->bytesDroppedIs(c->bytesDropped() + dropped * size);
    }
  }
}

}  // namespace StateSim
