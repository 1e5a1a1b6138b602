// qossnmpd's command line.
//
// parseOptions() turns the arguments after the program name into Options, filling in the
// defaults; it never exits and never prints. A malformed command line (unknown option, missing
// or empty value, stray argument, --listen together with --agentx) is an OptionsError whose
// what() is the one-line message to show the user; the caller prints it with usage() and exits
// with status 2. Paths are taken as given; whether the files exist is checked where they are
// read.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace Agent {

struct Options {
  // Master agent: the net-snmp transport address to listen on.
  std::string listen = "udp:127.0.0.1:1161";
  // AgentX sub-agent: the master's socket; empty for a master agent.
  std::string agentx;
  // net-snmp configuration directives; the only configuration file read.
  std::string config;
  // The state file the status source loads at start and on SIGHUP.
  std::string state;
  // Trace levels ("QosSnmp/0-2,Foo/7"); empty: QOSSNMP_TRACE from the environment, if set.
  std::string trace;
  // Feature toggle directory; empty: none (every toggle at its default).
  std::string toggles;
  // Named contexts served besides the default one, in command-line order, no duplicates.
  std::vector<std::string> contexts;
  bool noHint = false;   // ignore the table iterators' hints
  bool live = false;     // advance the counters once a second
  bool check = false;    // read the configuration and the state file, report, exit 0 or 1
  bool help = false;     // print usage() and exit 0; the other fields are then unspecified
  bool version = false;  // print the version and exit 0; likewise

  bool subAgent() const noexcept { return !agentx.empty(); }
};

struct OptionsError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The bundled files that --config and --state default to.
struct Defaults {
  std::string config;
  std::string state;
};

// Parses `args` (argv without the program name). Throws OptionsError.
Options parseOptions(const std::vector<std::string>& args, const Defaults& defaults);

// The usage text, several lines, ending in a newline.
std::string usage(const std::string& program, const Defaults& defaults);

}  // namespace Agent
