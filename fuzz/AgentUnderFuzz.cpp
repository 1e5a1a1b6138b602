#include "AgentUnderFuzz.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <fmt/format.h>

#include "Dovo/TaskScheduler.h"
#include "MibModules.h"
#include "PolicingModels.h"
#include "TableSms.h"
#include "Options.h"
#include "PlatformSetup.h"
#include "SnmpAgent.h"
#include "SnmpSelect.h"
#include "StatusSource.h"

namespace Fuzz {

namespace {

// The largest payload of a UDP datagram over IPv4.
constexpr size_t maxDatagram = 65507;

// A v2c GET of sysUpTime.0 with community "public" and request id 0x7ffe1234.
constexpr std::array<std::uint8_t, 43> probeRequest = {
    0x30, 0x29, 0x02, 0x01, 0x01, 0x04, 0x06, 'p',  'u',  'b',  'l',  'i',  'c',  0xa0, 0x1c,
    0x02, 0x04, 0x7f, 0xfe, 0x12, 0x34, 0x02, 0x01, 0x00, 0x02, 0x01, 0x00, 0x30, 0x0e, 0x30,
    0x0c, 0x06, 0x08, 0x2b, 0x06, 0x01, 0x02, 0x01, 0x01, 0x03, 0x00, 0x05, 0x00};
// What the answer to the probe carries: a response PDU tag is followed (after its length) by the
// probe's request id.
const std::vector<std::uint8_t> probeRequestId = {0x02, 0x04, 0x7f, 0xfe, 0x12, 0x34};

[[noreturn]] void fail(const std::string& what) {
  throw std::runtime_error(fmt::format("fuzz harness: {}: errno {}", what, errno));
}

// A loopback UDP port that nothing listens on now.
unsigned short freeUdpPort() {
  int s = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in addr = {};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t len = sizeof addr;
  if (s < 0 || bind(s, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
      getsockname(s, reinterpret_cast<sockaddr*>(&addr), &len) != 0) {
    fail("cannot find a free UDP port");
  }
  close(s);
  return ntohs(addr.sin_port);
}

// A non-blocking UDP socket connected to the agent's port.
int connectedClient(unsigned short port) {
  int s = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in addr = {};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  addr.sin_port = htons(port);
  if (s < 0 || connect(s, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
      fcntl(s, F_SETFL, O_NONBLOCK) != 0) {
    fail("cannot open the client socket");
  }
  int size = 1 << 20;
  setsockopt(s, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
  return s;
}

bool contains(const std::uint8_t* data, size_t size, const std::vector<std::uint8_t>& part) {
  return std::search(data, data + size, part.begin(), part.end()) != data + size;
}

}  // namespace

AgentUnderFuzz::AgentUnderFuzz(const AgentSettings& settings) : settings_(settings) {
  if (settings_.stateFiles.empty()) {
    throw std::invalid_argument("fuzz harness: no state file");
  }
  const unsigned short port = freeUdpPort();
  Agent::Options options;
  options.listen = fmt::format("udp:127.0.0.1:{}", port);
  options.config = settings_.configFile;
  snmp_ = std::make_unique<Agent::SnmpAgent>(
      Agent::SnmpAgentSettings{options.listen, options.agentx, options.config});
  root_ = Agent::setUpPlatform(options);
  source_ = std::make_unique<StateSim::StatusSource>(root_);
  source_->load(stateFile());
  policing_ = std::make_unique<Agent::PolicingModels>(root_);
  modules_ = std::make_unique<Agent::MibModules>(std::vector<std::string>{});
  modules_->start();
  scheduler_ = Quill::make<Dovo::TaskScheduler>("fuzz");
  sms_ = std::make_unique<Agent::TableSms>(scheduler_);
  sms_->start(*source_, *policing_);
  scheduler_->runUntilIdle();
  client_ = connectedClient(port);
}

AgentUnderFuzz::~AgentUnderFuzz() {
  sms_.reset();
  modules_->stop();
  modules_.reset();
  policing_.reset();
  source_.reset();
  snmp_.reset();
  close(client_);
}

size_t AgentUnderFuzz::exchange(const std::uint8_t* message, size_t size) {
  if (size > maxDatagram) {
    return 0;
  }
  if (send(client_, message, size, 0) != static_cast<ssize_t>(size)) {
    fail("cannot send to the agent");
  }
  serveUntilIdle();
  bool unused = false;
  return drain({}, &unused);
}

bool AgentUnderFuzz::answers() {
  if (send(client_, probeRequest.data(), probeRequest.size(), 0) !=
      static_cast<ssize_t>(probeRequest.size())) {
    fail("cannot send the probe");
  }
  serveUntilIdle();
  bool answered = false;
  drain(probeRequestId, &answered);
  return answered;
}

void AgentUnderFuzz::nextState() {
  state_ = (state_ + 1) % settings_.stateFiles.size();
  source_->load(stateFile());
}

void AgentUnderFuzz::tick() {
  source_->tick();
}

void AgentUnderFuzz::serveUntilIdle() {
  for (;;) {
    Agent::SnmpSelect sockets = Agent::SnmpSelect::now();
    timeval now = {};
    if (select(sockets.numfds, &sockets.readfds, nullptr, nullptr, &now) <= 0) {
      break;
    }
    snmp_read(&sockets.readfds);
  }
  scheduler_->runUntilIdle();
  run_alarms();
  netsnmp_check_outstanding_agent_requests();
}

size_t AgentUnderFuzz::drain(const std::vector<std::uint8_t>& mark, bool* marked) {
  static std::array<std::uint8_t, maxDatagram + 1> buffer;
  size_t count = 0;
  ssize_t n;
  while ((n = recv(client_, buffer.data(), buffer.size(), 0)) >= 0) {
    ++count;
    if (!mark.empty() && contains(buffer.data(), static_cast<size_t>(n), mark)) {
      *marked = true;
    }
  }
  return count;
}

}  // namespace Fuzz
