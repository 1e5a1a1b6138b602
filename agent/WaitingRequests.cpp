#include "WaitingRequests.h"

#include <algorithm>

#include "SnmpSelect.h"

namespace Agent {

void WaitingRequests::refresh() {
  const SnmpSelect sockets = SnmpSelect::now();
  std::vector<int> fds;
  for (int fd = 0; fd < sockets.numfds; ++fd) {
    if (FD_ISSET(fd, &sockets.readfds)) {
      fds.push_back(fd);
    }
  }
  fdsIs(fds);
}

void WaitingRequests::fdsIs(const std::vector<int>& fds) {
  fds_.clear();
  for (int fd : fds) {
    fds_.push_back(pollfd{fd, POLLIN, 0});
  }
  due_ = true;
  waiting_ = false;
  sliceStart_ = std::chrono::steady_clock::now();
  // The time spent serving since the last slice, within [floor, ceiling].
  minimum_ =
      std::clamp<std::chrono::steady_clock::duration>(sliceStart_ - sliceEnd_, floor_, ceiling_);
}

bool WaitingRequests::operator()() {
  if (fds_.empty()) {
    return false;
  }
  auto now = std::chrono::steady_clock::now();
  if (now - sliceStart_ < minimum_) {
    return false;  // the slice's work comes first
  }
  if (!due_ && now - lastPoll_ < interval_) {
    return waiting_;
  }
  due_ = false;
  lastPoll_ = now;
  ++polls_;
  waiting_ = poll(fds_.data(), fds_.size(), 0) > 0;
  return waiting_;
}

}  // namespace Agent
