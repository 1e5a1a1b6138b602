// Agent::AgentXLink: the AgentX sub-agent's link to its master, as the service reports it.
//
// net-snmp's sub-agent connects to the master, re-sends every registration after a reconnect,
// and retries every agentxPingInterval seconds while the master is away (it also pings the
// master at that interval to notice one that hangs). The link watches that: it is `registered`
// once the session is open and the plug-in's modules are registered with the master (after
// modulesRegistered() at start, and after each reconnect), and otherwise says why not, with the
// system's reason for the failed connection and what to do about it ("No such file or
// directory: is snmpd running, with 'master agentx'?"). Each change is logged once (a master
// that stays away costs one line, not one per retry) and passed to the listener, which tells
// the service manager.
//
// Construct it before init_snmp() (the first connection is made there) and destroy it before
// net-snmp shuts down; one per process, on the agent's thread.
#pragma once

#include <functional>
#include <string>

namespace Agent {

class AgentXLink {
 public:
  // Called with registered() and status() after each change.
  using Listener = std::function<void()>;

  // The retry and ping interval qossnmpd sets unless the configuration gives agentxPingInterval.
  static constexpr int defaultPingIntervalS = 1;

  explicit AgentXLink(std::string socket);
  ~AgentXLink();
  AgentXLink(const AgentXLink&) = delete;
  AgentXLink& operator=(const AgentXLink&) = delete;

  // The modules are registered (with the master if connected): from now on the link reports.
  void modulesRegistered(Listener listener);

  bool registered() const noexcept { return registered_; }
  // "ready on AgentX master SOCKET", or "waiting for AgentX master SOCKET: REASON".
  const std::string& status() const noexcept { return status_; }

  // What the system's error number means for a sub-agent connecting to `socket`: the reason and
  // a hint, "Permission denied: ...".
  static std::string explain(const std::string& socket, int error);

 private:
  static int onSessionStart(int, int, void*, void* self);
  static int onSessionStop(int, int, void*, void* self);
  static void onRegistered(unsigned int, void* self);
  static void onRetry(unsigned int, void* self);

  void change(bool registered, const std::string& status, int priority);
  void diagnose();

  std::string socket_;
  bool connected_ = false;
  bool started_ = false;
  bool registered_ = false;
  std::string status_;
  unsigned int retryAlarm_ = 0;
  Listener listener_;
};

}  // namespace Agent
