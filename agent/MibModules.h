// Agent::MibModules: the plug-in's MIB modules, served in the agent's contexts.
//
// The plug-in announces one Snmp::HandlerRegistration per MIB module when it is loaded
// (Snmp::AutoRegistree), and declares where it lives (Snmp::mibModuleIs). start() calls
// initHandler for the default context and then for each named context, on every announced
// registration; stop() calls unregisterHandler for the same registrations and
// contexts. The destructor stops what is still started.
//
// REQUIRES: net-snmp is set up, and the platform's agent root and configuration are set
// (Snmp::CordbUtil) before start(). Single-threaded: the agent's thread.
#pragma once

#include <string>
#include <vector>

namespace Agent {

class MibModules {
 public:
  // `contexts`: the named contexts, served in this order after the default context.
  explicit MibModules(std::vector<std::string> contexts);
  ~MibModules();
  MibModules(const MibModules&) = delete;
  MibModules& operator=(const MibModules&) = delete;

  // REQUIRES: not started.
  void start();
  // Does nothing when not started.
  void stop();
  bool started() const noexcept { return started_; }

  // Every context served, the default ("") first.
  const std::vector<std::string>& contexts() const noexcept { return contexts_; }

 private:
  std::vector<std::string> contexts_;
  bool started_ = false;
};

}  // namespace Agent
