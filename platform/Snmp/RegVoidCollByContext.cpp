#include "Snmp/RegVoidCollByContext.h"

#include "Quill/Assert.h"

namespace Snmp {

RegVoid* RegVoidCollByContext::addRegVoid(const Quill::String& context,
                                          const Quill::String& tableName, void* entity) {
  auto [it, inserted] = records_.try_emplace({context, tableName}, std::make_unique<RegVoid>());
  QUILL_ASSERT(inserted && "table registered twice in one context");
  it->second->entity = entity;
  return it->second.get();
}

void RegVoidCollByContext::delRegVoid(const Quill::String& context,
                                      const Quill::String& tableName) {
  records_.erase({context, tableName});
}

RegVoid* RegVoidCollByContext::regVoid(const Quill::String& context,
                                       const Quill::String& tableName) const {
  auto it = records_.find({context, tableName});
  return it == records_.end() ? nullptr : it->second.get();
}

}  // namespace Snmp
