// Agent::MasterSession: the master agent's listening SNMP session.
//
// It does what net-snmp's init_master_agent does for one transport address (the agent's
// packet checks, access control and request handling are the library's own), but encodes
// every message it sends with Agent::buildFittingResponse, so that no client value of
// msgMaxSize, max-repetitions or non-repeaters reaches the library's faulty path for
// oversized bulk responses (see ResponseFit.h). The library's own listener must be off
// (NETSNMP_DS_AGENT_PORTS "none") so that the address is not opened twice.
//
// Requests refused for their community or SNMPv3 user are logged, the first at once and then
// at most one line a minute with the number refused meanwhile; net-snmp counts every one
// (snmpInBadCommunityNames, usmStatsUnknownUserNames, ...).
//
// Construct after init_snmp() on the agent's thread; the destructor closes the session.
// Throws SnmpAgentError when the address cannot be opened, with the system's reason and what
// to do about it (explainListenFailure).
#pragma once

#include <string>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

namespace Agent {

class MasterSession {
 public:
  explicit MasterSession(const std::string& address);
  ~MasterSession();
  MasterSession(const MasterSession&) = delete;
  MasterSession& operator=(const MasterSession&) = delete;

  // Why `address` could not be opened, from the system's error number (0: net-snmp could not
  // parse it), and the fix: "Address already in use: port 161 is in use by ...".
  static std::string explainListenFailure(const std::string& address, int error);

 private:
  netsnmp_session* session_ = nullptr;
};

}  // namespace Agent
