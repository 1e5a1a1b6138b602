// Which MIB modules are registered in which agent context.
//
// Modules call registerMibContext(context, module) once per context they serve and
// unregisterMibContext when they leave it; registering a module twice in one context is a
// programming fault. Each module first declares where it lives (mibModuleIs; declaring a name
// that is declared already is a programming fault too). A module
// known to the directory is also made visible to net-snmp: in the default (empty) context it
// is listed in the agent's sysORTable; a named context is created in the agent with an empty
// registration at the module's root, so that requests in that context are answered (with no
// rows) rather than refused as an unknown context.
#pragma once

#include <map>
#include <set>
#include <vector>

#include "Quill/IntTypes.h"
#include "Quill/String.h"

namespace Snmp {

void mibModuleIs(const Quill::String& module, std::vector<U64> moduleOid,
                 Quill::String description);
// Forgets a module's declaration (a plug-in being unloaded).
void mibModuleDel(const Quill::String& module);

void registerMibContext(const Quill::String& context, const Quill::String& module);
void unregisterMibContext(const Quill::String& context, const Quill::String& module);

// Context name -> modules registered there.
const std::map<Quill::String, std::set<Quill::String>>& mibContexts();

}  // namespace Snmp
