// QosSnmp::SnmpModule: what one MIB module registered in each agent context, and how it is
// torn down again.
//
// The module's initialize_table_ functions record each handler registration and column-info
// record here; unregister(context) removes the context's registration records, unregisters
// the handlers (net-snmp frees them and their iterator info), frees the column-info records and
// unregisters the MIB context. A module object is a static of its module's source file; it is
// used only on the agent's thread.
#pragma once

#include <list>
#include <map>
#include <vector>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include "Quill/IntTypes.h"
#include "Quill/String.h"

namespace QosSnmp {

class SnmpModule {
 public:
  // moduleName: "veloraQosMib"; moduleOid: the MODULE-IDENTITY's OID (enterprises.E.3.13 for
  // the QoS MIB), whose arc 1 holds the tables. Declares the module to the platform
  // (Snmp::mibModuleIs), so that it is listed in sysORTable with `description`.
  SnmpModule(const char* moduleName, std::initializer_list<oid> moduleOid, const char* description);
  ~SnmpModule();
  SnmpModule(const SnmpModule&) = delete;
  SnmpModule& operator=(const SnmpModule&) = delete;

  const char* name() const noexcept { return name_; }
  // The OID of table `arc`: the module's object root (module.1) followed by the arc (11 arcs).
  std::vector<oid> tableOid(U32 arc) const;

  // Agent debug-log line of init_ ("Initializing in context ...").
  void logInit(const char* function, const char* file, int line,
               const Quill::String& context) const;

  void registrationAdd(const Quill::String& context, netsnmp_handler_registration* reg);
  void columnInfoAdd(const Quill::String& context, netsnmp_column_info* info);
  void unregister(const Quill::String& context);

  using Registrations = std::map<Quill::String, std::list<netsnmp_handler_registration*>>;
  using ColumnInfos = std::map<Quill::String, std::list<netsnmp_column_info*>>;
  const Registrations& handlerRegistrationsByContext() const noexcept { return registrations_; }
  const ColumnInfos& columnInfosByContext() const noexcept { return columnInfos_; }

 private:
  const char* name_;
  std::vector<oid> objectRoot_;
  Registrations registrations_;
  ColumnInfos columnInfos_;
};

}  // namespace QosSnmp
