// Agent::WaitingRequests: tells a long task that a request is waiting on one of the agent's
// sockets, so that it yields at once instead of at the end of its time slice.
//
// The scheduler asks it once per item of work (Dovo::TaskScheduler::interruptIs), so it is
// cheap: it polls the sockets without waiting, at most once per `interval`, and otherwise answers
// what the last poll said. refresh() takes net-snmp's sockets as they are now; call it before
// each slice of tasks (sockets come and go: AgentX reconnects, sessions). Single-threaded.
#pragma once

#include <poll.h>

#include <chrono>
#include <vector>

namespace Agent {

class WaitingRequests {
 public:
  static constexpr std::chrono::microseconds defaultInterval{100};

  explicit WaitingRequests(std::chrono::microseconds interval = defaultInterval)
      : interval_(interval) {}

  // Watches net-snmp's sockets.
  void refresh();
  // Watches these descriptors.
  void fdsIs(const std::vector<int>& fds);
  // Some watched descriptor has input waiting (as of the last poll, at most `interval` ago).
  bool operator()();
  // The polls made so far.
  unsigned long polls() const noexcept { return polls_; }

 private:
  std::chrono::microseconds interval_;
  std::vector<pollfd> fds_;
  std::chrono::steady_clock::time_point lastPoll_{};
  bool due_ = true;  // the next call polls
  bool waiting_ = false;
  unsigned long polls_ = 0;
};

}  // namespace Agent
