#include "MibModules.h"

#include "Quill/Assert.h"
#include "Snmp/HandlerRegistration.h"
#include "Snmp/MibContext.h"

namespace Agent {

namespace {

struct ModuleDecl {
  const char* name;
  unsigned long arc;  // below enterprises.E.3
  const char* description;
};

constexpr ModuleDecl modules[] = {
    {"veloraQosMib", 13, "VELORA-QOS-MIB: class maps, policy maps, service policies, statistics"},
    {"veloraPolicingMib", 42, "VELORA-POLICING-MIB: policing profiles and policer instances"},
    {"veloraIfPolicerMib", 43, "VELORA-IF-POLICER-MIB: interface policer statistics"},
};

}  // namespace

void declareMibModules(unsigned long enterprise) {
  for (const ModuleDecl& m : modules) {
    Snmp::mibModuleIs(m.name, {1, 3, 6, 1, 4, 1, enterprise, 3, m.arc}, m.description);
  }
}

MibModules::MibModules(std::vector<std::string> contexts) {
  contexts_.push_back("");
  for (auto& context : contexts) {
    QUILL_ASSERT(!context.empty());
    contexts_.push_back(std::move(context));
  }
}

MibModules::~MibModules() {
  stop();
}

void MibModules::start() {
  QUILL_ASSERT(!started_);
  started_ = true;
  for (const std::string& context : contexts_) {
    for (Snmp::HandlerRegistration* registration : Snmp::AutoRegistree::registrations()) {
      registration->initHandler(context);
    }
  }
}

void MibModules::stop() {
  if (!started_) {
    return;
  }
  started_ = false;
  for (const std::string& context : contexts_) {
    for (Snmp::HandlerRegistration* registration : Snmp::AutoRegistree::registrations()) {
      registration->unregisterHandler(context);
    }
  }
}

}  // namespace Agent
