// Agent::setUpPlatform: the stand-in platform's process-wide settings, from the command line.
//
// Applies, in order: the trace levels (options.trace, else $QOSSNMP_TRACE, else none); the
// feature toggle directory (options.toggles, if given); the agent configuration for the plug-in
// (Snmp::Config: sysname = this host's name, ignoreIteratorHints = options.noHint); the agent's
// root directory of the state database, empty, named after the host. Returns that root, which
// is also Snmp::CordbUtil::agentRoot().
//
// A malformed trace spec is the user's error: std::invalid_argument, nothing applied.
// Single-threaded; call once, before any module's initHandler.
#pragma once

#include "Cordb/Dir.h"
#include "Options.h"
#include "Quill/Ptr.h"

namespace Agent {

Quill::Ptr<Cordb::Dir> setUpPlatform(const Options& options);

}  // namespace Agent
