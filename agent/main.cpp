// qossnmpd: serves the QoS plug-in's MIB modules from a state file, as a master agent or as an
// AgentX sub-agent. See `qossnmpd --help`.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <malloc.h>
#include <unistd.h>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <fmt/format.h>

#include "Dovo/TaskScheduler.h"
#include "AgentXLink.h"
#include "EventLoop.h"
#include "InterfaceNames.h"
#include "LogSink.h"
#include "MibModules.h"
#include "Options.h"
#include "PlatformSetup.h"
#include "PolicingModels.h"
#include "ResponseFit.h"
#include "ServiceNotify.h"
#include "SnmpAgent.h"
#include "StateLoader.h"
#include "StateReloads.h"
#include "StatusSource.h"
#include "TableSms.h"
#include "WaitingRequests.h"

namespace {

constexpr int exitBadState = 1;
constexpr int exitUsage = 2;
// The hidden first argument that makes qossnmpd the state reader (StateLoader.h).
constexpr const char* stateReaderFlag = "--state-reader";

// The bundled files, found relative to the executable's prefix (the directory above it), so
// that they hold in the build tree and once installed alike: <prefix>/bin/qossnmpd uses
// <prefix>/etc/qossnmpd.conf and <prefix>/share/qossnmp/examples/default.json. The build sets
// other paths for another install layout (the Debian package's /usr/sbin/qossnmpd reads
// ../etc/qossnmpd/qossnmpd.conf, that is /etc/qossnmpd/qossnmpd.conf).
#ifndef QOSSNMPD_DEFAULT_CONFIG
#define QOSSNMPD_DEFAULT_CONFIG "etc/qossnmpd.conf"
#endif
#ifndef QOSSNMPD_VERSION
#define QOSSNMPD_VERSION "unknown"
#endif
#ifndef QOSSNMPD_DEFAULT_STATE
#define QOSSNMPD_DEFAULT_STATE "share/qossnmp/examples/default.json"
#endif

Agent::Defaults bundledDefaults() {
  std::error_code error;
  std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", error);
  std::filesystem::path prefix = error ? std::filesystem::path("..") : exe.parent_path() / "..";
  return {(prefix / QOSSNMPD_DEFAULT_CONFIG).lexically_normal().string(),
          (prefix / QOSSNMPD_DEFAULT_STATE).lexically_normal().string()};
}

// A manager that asked to be told (Type=notify) but cannot be reached is worth a warning; the
// agent serves all the same.
void tellServiceManager(Agent::NotifyResult result) {
  if (result == Agent::NotifyResult::failed) {
    snmp_log(LOG_WARNING, "qossnmpd: could not notify the service manager at $NOTIFY_SOCKET\n");
  }
}

// A start-up error, one log line per line of `message`, each naming the agent.
void reportError(const std::string& message) {
  std::size_t begin = 0;
  while (begin <= message.size()) {
    std::size_t end = std::min(message.find('\n', begin), message.size());
    // The sink itself: net-snmp may be shut down already, and with it its log handlers.
    Agent::LogSink::write(LOG_ERR,
                          fmt::format("qossnmpd: {}\n", message.substr(begin, end - begin)));
    begin = end + 1;
  }
}

// --check: the configuration as the agent would read it and the state file as a start or a
// reload would load it; every problem is reported, nothing is served.
int check(const Agent::Options& options) {
  bool ok = true;
  try {
    Agent::SnmpAgent snmp({options.listen, options.agentx, options.config, true});
  } catch (const Agent::SnmpAgentError& e) {
    reportError(e.what());
    ok = false;
  }
  try {
    StateSim::readStateFile(options.state);
  } catch (const StateSim::StateFileError& e) {
    reportError(e.what());
    ok = false;
  }
  if (ok) {
    fmt::print("qossnmpd: {} and {}: no problems\n", options.config, options.state);
  }
  return ok ? 0 : 1;
}

void logResponseFit() {
  const Agent::ResponseFitCounters& fit = Agent::responseFitCounters();
  snmp_log(LOG_INFO,
           "qossnmpd: %llu bulk responses cut to fit the manager's message size (%llu varbinds "
           "left out), %llu answered tooBig\n",
           static_cast<unsigned long long>(fit.bulkResponsesCut),
           static_cast<unsigned long long>(fit.varbindsDropped),
           static_cast<unsigned long long>(fit.responsesRefused));
}

int serve(const Agent::Options& options) {
  // Signals are caught before anything slow starts: a SIGTERM or SIGINT during start-up stops
  // the agent cleanly, and a SIGHUP before the state file is applied reloads once it is.
  Agent::EventLoop loop;
  Agent::SnmpAgent snmp({options.listen, options.agentx, options.config});
  auto root = Agent::setUpPlatform(options);
  StateSim::StatusSource source(root);
  // Reads and compares the state file on a thread of its own from here on.
  StateSim::StateLoader loader(options.state, {"/proc/self/exe", stateReaderFlag});
  Agent::PolicingModels policing(root);
  Agent::MibModules modules(options.contexts);
  modules.start();
  // The stand-in platform's IF-MIB names of the switch's interfaces; a sub-agent leaves IF-MIB
  // to its master.
  std::optional<Agent::InterfaceNames> interfaceNames;
  if (options.agentx.empty()) {
    interfaceNames.emplace(source.ifMib());
    interfaceNames->serve();
  }
  // The agent owns its scheduler: the state file's edits and the table Sms run in its tasks,
  // between requests, and yield as soon as a request waits.
  auto scheduler = Quill::make<Dovo::TaskScheduler>("qossnmpd");
  Agent::WaitingRequests waiting;
  scheduler->interruptIs([&waiting] { return waiting(); });
  Agent::TableSms sms(scheduler);
  snmp_log(LOG_INFO, "qossnmpd: answering on %s; loading the state file\n",
           snmp.endpoint().c_str());

  const std::string readyStatus = "ready on " + snmp.endpoint();
  // A sub-agent is ready once registered with its master; until then its status says why not.
  Agent::AgentXLink* link = snmp.agentXLink();
  auto tellState = [&] {
    if (link == nullptr || link->registered()) {
      tellServiceManager(Agent::notifyReady(link ? link->status() : readyStatus));
    } else {
      tellServiceManager(Agent::notifyStatus(link->status()));
    }
  };
  int status = 0;
  // SIGHUP tells the service manager "reloading" until the reloads it asked for are done.
  bool reloading = false;
  auto reloadDone = [&] {
    if (reloading && !loader.busy()) {
      tellState();
      reloading = false;
    }
  };
  Agent::StateReloads::Events events;
  events.applied = [&](bool initial) {
    if (initial) {
      // The tables hold the state file: the service is ready (a sub-agent once its master has
      // its registrations; the link logs that). The table Sms fill the policing tables from
      // here, each logging when its table is complete.
      if (link != nullptr) {
        link->modulesRegistered(tellState);
      } else {
        snmp_log(LOG_INFO, "qossnmpd: %s\n", readyStatus.c_str());
        tellState();
      }
      sms.start(source, policing);
      return;
    }
    snmp_log(LOG_INFO, "qossnmpd: reloaded %s\n", options.state.c_str());
    reloadDone();
  };
  events.refused = [&](const std::string& error, bool initial) {
    if (initial) {
      reportError(error);
      status = exitBadState;
      loop.stop();
      return;
    }
    snmp_log(LOG_ERR, "qossnmpd: reload of %s failed: %s; keeping the previous state\n",
             options.state.c_str(), error.c_str());
    reloadDone();
  };
  Agent::StateReloads reloads(source, loader, *scheduler, events);

  Agent::EventLoop::Callbacks callbacks;
  callbacks.tasksRunnable = [&scheduler] { return scheduler->runnable(); };
  callbacks.runTasks = [&] {
    waiting.refresh();
    scheduler->runFor(scheduler->timeSlice());
    waiting.sliceEnded();
  };
  callbacks.reload = [&] {
    if (!reloading) {
      tellServiceManager(Agent::notifyReloading("reloading " + options.state));
      reloading = true;
    }
    reloads.request();
  };
  callbacks.watches.push_back(
      {[&reloads] { return reloads.fd(); }, [&reloads] { reloads.resultReady(); }});
  if (options.live) {
    callbacks.tick = [&source] { source.tick(); };
  }
  int signal = loop.run(callbacks);
  if (status != 0) {
    return status;
  }
  snmp_log(LOG_INFO, "qossnmpd: stopping on signal %d\n", signal);
  tellServiceManager(Agent::notifyStopping());
  logResponseFit();
  sms.stop();
  modules.stop();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  // Freed memory at the top of any of malloc's heaps goes back to the system past 128 KiB. By
  // default glibc raises that threshold to twice the largest block it has mapped and freed (a
  // state file's text: tens of megabytes), and malloc_trim() does not shrink the heaps of other
  // threads than the first, so the loader thread's heap kept what it no longer used.
  mallopt(M_TRIM_THRESHOLD, 128 * 1024);
  // The state reader: the agent starts it, as a process of its own, to read the state file.
  if (argc == 3 && std::string_view(argv[1]) == stateReaderFlag) {
    return StateSim::serveStateReads(argv[2], STDIN_FILENO, STDOUT_FILENO);
  }
  Agent::LogSink::install();
  const Agent::Defaults defaults = bundledDefaults();
  Agent::Options options;
  try {
    options = Agent::parseOptions(std::vector<std::string>(argv + 1, argv + argc), defaults);
  } catch (const Agent::OptionsError& e) {
    fmt::print(stderr, "qossnmpd: {}\nTry 'qossnmpd --help'.\n", e.what());
    return exitUsage;
  }
  if (options.help) {
    fmt::print("{}", Agent::usage("qossnmpd", defaults));
    return 0;
  }
  if (options.version) {
    fmt::print("qossnmpd {} (net-snmp {})\n", QOSSNMPD_VERSION, netsnmp_get_version());
    return 0;
  }
  try {
    return options.check ? check(options) : serve(options);
  } catch (const Agent::SnmpAgentError& e) {
    reportError(e.what());
    return 1;
  } catch (const std::invalid_argument& e) {
    reportError(e.what());
    return exitUsage;
  }
}
