// StateSim::StateLoader: reads, parses and compares the state file on a thread of its own, so
// that the agent's thread only applies what changed.
//
// The loader reads the file once when it starts and again after each request(). Each read yields
// one Result: the new State and its StateDiff against the last State the loader produced (so the
// diffs of successive results compose), or the reason the file was refused (the previous State
// stays the base of the next diff). Requests coalesce: those made while a read is under way, or
// while a result waits to be taken, make one more read, of the file as it is then. At most one
// result waits; the next read starts once it is taken.
//
// Threads: construct, request(), take() and destroy on one thread (the agent's). The loader's
// thread touches nothing but the file, its own State values and the result hand-over; a State
// handed over is immutable and shared (std::shared_ptr<const State>). The destructor cancels a
// read under way (it stops within 64 KiB of text or a section) and joins the thread.
//
// fd() is readable while a result waits: the agent's event loop watches it next to its sockets.
#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "State.h"
#include "StateDiff.h"

namespace StateSim {

class StateLoader {
 public:
  struct Result {
    std::shared_ptr<const State> state;  // null when the file was refused
    StateDiff diff;                      // from the last State produced
    std::string error;                   // why the file was refused: "<file>: <where>: <what>"
    bool first = false;                  // no State had been produced before this read
  };

  // Starts the thread and the first read of `path`.
  explicit StateLoader(std::string path);
  ~StateLoader();
  StateLoader(const StateLoader&) = delete;
  StateLoader& operator=(const StateLoader&) = delete;

  // Asks for another read of the file.
  void request();
  // The waiting result, if any.
  std::optional<Result> take();
  // Readable while a result waits.
  int fd() const noexcept { return pipe_[0]; }
  // A read is under way or asked for, or a result waits.
  bool busy() const;
  // Releases `state` on the loader's thread, so that the caller's thread does not spend the
  // milliseconds freeing a large State takes.
  void retire(std::shared_ptr<const State> state);

 private:
  void run();
  Result read();

  const std::string path_;
  int pipe_[2] = {-1, -1};
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  bool requested_ = true;  // the first read
  bool reading_ = false;
  bool stopping_ = false;
  std::optional<Result> result_;
  std::vector<std::shared_ptr<const State>> retired_;
  std::atomic<bool> cancel_{false};
  // The loader thread's own: the last State produced.
  std::shared_ptr<const State> previous_;
  std::thread thread_;  // last: started once everything above exists
};

}  // namespace StateSim
