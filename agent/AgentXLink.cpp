#include "AgentXLink.h"

#include <cerrno>
#include <cstring>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>
#include <net-snmp/agent/agent_callbacks.h>

#include <fmt/format.h>

namespace Agent {

namespace {

int pingIntervalS() {
  int interval =
      netsnmp_ds_get_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_PING_INTERVAL);
  return interval > 0 ? interval : AgentXLink::defaultPingIntervalS;
}

// Opens and closes a connection as the sub-agent would, with net-snmp's own transports (unix:,
// tcp:, ...); returns 0 when the master accepted it, else the system's error number.
int probe(const std::string& socket) {
  errno = 0;
  netsnmp_transport* transport = netsnmp_transport_open_client("agentx", socket.c_str());
  int error = errno;
  if (transport == nullptr) {
    return error != 0 ? error : EINVAL;
  }
  transport->f_close(transport);
  netsnmp_transport_free(transport);
  return 0;
}

}  // namespace

AgentXLink::AgentXLink(std::string socket) : socket_(std::move(socket)) {
  // net-snmp's own warning has no reason in it and comes at every retry; the link says it once.
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_NO_CONNECTION_WARNINGS, 1);
  snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_INDEX_START, onSessionStart,
                         this);
  snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_INDEX_STOP, onSessionStop, this);
}

AgentXLink::~AgentXLink() {
  if (retryAlarm_ != 0) {
    snmp_alarm_unregister(retryAlarm_);
  }
  snmp_unregister_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_INDEX_START, onSessionStart,
                           this, 1);
  snmp_unregister_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_INDEX_STOP, onSessionStop,
                           this, 1);
}

void AgentXLink::modulesRegistered(Listener listener) {
  listener_ = std::move(listener);
  started_ = true;
  if (connected_) {
    change(true, "ready on AgentX master " + socket_, LOG_INFO);
  } else {
    diagnose();
  }
}

std::string AgentXLink::explain(const std::string& socket, int error) {
  std::string hint;
  switch (error) {
    case ENOENT:
      hint = "is snmpd running, with 'master agentx' and this agentXSocket?";
      break;
    case EACCES:
    case EPERM:
      hint =
          "snmpd's agentXPerms must let this user's group use the socket "
          "(agentXPerms 0660 0755 root qossnmpd)";
      break;
    case ECONNREFUSED:
      hint = "nothing accepts connections there: snmpd is not running";
      break;
    default:
      hint = "check the address " + socket;
      break;
  }
  return fmt::format("{}: {}", std::strerror(error), hint);
}

int AgentXLink::onSessionStart(int, int, void*, void* self) {
  auto* link = static_cast<AgentXLink*>(self);
  link->connected_ = true;
  // net-snmp sends the registrations again right after this callback, in the same alarm: the
  // link reports once that is done.
  snmp_alarm_register_hr({0, 1}, 0, onRegistered, self);
  return 0;
}

int AgentXLink::onSessionStop(int, int, void*, void* self) {
  auto* link = static_cast<AgentXLink*>(self);
  link->connected_ = false;
  if (link->started_) {
    link->change(false,
                 fmt::format("waiting for AgentX master {}: the master closed the session; "
                             "reconnecting every {} s",
                             link->socket_, pingIntervalS()),
                 LOG_WARNING);
    link->diagnose();
  }
  return 0;
}

void AgentXLink::onRegistered(unsigned int, void* self) {
  auto* link = static_cast<AgentXLink*>(self);
  if (link->started_ && link->connected_) {
    link->change(true, "ready on AgentX master " + link->socket_, LOG_INFO);
  }
}

void AgentXLink::onRetry(unsigned int, void* self) {
  static_cast<AgentXLink*>(self)->diagnose();
}

// While the master is away: why, checked at the sub-agent's retry interval; a new reason is
// logged, the same one is not.
void AgentXLink::diagnose() {
  if (connected_) {
    if (retryAlarm_ != 0) {
      snmp_alarm_unregister(retryAlarm_);
      retryAlarm_ = 0;
    }
    return;
  }
  if (retryAlarm_ == 0) {
    retryAlarm_ = snmp_alarm_register(pingIntervalS(), SA_REPEAT, onRetry, this);
  }
  int error = probe(socket_);
  std::string reason =
      error == 0 ? "the master accepts connections; registering" : explain(socket_, error);
  change(false, fmt::format("waiting for AgentX master {}: {}", socket_, reason), LOG_WARNING);
}

void AgentXLink::change(bool registered, const std::string& status, int priority) {
  if (registered == registered_ && status == status_) {
    return;
  }
  registered_ = registered;
  status_ = status;
  if (registered) {
    diagnose();  // stops the retry alarm
  }
  snmp_log(priority, "qossnmpd: %s\n", status_.c_str());
  if (listener_) {
    listener_();
  }
}

}  // namespace Agent
