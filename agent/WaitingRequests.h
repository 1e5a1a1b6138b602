// Agent::WaitingRequests: tells a long task that a request is waiting on one of the agent's
// sockets, so that it yields at once instead of at the end of its time slice.
//
// The scheduler asks it once per item of work (Dovo::TaskScheduler::interruptIs), so it is
// cheap: it polls the sockets without waiting, at most once per `interval`, and otherwise answers
// what the last poll said.
//
// Each slice first gets some work done whatever waits, so that managers sending requests back
// to back do not starve the tasks (a scan would advance a key per request): as long as the
// agent spent serving requests since the previous slice ended, at least `floor` and at most
// `ceiling`. A lone manager's request then waits about one request's time; under a flood of
// requests the thread is shared about half and half.
//
// refresh() takes net-snmp's sockets as they are now and starts a slice; call it before each
// slice of tasks (sockets come and go: AgentX reconnects, sessions), and sliceEnded() after.
// Single-threaded.
#pragma once

#include <poll.h>

#include <chrono>
#include <vector>

namespace Agent {

class WaitingRequests {
 public:
  static constexpr std::chrono::microseconds defaultInterval{50};
  static constexpr std::chrono::microseconds defaultFloor{50};
  static constexpr std::chrono::microseconds defaultCeiling{500};

  explicit WaitingRequests(std::chrono::microseconds interval = defaultInterval,
                           std::chrono::microseconds floor = defaultFloor,
                           std::chrono::microseconds ceiling = defaultCeiling)
      : interval_(interval), floor_(floor), ceiling_(ceiling) {}

  // Watches net-snmp's sockets; a slice starts.
  void refresh();
  // Watches these descriptors; a slice starts.
  void fdsIs(const std::vector<int>& fds);
  // The slice has ended.
  void sliceEnded() { sliceEnd_ = std::chrono::steady_clock::now(); }
  // Some watched descriptor has input waiting (as of the last poll, at most `interval` ago).
  bool operator()();
  // The polls made so far.
  unsigned long polls() const noexcept { return polls_; }

 private:
  std::chrono::microseconds interval_;
  std::chrono::microseconds floor_;
  std::chrono::microseconds ceiling_;
  std::vector<pollfd> fds_;
  std::chrono::steady_clock::time_point sliceStart_{};
  std::chrono::steady_clock::time_point sliceEnd_{};
  std::chrono::steady_clock::duration minimum_{};  // of the slice under way
  std::chrono::steady_clock::time_point lastPoll_{};
  bool due_ = true;  // the next call polls
  bool waiting_ = false;
  unsigned long polls_ = 0;
};

}  // namespace Agent
