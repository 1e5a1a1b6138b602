// QosSnmp::ModuleRegistration<Init, Unregister>: how a MIB module announces itself to the agent.
//
// Each module's source file derives its registration class from this template and defines one
// static instance of it, at the end of the file:
//
//   class veloraQosMib_HandlerRegistration final
//       : public QosSnmp::ModuleRegistration<init_veloraQosMib, unregister_veloraQosMib> {};
//   veloraQosMib_HandlerRegistration veloraQosMib_registration;
//
// Constructing the instance (when the plug-in is loaded) announces it to the agent's plug-in
// framework (Snmp::AutoRegistree; announcing one object twice is a fault); the agent then calls
// initHandler(context) for every context, which calls the module's init_ function, and
// unregisterHandler(context), which calls its unregister_ function. Destroying the instance
// (at unload) withdraws the announcement. Agent's thread only.
#pragma once

#include <utility>

#include "Quill/String.h"
#include "Snmp/HandlerRegistration.h"

namespace QosSnmp {

template <void (*Init)(Quill::String), void (*Unregister)(Quill::String)>
class ModuleRegistration : public Snmp::HandlerRegistration {
 public:
  ModuleRegistration() : autoRegistree_(this) {}
  ModuleRegistration(const ModuleRegistration&) = delete;
  ModuleRegistration& operator=(const ModuleRegistration&) = delete;

  void initHandler(Quill::String context) override { Init(std::move(context)); }
  void unregisterHandler(Quill::String context) override { Unregister(std::move(context)); }

 private:
  Snmp::AutoRegistree autoRegistree_;
};

}  // namespace QosSnmp
