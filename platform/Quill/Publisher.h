// Quill::Publisher<Args...>: typed change notification.
//
// subscribe() returns a Subscription; the callback runs for every publish() until the
// Subscription is destroyed or reset. Callbacks run synchronously, in subscription order, on
// the publishing thread. A callback may unsubscribe itself or others while a publish is under
// way; subscribers added during a publish see only later publishes. A Subscription may outlive
// its Publisher. A publisher nobody ever subscribed to allocates nothing: collections by the
// million carry one.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "Quill/IntTypes.h"

namespace Quill {

template <typename... Args>
class Publisher {
  using Callback = std::function<void(const Args&...)>;
  struct State {
    U64 nextId = 0;
    std::map<U64, Callback> subscribers;
  };

 public:
  class Subscription {
   public:
    Subscription() = default;
    Subscription(Subscription&&) noexcept = default;
    Subscription& operator=(Subscription&& o) noexcept {
      reset();
      state_ = std::move(o.state_);
      id_ = o.id_;
      return *this;
    }
    ~Subscription() { reset(); }
    void reset() {
      if (auto s = state_.lock()) {
        s->subscribers.erase(id_);
      }
      state_.reset();
    }

   private:
    friend class Publisher;
    Subscription(std::weak_ptr<State> s, U64 id) : state_(std::move(s)), id_(id) {}
    std::weak_ptr<State> state_;
    U64 id_ = 0;
  };

  [[nodiscard]] Subscription subscribe(Callback cb) {
    if (!state_) {
      state_ = std::make_shared<State>();
    }
    U64 id = state_->nextId++;
    state_->subscribers.emplace(id, std::move(cb));
    return Subscription(state_, id);
  }

  void publish(const Args&... args) const {
    if (!state_ || state_->subscribers.empty()) {
      return;
    }
    std::vector<U64> ids;
    ids.reserve(state_->subscribers.size());
    for (const auto& [id, cb] : state_->subscribers) {
      ids.push_back(id);
    }
    for (U64 id : ids) {
      auto it = state_->subscribers.find(id);
      if (it != state_->subscribers.end()) {
        Callback cb = it->second;  // the callback may unsubscribe itself
        cb(args...);
      }
    }
  }

  size_t subscriberCount() const { return state_ ? state_->subscribers.size() : 0; }

 private:
  std::shared_ptr<State> state_;  // made by the first subscribe()
};

}  // namespace Quill
