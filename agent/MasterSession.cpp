#include "MasterSession.h"

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <fmt/format.h>

#include "ResponseFit.h"
#include "SnmpAgent.h"

namespace Agent {

MasterSession::MasterSession(const std::string& address) {
  netsnmp_transport* transport = netsnmp_transport_open_server("snmp", address.c_str());
  if (!transport) {
    throw SnmpAgentError(fmt::format("cannot listen on {}", address));
  }
  netsnmp_session settings;
  snmp_sess_init(&settings);
  settings.version = SNMP_DEFAULT_VERSION;
  settings.callback = handle_snmp_packet;
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
