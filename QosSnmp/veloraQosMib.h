// The QoS MIB module (veloraQosMib): entry points and the per-table exports.
//
// init_veloraQosMib(context) registers the module's tables in the default context (a named
// context gets the MIB context registration only); unregister_veloraQosMib(context) removes all
// of it. The model is the QosSnmp::QosMib entity at "snmp/qos/root".
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
const SnmpModule& veloraQosMibModule();
}  // namespace QosSnmp

void init_veloraQosMib(Quill::String context);
void unregister_veloraQosMib(Quill::String context);

void initialize_table_veloraClassMapTable(Quill::Ptr<Snmp::Config const> config,
                                          Quill::String context);
int veloraClassMapTable_handler(netsnmp_mib_handler* handler, netsnmp_handler_registration* reginfo,
                                netsnmp_agent_request_info* reqinfo,
                                netsnmp_request_info* requests);

void initialize_table_veloraClassMapMatchTable(Quill::Ptr<Snmp::Config const> config,
                                               Quill::String context);
int veloraClassMapMatchTable_handler(netsnmp_mib_handler* handler,
                                     netsnmp_handler_registration* reginfo,
                                     netsnmp_agent_request_info* reqinfo,
                                     netsnmp_request_info* requests);

void initialize_table_veloraPolicyMapTable(Quill::Ptr<Snmp::Config const> config,
                                           Quill::String context);
int veloraPolicyMapTable_handler(netsnmp_mib_handler* handler,
                                 netsnmp_handler_registration* reginfo,
                                 netsnmp_agent_request_info* reqinfo,
                                 netsnmp_request_info* requests);

void initialize_table_veloraPolicyMapClassTable(Quill::Ptr<Snmp::Config const> config,
                                                Quill::String context);
int veloraPolicyMapClassTable_handler(netsnmp_mib_handler* handler,
                                      netsnmp_handler_registration* reginfo,
                                      netsnmp_agent_request_info* reqinfo,
                                      netsnmp_request_info* requests);

void initialize_table_veloraPolicyMapActionTable(Quill::Ptr<Snmp::Config const> config,
                                                 Quill::String context);
int veloraPolicyMapActionTable_handler(netsnmp_mib_handler* handler,
                                       netsnmp_handler_registration* reginfo,
                                       netsnmp_agent_request_info* reqinfo,
                                       netsnmp_request_info* requests);

void initialize_table_veloraServicePolicyTable(Quill::Ptr<Snmp::Config const> config,
                                               Quill::String context);
int veloraServicePolicyTable_handler(netsnmp_mib_handler* handler,
                                     netsnmp_handler_registration* reginfo,
                                     netsnmp_agent_request_info* reqinfo,
                                     netsnmp_request_info* requests);

void initialize_table_veloraQosStatsTable(Quill::Ptr<Snmp::Config const> config,
                                          Quill::String context);
int veloraQosStatsTable_handler(netsnmp_mib_handler* handler, netsnmp_handler_registration* reginfo,
                                netsnmp_agent_request_info* reqinfo,
                                netsnmp_request_info* requests);

void initialize_table_veloraEcnCounterTable(Quill::Ptr<Snmp::Config const> config,
                                            Quill::String context);
int veloraEcnCounterTable_handler(netsnmp_mib_handler* handler,
                                  netsnmp_handler_registration* reginfo,
                                  netsnmp_agent_request_info* reqinfo,
                                  netsnmp_request_info* requests);

void initialize_table_veloraEcnQueueCounterTable(Quill::Ptr<Snmp::Config const> config,
                                                 Quill::String context);
int veloraEcnQueueCounterTable_handler(netsnmp_mib_handler* handler,
                                       netsnmp_handler_registration* reginfo,
                                       netsnmp_agent_request_info* reqinfo,
                                       netsnmp_request_info* requests);

void initialize_table_veloraQosPolicerStatsTable(Quill::Ptr<Snmp::Config const> config,
                                                 Quill::String context);
int veloraQosPolicerStatsTable_handler(netsnmp_mib_handler* handler,
                                       netsnmp_handler_registration* reginfo,
                                       netsnmp_agent_request_info* reqinfo,
                                       netsnmp_request_info* requests);

void initialize_table_veloraQosPerIntfStatsTable(Quill::Ptr<Snmp::Config const> config,
                                                 Quill::String context);
int veloraQosPerIntfStatsTable_handler(netsnmp_mib_handler* handler,
                                       netsnmp_handler_registration* reginfo,
                                       netsnmp_agent_request_info* reqinfo,
                                       netsnmp_request_info* requests);
