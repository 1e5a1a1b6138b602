// Test support: one net-snmp agent (sub-agent role, no configuration files) and one agent root
// with a QosMib mounted at "snmp/qos/root", shared by every test of a test program.
#pragma once

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include "Cordb/Dir.h"
#include "QosSnmp/QosMib.h"
#include "Snmp/CordbUtil.h"

namespace QosSnmp::test {

// Sets up the agent and the model root once; later calls do nothing.
inline void ensureAgent() {
  if (Snmp::CordbUtil::getEntityRelative("snmp/qos/root")) {
    return;
  }
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 1);
  init_agent("qossnmp-test");
  auto root = Quill::make<Cordb::Dir>("sysroot");
  root->mount("snmp/qos/root", qosMibFactory("root"));
  Snmp::CordbUtil::agentRootIs(root);
}

// The QosMib the tables are registered over. REQUIRES: ensureAgent() ran.
inline QosMib& mib() {
  return static_cast<QosMib&>(*Snmp::CordbUtil::getEntityRelative("snmp/qos/root"));
}

}  // namespace QosSnmp::test
