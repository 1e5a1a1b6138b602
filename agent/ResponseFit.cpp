#include "ResponseFit.h"

#include <cstring>

namespace Agent {

namespace {

ResponseFitCounters counters;

// Encodes `pdu` with the reverse encoder and moves the packet to the start of *buf.
int encode(netsnmp_session* session, netsnmp_pdu* pdu, u_char** buf, size_t* bufLen,
           size_t* offset) {
  *offset = 0;
  pdu->flags &= ~(UCD_MSG_FLAG_FORWARD_ENCODE | UCD_MSG_FLAG_BULK_TOOBIG);
  if (snmp_build(buf, bufLen, offset, session, pdu) != 0) {
    return -1;
  }
  std::memmove(*buf, *buf + *bufLen - *offset, *offset);
  return 0;
}

// The varbind after which the list is cut to keep `keep` varbinds (null for none).
netsnmp_variable_list* lastKept(netsnmp_pdu* pdu, size_t keep) {
  netsnmp_variable_list* last = nullptr;
  for (netsnmp_variable_list* v = pdu->variables; keep > 0; v = v->next_variable, --keep) {
    last = v;
  }
  return last;
}

// Encodes the first `keep` varbinds of the list only; the list is left whole.
int encodePrefix(netsnmp_session* session, netsnmp_pdu* pdu, size_t keep, u_char** buf,
                 size_t* bufLen, size_t* offset) {
  netsnmp_variable_list* last = lastKept(pdu, keep);
  netsnmp_variable_list** cut = last ? &last->next_variable : &pdu->variables;
  netsnmp_variable_list* rest = *cut;
  *cut = nullptr;
  int rc = encode(session, pdu, buf, bufLen, offset);
  *cut = rest;
  return rc;
}

// Frees every varbind after the first `keep`.
void dropAfter(netsnmp_pdu* pdu, size_t keep) {
  netsnmp_variable_list* last = lastKept(pdu, keep);
  netsnmp_variable_list** cut = last ? &last->next_variable : &pdu->variables;
  snmp_free_varbind(*cut);
  *cut = nullptr;
}

// The number of varbinds to encode: those before the first the agent marked as not gathered
// (ASN_PRIV_STOP, left when its own size estimate stopped a bulk request early).
size_t gatheredVarbinds(netsnmp_pdu* pdu) {
  size_t count = 0;
  for (netsnmp_variable_list* v = pdu->variables; v && v->type != ASN_PRIV_STOP;
       v = v->next_variable) {
    ++count;
  }
  return count;
}

}  // namespace

int buildFittingResponse(netsnmp_session* session, netsnmp_pdu* pdu, u_char** buf, size_t* bufLen,
                         size_t* offset) {
  const bool bulkTooBig = (pdu->flags & UCD_MSG_FLAG_BULK_TOOBIG) != 0;
  if (!bulkTooBig) {
    return encode(session, pdu, buf, bufLen, offset);
  }
  const size_t maxSize = static_cast<size_t>(pdu->msgMaxSize);
  size_t total = gatheredVarbinds(pdu);
  dropAfter(pdu, total);
  if (encode(session, pdu, buf, bufLen, offset) != 0) {
    return -1;
  }
  if (maxSize == 0 || *offset <= maxSize) {
    return 0;
  }
  // Bisect for the longest prefix that fits: `fits` varbinds do, `tooMany` do not.
  size_t fits = 0;
  size_t tooMany = total;
  while (tooMany - fits > 1) {
    size_t mid = fits + (tooMany - fits) / 2;
    if (encodePrefix(session, pdu, mid, buf, bufLen, offset) != 0) {
      return -1;
    }
    (*offset <= maxSize ? fits : tooMany) = mid;
  }
  dropAfter(pdu, fits);
  if (encode(session, pdu, buf, bufLen, offset) != 0) {
    return -1;
  }
  if (*offset > maxSize) {
    ++counters.responsesRefused;
    session->s_snmp_errno = SNMPERR_TOO_LONG;
    return -1;
  }
  ++counters.bulkResponsesCut;
  counters.varbindsDropped += total - fits;
  return 0;
}

const ResponseFitCounters& responseFitCounters() {
  return counters;
}

}  // namespace Agent
