#include "ResponseFit.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Agent {
namespace {

class ResponseFitTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    setenv("MIBS", "", 1);
    setenv("MIBDIRS", "", 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_REVERSE_ENCODE, 1);
    init_snmp("qossnmpd_test");
  }

  ResponseFitTest() {
    snmp_sess_init(&session_);
    session_.version = SNMP_VERSION_2c;
  }
  ~ResponseFitTest() override {
    for (netsnmp_pdu* pdu : pdus_) {
      snmp_free_pdu(pdu);
    }
  }

  // A bulk response of `count` varbinds whose values grow in length (3, 6, 9, ... octets).
  netsnmp_pdu* response(size_t count, long msgMaxSize, bool bulkTooBig) {
    netsnmp_pdu* pdu = snmp_pdu_create(SNMP_MSG_RESPONSE);
    pdu->version = SNMP_VERSION_2c;
    pdu->msgMaxSize = msgMaxSize;
    pdu->community = static_cast<u_char*>(std::malloc(community_.size()));
    std::memcpy(pdu->community, community_.data(), community_.size());
    pdu->community_len = community_.size();
    if (bulkTooBig) {
      pdu->flags |= UCD_MSG_FLAG_BULK_TOOBIG | UCD_MSG_FLAG_FORWARD_ENCODE;
    }
    for (size_t i = 0; i < count; ++i) {
      oid name[] = {1, 3, 6, 1, 4, 1, 32473, 3, 13, 1, 1, 1, 3, i};
      std::string value(3 * (i + 1), 'x');
      snmp_pdu_add_variable(pdu, name, std::size(name), ASN_OCTET_STR, value.data(), value.size());
    }
    pdus_.push_back(pdu);
    return pdu;
  }

  // Encodes `pdu`; returns the packet length (or -1).
  long build(netsnmp_pdu* pdu) {
    size_t bufLen = 64;
    auto* buf = static_cast<u_char*>(std::malloc(bufLen));
    size_t offset = 0;
    int rc = buildFittingResponse(&session_, pdu, &buf, &bufLen, &offset);
    if (rc == 0) {
      // The packet sits at the start of the buffer: a SEQUENCE header first.
      EXPECT_EQ(buf[0], ASN_SEQUENCE | ASN_CONSTRUCTOR);
    }
    std::free(buf);
    return rc == 0 ? static_cast<long>(offset) : -1;
  }

  static size_t count(const netsnmp_pdu* pdu) {
    size_t n = 0;
    for (auto* v = pdu->variables; v; v = v->next_variable) {
      ++n;
    }
    return n;
  }

  std::string community_ = "public";
  netsnmp_session session_;
  std::vector<netsnmp_pdu*> pdus_;
};

TEST_F(ResponseFitTest, BulkResponseKeepsTheLongestPrefixThatFits) {
  for (long maxSize : {484L, 500L, 777L, 1000L, 1500L}) {
    netsnmp_pdu* cut = response(100, maxSize, true);
    long length = build(cut);
    ASSERT_GT(length, 0) << maxSize;
    EXPECT_LE(length, maxSize);
    size_t kept = count(cut);
    ASSERT_GT(kept, 0U);
    ASSERT_LT(kept, 100U);
    // One varbind more would not have fitted.
    netsnmp_pdu* oneMore = response(kept + 1, 0, false);
    EXPECT_GT(build(oneMore), maxSize) << "kept " << kept << " of 100 for " << maxSize;
  }
}

TEST_F(ResponseFitTest, ResponsesThatFitAreEncodedWhole) {
  netsnmp_pdu* small = response(5, 484, true);
  netsnmp_pdu* unflagged = response(100, 484, false);
  EXPECT_GT(build(small), 0);
  EXPECT_EQ(count(small), 5U);
  // Not marked as a bulk response: encoded whole, oversized; the library then answers tooBig.
  EXPECT_GT(build(unflagged), 484);
  EXPECT_EQ(count(unflagged), 100U);
}

TEST_F(ResponseFitTest, VarbindsTheAgentDidNotGatherAreLeftOut) {
  netsnmp_pdu* pdu = response(10, 1500, true);
  netsnmp_variable_list* v = pdu->variables;
  for (int i = 0; i < 6; ++i) {
    v = v->next_variable;
  }
  v->type = ASN_PRIV_STOP;
  EXPECT_GT(build(pdu), 0);
  EXPECT_EQ(count(pdu), 6U);
}

TEST_F(ResponseFitTest, ABulkResponseThatCannotFitIsRefusedAsTooLong) {
  // Even the empty response is larger than 30 octets with this community.
  community_ = std::string(40, 'c');
  const std::uint64_t refusedBefore = responseFitCounters().responsesRefused;
  EXPECT_EQ(build(response(3, 30, true)), -1);
  EXPECT_EQ(session_.s_snmp_errno, SNMPERR_TOO_LONG);
  EXPECT_EQ(responseFitCounters().responsesRefused, refusedBefore + 1);
}

}  // namespace
}  // namespace Agent
