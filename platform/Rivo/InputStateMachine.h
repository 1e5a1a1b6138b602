// Rivo::Gen::InputStateMachine: the base of the child input state machines of a reactive table
// pipeline. A child watches one input entity; this base keeps the two flags every child has:
//   - hasNotificationActive: the child is subscribed to its entity's change notifications. A
//     child overrides hasNotificationActiveIs to subscribe or unsubscribe, and calls this base
//     to record the state;
//   - inReactor: the child is handling a change notification right now (set by InReactor).
// Reference-counted; owned by its parent machine. Single-threaded.
//
// Rivo::Gen::InReactor: a scoped marker. It sets the machine's inReactor for its lifetime and
// restores the previous value when it ends, also when the reactor throws.
#pragma once

#include "Quill/Object.h"

namespace Rivo::Gen {

class InputStateMachine : public Quill::Object {
 public:
  bool hasNotificationActive() const noexcept { return hasNotificationActive_; }
  bool inReactor() const noexcept { return inReactor_; }

 protected:
  InputStateMachine() = default;
  ~InputStateMachine() override = default;
  // Records whether the child is subscribed; overrides subscribe or unsubscribe first.
  virtual void hasNotificationActiveIs(bool active) { hasNotificationActive_ = active; }

 private:
  friend class InReactor;
  bool hasNotificationActive_ = false;
  bool inReactor_ = false;
};

class InReactor {
 public:
  explicit InReactor(InputStateMachine& sm) noexcept : sm_(sm), previous_(sm.inReactor_) {
    sm_.inReactor_ = true;
  }
  ~InReactor() { sm_.inReactor_ = previous_; }
  InReactor(const InReactor&) = delete;
  InReactor& operator=(const InReactor&) = delete;

 private:
  InputStateMachine& sm_;
  bool previous_;
};

}  // namespace Rivo::Gen
