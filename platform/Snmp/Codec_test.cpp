#include "Snmp/Codec.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

namespace {

TEST(CodecTest, OctetStringReportsFullLengthButCopiesAtMostTheMaximum) {
  unsigned char buf[8];
  std::memset(buf, '-', sizeof buf);
  EXPECT_EQ(Snmp::StringToAsnOctetStringF(Mox::String("abcdef"), buf, sizeof buf, 4), 6);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(buf), 5), "abcd-");
  EXPECT_EQ(Snmp::StringToAsnOctetStringF(Mox::String("abc"), buf, 2, 8), -1);
  EXPECT_EQ(Snmp::StringToAsnOctetStringF(Mox::String(""), buf, sizeof buf, 4), 0);
}

TEST(CodecTest, IntegersAreWrittenAsCLongsAndFailWhenTheBufferIsSmall) {
  unsigned char buf[sizeof(long)];
  long v = 0;
  ASSERT_EQ(Snmp::S32ToAsnIntegerF(-7, buf, sizeof buf), static_cast<int>(sizeof(long)));
  std::memcpy(&v, buf, sizeof v);
  EXPECT_EQ(v, -7);
  ASSERT_GT(Snmp::BoolToAsnIntegerF(false, buf, sizeof buf), 0);
  std::memcpy(&v, buf, sizeof v);
  EXPECT_EQ(v, 2);  // TruthValue false
  EXPECT_LT(Snmp::S32ToAsnIntegerF(1, buf, 2), 0);
}

TEST(CodecTest, Counter64SplitsIntoHighAndLowWords) {
  unsigned char buf[sizeof(counter64)];
  ASSERT_EQ(Snmp::U64ToCounter64F(0x123456789abcdef0ULL, buf, sizeof buf),
            static_cast<int>(sizeof(counter64)));
  counter64 c;
  std::memcpy(&c, buf, sizeof c);
  EXPECT_EQ(c.high, 0x12345678UL);
  EXPECT_EQ(c.low, 0x9abcdef0UL);
}

TEST(CodecTest, DecodersCheckTheirRange) {
  long big = 1L << 40;
  long neg = -1;
  long ok = 42;
  EXPECT_THROW(Snmp::AsnIntegerToS32(&big), Quill::RangeException);
  EXPECT_EQ(Snmp::AsnIntegerToS32(&neg), -1);
  EXPECT_THROW(Snmp::AsnUnsignedToU32(&neg), Quill::RangeException);
  EXPECT_EQ(Snmp::AsnUnsignedToU32(&ok), 42U);
  std::string longName(Snmp::String::maxLength + 1, 'n');
  EXPECT_THROW(Snmp::AsnOctetStringToSnmpString(longName.data(), longName.size()),
               Quill::RangeException);
  EXPECT_EQ(Snmp::AsnOctetStringToSnmpString("cm", 2), Snmp::String("cm"));
}

}  // namespace
