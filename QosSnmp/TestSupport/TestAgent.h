// Test support: one net-snmp agent (sub-agent role, no configuration files) and one agent root
// with the three model entities mounted where the modules look for them (their
// mountPath), shared by every test of a test program.
#pragma once

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include "Cordb/Dir.h"
#include "QosSnmp/IfPolicerMib/IfPolicerMib.h"
#include "QosSnmp/PolicingMib/PolicingMib.h"
#include "QosSnmp/QosMib/QosMib.h"
#include "Snmp/CordbUtil.h"

namespace QosSnmp::test {

// Sets up the agent and the model root once; later calls do nothing.
inline void ensureAgent() {
  if (Snmp::CordbUtil::agentRoot()) {
    return;
  }
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 1);
  init_agent("qossnmp-test");
  auto root = Quill::make<Cordb::Dir>("sysroot");
  root->mount(QosMib::mountPath, qosMibFactory("root"));
  root->mount(PolicingMib::mountPath, policingMibFactory("policingMib"));
  root->mount(IfPolicerMib::mountPath, ifPolicerMibFactory("ifPolicerMib"));
  Snmp::CordbUtil::agentRootIs(root);
}

// The entities the tables are registered over. REQUIRES: ensureAgent() ran.
inline QosMib& mib() {
  return static_cast<QosMib&>(*Snmp::CordbUtil::getEntityRelative(QosMib::mountPath));
}
inline PolicingMib& policingMib() {
  return static_cast<PolicingMib&>(*Snmp::CordbUtil::getEntityRelative(PolicingMib::mountPath));
}
inline IfPolicerMib& ifPolicerMib() {
  return static_cast<IfPolicerMib&>(*Snmp::CordbUtil::getEntityRelative(IfPolicerMib::mountPath));
}

}  // namespace QosSnmp::test
