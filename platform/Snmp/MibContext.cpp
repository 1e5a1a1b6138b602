#include "Snmp/MibContext.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>
#include <net-snmp/agent/agent_sysORTable.h>

#include "Quill/Assert.h"

namespace Snmp {

namespace {

struct ModuleInfo {
  std::vector<oid> moduleOid;
  Quill::String description;
};

std::map<Quill::String, ModuleInfo>& directory() {
  static std::map<Quill::String, ModuleInfo> d;
  return d;
}

std::map<Quill::String, std::set<Quill::String>>& contexts() {
  static std::map<Quill::String, std::set<Quill::String>> c;
  return c;
}

}  // namespace

void mibModuleIs(const Quill::String& module, std::vector<U64> moduleOid,
                 Quill::String description) {
  ModuleInfo info{std::vector<oid>(moduleOid.begin(), moduleOid.end()), std::move(description)};
  auto [it, inserted] = directory().emplace(module, std::move(info));
  QUILL_ASSERT(inserted && "MIB module declared twice");
}

void mibModuleDel(const Quill::String& module) {
  directory().erase(module);
}

void registerMibContext(const Quill::String& context, const Quill::String& module) {
  auto [it, inserted] = contexts()[context].insert(module);
  QUILL_ASSERT(inserted && "module registered twice in one context");
  auto known = directory().find(module);
  if (known == directory().end()) {
    return;
  }
  auto& info = known->second;
  if (context.empty()) {
    register_sysORTable(info.moduleOid.data(), info.moduleOid.size(), info.description.c_str());
  } else {
    netsnmp_register_null_context(info.moduleOid.data(), info.moduleOid.size(), context.c_str());
  }
}

void unregisterMibContext(const Quill::String& context, const Quill::String& module) {
  auto c = contexts().find(context);
  if (c == contexts().end() || c->second.erase(module) == 0) {
    return;
  }
  if (c->second.empty()) {
    contexts().erase(c);
  }
  auto known = directory().find(module);
  if (known == directory().end()) {
    return;
  }
  auto& info = known->second;
  if (context.empty()) {
    unregister_sysORTable(info.moduleOid.data(), info.moduleOid.size());
  } else {
    unregister_mib_context(info.moduleOid.data(), info.moduleOid.size(), DEFAULT_MIB_PRIORITY, 0, 0,
                           context.c_str());
  }
}

const std::map<Quill::String, std::set<Quill::String>>& mibContexts() {
  return contexts();
}

}  // namespace Snmp
