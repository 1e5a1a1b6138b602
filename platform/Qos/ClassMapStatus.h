// Qos::ClassMapStatus: a class map as the QoS agent publishes it. Written by the QoS agent
// (here the status source), read by the SNMP model through const pointers; attributes change
// in place and readers see the new values at their next read.
#pragma once

#include "Qos/Types.h"
#include "Quill/Ptr.h"
#include "Quill/String.h"

namespace Qos {

class ClassMapStatus : public Quill::Object {
 public:
  explicit ClassMapStatus(Mox::String name) : name_(std::move(name)) {}

  const Mox::String& name() const noexcept { return name_; }
  void nameIs(Mox::String name) { name_ = std::move(name); }

  ClassMapMatchCondition matchCondition() const noexcept { return matchCondition_; }
  void matchConditionIs(ClassMapMatchCondition c) noexcept { matchCondition_ = c; }

 private:
  Mox::String name_;
  ClassMapMatchCondition matchCondition_ = ClassMapMatchCondition::matchConditionAny_;
};

}  // namespace Qos
