// Fuzz::AgentUnderFuzz: qossnmpd's master agent inside a fuzzing process.
//
// It sets the agent up as qossnmpd does (Agent::SnmpAgent with its MasterSession on a free
// loopback UDP port, the platform, the status source, the plug-in's modules in the default
// context) and talks to it through a UDP socket of its own, so that every message takes the
// agent's whole packet path: the transport, net-snmp's packet and parse checks, community and
// USM access control, the table handlers and the response builder. Nothing runs in the
// background: exchange() sends one message and serves the agent's sockets until no datagram
// is left, so the message has been handled, and answered or dropped, when it returns.
//
// Between messages the rows change: nextState() loads the next state file of the list into the
// status source (applied key by key, as a SIGHUP reload is), tick() advances the counters.
//
// net-snmp keeps process-wide state: one AgentUnderFuzz per process, on one thread. Throws
// Agent::SnmpAgentError or StateSim::StateFileError when the agent cannot be set up.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Cordb/Dir.h"
#include "Quill/Ptr.h"

namespace Agent {
class MibModules;
class SnmpAgent;
}  // namespace Agent
namespace StateSim {
class StatusSource;
}

namespace Fuzz {

struct AgentSettings {
  std::string configFile;               // net-snmp directives (communities, USM users)
  std::vector<std::string> stateFiles;  // loaded in turn, the first at start; not empty
};

class AgentUnderFuzz {
 public:
  explicit AgentUnderFuzz(const AgentSettings& settings);
  ~AgentUnderFuzz();
  AgentUnderFuzz(const AgentUnderFuzz&) = delete;
  AgentUnderFuzz& operator=(const AgentUnderFuzz&) = delete;

  // Sends `message` as one datagram and serves the agent until it is idle; returns the number
  // of datagrams the agent sent back. A message that no datagram can carry is not sent.
  size_t exchange(const std::uint8_t* message, size_t size);
  // True when the agent answers a v2c GET of sysUpTime.0 with a response to that request.
  bool answers();
  // Loads the next state file of the list (wrapping round).
  void nextState();
  // Advances every counter by one second of traffic.
  void tick();
  // The state file in force.
  const std::string& stateFile() const { return settings_.stateFiles[state_]; }

 private:
  void serveUntilIdle();
  // Receives every datagram waiting on the client socket; returns how many, and whether one
  // of them contains `mark`.
  size_t drain(const std::vector<std::uint8_t>& mark, bool* marked);

  AgentSettings settings_;
  size_t state_ = 0;
  int client_ = -1;
  std::unique_ptr<Agent::SnmpAgent> snmp_;
  Quill::Ptr<Cordb::Dir> root_;
  std::unique_ptr<StateSim::StatusSource> source_;
  std::unique_ptr<Agent::MibModules> modules_;
};

}  // namespace Fuzz
