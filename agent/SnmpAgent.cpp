#include "SnmpAgent.h"

#include "MasterSession.h"

#include <cstdlib>
#include <fstream>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <fmt/format.h>

// Parts of net-snmp's agent that Debian ships no headers for: MIB modules of libnetsnmpmibs,
// and the access control directives of libnetsnmpagent.
extern "C" {
void init_system_mib(void);
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
  std::ifstream in(path);
  if (!in) {
    throw SnmpAgentError(fmt::format("cannot read configuration file {}", path));
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
  snmp_enable_stderrlog();
  // Debian's net-snmp is built with TCP wrappers, which log every accepted connection.
  setAgentFlag(NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, true);
}

}  // namespace

SnmpAgent::SnmpAgent(const SnmpAgentSettings& settings) : subAgent_(!settings.agentx.empty()) {
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
  } else {
    init_system_mib();
    init_sysORTable();
  }
  // Responses are always encoded in reverse; the forward encoder is never needed.
  setLibraryFlag(NETSNMP_DS_LIB_REVERSE_ENCODE, true);
  init_snmp(appName);
  if (!subAgent_) {
    try {
      if (init_master_agent() != 0) {
        throw SnmpAgentError("cannot start the master agent");
      }
      master_ = std::make_unique<MasterSession>(settings.listen);
    } catch (const SnmpAgentError&) {
      snmp_shutdown(appName);
      throw;
    }
  }
}

SnmpAgent::~SnmpAgent() {
  master_.reset();
  snmp_shutdown(appName);
  if (!subAgent_) {
    shutdown_master_agent();
  }
  shutdown_agent();
}

}  // namespace Agent
