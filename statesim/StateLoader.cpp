#include "StateLoader.h"

#include <fcntl.h>
#include <malloc.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "PolicingWriter.h"
#include "Quill/Assert.h"
#include "Wire.h"

extern char** environ;

namespace StateSim {

namespace {

// A result on the wire: its length (8 bytes), then 'E' and the encoded edits, or 'R' and the
// reason the file was refused.
constexpr char editsKind = 'E';
constexpr char refusedKind = 'R';

// Moves all `size` bytes through `io` (::read or ::write), across partial transfers and
// interruptions; false when the other end closed or failed first.
template <typename Io, typename Data>
bool transferAll(Io io, int fd, Data* data, size_t size) {
  while (size > 0) {
    ssize_t n = io(fd, data, size);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n <= 0) {
      return false;
    }
    data += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

bool writeAll(int fd, const char* data, size_t size) {
  return transferAll(::write, fd, data, size);
}
bool readAll(int fd, char* data, size_t size) {
  return transferAll(::read, fd, data, size);
}

bool writeMessage(int fd, char kind, const std::string& payload) {
  const U64 size = payload.size() + 1;
  return writeAll(fd, reinterpret_cast<const char*>(&size), sizeof size) &&
         writeAll(fd, &kind, 1) && writeAll(fd, payload.data(), payload.size());
}

std::string howItEnded(int status) {
  if (WIFSIGNALED(status)) {
    return std::string("killed by signal ") + std::to_string(WTERMSIG(status)) + " (" +
           strsignal(WTERMSIG(status)) + ")";
  }
  return "exited with status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

StateLoader::StateLoader(std::string path, std::vector<std::string> command)
    : path_(std::move(path)), command_(std::move(command)) {
  QUILL_ASSERT(!command_.empty());
  QUILL_ASSERT(pipe2(ready_, O_CLOEXEC | O_NONBLOCK) == 0);
  thread_ = std::thread([this] { run(); });
}

StateLoader::~StateLoader() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
    if (reader_ > 0) {
      ::kill(reader_, SIGKILL);  // a read under way ends here; the thread sees the pipe close
    }
  }
  wake_.notify_all();
  thread_.join();
  close(ready_[0]);
  close(ready_[1]);
}

void StateLoader::request() {
  {
    std::lock_guard lock(mutex_);
    requested_ = true;
  }
  wake_.notify_all();
}

std::optional<StateLoader::Result> StateLoader::take(bool compareWhole) {
  std::optional<Result> result;
  {
    std::lock_guard lock(mutex_);
    result.swap(result_);
    if (result) {
      held_ = compareWhole && result->whole && result->edits;
    }
    char byte;
    while (::read(ready_[0], &byte, 1) == 1) {
    }
  }
  wake_.notify_all();  // the next read may start
  return result;
}

void StateLoader::compare(State after, StateSnapshot before) {
  {
    std::lock_guard lock(mutex_);
    comparison_ = Comparison{std::move(after), std::move(before)};
    held_ = false;
  }
  wake_.notify_all();
}

bool StateLoader::busy() const {
  std::lock_guard lock(mutex_);
  return requested_ || reading_ || result_ || comparison_ || held_;
}

pid_t StateLoader::readerPid() const {
  std::lock_guard lock(mutex_);
  return reader_;
}

void StateLoader::retire(std::unique_ptr<StateEdits> edits) {
  {
    std::lock_guard lock(mutex_);
    retired_.push_back(std::move(edits));
  }
  wake_.notify_all();
}

void StateLoader::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] {
      return stopping_ || !retired_.empty() ||
             (!result_ && (comparison_ || (requested_ && !held_)));
    });
    if (!retired_.empty()) {
      std::vector<std::unique_ptr<StateEdits>> retired = std::move(retired_);
      retired_.clear();
      lock.unlock();
      retired.clear();  // freed here, outside the lock
      malloc_trim(0);   // and given back to the system
      lock.lock();
      continue;
    }
    if (stopping_) {
      break;
    }
    std::optional<Comparison> comparison = std::move(comparison_);
    comparison_.reset();
    if (!comparison) {
      requested_ = false;
    }
    reading_ = true;
    lock.unlock();
    Result result = comparison ? compared(std::move(*comparison)) : read();
    lock.lock();
    reading_ = false;
    if (stopping_) {
      break;
    }
    result_ = std::move(result);
    const char byte = 1;
    QUILL_ASSERT(::write(ready_[1], &byte, 1) == 1);
  }
  lock.unlock();
  reap(true);
}

StateLoader::Result StateLoader::read() {
  Result result;
  bool whole = false;
  const char request = 1;
  for (int attempt = 0;; ++attempt) {
    if (socket_ < 0) {
      if (!spawn(result.error)) {
        return result;
      }
      whole = true;
    }
    if (::send(socket_, &request, 1, MSG_NOSIGNAL) == 1) {
      break;
    }
    // The reader ended while it waited (killed, say): the read goes to a new one, once.
    std::string how = reap(false);
    if (attempt == 1) {
      result.error = path_ + ": the state reader ended (" + how + ") before it was asked";
      return result;
    }
  }
  U64 size = 0;
  std::string message;
  if (!readAll(socket_, reinterpret_cast<char*>(&size), sizeof size) || size == 0 ||
      !readAll(socket_, (message.resize(size), message.data()), size)) {
    result.error = path_ + ": the state reader ended (" + reap(false) + ") before it answered";
    return result;
  }
  if (message[0] == refusedKind) {
    result.error = message.substr(1);
    return result;
  }
  try {
    QUILL_ASSERT(message[0] == editsKind);
    result.edits = decode(std::string_view(message).substr(1));
    orderAsTheCollections(*result.edits);  // here, off the agent's thread
    result.whole = whole;
  } catch (const WireError& e) {
    result.error = path_ + ": the state reader's answer does not decode: " + e.what();
    reap(true);  // the next read starts afresh
  }
  return result;
}

StateLoader::Result StateLoader::compared(Comparison comparison) {
  Result result;
  result.edits = editsFrom(placed(std::move(comparison.before)), comparison.after, false);
  orderAsTheCollections(*result.edits);
  return result;
}

bool StateLoader::spawn(std::string& error) {
  int ends[2];  // the loader's, the reader's
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
    error = path_ + ": cannot start the state reader: " + strerror(errno);
    return false;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);  // the agent's sockets
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t all;
  sigfillset(&all);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigdefault(&attributes, &all);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  std::vector<std::string> args = command_;
  args.push_back(path_);
  std::vector<char*> argv;
  for (std::string& arg : args) {
    argv.push_back(arg.data());
  }
  argv.push_back(nullptr);
  // ps shows the reader under the agent's own name ("qossnmpd --state-reader FILE").
  std::string name = program_invocation_name;
  argv[0] = name.data();
  pid_t pid = -1;
  const int failed =
      posix_spawn(&pid, args[0].c_str(), &actions, &attributes, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  close(ends[1]);
  if (failed != 0) {
    error = path_ + ": cannot start the state reader " + args[0] + ": " + strerror(failed);
    close(ends[0]);
    return false;
  }
  std::lock_guard lock(mutex_);
  reader_ = pid;
  socket_ = ends[0];
  return true;
}

std::string StateLoader::reap(bool kill) {
  pid_t pid;
  {
    std::lock_guard lock(mutex_);
    pid = std::exchange(reader_, -1);
  }
  if (socket_ >= 0) {
    close(std::exchange(socket_, -1));  // a reader waiting for requests ends
  }
  if (pid <= 0) {
    return "was not running";
  }
  if (kill) {
    ::kill(pid, SIGKILL);
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return howItEnded(status);
}

int serveStateReads(const std::string& path, int in, int out) {
  // The agent's signals are not the reader's: it ends when the agent closes its requests or
  // ends itself.
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  signal(SIGHUP, SIG_IGN);
  signal(SIGINT, SIG_IGN);
  signal(SIGPIPE, SIG_IGN);
  std::optional<State> previous;
  for (;;) {
    char request;
    ssize_t n = ::read(in, &request, 1);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n <= 0) {
      return 0;
    }
    char kind = editsKind;
    std::string payload;
    try {
      State state = readStateFile(path);
      if (previous) {
        payload = encode(editsFrom(*previous, state, false));
        previous = std::move(state);
      } else {  // the first edits carry the whole state: no copy of it is made
        StateEdits edits{diff(State{}, state, true), std::move(state), {}};
        payload = encode(edits);
        previous = std::move(edits.values);
      }
    } catch (const StateFileError& e) {
      kind = refusedKind;
      payload = e.what();
    } catch (const std::exception& e) {  // out of memory, say: refused like a bad file
      kind = refusedKind;
      payload = path + ": " + e.what();
    }
    if (!writeMessage(out, kind, payload)) {
      return 0;
    }
    // The parse's garbage goes back to the system: between reads the reader holds its State.
    payload = std::string();
    malloc_trim(0);
  }
}

}  // namespace StateSim
