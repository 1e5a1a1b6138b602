// Interface ids and their names.
#include "Linko/IntfId.h"

#include <gtest/gtest.h>

#include "Quill/Exception.h"

namespace {

using Linko::IntfId;

TEST(IntfIdTest, NamesRoundTripAndOrderByValue) {
  EXPECT_EQ(IntfId::fromName("Ethernet1"), IntfId(1));
  EXPECT_EQ(IntfId::fromName("Ethernet1").name(), "Ethernet1");
  IntfId po = IntfId::fromName("Port-Channel10");
  EXPECT_EQ(po.value(), IntfId::portChannelBase + 10);
  EXPECT_EQ(po.name(), "Port-Channel10");
  EXPECT_LT(IntfId::ethernet(48), po);
  EXPECT_EQ(IntfId().name(), "");
}

TEST(IntfIdTest, OtherNamesAreRangeErrors) {
  for (const char* bad : {"", "Ethernet", "Ethernet0", "Ethernet1x", "Vlan10", "Port-Channel-1",
                          "Ethernet99999999999"}) {
    EXPECT_THROW(IntfId::fromName(bad), Quill::RangeException) << bad;
  }
}

}  // namespace
