#include "SnmpAgent.h"

#include "MasterSession.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <fmt/format.h>

#include "AgentXLink.h"
#include "LogSink.h"

// Parts of net-snmp's agent that Debian ships no headers for: MIB modules of libnetsnmpmibs,
// and the access control directives of libnetsnmpagent.
extern "C" {
void init_system_mib(void);
void init_snmp_mib(void);
void init_sysORTable(void);
void init_vacm_config_tokens(void);
void init_vacm_snmpd_easy_tokens(void);
}

namespace Agent {

namespace {

void setLibraryFlag(int which, bool value) {
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, which, value ? 1 : 0);
}

void setAgentFlag(int which, bool value) {
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, which, value ? 1 : 0);
}

void requireReadable(const std::string& path) {
  std::FILE* in = std::fopen(path.c_str(), "r");
  if (in == nullptr) {
    int error = errno;
    std::string hint = error == EACCES ? " (the service reads it as the user qossnmpd: group "
                                         "qossnmpd, mode 0640)"
                                       : "";
    throw SnmpAgentError(
        fmt::format("cannot read configuration file {}: {}{}", path, std::strerror(error), hint));
  }
  std::fclose(in);
}

// Every problem net-snmp's parser reported in the configuration, one line each; a master agent
// without any access rule would answer no one, which is a problem too.
void refuseConfigProblems(const ConfigCapture& capture, const std::string& configFile,
                          bool master) {
  std::string message;
  for (const ConfigProblem& problem : capture.problems()) {
    message += (message.empty() ? "" : "\n") + problem.text;
  }
  if (master && capture.noAccessRule()) {
    message += (message.empty() ? "" : "\n") +
               fmt::format(
                   "{}: no access rule (rocommunity, rouser, or com2sec, group, view and "
                   "access): the agent would answer no one",
                   configFile);
  }
  if (!message.empty()) {
    throw SnmpAgentError(message);
  }
}

// Only `configFile`: the default files are off, and the "optional" configuration file is read
// even so. No persistent state is read or written.
void restrictConfiguration(const std::string& configFile) {
  setLibraryFlag(NETSNMP_DS_LIB_DONT_READ_CONFIGS, true);
  netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_OPTIONALCONFIG, configFile.c_str());
  setLibraryFlag(NETSNMP_DS_LIB_DONT_PERSIST_STATE, true);
  setLibraryFlag(NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD, true);
  setLibraryFlag(NETSNMP_DS_LIB_DISABLE_PERSISTENT_SAVE, true);
}

// The MIB parser reads the module list and the directories from these variables when
// init_snmp() runs; empty means none.
void loadNoMibs() {
  setenv("MIBS", "", 1);
  setenv("MIBDIRS", "", 1);
}

void setUpLogging() {
  LogSink::install();
  // Debian's net-snmp is built with TCP wrappers, which log every accepted connection.
  setAgentFlag(NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, true);
}

}  // namespace

SnmpAgent::SnmpAgent(const SnmpAgentSettings& settings)
    : subAgent_(!settings.agentx.empty() && !settings.checkOnly) {
  requireReadable(settings.configFile);
  setUpLogging();
  restrictConfiguration(settings.configFile);
  loadNoMibs();
  // Alarms run from the event loop (snmp_select_info, run_alarms), never from SIGALRM.
  setLibraryFlag(NETSNMP_DS_LIB_ALARM_DONT_USE_SIG, true);
  if (subAgent_) {
    setAgentFlag(NETSNMP_DS_AGENT_ROLE, true);
    netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET,
                          settings.agentx.c_str());
    endpoint_ = "AgentX master " + settings.agentx;
    agentx_ = std::make_unique<AgentXLink>(settings.agentx);
  } else {
    // The library opens no listener of its own: MasterSession serves the address.
    netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS, "none");
    endpoint_ = settings.listen;
  }

  // init_agent() starts the agent modules built into the library; SMUX would bind TCP port 199.
  char noSmux[] = "-smux";
  add_to_init_list(noSmux);
  init_agent(appName);
  if (subAgent_) {
    // The master agent controls access. Accept its directives all the same, so that one
    // configuration file serves both modes.
    init_vacm_config_tokens();
    init_vacm_snmpd_easy_tokens();
    // Retry (and ping the master) every second rather than net-snmp's 15 s, so that the rows
    // are back soon after the master restarts; agentxPingInterval in the configuration wins.
    netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_PING_INTERVAL,
                       AgentXLink::defaultPingIntervalS);
  } else {
    init_system_mib();
    init_sysORTable();
    // The SNMP group (snmpInPkts, snmpInBadCommunityNames, ...): net-snmp's own counters.
    init_snmp_mib();
  }
  // Responses are always encoded in reverse; the forward encoder is never needed.
  setLibraryFlag(NETSNMP_DS_LIB_REVERSE_ENCODE, true);
  try {
    {
      ConfigCapture capture;
      init_snmp(appName);
      refuseConfigProblems(capture, settings.configFile,
                           !subAgent_ && !(settings.checkOnly && !settings.agentx.empty()));
    }
    if (!subAgent_ && !settings.checkOnly) {
      if (init_master_agent() != 0) {
        throw SnmpAgentError("cannot start the master agent");
      }
      master_ = std::make_unique<MasterSession>(settings.listen);
    }
  } catch (const SnmpAgentError&) {
    agentx_.reset();
    snmp_shutdown(appName);
    throw;
  }
}

SnmpAgent::~SnmpAgent() {
  master_.reset();
  agentx_.reset();
  snmp_shutdown(appName);
  if (!subAgent_) {
    shutdown_master_agent();
  }
  shutdown_agent();
}

}  // namespace Agent
