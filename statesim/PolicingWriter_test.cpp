#include "PolicingWriter.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "StatusSource.h"
#include "StatusSourceTest.h"

namespace {

using namespace StateSim::test;
using InterfacePolicing::PolicerName;
using InterfacePolicing::PolicerType;
using Linko::IntfId;
using Qos::Direction;
using StateSim::IntfPolicerKey;

// Ethernet1 (ifIndex 1), Ethernet2 (none), Port-Channel7 of Ethernet3 and Ethernet4.
constexpr std::string_view interfaces = R"("interfaces": [
    {"name": "Ethernet1"}, {"name": "Ethernet2", "ifIndex": null},
    {"name": "Ethernet3"}, {"name": "Ethernet4"},
    {"name": "Port-Channel7", "members": ["Ethernet3", "Ethernet4"]}])";

// A state of the interfaces above and `members`.
std::string With(std::string_view members) {
  return "{" + std::string(interfaces) + (members.empty() ? "" : ", ") + std::string(members) + "}";
}

constexpr std::string_view policers = R"("interfacePolicers": [
    {"interface": "Ethernet1", "direction": "input", "profile": "gold"},
    {"interface": "Ethernet1", "direction": "output", "profile": "silver",
     "counters": {"pktsSent": 100, "bytesSent": 6400}},
    {"interface": "Ethernet2", "direction": "input", "profile": "gold"},
    {"interface": "Port-Channel7", "member": "Ethernet3", "direction": "input", "profile": "lag",
     "groupPolicer": "uplinks", "counters": {"pktsSent": 10}},
    {"interface": "Port-Channel7", "member": "Ethernet4", "direction": "input", "profile": "lag",
     "groupPolicer": "uplinks", "counters": {"pktsSent": 20}}])";

IntfPolicerKey Key(IntfId intf, IntfId member, Direction direction = Direction::directionInput_) {
  return IntfPolicerKey{intf, member, direction};
}
const IntfPolicerKey e1In = Key(IntfId::ethernet(1), IntfId::ethernet(1));
const IntfPolicerKey e1Out =
    Key(IntfId::ethernet(1), IntfId::ethernet(1), Direction::directionOutput_);
const IntfPolicerKey lag3 = Key(IntfId::portChannel(7), IntfId::ethernet(3));
const IntfPolicerKey lag4 = Key(IntfId::portChannel(7), IntfId::ethernet(4));

// Records every key notification of the policing collections and the ifIndex map as
// "<collection> <key>", and every attribute notification of the Qos::Status.
class PolicingWriterTest : public StatusSourceTest {
 protected:
  void SetUp() override {
    StatusSourceTest::SetUp();
    const Qos::PolicingStatus& p = Policing();
    profileChanges = p.profile().changes().subscribe(
        [this](const PolicerName& n) { seen.push_back(fmt::format("profile {}", n)); });
    instanceChanges = p.policerInstance().changes().subscribe(
        [this](const PolicerName& n) { seen.push_back(fmt::format("instance {}", n)); });
    inChanges = p.intfPolicer().changes().subscribe(
        [this](const Qos::IntfPairKey& k) { seen.push_back(fmt::format("in {}", k)); });
    outChanges = p.intfPolicerOutput().changes().subscribe(
        [this](const Qos::IntfPairKey& k) { seen.push_back(fmt::format("out {}", k)); });
    ifIndexChanges = source.ifMib()->ifIndexByIntfId().changes().subscribe(
        [this](const IntfId& i) { seen.push_back(fmt::format("ifIndex {}", i)); });
    statusChanges = source.qosStatus()->changes().subscribe(
        [this](const U32& attr) { seen.push_back(fmt::format("status {}", attr)); });
  }

  const Qos::PolicingStatus& Policing() const { return *source.qosStatus()->policingStatus(); }
  // The notifications since the last call.
  std::vector<std::string> Seen() { return std::exchange(seen, {}); }

  Quill::Ptr<InterfacePolicing::PolicerProfile const> Profile(std::string_view name) const {
    auto* p = Policing().profile().find(PolicerName(name));
    return p ? *p : nullptr;
  }
  Quill::Ptr<InterfacePolicing::PolicerInstance const> Instance(std::string_view name) const {
    auto* p = Policing().policerInstance().find(PolicerName(name));
    return p ? *p : nullptr;
  }
  Quill::Ptr<Qos::IntfPolicerInfoStatus const> Status(const IntfPolicerKey& key) const {
    const auto& coll = key.direction == Direction::directionInput_ ? Policing().intfPolicer()
                                                                   : Policing().intfPolicerOutput();
    auto* p = coll.find(key.pair());
    return p ? *p : nullptr;
  }
  std::optional<U32> IfIndex(IntfId intf) const {
    const U32* ifIndex = source.ifMib()->ifIndexByIntfId().find(intf);
    return ifIndex ? std::optional<U32>(*ifIndex) : std::nullopt;
  }

  std::vector<std::string> seen;
  Quill::Publisher<PolicerName>::Subscription profileChanges;
  Quill::Publisher<PolicerName>::Subscription instanceChanges;
  Quill::Publisher<Qos::IntfPairKey>::Subscription inChanges;
  Quill::Publisher<Qos::IntfPairKey>::Subscription outChanges;
  Quill::Publisher<IntfId>::Subscription ifIndexChanges;
  Quill::Publisher<U32>::Subscription statusChanges;
};

using Names = std::vector<std::string>;

TEST_F(PolicingWriterTest, OnePolicingStatusForTheLifeOfTheSource) {
  auto policing = source.qosStatus()->policingStatus();
  ASSERT_TRUE(policing);
  EXPECT_EQ(policing, Quill::Ptr<Qos::PolicingStatus const>(source.policing().policingStatus()));
  Apply(With(policers));
  Apply("{}");
  EXPECT_EQ(source.qosStatus()->policingStatus(), policing);
  EXPECT_TRUE(policing->intfPolicer().empty());
  for (const auto& change : Seen()) {
    EXPECT_NE(change.rfind("status", 0), 0U) << change;
  }
}

// A restart of the QoS agent, played when qosAgentRestarts changes: a new policing status, every
// object in it new and equal to the old, published by one change of the Qos::Status; the QoS
// MIB's rows are made again too.
TEST_F(PolicingWriterTest, RestartPublishesANewPolicingStatusOfNewObjects) {
  const std::string profiles = R"("policerProfiles": [{"name": "gold", "cir": 1000}], )";
  auto state = [&](int restarts) {
    return "{\"qosAgentRestarts\": " + std::to_string(restarts) + ", " +
           With(profiles + std::string(policers)).substr(1);
  };
  Apply(state(5));  // the first state plays no restart
  auto policing = source.qosStatus()->policingStatus();
  auto gold = Profile("gold");
  auto lag = Status(lag3);
  Seen();
  Apply(state(6));
  EXPECT_EQ(Seen(), Names{fmt::format("status {}", Qos::Status::policingStatusAttr)});
  auto next = source.qosStatus()->policingStatus();
  ASSERT_NE(next, policing);
  EXPECT_EQ(next, Quill::Ptr<Qos::PolicingStatus const>(source.policing().policingStatus()));
  ASSERT_TRUE(Profile("gold") && Status(lag3) && Status(lag3)->counters());
  EXPECT_NE(Profile("gold"), gold);
  EXPECT_EQ(Profile("gold")->config()->cir(), 1000U);
  EXPECT_NE(Status(lag3), lag);
  EXPECT_NE(Status(lag3)->counters(), lag->counters());
  EXPECT_EQ(Status(lag3)->counters()->pktsSent(), 10U);
  EXPECT_EQ(Status(lag3)->policerName(PolicerType::policerTypeGroup)->str(), "uplinks");
  EXPECT_EQ(Policing().intfPolicer().size(), 4U);
  EXPECT_EQ(Policing().intfPolicerOutput().size(), 1U);
  EXPECT_EQ(IfIndex(IntfId::ethernet(1)), std::optional<U32>(1));
  // Counts the file did not change keep what tick() added, until a restart makes the counters
  // again with the counts the state gives them.
  source.tick();
  const U64 counted = Status(lag3)->counters()->pktsSent();
  ASSERT_GT(counted, 10U);
  Apply(state(6));
  EXPECT_EQ(Status(lag3)->counters()->pktsSent(), counted);
  Apply(state(7));
  EXPECT_EQ(Status(lag3)->counters()->pktsSent(), 10U);
  Seen();
  // Grown by two: two restarts; gone down: one; unchanged: none.
  Apply(state(9));
  EXPECT_EQ(Seen().size(), 2U);
  Apply(state(2));
  EXPECT_EQ(Seen().size(), 1U);
  Apply(state(2));
  EXPECT_TRUE(Seen().empty());
}

TEST_F(PolicingWriterTest, FirstStatePublishesEveryKeyOnce) {
  Apply(With(R"("policerProfiles": [{"name": "gold", "cir": 1000, "cirUnit": "mbps"},
                                    {"name": "plain"}],
                "policerInstances": [{"name": "edge", "profile": "gold"},
                                     {"name": "spare", "profile": ""}], )" +
             std::string(policers)));
  EXPECT_EQ(Seen(),
            (Names{"profile gold", "profile plain", "instance edge", "instance spare",
                   "in Ethernet1/Ethernet1", "out Ethernet1/Ethernet1", "in Ethernet2/Ethernet2",
                   "in Port-Channel7/Ethernet3", "in Port-Channel7/Ethernet4", "ifIndex Ethernet1",
                   "ifIndex Ethernet3", "ifIndex Ethernet4", "ifIndex Port-Channel7"}));

  auto gold = Profile("gold");
  ASSERT_TRUE(gold && gold->config());
  EXPECT_EQ(gold->name(), PolicerName("gold"));
  EXPECT_EQ(gold->config()->cir(), 1000U);
  EXPECT_EQ(gold->config()->cirUnit(), Qos::RateUnit::rateUnitMbps_);
  EXPECT_EQ(gold->config()->bcUnit(), Qos::BurstUnit::burstUnitBytes_);
  EXPECT_FALSE(Profile("plain")->config());
  EXPECT_EQ(Instance("edge")->profileName(), "gold");
  EXPECT_EQ(Instance("spare")->profileName(), "");

  auto in = Status(e1In);
  ASSERT_TRUE(in);
  EXPECT_EQ(in->policerName(), (Qos::IntfPolicerInfoStatus::PolicerNameMap{
                                   {PolicerType::policerTypeProfile, PolicerName("gold")}}));
  EXPECT_FALSE(in->counters());
  auto out = Status(e1Out);
  ASSERT_TRUE(out && out->counters());
  EXPECT_EQ(out->counters()->pktsSent(), 100U);
  EXPECT_EQ(out->counters()->bytesSent(), 6400U);
  EXPECT_EQ(*Status(lag3)->policerName(PolicerType::policerTypeGroup), PolicerName("uplinks"));
  EXPECT_EQ(Status(lag4)->counters()->pktsSent(), 20U);
  EXPECT_NE(Status(lag3)->counters(), Status(lag4)->counters());

  EXPECT_EQ(source.ifMib()->ifIndexByIntfId().size(), 4U);
  EXPECT_EQ(IfIndex(IntfId::ethernet(1)), 1U);
  EXPECT_EQ(IfIndex(IntfId::portChannel(7)), 1000007U);
  EXPECT_FALSE(IfIndex(IntfId::ethernet(2)));
}

TEST_F(PolicingWriterTest, ReloadingTheSameFilePublishesNothingAndKeepsEveryObject) {
  Write(With(R"("policerProfiles": [{"name": "gold", "cir": 5}],
                "policerInstances": [{"name": "edge", "profile": "gold"}], )" +
             std::string(policers)));
  source.load(path.string());
  auto gold = Profile("gold");
  auto edge = Instance("edge");
  auto lag = Status(lag3);
  Seen();
  source.load(path.string());
  EXPECT_EQ(Seen(), Names{});
  EXPECT_EQ(Profile("gold"), gold);
  EXPECT_EQ(Instance("edge"), edge);
  EXPECT_EQ(Status(lag3), lag);
}

TEST_F(PolicingWriterTest, ProfilesAddedRemovedOrReplacedAreOneChangeEach) {
  Apply(R"({"policerProfiles": [{"name": "gold", "cir": 100}, {"name": "silver", "cir": 50},
                                {"name": "bronze", "cir": 10}, {"name": "plain"}]})");
  auto gold = Profile("gold");
  auto silver = Profile("silver");
  Seen();
  Apply(R"({"policerProfiles": [{"name": "gold", "cir": 100}, {"name": "silver", "cir": 60},
                                {"name": "platinum"}, {"name": "plain", "be": 7}]})");
  // Deletions first, then the sets in name order.
  EXPECT_EQ(Seen(),
            (Names{"profile bronze", "profile plain", "profile platinum", "profile silver"}));
  EXPECT_EQ(Profile("gold"), gold);
  EXPECT_FALSE(Profile("bronze"));
  ASSERT_NE(Profile("silver"), silver);
  EXPECT_EQ(Profile("silver")->config()->cir(), 60U);
  EXPECT_EQ(silver->config()->cir(), 50U);  // a holder of the old profile still reads it
  EXPECT_EQ(Profile("plain")->config()->be(), 7U);
  EXPECT_FALSE(Profile("platinum")->config());
}

TEST_F(PolicingWriterTest, InstancesAddedRemovedOrReplacedAreOneChangeEach) {
  Apply(R"({"policerInstances": [{"name": "a", "profile": "gold"}, {"name": "b"},
                                 {"name": "c", "profile": "x"}]})");
  auto a = Instance("a");
  Seen();
  Apply(R"({"policerInstances": [{"name": "a", "profile": "gold"}, {"name": "b", "profile": "y"},
                                 {"name": "d", "profile": ""}]})");
  EXPECT_EQ(Seen(), (Names{"instance c", "instance b", "instance d"}));
  EXPECT_EQ(Instance("a"), a);
  EXPECT_EQ(Instance("b")->profileName(), "y");
  EXPECT_FALSE(Instance("c"));
}

// The loader orders large edits as the collections iterate, so that each insert lands after the
// previous one; the keys that go still go first, and the result is that of the edits as diffed.
TEST_F(PolicingWriterTest, EditsOrderedAsTheCollectionsGoFirstAndEndTheSame) {
  auto state = [](int from, int to, int cir) {
    std::string profiles, intfs, pols;
    for (int i = from; i < to; ++i) {
      profiles +=
          fmt::format("{}{{\"name\": \"p{}\", \"cir\": {}}}", profiles.empty() ? "" : ",", i, cir);
      intfs += fmt::format("{}{{\"name\": \"Ethernet{}\"}}", intfs.empty() ? "" : ",", i + 1);
      for (const char* direction : {"input", "output"}) {
        pols += fmt::format(
            "{}{{\"interface\": \"Ethernet{}\", \"direction\": \"{}\", \"profile\": \"p{}\"}}",
            pols.empty() ? "" : ",", i + 1, direction, cir);
      }
    }
    return StateSim::parseState(fmt::format(R"({{"policerProfiles": [{}], "interfaces": [{}],
                                                 "interfacePolicers": [{}]}})",
                                            profiles, intfs, pols),
                                "test.json");
  };
  const StateSim::State before = state(0, 40, 1), after = state(20, 60, 2);
  source.stateIs(before);
  StateSim::StateEdits edits = StateSim::editsFrom(source.state(), after, false);
  const StateSim::StateDiff diffed = edits.diff;
  StateSim::orderAsTheCollections(edits);
  const StateSim::StateDiff& d = edits.diff;

  // The same keys, those that go (p0..p19) first, each part in its collection's order.
  auto inCollectionOrder = [](std::vector<PolicerName> names) {
    Qos::PolicingStatus::ProfileColl coll;
    for (const PolicerName& n : names) {
      coll.set(n, nullptr);
    }
    std::vector<PolicerName> ordered;
    for (const auto& [n, v] : coll) {
      ordered.push_back(n);
    }
    return ordered;
  };
  ASSERT_EQ(d.profiles.size(), 60U);
  std::vector<PolicerName> gone(d.profiles.begin(), d.profiles.begin() + 20);
  std::vector<PolicerName> come(d.profiles.begin() + 20, d.profiles.end());
  EXPECT_TRUE(std::all_of(gone.begin(), gone.end(), [&](const PolicerName& n) {
    return !after.policerProfiles.contains(n);
  }));
  EXPECT_EQ(gone, inCollectionOrder(gone));
  EXPECT_EQ(come, inCollectionOrder(come));
  EXPECT_NE(d.profiles, diffed.profiles) << "60 names in name order and in hash order differ";
  // Interface policers: the 40 that go, then the input ones that come, then the output ones.
  ASSERT_EQ(d.intfPolicers.size(), 120U);
  EXPECT_TRUE(std::is_sorted(
      d.intfPolicers.begin() + 40, d.intfPolicers.end(),
      [](const IntfPolicerKey& a, const IntfPolicerKey& b) { return a.direction < b.direction; }));
  for (auto* keys : {&d.profiles, &diffed.profiles}) {
    std::vector<PolicerName> sorted = *keys;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(std::adjacent_find(sorted.begin(), sorted.end()), sorted.end());
  }
  auto sortedCopy = [](auto keys) {
    std::sort(keys.begin(), keys.end());
    return keys;
  };
  EXPECT_EQ(sortedCopy(d.profiles), sortedCopy(diffed.profiles));
  EXPECT_EQ(sortedCopy(d.intfPolicers), sortedCopy(diffed.intfPolicers));
  EXPECT_EQ(sortedCopy(d.ifIndexes), sortedCopy(diffed.ifIndexes));

  // Each key's entry is found beside it: null for those that go, else the entry in the values.
  ASSERT_EQ(edits.entries.profiles.size(), d.profiles.size());
  ASSERT_EQ(edits.entries.intfPolicers.size(), d.intfPolicers.size());
  ASSERT_EQ(edits.entries.ifIndexes.size(), d.ifIndexes.size());
  for (size_t i = 0; i < d.profiles.size(); ++i) {
    EXPECT_EQ(edits.entries.profiles[i],
              StateSim::entryOf(edits.values.policerProfiles, d.profiles[i]));
    EXPECT_EQ(edits.entries.profiles[i] == nullptr, i < 20);
  }
  for (size_t i = 0; i < d.intfPolicers.size(); ++i) {
    EXPECT_EQ(edits.entries.intfPolicers[i],
              StateSim::entryOf(edits.values.interfacePolicers, d.intfPolicers[i]));
  }
  for (size_t i = 0; i < d.ifIndexes.size(); ++i) {
    EXPECT_EQ(edits.entries.ifIndexes[i],
              StateSim::entryOf(edits.values.interfaces, d.ifIndexes[i]));
  }
  const StateSim::StateEdits copy = edits;  // its pointers would name the original's values
  EXPECT_TRUE(copy.entries.profiles.empty());
  EXPECT_EQ(copy, edits);

  // Applied, they end where the edits as diffed end.
  source.editsIs(std::move(edits));
  source.applyEdits([] { return false; });
  EXPECT_EQ(source.state(), after);
  EXPECT_EQ(Policing().profile().size(), 40U);
  EXPECT_EQ(Profile("p59")->config()->cir(), 2U);
  EXPECT_FALSE(Profile("p19"));
  EXPECT_EQ(Policing().intfPolicer().size(), 40U);
  EXPECT_EQ(Policing().intfPolicerOutput().size(), 40U);
  EXPECT_EQ(IfIndex(IntfId::ethernet(60)), 60U);
  EXPECT_FALSE(IfIndex(IntfId::ethernet(20)));
}

TEST_F(PolicingWriterTest, ChangedPolicerNamesMakeANewStatusOnTheSameCounters) {
  Apply(With(policers));
  auto out = Status(e1Out);
  source.tick();
  U64 ticked = out->counters()->pktsSent();
  ASSERT_GT(ticked, 100U);
  Seen();
  Apply(With(R"("interfacePolicers": [
      {"interface": "Ethernet1", "direction": "input", "profile": "gold"},
      {"interface": "Ethernet1", "direction": "output", "profile": "silver",
       "groupPolicer": "", "counters": {"pktsSent": 100, "bytesSent": 6400}},
      {"interface": "Port-Channel7", "member": "Ethernet3", "direction": "input",
       "profile": "lag2", "groupPolicer": "uplinks", "counters": {"pktsSent": 10}},
      {"interface": "Port-Channel7", "member": "Ethernet4", "direction": "input", "profile": "lag",
       "groupPolicer": "uplinks", "counters": {"pktsSent": 20}}])"));
  EXPECT_EQ(Seen(), (Names{"in Ethernet2/Ethernet2", "out Ethernet1/Ethernet1",
                           "in Port-Channel7/Ethernet3"}));
  auto newOut = Status(e1Out);
  ASSERT_NE(newOut, out);
  EXPECT_EQ(*newOut->policerName(PolicerType::policerTypeGroup), PolicerName(""));
  EXPECT_EQ(newOut->counters(), out->counters());
  EXPECT_EQ(newOut->counters()->pktsSent(), ticked);  // its counts were not edited
  EXPECT_EQ(*Status(lag3)->policerName(PolicerType::policerTypeProfile), PolicerName("lag2"));
  EXPECT_FALSE(Status(Key(IntfId::ethernet(2), IntfId::ethernet(2))));
}

TEST_F(PolicingWriterTest, ChangedCountsAreWrittenInPlaceAndPublishNothing) {
  Apply(With(policers));
  auto lag = Status(lag3);
  source.tick();
  U64 ticked = Status(lag4)->counters()->pktsSent();
  Seen();
  Apply(With(R"("interfacePolicers": [
      {"interface": "Ethernet1", "direction": "input", "profile": "gold"},
      {"interface": "Ethernet1", "direction": "output", "profile": "silver",
       "counters": {"pktsSent": 100, "bytesSent": 6400}},
      {"interface": "Ethernet2", "direction": "input", "profile": "gold"},
      {"interface": "Port-Channel7", "member": "Ethernet3", "direction": "input", "profile": "lag",
       "groupPolicer": "uplinks", "counters": {"pktsSent": 11, "pktsDropped": 2}},
      {"interface": "Port-Channel7", "member": "Ethernet4", "direction": "input", "profile": "lag",
       "groupPolicer": "uplinks", "counters": {"pktsSent": 20}}])"));
  EXPECT_EQ(Seen(), Names{});
  EXPECT_EQ(Status(lag3), lag);
  EXPECT_EQ(lag->counters()->pktsSent(), 11U);
  EXPECT_EQ(lag->counters()->pktsDropped(), 2U);
  EXPECT_EQ(Status(lag4)->counters()->pktsSent(), ticked);  // unchanged in the file: kept
}

TEST_F(PolicingWriterTest, GainingOrLosingCountersMakesANewStatus) {
  Apply(With(policers));
  auto lag = Status(lag3);
  Seen();
  const char* withoutCounters = R"("interfacePolicers": [
      {"interface": "Port-Channel7", "member": "Ethernet3", "direction": "input", "profile": "lag",
       "groupPolicer": "uplinks"}])";
  Apply(With(withoutCounters));
  EXPECT_EQ(Seen(),
            (Names{"in Ethernet1/Ethernet1", "out Ethernet1/Ethernet1", "in Ethernet2/Ethernet2",
                   "in Port-Channel7/Ethernet4", "in Port-Channel7/Ethernet3"}));
  EXPECT_FALSE(Status(lag3)->counters());
  EXPECT_FALSE(source.policing().counters(lag3));
  EXPECT_EQ(lag->counters()->pktsSent(), 10U);  // the old status keeps its counters
  Apply(With(policers));
  EXPECT_EQ(Status(lag3)->counters()->pktsSent(), 10U);
  EXPECT_NE(Status(lag3)->counters(), lag->counters());
}

TEST_F(PolicingWriterTest, IfIndexMapChangesOnlyForInterfacesWhoseIfIndexChanged) {
  Apply(With(""));
  EXPECT_EQ(Seen(), (Names{"ifIndex Ethernet1", "ifIndex Ethernet3", "ifIndex Ethernet4",
                           "ifIndex Port-Channel7"}));
  Apply(R"({"interfaces": [
      {"name": "Ethernet1", "ifIndex": null}, {"name": "Ethernet2", "ifIndex": 22},
      {"name": "Ethernet3", "ifIndex": 33}, {"name": "Ethernet4"},
      {"name": "Port-Channel7", "members": ["Ethernet3", "Ethernet4"]}]})");
  // Lost, gained, changed; Ethernet4 and the port channel are untouched.
  EXPECT_EQ(Seen(), (Names{"ifIndex Ethernet1", "ifIndex Ethernet2", "ifIndex Ethernet3"}));
  EXPECT_FALSE(IfIndex(IntfId::ethernet(1)));
  EXPECT_EQ(IfIndex(IntfId::ethernet(2)), 22U);
  EXPECT_EQ(IfIndex(IntfId::ethernet(3)), 33U);
  EXPECT_EQ(IfIndex(IntfId::ethernet(4)), 4U);
  Apply(R"({"interfaces": [{"name": "Ethernet4"}]})");
  EXPECT_EQ(Seen(), (Names{"ifIndex Ethernet2", "ifIndex Ethernet3", "ifIndex Port-Channel7"}));
  EXPECT_EQ(source.ifMib()->ifIndexByIntfId().size(), 1U);
}

TEST_F(PolicingWriterTest, InterfaceGoingWithItsPolicersLosesThemBeforeItsIfIndex) {
  Apply(With(policers));
  Seen();
  Apply(R"({"interfaces": [{"name": "Ethernet2", "ifIndex": null}, {"name": "Ethernet3"},
      {"name": "Ethernet4"}, {"name": "Port-Channel7", "members": ["Ethernet3", "Ethernet4"]}],
      "interfacePolicers": [
      {"interface": "Ethernet2", "direction": "input", "profile": "gold"},
      {"interface": "Port-Channel7", "member": "Ethernet3", "direction": "input", "profile": "lag",
       "groupPolicer": "uplinks", "counters": {"pktsSent": 10}},
      {"interface": "Port-Channel7", "member": "Ethernet4", "direction": "input", "profile": "lag",
       "groupPolicer": "uplinks", "counters": {"pktsSent": 20}}]})");
  EXPECT_EQ(Seen(),
            (Names{"in Ethernet1/Ethernet1", "out Ethernet1/Ethernet1", "ifIndex Ethernet1"}));
}

TEST_F(PolicingWriterTest, HardwareFlagIsWrittenInPlace) {
  auto hw = source.aclHwStatus();
  EXPECT_FALSE(hw->interfacePolicingCountersPerLagMemberCounterInfo());
  Apply(R"({"hardware": {"interfacePolicingCountersPerLagMemberCounterInfo": true}})");
  EXPECT_EQ(source.aclHwStatus(), hw);
  EXPECT_TRUE(hw->interfacePolicingCountersPerLagMemberCounterInfo());
  Apply("{}");
  EXPECT_FALSE(hw->interfacePolicingCountersPerLagMemberCounterInfo());
  EXPECT_EQ(Seen(), Names{});
}

TEST_F(PolicingWriterTest, TickAdvancesCountedPolicersConsistently) {
  Apply(With(policers));
  auto before = [&](const IntfPolicerKey& key) {
    const auto& c = *Status(key)->counters();
    return std::vector<U64>{c.pktsDropped(), c.pktsSent(),       c.bytesDropped(),
                            c.bytesSent(),   c.yellowPktsSent(), c.yellowBytesSent()};
  };
  auto start = before(lag3);
  for (int second = 0; second < 8; ++second) {
    source.tick();
  }
  for (const auto& key : {e1Out, lag3, lag4}) {
    const Qos::IntfPolicerCounters& c = *Status(key)->counters();
    EXPECT_GT(c.pktsSent(), 100U) << fmt::format("{}", key.pair());
    EXPECT_GT(c.bytesSent(), 6400U);
    EXPECT_GT(c.yellowPktsSent(), 0U);
    EXPECT_LT(c.yellowPktsSent(), c.pktsSent());
    EXPECT_LT(c.yellowBytesSent(), c.bytesSent());
    EXPECT_GT(c.pktsDropped(), 0U);  // a few within eight seconds
    EXPECT_LT(c.pktsDropped() * 10, c.pktsSent());
    EXPECT_GT(c.bytesDropped(), c.pktsDropped());
  }
  // Bytes follow packets: one packet size per member and direction.
  const Qos::IntfPolicerCounters& c = *Status(lag3)->counters();
  U64 sent = c.pktsSent() - start[1];
  ASSERT_GT(sent, 0U);
  EXPECT_EQ((c.bytesSent() - start[3]) % sent, 0U);
  EXPECT_FALSE(Status(e1In)->counters());
  // A reload of the same state keeps the advanced counts.
  auto advanced = before(lag3);
  Apply(With(policers));
  EXPECT_EQ(before(lag3), advanced);
}

TEST_F(PolicingWriterTest, BadFileChangesNoPolicingStatus) {
  Write(With(policers));
  source.load(path.string());
  auto lag = Status(lag3);
  Seen();
  Write(With(R"("interfacePolicers": [
      {"interface": "Ethernet1", "direction": "input", "profile": "gold"},
      {"interface": "Port-Channel7", "direction": "input", "profile": "lag"}])"));
  EXPECT_THROW(source.load(path.string()), StateSim::StateFileError);
  EXPECT_EQ(Seen(), Names{});
  EXPECT_EQ(Status(lag3), lag);
  EXPECT_EQ(Policing().intfPolicer().size(), 4U);
}

TEST_F(PolicingWriterTest, DefaultExampleHasPolicingOfEveryKind) {
  source.load(QOSSNMP_EXAMPLES_DIR "/default.json");
  const auto& state = source.state();
  EXPECT_TRUE(source.aclHwStatus()->interfacePolicingCountersPerLagMemberCounterInfo());
  EXPECT_GE(Policing().profile().size(), 8U);
  EXPECT_GE(Policing().policerInstance().size(), 11U);
  EXPECT_EQ(Policing().profile().size(), state.policerProfiles.size());
  EXPECT_EQ(Policing().policerInstance().size(), state.policerInstances.size());
  EXPECT_EQ(Policing().intfPolicer().size() + Policing().intfPolicerOutput().size(),
            state.interfacePolicers.size());
  EXPECT_FALSE(Policing().intfPolicer().empty());
  EXPECT_FALSE(Policing().intfPolicerOutput().empty());

  size_t withoutRates = 0;
  for (const auto& [name, profile] : Policing().profile()) {
    withoutRates += profile->config() ? 0 : 1;
  }
  EXPECT_GE(withoutRates, 1U);
  // Every instance names a profile: the MIB fails a GET of an empty one with genErr, which
  // would end every walk of the example's instance table there.
  for (const auto& [name, instance] : Policing().policerInstance()) {
    EXPECT_FALSE(instance->profileName().empty()) << name.str();
  }

  // A port channel whose members both count, and a policer on an interface without ifIndex.
  size_t countedLagMembers = 0;
  size_t withoutIfIndex = 0;
  for (const auto& [key, policer] : state.interfacePolicers) {
    if (key.interface != key.member && policer.counters) {
      ++countedLagMembers;
    }
    if (!IfIndex(key.interface)) {
      ++withoutIfIndex;
    }
  }
  EXPECT_GE(countedLagMembers, 2U);
  EXPECT_GE(withoutIfIndex, 1U);
}

TEST(PolicingWriterLifetimeTest, DestructionEmptiesTheCollectionsAHolderStillSees) {
  auto root = Quill::make<Cordb::Dir>("sysdb");
  Quill::Ptr<Qos::Status const> status;
  Quill::Ptr<IntfSnmp::IfMib const> ifMib;
  {
    StateSim::StatusSource source(root);
    source.stateIs(StateSim::parseState(With(policers), "t"));
    status = source.qosStatus();
    ifMib = source.ifMib();
    ASSERT_FALSE(status->policingStatus()->intfPolicer().empty());
  }
  EXPECT_TRUE(status->policingStatus()->intfPolicer().empty());
  EXPECT_TRUE(status->policingStatus()->intfPolicerOutput().empty());
  EXPECT_TRUE(ifMib->ifIndexByIntfId().empty());
}

}  // namespace
