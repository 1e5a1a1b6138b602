#include "Snmp/HandlerRegistration.h"

#include <algorithm>

#include "Quill/Assert.h"

namespace Snmp {

namespace {
std::vector<HandlerRegistration*>& announced() {
  static auto* v = new std::vector<HandlerRegistration*>;  // outlives plug-in statics
  return *v;
}
}  // namespace

AutoRegistree::AutoRegistree(HandlerRegistration* registration) : registration_(registration) {
  QUILL_ASSERT(registration != nullptr);
  QUILL_ASSERT(std::find(announced().begin(), announced().end(), registration) ==
               announced().end());
  announced().push_back(registration);
}

AutoRegistree::~AutoRegistree() {
  std::erase(announced(), registration_);
}

std::vector<HandlerRegistration*> AutoRegistree::registrations() {
  return announced();
}

}  // namespace Snmp
