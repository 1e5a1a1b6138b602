#include "EventLoop.h"

#include <fcntl.h>
#include <sys/select.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include "Quill/Assert.h"
#include "SnmpSelect.h"

namespace Agent {

namespace {

constexpr int handledSignals[] = {SIGTERM, SIGINT, SIGHUP};

int writeEnd = -1;  // the signal handler's only state

extern "C" void onSignal(int signal) {
  int savedErrno = errno;
  auto byte = static_cast<unsigned char>(signal);
  [[maybe_unused]] ssize_t ignored = write(writeEnd, &byte, 1);
  errno = savedErrno;
}

void setNonBlocking(int fd) {
  int flags = fcntl(fd, F_GETFL);
  QUILL_ASSERT(flags >= 0 && fcntl(fd, F_SETFL, flags | O_NONBLOCK) == 0);
  QUILL_ASSERT(fcntl(fd, F_SETFD, FD_CLOEXEC) == 0);
}

void setDisposition(int signal, void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  QUILL_ASSERT(sigaction(signal, &action, nullptr) == 0);
}

unsigned long drain(int fd) {
  unsigned long signals = 0;
  unsigned char bytes[64];
  ssize_t n;
  while ((n = read(fd, bytes, sizeof bytes)) > 0) {
    for (ssize_t i = 0; i < n; ++i) {
      signals |= 1UL << bytes[i];
    }
  }
  return signals;
}

extern "C" void onTickAlarm(unsigned int /*reg*/, void* clientarg) {
  (*static_cast<const std::function<void()>*>(clientarg))();
}

}  // namespace

EventLoop::EventLoop() {
  QUILL_ASSERT(writeEnd == -1 && "one EventLoop per process");
  QUILL_ASSERT(pipe(signalPipe_) == 0);
  setNonBlocking(signalPipe_[0]);
  setNonBlocking(signalPipe_[1]);
  writeEnd = signalPipe_[1];
  for (int signal : handledSignals) {
    setDisposition(signal, onSignal);
  }
}

EventLoop::~EventLoop() {
  for (int signal : handledSignals) {
    setDisposition(signal, SIG_DFL);
  }
  writeEnd = -1;
  close(signalPipe_[0]);
  close(signalPipe_[1]);
}

int EventLoop::run(const Callbacks& callbacks) {
  unsigned int tickAlarm = 0;
  if (callbacks.tick) {
    tickAlarm = snmp_alarm_register(1, SA_REPEAT, onTickAlarm,
                                    const_cast<std::function<void()>*>(&callbacks.tick));
    QUILL_ASSERT(tickAlarm != 0);
  }
  int stoppedBy = 0;
  stopped_ = false;
  while (stoppedBy == 0 && !stopped_) {
    const bool busy = callbacks.tasksRunnable && callbacks.tasksRunnable();
    unsigned long signals = serveOnce(busy, callbacks.watches);
    if (stopped_) {
      break;
    }
    if (busy) {
      callbacks.runTasks();
    }
    for (int stop : {SIGTERM, SIGINT}) {
      if (signals & (1UL << stop)) {
        stoppedBy = stop;
      }
    }
    if ((signals & (1UL << SIGHUP)) && stoppedBy == 0) {
      callbacks.reload();
    }
  }
  if (tickAlarm != 0) {
    snmp_alarm_unregister(tickAlarm);
  }
  return stoppedBy;
}

unsigned long EventLoop::serveOnce(bool poll, const std::vector<Watch>& watches) {
  auto [numfds, readfds, timeout, block] = SnmpSelect::now();
  if (poll) {
    block = 0;
    timeout = {};
  }
  int signalFd = signalPipe_[0];
  FD_SET(signalFd, &readfds);
  numfds = std::max(numfds, signalFd + 1);
  std::vector<int> watched(watches.size(), -1);
  for (size_t i = 0; i < watches.size(); ++i) {
    watched[i] = watches[i].fd();
    if (watched[i] >= 0) {
      FD_SET(watched[i], &readfds);
      numfds = std::max(numfds, watched[i] + 1);
    }
  }

  int count = select(numfds, &readfds, nullptr, nullptr, block ? nullptr : &timeout);
  unsigned long signals = 0;
  if (count > 0) {
    if (FD_ISSET(signalFd, &readfds)) {
      signals = drain(signalFd);
      FD_CLR(signalFd, &readfds);
    }
    for (size_t i = 0; i < watches.size(); ++i) {
      if (watched[i] >= 0 && FD_ISSET(watched[i], &readfds)) {
        FD_CLR(watched[i], &readfds);
        watches[i].ready();
      }
    }
    snmp_read(&readfds);
  } else if (count == 0) {
    snmp_timeout();
  } else if (errno != EINTR) {
    snmp_log_perror("qossnmpd: select");
  }
  run_alarms();
  netsnmp_check_outstanding_agent_requests();
  return signals;
}

}  // namespace Agent
