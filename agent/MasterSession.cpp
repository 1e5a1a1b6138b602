#include "MasterSession.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <fmt/format.h>

#include "ResponseFit.h"
#include "SnmpAgent.h"

namespace Agent {

namespace {

// The port of "udp:127.0.0.1:161", "udp6:[::1]:161", "161"; 0 if there is none to read.
unsigned long portOf(const std::string& address) {
  std::size_t colon = address.rfind(':');
  std::string digits = colon == std::string::npos ? address : address.substr(colon + 1);
  if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
    return 0;
  }
  return std::strtoul(digits.c_str(), nullptr, 10);
}

// Requests refused for their community or user, counted by net-snmp (snmpInBadCommunityNames,
// snmpInBadCommunityUses, usmStatsUnknownUserNames, usmStatsWrongDigests).
unsigned long authFailures() {
  unsigned long sum = 0;
  for (int stat : {STAT_SNMPINBADCOMMUNITYNAMES, STAT_SNMPINBADCOMMUNITYUSES,
                   STAT_USMSTATSUNKNOWNUSERNAMES, STAT_USMSTATSWRONGDIGESTS}) {
    sum += snmp_get_statistic(stat);
  }
  return sum;
}

struct AuthFailureLog {
  static constexpr std::chrono::seconds interval{60};
  std::chrono::steady_clock::time_point last{};
  bool any = false;
  unsigned long untold = 0;
};

AuthFailureLog authLog;

std::string sourceOf(netsnmp_session* session, netsnmp_pdu* pdu) {
  netsnmp_transport* transport = snmp_sess_transport(snmp_sess_pointer(session));
  char* text =
      transport != nullptr && transport->f_fmtaddr != nullptr
          ? transport->f_fmtaddr(transport, pdu->transport_data, pdu->transport_data_length)
          : nullptr;
  std::string source = text != nullptr ? text : "an unknown address";
  std::free(text);
  return source;
}

// At most one line a minute: the first refusal at once, then how many followed.
void logAuthFailure(netsnmp_session* session, netsnmp_pdu* pdu) {
  auto now = std::chrono::steady_clock::now();
  if (authLog.any && now - authLog.last < AuthFailureLog::interval) {
    ++authLog.untold;
    return;
  }
  const char* version = pdu->version == SNMP_VERSION_3 ? "SNMPv3 user" : "community";
  std::string more = authLog.untold == 0
                         ? std::string()
                         : fmt::format(" ({} more since the last report)", authLog.untold);
  snmp_log(LOG_WARNING,
           "qossnmpd: request from %s refused: unknown %s or no access for it "
           "(snmpInBadCommunityNames and usmStats count them)%s\n",
           sourceOf(session, pdu).c_str(), version, more.c_str());
  authLog.last = now;
  authLog.any = true;
  authLog.untold = 0;
}

int onPacket(int op, netsnmp_session* session, int reqid, netsnmp_pdu* pdu, void* magic) {
  unsigned long before = authFailures();
  int result = handle_snmp_packet(op, session, reqid, pdu, magic);
  if (op == NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE && authFailures() != before) {
    logAuthFailure(session, pdu);
  }
  return result;
}

}  // namespace

std::string MasterSession::explainListenFailure(const std::string& address, int error) {
  unsigned long port = portOf(address);
  switch (error) {
    case EADDRINUSE:
      return fmt::format(
          "{}: port {} is in use by another process (ss -ulpn 'sport = :{}' "
          "names it); stop it or --listen another port",
          std::strerror(error), port, port);
    case EACCES:
    case EPERM:
      if (port != 0 && port < 1024) {
        return fmt::format(
            "{}: port {} is privileged: run with the capability "
            "CAP_NET_BIND_SERVICE (qossnmpd.service has it) or --listen a port "
            "above 1023",
            std::strerror(error), port);
      }
      return std::strerror(error);
    case EADDRNOTAVAIL:
      return fmt::format("{}: no interface of this host has that address", std::strerror(error));
    case 0:
      return "not an address net-snmp can serve (e.g. udp:127.0.0.1:1161, udp6:[::1]:1161, "
             "tcp:0.0.0.0:1161)";
    default:
      return std::strerror(error);
  }
}

MasterSession::MasterSession(const std::string& address) {
  errno = 0;
  netsnmp_transport* transport = netsnmp_transport_open_server("snmp", address.c_str());
  if (!transport) {
    int error = errno;
    throw SnmpAgentError(
        fmt::format("cannot listen on {}: {}", address, explainListenFailure(address, error)));
  }
  netsnmp_session settings;
  snmp_sess_init(&settings);
  settings.version = SNMP_DEFAULT_VERSION;
  settings.callback = onPacket;
  settings.authenticator = nullptr;
  settings.flags = netsnmp_ds_get_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_FLAGS);
  settings.isAuthoritative = SNMP_SESS_AUTHORITATIVE;
  // snmp_add_full copies the settings, opens the transport and owns it from here on, also on
  // failure.
  session_ =
      snmp_add_full(&settings, transport, netsnmp_agent_check_packet, nullptr,
                    netsnmp_agent_check_parse, nullptr, buildFittingResponse, nullptr, nullptr);
  if (!session_) {
    throw SnmpAgentError(fmt::format("cannot serve {}", address));
  }
}

MasterSession::~MasterSession() {
  snmp_close(session_);
}

}  // namespace Agent
