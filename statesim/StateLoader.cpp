#include "StateLoader.h"

#include <fcntl.h>
#include <unistd.h>

#include "JsonDocument.h"
#include "Quill/Assert.h"

namespace StateSim {

StateLoader::StateLoader(std::string path) : path_(std::move(path)) {
  QUILL_ASSERT(pipe2(pipe_, O_CLOEXEC | O_NONBLOCK) == 0);
  thread_ = std::thread([this] { run(); });
}

StateLoader::~StateLoader() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  cancel_ = true;
  wake_.notify_all();
  thread_.join();
  close(pipe_[0]);
  close(pipe_[1]);
}

void StateLoader::request() {
  {
    std::lock_guard lock(mutex_);
    requested_ = true;
  }
  wake_.notify_all();
}

std::optional<StateLoader::Result> StateLoader::take() {
  std::optional<Result> result;
  {
    std::lock_guard lock(mutex_);
    result.swap(result_);
    char byte;
    while (::read(pipe_[0], &byte, 1) == 1) {
    }
  }
  wake_.notify_all();  // the next read may start
  return result;
}

bool StateLoader::busy() const {
  std::lock_guard lock(mutex_);
  return requested_ || reading_ || result_;
}

void StateLoader::retire(std::shared_ptr<const State> state) {
  {
    std::lock_guard lock(mutex_);
    retired_.push_back(std::move(state));
  }
  wake_.notify_all();
}

void StateLoader::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return stopping_ || !retired_.empty() || (requested_ && !result_); });
    if (!retired_.empty()) {
      std::vector<std::shared_ptr<const State>> retired = std::move(retired_);
      retired_.clear();
      lock.unlock();
      retired.clear();  // freed here, outside the lock
      lock.lock();
      continue;
    }
    if (stopping_) {
      return;
    }
    requested_ = false;
    reading_ = true;
    lock.unlock();
    std::optional<Result> result;
    try {
      result = read();
    } catch (const ReadCancelled&) {
    }
    lock.lock();
    reading_ = false;
    if (result) {
      result_ = std::move(result);
      const char byte = 1;
      QUILL_ASSERT(::write(pipe_[1], &byte, 1) == 1);
    }
  }
}

StateLoader::Result StateLoader::read() {
  Result result;
  result.first = !previous_;
  try {
    auto state = std::make_shared<const State>(readStateFile(path_, &cancel_));
    result.diff = diff(previous_ ? *previous_ : State{}, *state, result.first);
    previous_ = state;
    result.state = std::move(state);
  } catch (const StateFileError& e) {
    result.error = e.what();
  } catch (const ReadCancelled&) {
    throw;
  } catch (const std::exception& e) {  // out of memory, say: refused like a bad file
    result.error = path_ + ": " + e.what();
  }
  return result;
}

}  // namespace StateSim
