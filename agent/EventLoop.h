// Agent::EventLoop: the agent's one thread after start-up.
//
// run() serves net-snmp's sockets and alarms and turns process signals into calls on this
// thread: SIGHUP calls `reload`, SIGTERM and SIGINT end run(). Other descriptors (the state
// loader's) are watched beside the sockets, each with its callback. When `tick` is set it is called
// once a second. Background work (the task scheduler's tasks) runs between requests: while
// `tasksRunnable` says there is some, the loop polls the sockets without blocking, serves what
// arrived, and then calls `runTasks`, which runs tasks for one short time slice; so a request
// waits at most one slice behind a long task. A signal handler only writes the signal number into a
// pipe that the loop watches, so the callbacks run between SNMP requests, never inside one, and a
// signal that arrives while the loop is busy is handled as soon as it is idle again.
//
// The constructor installs the handlers for the three signals and the destructor restores the
// default actions: one EventLoop per process, on the agent's thread. Construct it first, before
// anything slow, so that no signal finds the default action; signals that arrive before run()
// wait in the pipe and are handled by its first turn. run() needs net-snmp set up.
#pragma once

#include <functional>
#include <vector>

namespace Agent {

class EventLoop {
 public:
  // A descriptor the loop watches beside net-snmp's sockets.
  struct Watch {
    std::function<int()> fd;      // the descriptor to watch now, or -1 for none
    std::function<void()> ready;  // called when it is readable
  };
  struct Callbacks {
    std::function<void()> reload;         // on SIGHUP
    std::function<void()> tick;           // once a second, if set
    std::function<bool()> tasksRunnable;  // whether background work is waiting, if set
    std::function<void()> runTasks;       // runs background work for one time slice
    std::vector<Watch> watches;
  };

  EventLoop();
  ~EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  // Returns the signal that stopped the loop (SIGTERM or SIGINT), or 0 after stop().
  int run(const Callbacks& callbacks);
  // Ends run() after the callback that calls it.
  void stop() noexcept { stopped_ = true; }

 private:
  // Waits for the next socket, alarm, watched descriptor or signal event (without waiting when
  // `poll`) and serves it; returns the signals that arrived, as a bit set by signal number.
  unsigned long serveOnce(bool poll, const std::vector<Watch>& watches);

  int signalPipe_[2] = {-1, -1};
  bool stopped_ = false;
};

}  // namespace Agent
