#include "PlatformSetup.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <stdexcept>

#include "Quill/Trace.h"
#include "Snmp/CordbUtil.h"
#include "Toggle.h"

namespace Agent {

namespace {

std::string hostName() {
  char name[HOST_NAME_MAX + 1] = {};
  if (gethostname(name, sizeof name - 1) != 0 || name[0] == '\0') {
    return "localhost";
  }
  return name;
}

void setUpTracing(const Options& options) {
  std::string spec = options.trace;
  if (spec.empty()) {
    const char* env = std::getenv("QOSSNMP_TRACE");
    spec = env != nullptr ? env : "";
  }
  if (spec.empty()) {
    return;
  }
  try {
    Quill::traceSpecIs(spec);
  } catch (const std::invalid_argument& e) {
    throw std::invalid_argument("bad trace spec '" + spec + "': " + e.what());
  }
}

}  // namespace

Quill::Ptr<Cordb::Dir> setUpPlatform(const Options& options) {
  setUpTracing(options);
  if (!options.toggles.empty()) {
    toggleDirectoryIs(options.toggles);
  }
  auto config = Quill::make<Snmp::Config>();
  config->sysname = hostName();
  config->ignoreIteratorHints = options.noHint;
  auto root = Quill::make<Cordb::Dir>(config->sysname);
  Snmp::CordbUtil::snmpConfigIs(config);
  Snmp::CordbUtil::agentRootIs(root);
  return root;
}

}  // namespace Agent
