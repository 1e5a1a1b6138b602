// Agent::SnmpSelect: what net-snmp waits on, as snmp_select_info() tells it: its sockets, and
// when its next timeout is due (none when `block`). For loops that select() on net-snmp's
// sockets beside their own.
#pragma once

#include <sys/select.h>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

namespace Agent {

struct SnmpSelect {
  int numfds = 0;
  fd_set readfds;
  timeval timeout = {};
  int block = 1;

  // net-snmp's sockets and timeout as they are now.
  static SnmpSelect now() {
    SnmpSelect s;
    FD_ZERO(&s.readfds);
    snmp_select_info(&s.numfds, &s.readfds, &s.timeout, &s.block);
    return s;
  }
};

}  // namespace Agent
