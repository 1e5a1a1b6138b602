// Policer names: their bound, order and hash; and how the policing status prints in traces.
#include "InterfacePolicing/PolicerName.h"

#include <optional>
#include <string>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "InterfacePolicing/PolicerInstance.h"
#include "InterfacePolicing/PolicerProfile.h"
#include "InterfacePolicing/PolicerType.h"
#include "Quill/Exception.h"

namespace {

using InterfacePolicing::PolicerInstance;
using InterfacePolicing::PolicerName;
using InterfacePolicing::PolicerProfile;
using InterfacePolicing::PolicerRateBurst;
using InterfacePolicing::PolicerType;

TEST(PolicerNameTest, HoldsAtMostSixtyFourBytes) {
  EXPECT_EQ(PolicerName(std::string(64, 'p')).size(), 64U);
  try {
    PolicerName(std::string(65, 'p'));
    FAIL() << "a 65-byte name was accepted";
  } catch (const Quill::RangeException& e) {
    EXPECT_STREQ(e.what(), "Mox::String::bytes > maxLength() not allowed");
  }
  EXPECT_TRUE(PolicerName().empty());
}

TEST(PolicerNameTest, OrdersByUnsignedBytesAndHashesItsBytes) {
  EXPECT_LT(PolicerName("a"), PolicerName("ab"));
  EXPECT_LT(PolicerName("ab"), PolicerName("b"));
  EXPECT_LT(PolicerName("z"), PolicerName("\xc3\xa9"));  // bytes above 0x7f sort last
  EXPECT_EQ(PolicerName("p1"), PolicerName(std::string("p1")));
  EXPECT_EQ(PolicerName("p1").hash(), Mox::hashBytes("p1"));
  EXPECT_NE(PolicerName("p1").hash(), PolicerName("p2").hash());
}

TEST(PolicingStatusFormatTest, ObjectsAndOptionalReferencesPrintTheirShortText) {
  using Qos::BurstUnit;
  using Qos::RateUnit;
  auto config = Quill::make<PolicerRateBurst>(
      PolicerRateBurst::Values{.cir = 1000,
                               .cirUnit = RateUnit::rateUnitKbps_,
                               .bc = 1500,
                               .bcUnit = BurstUnit::burstUnitBytes_,
                               .pir = 2000,
                               .pirUnit = RateUnit::rateUnitMbps_,
                               .be = 3,
                               .beUnit = BurstUnit::burstUnitPackets_});
  Quill::Ptr<PolicerProfile const> profile = Quill::make<PolicerProfile>(PolicerName("p1"), config);
  EXPECT_EQ(fmt::format("{}", std::optional(profile)),
            "PolicerProfile(p1: cir=1000 rateUnitKbps_ bc=1500 burstUnitBytes_ pir=2000 "
            "rateUnitMbps_ be=3 burstUnitPackets_)");
  EXPECT_EQ(fmt::format("{}", Quill::make<PolicerProfile>(PolicerName("p2"))),
            "PolicerProfile(p2)");

  Quill::Ptr<PolicerInstance const> instance =
      Quill::make<PolicerInstance>(PolicerName("i1"), "p1");
  EXPECT_EQ(fmt::format("{}", std::optional(instance)), "PolicerInstance(i1, profile p1)");
  EXPECT_EQ(fmt::format("{}", std::optional<Quill::Ptr<PolicerInstance const>>()), "none");
  EXPECT_EQ(fmt::format("{}", Quill::Ptr<PolicerInstance const>()), "null");

  EXPECT_EQ(fmt::format("{}", PolicerType::policerTypeGroup), "policerTypeGroup");
  EXPECT_EQ(static_cast<int>(PolicerType::policerTypeProfile), 1);
  EXPECT_EQ(static_cast<int>(PolicerType::policerTypeGroup), 2);
}

}  // namespace
