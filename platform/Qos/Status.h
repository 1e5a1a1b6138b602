// Qos::Status: the root of the QoS agent's status. The one attribute read here is
// policingStatus, the policing status entity (null while the agent publishes none).
// changes() publishes policingStatusAttr after the pointer changes, so a watcher re-reads it
// and re-attaches to the new entity's collections.
#pragma once

#include "Mox/Entity.h"
#include "Qos/PolicingStatus.h"
#include "Quill/Ptr.h"

namespace Qos {

class Status : public Mox::Entity {
 public:
  enum Attr : U32 { policingStatusAttr = 1 };

  explicit Status(Quill::String name = "status") : Entity(std::move(name)) {}

  // The policing status, or null.
  const Quill::Ptr<PolicingStatus const>& policingStatus() const noexcept {
    return policingStatus_;
  }
  // Replaces the policing status; publishes only when the pointer changes.
  void policingStatusIs(Quill::Ptr<PolicingStatus const> s) {
    if (s == policingStatus_) {
      return;
    }
    policingStatus_ = std::move(s);
    changes().publish(policingStatusAttr);
  }

 private:
  Quill::Ptr<PolicingStatus const> policingStatus_;
};

}  // namespace Qos
