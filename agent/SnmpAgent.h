// Agent::SnmpAgent: qossnmpd's net-snmp agent library, set up and torn down.
//
// The constructor configures and starts net-snmp, either as a master agent listening on one
// transport address or as an AgentX sub-agent of a master agent, with these rules:
//   - the only configuration file read is `configFile` (no /etc/snmp, no ~/.snmp, no persistent
//     state in /var/lib/snmp, and nothing is written there at shutdown);
//   - no MIB modules are loaded (the agent serves OIDs; it never translates names);
//   - no SMUX listener (TCP port 199);
//   - logging goes to standard error through LogSink (the journal's priority prefixes under
//     systemd), without a line per connection;
//   - a master agent serves the system group, the SNMP group (net-snmp's own counters:
//     snmpInPkts, snmpInBadCommunityNames, ...) and sysORTable beside the plug-in's modules, and
//     applies the access rules of the configuration (rocommunity, rouser, createUser,
//     com2sec/group/access/view, ...);
//   - a master agent's responses always fit the size the manager announced, whatever the
//     manager asks for (MasterSession, ResponseFit.h).
// After construction the plug-in may register its handlers. The destructor shuts net-snmp down;
// unregister handlers before.
//
// Failures to start throw SnmpAgentError with a message for the user, one line per problem: an
// unreadable configuration file (with the system's reason), each unknown or malformed directive
// (file and line), a master agent's configuration without any access rule, an address that
// cannot be served (the reason and what to do). An AgentX master that is not there yet is not a
// failure: the sub-agent keeps trying to connect, and agentXLink() says why it is not there.
//
// net-snmp keeps process-wide state: at most one SnmpAgent exists at a time, on the agent's
// only thread.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

namespace Agent {

struct SnmpAgentError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct SnmpAgentSettings {
  std::string listen;      // master agent: transport address, e.g. "udp:127.0.0.1:1161"
  std::string agentx;      // sub-agent: the master's AgentX socket; empty for a master agent
  std::string configFile;  // net-snmp directives
  // Reads the configuration and reports its problems, but neither listens nor connects.
  bool checkOnly = false;
};

class AgentXLink;
class MasterSession;

class SnmpAgent {
 public:
  // The name under which net-snmp knows the application (configuration token type, logs).
  static constexpr const char* appName = "qossnmpd";

  explicit SnmpAgent(const SnmpAgentSettings& settings);
  ~SnmpAgent();
  SnmpAgent(const SnmpAgent&) = delete;
  SnmpAgent& operator=(const SnmpAgent&) = delete;

  // Where the agent is reachable, for messages: "udp:127.0.0.1:1161" or
  // "AgentX master unix:/run/agentx.sock".
  const std::string& endpoint() const noexcept { return endpoint_; }

  // The sub-agent's link to its master; null for a master agent.
  AgentXLink* agentXLink() const noexcept { return agentx_.get(); }

 private:
  bool subAgent_;
  std::string endpoint_;
  std::unique_ptr<MasterSession> master_;
  std::unique_ptr<AgentXLink> agentx_;
};

}  // namespace Agent
