#include "Snmp/String.h"

#include <gtest/gtest.h>

namespace {

TEST(SnmpStringTest, OrdersAsAnOidEncodedOctetStringIndex) {
  // Length first: "zz" (2 bytes) precedes "aaa" (3 bytes) in OID order.
  EXPECT_LT(Snmp::String("zz"), Snmp::String("aaa"));
  EXPECT_LT(Snmp::String("ab"), Snmp::String("ac"));
  // Bytes compare unsigned: 0xff sorts after 0x01.
  EXPECT_LT(Snmp::String("\x01"), Snmp::String("\xff"));
  EXPECT_EQ(Snmp::String("a") <=> Snmp::String("a"), std::strong_ordering::equal);
  EXPECT_LT(Snmp::String(""), Snmp::String("a"));
}

TEST(SnmpStringTest, RefusesValuesLongerThanItsBound) {
  EXPECT_NO_THROW(Snmp::String(std::string(Snmp::String::maxLength, 'x')));
  EXPECT_THROW(Snmp::String(std::string(Snmp::String::maxLength + 1, 'x')), Quill::RangeException);
}

TEST(SnmpStringTest, EqualStringsHashAlike) {
  EXPECT_EQ(Snmp::String("voice").hash(), Snmp::String(std::string("voice")).hash());
  EXPECT_NE(Snmp::String("voice").hash(), Snmp::String("video").hash());
}

}  // namespace
