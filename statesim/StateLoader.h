// StateSim::StateLoader: has the state file read, parsed and compared in a process of its own,
// the state reader, so that the agent's thread only applies what changed, and the agent's
// process never holds or frees a whole file's worth of parsed text.
//
// The reader (serveStateReads(), run by the command the loader is given) reads the file once
// when the loader starts and again after each request(). Each read yields one Result: the edits
// from the last State the reader produced (so the edits of successive results compose), or the
// reason the file was refused (the previous State stays the base of the next diff). Only the
// edits cross over: what changed, with its new values (Wire.h). Requests coalesce: those made
// while a read is under way, or while a result waits to be taken, make one more read, of the
// file as it is then. At most one result waits; the next read starts once it is taken (and, for a
// whole result taken to be compared, once compare() has been called).
//
// A reader that ends during a read (killed, out of memory) makes that read a refused one, with
// its reason; one that ended while it waited is replaced before the read. A new reader's first
// result holds the whole file (`whole`). Once a state is in force, the agent takes such a result
// with take(true) and hands it back with a snapshot of that state (compare()): the loader's
// thread compares them and the edits come as the next result, before any further read's (whose
// edits are from the whole file's State). So the agent's thread only copies the state in force.
//
// Threads: construct, request(), take(), compare() and destroy on one thread (the agent's). A
// thread of the loader's own talks to the reader and decodes its results (work in proportion to
// the change), and compares a whole result with the state in force (work in proportion to the
// state, once after a reader was replaced). The destructor kills the reader, however far its read
// has come, and joins the thread, after a comparison under way if any.
//
// fd() is readable while a result waits: the agent's event loop watches it next to its sockets.
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "StateDiff.h"

namespace StateSim {

class StateLoader {
 public:
  struct Result {
    std::optional<StateEdits> edits;  // none when the file was refused
    std::string error;                // why it was refused: "<file>: <where>: <what>"
    bool whole = false;  // a reader's first result: edits from nothing, values the whole State
  };

  // Starts the reader, `command` followed by `path` (its standard input and output are one
  // socket: requests in, results out), and its first read. REQUIRES: command is not empty.
  StateLoader(std::string path, std::vector<std::string> command);
  ~StateLoader();
  StateLoader(const StateLoader&) = delete;
  StateLoader& operator=(const StateLoader&) = delete;

  // Asks for another read of the file.
  void request();
  // The waiting result, if any. `compareWhole`: a whole result taken is compared (compare() must
  // follow); no read starts before that.
  std::optional<Result> take(bool compareWhole = false);
  // Compares `after`, the State of the whole result just taken, with `before`, the state in force,
  // on the loader's thread: the next result holds the edits from one to the other (not whole).
  void compare(State after, StateSnapshot before);
  // Readable while a result waits.
  int fd() const noexcept { return ready_[0]; }
  // A read or a comparison is under way, asked for or awaited, or a result waits.
  bool busy() const;
  // Releases `edits` on the loader's thread, so that the caller's thread does not spend the
  // time freeing large sections takes.
  void retire(std::unique_ptr<StateEdits> edits);
  // The reader's process id, or -1 while none runs (for tests).
  pid_t readerPid() const;

 private:
  struct Comparison {
    State after;
    StateSnapshot before;
  };

  void run();
  Result read();
  Result compared(Comparison comparison);
  // Starts a reader; false (and `error` says why) when it cannot be started.
  bool spawn(std::string& error);
  // Ends the reader, if any, and says how it ended.
  std::string reap(bool kill);

  const std::string path_;
  const std::vector<std::string> command_;
  int ready_[2] = {-1, -1};
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  bool requested_ = true;  // the first read
  bool reading_ = false;
  bool stopping_ = false;
  std::optional<Result> result_;
  std::optional<Comparison> comparison_;  // handed over, not yet compared
  bool held_ = false;  // a whole result was taken to be compared: reads wait for compare()
  std::vector<std::unique_ptr<StateEdits>> retired_;
  // The reader's pid (guarded by mutex_, for the destructor's kill) and the loader thread's end
  // of its socket.
  pid_t reader_ = -1;
  int socket_ = -1;
  std::thread thread_;  // last: started once everything above exists
};

// The state reader's loop: reads a request byte from `in`, reads the state file at `path`,
// writes one result message to `out`; returns 0 when `in` closes. A refused file is a result,
// not an end.
int serveStateReads(const std::string& path, int in, int out);

}  // namespace StateSim
