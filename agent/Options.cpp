#include "Options.h"

#include <algorithm>
#include <string_view>

#include <fmt/format.h>

namespace Agent {

namespace {

enum class Kind { flag, value };

struct Spec {
  std::string_view name;
  Kind kind;
};

constexpr Spec specs[] = {
    {"--listen", Kind::value},  {"--agentx", Kind::value}, {"--config", Kind::value},
    {"--context", Kind::value}, {"--trace", Kind::value},  {"--toggles", Kind::value},
    {"--state", Kind::value},   {"--no-hint", Kind::flag}, {"--live", Kind::flag},
    {"--check", Kind::flag},    {"--help", Kind::flag},    {"--version", Kind::flag},
};

const Spec* findSpec(std::string_view name) {
  auto it = std::find_if(std::begin(specs), std::end(specs),
                         [name](const Spec& s) { return s.name == name; });
  return it == std::end(specs) ? nullptr : &*it;
}

void addContext(Options& options, const std::string& context) {
  if (std::find(options.contexts.begin(), options.contexts.end(), context) !=
      options.contexts.end()) {
    throw OptionsError(fmt::format("context '{}' given twice", context));
  }
  options.contexts.push_back(context);
}

void apply(Options& options, std::string_view name, const std::string& value, bool& listenGiven) {
  if (name == "--listen") {
    options.listen = value;
    listenGiven = true;
  } else if (name == "--agentx") {
    options.agentx = value;
  } else if (name == "--config") {
    options.config = value;
  } else if (name == "--context") {
    addContext(options, value);
  } else if (name == "--trace") {
    options.trace = value;
  } else if (name == "--toggles") {
    options.toggles = value;
  } else if (name == "--state") {
    options.state = value;
  } else if (name == "--no-hint") {
    options.noHint = true;
  } else if (name == "--live") {
    options.live = true;
  } else if (name == "--check") {
    options.check = true;
  } else if (name == "--help") {
    options.help = true;
  } else if (name == "--version") {
    options.version = true;
  }
}

}  // namespace

Options parseOptions(const std::vector<std::string>& args, const Defaults& defaults) {
  Options options;
  options.config = defaults.config;
  options.state = defaults.state;
  bool listenGiven = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    std::string_view name = arg;
    std::string value;
    bool inlineValue = false;
    if (auto eq = arg.find('='); arg.starts_with("--") && eq != std::string::npos) {
      name = std::string_view(arg).substr(0, eq);
      value = arg.substr(eq + 1);
      inlineValue = true;
    }
    const Spec* spec = findSpec(name);
    if (spec == nullptr) {
      throw OptionsError(arg.starts_with("-") ? fmt::format("unknown option '{}'", name)
                                              : fmt::format("unexpected argument '{}'", arg));
    }
    if (spec->kind == Kind::flag && inlineValue) {
      throw OptionsError(fmt::format("option '{}' takes no value", name));
    }
    if (spec->kind == Kind::value && !inlineValue) {
      if (i + 1 == args.size()) {
        throw OptionsError(fmt::format("option '{}' needs a value", name));
      }
      value = args[++i];
    }
    if (spec->kind == Kind::value && value.empty()) {
      throw OptionsError(fmt::format("option '{}' needs a non-empty value", name));
    }
    apply(options, name, value, listenGiven);
  }
  if (listenGiven && options.subAgent()) {
    throw OptionsError("--listen and --agentx exclude each other");
  }
  return options;
}

std::string usage(const std::string& program, const Defaults& defaults) {
  return fmt::format(
      "usage: {0} [OPTION]...\n"
      "Serves the VELORA QoS, policing and interface policer MIB modules over SNMP.\n"
      "\n"
      "  --listen ADDR    master agent on the net-snmp transport ADDR"
      " (default udp:127.0.0.1:1161)\n"
      "  --agentx SOCKET  AgentX sub-agent of the master agent at SOCKET instead\n"
      "                   (e.g. unix:/run/agentx.sock or tcp:127.0.0.1:705)\n"
      "  --config FILE    net-snmp directives (rocommunity, rouser, createUser, ...);\n"
      "                   the only configuration read (default {1})\n"
      "  --context NAME   also serve the named context NAME (repeatable)\n"
      "  --state FILE     state file to load at start and on SIGHUP (default {2})\n"
      "  --trace SPEC     trace levels, e.g. QosSnmp/0-2 (default: $QOSSNMP_TRACE)\n"
      "  --toggles DIR    feature toggle directory (Snmp.json)\n"
      "  --no-hint        walk tables from their first row, ignoring iterator hints\n"
      "  --live           advance the counters once a second\n"
      "  --check          read the configuration and the state file, report every\n"
      "                   problem and exit (0: none, 1: some) without serving\n"
      "  --version        show the version and exit\n"
      "  --help           show this text and exit\n"
      "\n"
      "SIGHUP reloads the state file; SIGTERM and SIGINT stop the agent.\n",
      program, defaults.config, defaults.state);
}

}  // namespace Agent
