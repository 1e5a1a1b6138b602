// The fuzz target: each input is one whole SNMP message, sent to qossnmpd's master agent
// (Fuzz::AgentUnderFuzz) on its loopback port. After every input the agent must still answer
// a GET; one that stops answering aborts the run, so the input that did it is kept as the
// reproducer. Every `inputsPerState` inputs the rows change: the next state file is loaded and
// the counters advance.
//
// Built with libFuzzer (clang, QOSSNMP_FUZZ) as qossnmp_agent_fuzzer, and with ReplayMain.cpp
// as qossnmp_agent_replay, which runs given inputs once in any build.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include "AgentUnderFuzz.h"

namespace {

constexpr unsigned inputsPerState = 50;

std::vector<std::string> split(const std::string& list) {
  std::vector<std::string> parts;
  size_t start = 0;
  for (size_t end; (end = list.find('|', start)) != std::string::npos; start = end + 1) {
    parts.push_back(list.substr(start, end - start));
  }
  parts.push_back(list.substr(start));
  return parts;
}

Fuzz::AgentUnderFuzz* agent = nullptr;  // lives until the process exits

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  agent = new Fuzz::AgentUnderFuzz({QOSSNMP_FUZZ_CONFIG, split(QOSSNMP_FUZZ_STATES)});
  // What the agent logs about bad packets is no finding; keep the fuzzer's output readable.
  snmp_disable_log();
  netsnmp_register_loghandler(NETSNMP_LOGHANDLER_NONE, LOG_DEBUG);
  if (!agent->answers()) {
    std::fprintf(stderr, "fuzz harness: the agent does not answer before any input\n");
    std::abort();
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  static unsigned inputs = 0;
  if (++inputs % inputsPerState == 0) {
    agent->nextState();
    agent->tick();
  }
  agent->exchange(data, size);
  if (!agent->answers()) {
    std::fprintf(stderr, "fuzz harness: the agent stopped answering after this input (state %s)\n",
                 agent->stateFile().c_str());
    std::abort();
  }
  return 0;
}
