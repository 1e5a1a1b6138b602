// Agent::buildFittingResponse: how qossnmpd encodes every message it sends as a master agent.
//
// A GETBULK response must fit the msgMaxSize that the manager announced; the agent library cuts
// an oversized bulk response by switching to its forward encoder with varbinds dropped
// ("bulk too big"). For SNMPv3 that encoder of net-snmp 5.9.3 overflows its packet buffer or
// loops for ever, so a read-only user could end or hang the agent with one GETBULK whose
// response does not fit. This builder takes that work over:
//
//  - it always encodes with the library's reverse encoder (which grows its buffer as needed),
//    for every version and message type;
//  - a bulk response (the library marks it "bulk too big") that exceeds msgMaxSize keeps the
//    longest prefix of its varbinds that fits, found by bisection over the varbind count, and
//    the dropped varbinds are freed, as the protocol allows (RFC 3416, 4.2.3);
//  - any other message that does not fit is left to the library, which answers tooBig;
//    a bulk response that does not fit even without varbinds fails with SNMPERR_TOO_LONG, so
//    that the library answers tooBig too.
// It has the signature of a session's realloc-build hook (snmp_add_full), and leaves the packet
// at the start of *buf as such hooks do. Runs on the agent's thread.
#pragma once

#include <cstddef>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <cstdint>

namespace Agent {

// Returns 0 and the packet in (*buf)[0, *offset), or -1 with session->s_snmp_errno set.
int buildFittingResponse(netsnmp_session* session, netsnmp_pdu* pdu, u_char** buf, size_t* bufLen,
                         size_t* offset);

// What the builder did since the process started.
struct ResponseFitCounters {
  std::uint64_t bulkResponsesCut = 0;  // bulk responses sent with fewer varbinds to fit msgMaxSize
  std::uint64_t varbindsDropped = 0;   // varbinds those responses left out
  std::uint64_t responsesRefused = 0;  // bulk responses that did not fit even without varbinds
};
const ResponseFitCounters& responseFitCounters();

}  // namespace Agent
