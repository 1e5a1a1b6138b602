#include "Wire.h"

#include <gtest/gtest.h>

#include "State.h"

namespace {

using StateSim::decode;
using StateSim::encode;
using StateSim::StateEdits;

// Every section and every kind of value: the bundled example, with policing keys of each kind.
StateEdits Rich() {
  StateSim::State state = StateSim::readStateFile(QOSSNMP_EXAMPLES_DIR "/default.json");
  StateSim::State policing = StateSim::parseState(R"({
    "interfaces": [{"name": "Ethernet1", "ifIndex": 1}, {"name": "Ethernet2", "ifIndex": 2},
                   {"name": "Port-Channel5", "ifIndex": 1000005, "members": ["Ethernet1"]}],
    "qosAgentRestarts": 3,
    "policerProfiles": [{"name": "a", "cir": 10, "cirUnit": "pps", "bc": 20, "pir": 30,
                         "be": 40}, {"name": "b"}],
    "policerInstances": [{"name": "i", "profile": "a"}, {"name": "j", "profile": ""}],
    "interfacePolicers": [
      {"interface": "Port-Channel5", "member": "Ethernet1", "direction": "output",
       "profile": "a", "groupPolicer": "i", "counters": {"pktsSent": 5, "bytesSent": 900, "yellowBytesSent": 9}},
      {"interface": "Ethernet2", "direction": "input", "profile": ""}]})",
                                                  "policing.json");
  state.qosAgentRestarts = policing.qosAgentRestarts;
  state.policerProfiles = policing.policerProfiles;
  state.policerInstances = policing.policerInstances;
  state.interfacePolicers = policing.interfacePolicers;
  return StateSim::editsFrom(StateSim::State{}, state, true);
}

TEST(WireTest, EditsComeBackAsTheyWent) {
  const StateEdits edits = Rich();
  ASSERT_TRUE(edits.diff.qosMibChanged);
  ASSERT_FALSE(edits.values.classCounters.empty());
  ASSERT_FALSE(edits.values.interfacePolicers.empty());
  EXPECT_EQ(decode(encode(edits)), edits);

  // A diff of a few keys, with keys that went (no value).
  StateSim::State after = edits.values;
  after.policerProfiles.erase(InterfacePolicing::PolicerName("b"));
  after.policerInstances.begin()->second.profile = "b";
  const StateEdits few = StateSim::editsFrom(edits.values, after, false);
  ASSERT_EQ(few.diff.keys(), 2U);
  EXPECT_EQ(decode(encode(few)), few);
}

TEST(WireTest, AMessageCutShortOrRunningOnIsRefused) {
  const std::string bytes = encode(Rich());
  for (size_t size : {size_t{0}, size_t{1}, bytes.size() / 2, bytes.size() - 1}) {
    EXPECT_THROW(decode(std::string_view(bytes).substr(0, size)), StateSim::WireError) << size;
  }
  EXPECT_THROW(decode(bytes + '\0'), StateSim::WireError);
}

}  // namespace
