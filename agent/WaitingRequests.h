// Agent::WaitingRequests: tells a long task that a request is waiting on one of the agent's
// sockets, so that it yields at once instead of at the end of its time slice.
//
// The scheduler asks it once per item of work (Dovo::TaskScheduler::interruptIs), so it is
// cheap: it polls the sockets without waiting, at most once per `interval`, and otherwise answers
// what the last poll said. Each slice first gets `minimum` of work done whatever waits: a
// manager that sends requests back to back must not starve the tasks (a scan would advance a
// key per request), and a request waits at most that long plus one item. refresh() takes
// net-snmp's sockets as they are now and starts a slice; call it before each slice of tasks
// (sockets come and go: AgentX reconnects, sessions). Single-threaded.
#pragma once

#include <poll.h>

#include <chrono>
#include <vector>

namespace Agent {

class WaitingRequests {
 public:
  static constexpr std::chrono::microseconds defaultInterval{50};
  static constexpr std::chrono::microseconds defaultMinimum{50};

  explicit WaitingRequests(std::chrono::microseconds interval = defaultInterval,
                           std::chrono::microseconds minimum = defaultMinimum)
      : interval_(interval), minimum_(minimum) {}

  // Watches net-snmp's sockets.
  void refresh();
  // Watches these descriptors; a slice starts.
  void fdsIs(const std::vector<int>& fds);
  // Some watched descriptor has input waiting (as of the last poll, at most `interval` ago).
  bool operator()();
  // The polls made so far.
  unsigned long polls() const noexcept { return polls_; }

 private:
  std::chrono::microseconds interval_;
  std::chrono::microseconds minimum_;
  std::vector<pollfd> fds_;
  std::chrono::steady_clock::time_point sliceStart_{};
  std::chrono::steady_clock::time_point lastPoll_{};
  bool due_ = true;  // the next call polls
  bool waiting_ = false;
  unsigned long polls_ = 0;
};

}  // namespace Agent
