// Quill::Publisher<Args...>: typed change notification.
//
// subscribe() returns a Subscription; the callback runs for every publish() until the
// Subscription is destroyed or reset. Callbacks run synchronously, in subscription order, on
// the publishing thread. A callback may unsubscribe itself or others while a publish is under
// way; subscribers added during a publish see only later publishes. A Subscription may outlive
// its Publisher (it keeps the list of subscribers it is in). A publisher is one pointer and
// allocates nothing until its first subscriber: collections by the million carry one.
#pragma once

#include <functional>
#include <map>
#include <vector>

#include "Quill/IntTypes.h"
#include "Quill/Object.h"
#include "Quill/Ptr.h"

namespace Quill {

template <typename... Args>
class Publisher {
  using Callback = std::function<void(const Args&...)>;
  struct State : Object {
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
      if (state_) {
        state_->subscribers.erase(id_);
      }
      state_ = nullptr;
    }

   private:
    friend class Publisher;
    Subscription(Ptr<State> s, U64 id) : state_(std::move(s)), id_(id) {}
    Ptr<State> state_;
    U64 id_ = 0;
  };

  [[nodiscard]] Subscription subscribe(Callback cb) {
    if (!state_) {
      state_ = make<State>();
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
  Ptr<State> state_;  // made by the first subscribe()
};

}  // namespace Quill
