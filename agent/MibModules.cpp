#include "MibModules.h"

#include "Quill/Assert.h"
#include "Snmp/HandlerRegistration.h"

namespace Agent {

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
