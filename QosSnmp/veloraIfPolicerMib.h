// The interface policer MIB module (veloraIfPolicerMib): entry points and the per-table
// exports.
//
// init_veloraIfPolicerMib(context) registers the ingress and egress policer statistics tables
// in the default context, while the toggle IntfPolicingSnmp is on (a named context, or the
// toggle off, gets the MIB context registration only); unregister_veloraIfPolicerMib(context)
// removes all of it. The model is the QosSnmp::IfPolicerMib entity at "snmp/qos/ifPolicerMib".
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
const SnmpModule& veloraIfPolicerMibModule();
}  // namespace QosSnmp

void init_veloraIfPolicerMib(Quill::String context);
void unregister_veloraIfPolicerMib(Quill::String context);

void initialize_table_veloraIfPolicerInStatsTable(Quill::Ptr<Snmp::Config const> config,
                                                  Quill::String context);
int veloraIfPolicerInStatsTable_handler(netsnmp_mib_handler* handler,
                                        netsnmp_handler_registration* reginfo,
                                        netsnmp_agent_request_info* reqinfo,
                                        netsnmp_request_info* requests);

void initialize_table_veloraIfPolicerOutStatsTable(Quill::Ptr<Snmp::Config const> config,
                                                   Quill::String context);
int veloraIfPolicerOutStatsTable_handler(netsnmp_mib_handler* handler,
                                         netsnmp_handler_registration* reginfo,
                                         netsnmp_agent_request_info* reqinfo,
                                         netsnmp_request_info* requests);
