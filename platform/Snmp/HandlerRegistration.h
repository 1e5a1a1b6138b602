// Plug-in discovery.
//
// Each MIB module of a plug-in has one static HandlerRegistration object and announces it with
// a static AutoRegistree at load time. The agent then calls initHandler(context) once per
// agent context, and unregisterHandler(context) for each of them before it unloads the
// plug-in. AutoRegistree's destructor (at unload) withdraws the announcement. Announcing the
// same object twice is a programming fault. Single-threaded: load, init and unload all happen
// on the agent's thread.
#pragma once

#include <vector>

#include "Quill/String.h"

namespace Snmp {

class HandlerRegistration {
 public:
  virtual ~HandlerRegistration() = default;
  virtual void initHandler(Quill::String context) = 0;
  virtual void unregisterHandler(Quill::String context) = 0;
};

class AutoRegistree {
 public:
  explicit AutoRegistree(HandlerRegistration* registration);
  ~AutoRegistree();
  AutoRegistree(const AutoRegistree&) = delete;
  AutoRegistree& operator=(const AutoRegistree&) = delete;

  // Every announced registration, in announcement order.
  static std::vector<HandlerRegistration*> registrations();

 private:
  HandlerRegistration* registration_;
};

}  // namespace Snmp
