// Policy map configuration as the QoS agent publishes it: the policy map, the actions of one
// of its classes, and one action's value. Written by the QoS agent, read by the SNMP model
// through const pointers; attributes change in place.
#pragma once

#include "Qos/Types.h"
#include "Quill/IntTypes.h"
#include "Quill/Object.h"
#include "Quill/Ptr.h"
#include "Quill/String.h"

namespace Qos {

// Action kinds are also named directly in Qos (Qos::actionSetShape_).
using enum ActionType;

class PolicyMapStatus : public Quill::Object {
 public:
  explicit PolicyMapStatus(Mox::String name) : name_(std::move(name)) {}

  const Mox::String& name() const noexcept { return name_; }
  void nameIs(Mox::String name) { name_ = std::move(name); }

 private:
  Mox::String name_;
};

// The actions configured for one class (class map) of a policy map.
class ClassAction : public Quill::Object {
 public:
  explicit ClassAction(Mox::String className) : className_(std::move(className)) {}

  const Mox::String& className() const noexcept { return className_; }
  void classNameIs(Mox::String name) { className_ = std::move(name); }

 private:
  Mox::String className_;
};

// One action of a class: its configured value (a rate, a marking value). An action can
// instead refer to another object for its value (reference(), e.g. a shared profile); the
// action's own value then does not apply.
class Action : public Quill::Object {
 public:
  // Values the QoS agent writes for a rate that is not set (here and in ClassMapHwStatus).
  static constexpr U32 rateNotSet = 10000001;
  static constexpr U32 rateNotSetAlt = 10000002;

  explicit Action(U32 value = 0) : value_(value) {}

  const Quill::Ptr<Quill::Object const>& reference() const noexcept { return reference_; }
  void referenceIs(Quill::Ptr<Quill::Object const> r) noexcept { reference_ = std::move(r); }
  U32 value() const noexcept { return value_; }
  void valueIs(U32 value) noexcept { value_ = value; }

 private:
  Quill::Ptr<Quill::Object const> reference_;
  U32 value_;
};

}  // namespace Qos
