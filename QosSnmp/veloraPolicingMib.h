// The policing MIB module (veloraPolicingMib): entry points and the per-table exports.
//
// init_veloraPolicingMib(context) registers the policing profile and policer instance tables
// in the default context, while the toggle PolicingConfigSnmp is on (a named context, or the
// toggle off, gets the MIB context registration only); unregister_veloraPolicingMib(context)
// removes all of it. The model is the QosSnmp::PolicingMib entity at "snmp/qos/policingMib".
#pragma once

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include "Quill/Ptr.h"
#include "Quill/String.h"
#include "Snmp/CordbUtil.h"

namespace QosSnmp {
class SnmpModule;
// The module's registration bookkeeping (for inspection by tests).
const SnmpModule& veloraPolicingMibModule();
}  // namespace QosSnmp

void init_veloraPolicingMib(Quill::String context);
void unregister_veloraPolicingMib(Quill::String context);

void initialize_table_veloraPolicingProfileTable(Quill::Ptr<Snmp::Config const> config,
                                                 Quill::String context);
int veloraPolicingProfileTable_handler(netsnmp_mib_handler* handler,
                                       netsnmp_handler_registration* reginfo,
                                       netsnmp_agent_request_info* reqinfo,
                                       netsnmp_request_info* requests);

void initialize_table_veloraPolicerInstanceTable(Quill::Ptr<Snmp::Config const> config,
                                                 Quill::String context);
int veloraPolicerInstanceTable_handler(netsnmp_mib_handler* handler,
                                       netsnmp_handler_registration* reginfo,
                                       netsnmp_agent_request_info* reqinfo,
                                       netsnmp_request_info* requests);
