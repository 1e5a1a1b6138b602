// The agent's view of the state database and its own configuration, as the plug-in sees it.
//
// The agent sets both before it calls any module's initHandler: agentRootIs() names the
// directory that "snmp/qos/root" and the other model paths are relative to, snmpConfigIs() the
// configuration. Single-threaded (the agent's thread).
#pragma once

#include <string_view>

#include "Cordb/Dir.h"
#include "Quill/Ptr.h"
#include "Quill/String.h"

namespace Snmp {

struct Config : Quill::Object {
  Quill::String sysname = "localhost";  // names the agent's root in messages: /<sysname>/...
  bool ignoreIteratorHints = false;     // diagnostic: walk every table from its first row
};

namespace CordbUtil {

Quill::Ptr<Config const> getSnmpConfig();
void snmpConfigIs(Quill::Ptr<Config const> config);

// The entity mounted at `path` below the agent's root, or null.
Quill::Ptr<Mox::Entity> getEntityRelative(std::string_view path);
Quill::Ptr<Cordb::Dir> agentRoot();
void agentRootIs(Quill::Ptr<Cordb::Dir> root);

// Cached from the configuration for the request path.
bool ignoreIteratorHints() noexcept;

}  // namespace CordbUtil
}  // namespace Snmp
