// Agent::EventLoop: the agent's one thread after start-up.
//
// run() serves net-snmp's sockets and alarms and turns process signals into calls on this
// thread: SIGHUP calls `reload`, SIGTERM and SIGINT end run(). When `tick` is set it is called
// once a second. A signal handler only writes the signal number into a pipe that the loop
// watches, so the callbacks run between SNMP requests, never inside one, and a signal that
// arrives while the loop is busy is handled as soon as it is idle again.
//
// The constructor installs the handlers for the three signals and the destructor restores the
// default actions: one EventLoop per process, constructed and run on the agent's thread after
// net-snmp is set up.
#pragma once

#include <functional>

namespace Agent {

class EventLoop {
 public:
  struct Callbacks {
    std::function<void()> reload;  // on SIGHUP
    std::function<void()> tick;    // once a second, if set
  };

  EventLoop();
  ~EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  // Returns the signal that stopped the loop (SIGTERM or SIGINT).
  int run(const Callbacks& callbacks);

 private:
  // Waits for the next socket, alarm or signal event and serves it; returns the signals that
  // arrived, as a bit set by signal number.
  unsigned long serveOnce();

  int signalPipe_[2] = {-1, -1};
};

}  // namespace Agent
