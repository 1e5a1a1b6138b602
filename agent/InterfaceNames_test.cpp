#include "InterfaceNames.h"

#include <optional>
#include <string>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <gtest/gtest.h>

namespace {

using Linko::IntfId;

class InterfaceNamesTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { netsnmp_container_init_list(); }

  void Set(const char* name, Quill::U32 ifIndex) {
    ifMib->ifIndexByIntfIdIs(IntfId::fromName(name), ifIndex);
  }
  void Del(const char* name) { ifMib->ifIndexByIntfIdDel(IntfId::fromName(name)); }

  Quill::Ptr<IntfSnmp::IfMib> ifMib = Quill::make<IntfSnmp::IfMib>();
};

TEST_F(InterfaceNamesTest, RowsFollowTheIfIndexMapKeyByKey) {
  Set("Ethernet1", 1);
  Agent::InterfaceNames names(ifMib);
  EXPECT_EQ(names.name(1), "Ethernet1");  // what was there before
  Set("Port-Channel1", 1000001);
  Set("Ethernet2", 2);
  EXPECT_EQ(names.rows(), 3U);
  EXPECT_EQ(names.name(1000001), "Port-Channel1");
  EXPECT_EQ(names.name(2), "Ethernet2");

  Set("Ethernet1", 11);  // moved: the old row goes
  EXPECT_EQ(names.name(1), std::nullopt);
  EXPECT_EQ(names.name(11), "Ethernet1");
  Del("Ethernet2");
  EXPECT_EQ(names.name(2), std::nullopt);
  EXPECT_EQ(names.rows(), 2U);
  Del("Ethernet1");
  Del("Port-Channel1");
  EXPECT_EQ(names.rows(), 0U);
}

TEST_F(InterfaceNamesTest, InterfacesSwappingIfIndexesShareARowOnTheWay) {
  Set("Ethernet1", 1);
  Set("Ethernet2", 2);
  Agent::InterfaceNames names(ifMib);
  Set("Ethernet2", 1);  // both on 1 for a moment: the lower id names the row
  EXPECT_EQ(names.name(1), "Ethernet1");
  EXPECT_EQ(names.name(2), std::nullopt);
  EXPECT_EQ(names.rows(), 1U);
  Set("Ethernet1", 2);
  EXPECT_EQ(names.name(1), "Ethernet2");
  EXPECT_EQ(names.name(2), "Ethernet1");
  EXPECT_EQ(names.rows(), 2U);

  Set("Ethernet3", 2);  // a third joins and leaves a shared index
  Del("Ethernet1");
  EXPECT_EQ(names.name(2), "Ethernet3");
  Del("Ethernet3");
  EXPECT_EQ(names.name(2), std::nullopt);
}

// Many changes between two reads: interfaces moving onto indexes between rows that stay, one
// joining another's row, one leaving, and one interface moved again and again.
TEST_F(InterfaceNamesTest, ManyChangesBetweenReadsLeaveTheRowsAsTheMapStands) {
  constexpr Quill::U32 n = 3000;
  Agent::InterfaceNames names(ifMib);
  for (Quill::U32 i = 1; i <= n; i += 2) {
    ifMib->ifIndexByIntfIdIs(IntfId::ethernet(i), 2 * i);
  }
  EXPECT_EQ(names.rows(), n / 2);
  for (Quill::U32 i = 1; i <= n; ++i) {  // the odd ones move down one, the even ones join
    ifMib->ifIndexByIntfIdIs(IntfId::ethernet(i), 2 * i - 1);
  }
  ifMib->ifIndexByIntfIdDel(IntfId::ethernet(7));
  ifMib->ifIndexByIntfIdIs(IntfId::ethernet(9), 1);  // shares the row of Ethernet1
  EXPECT_EQ(names.rows(), n - 2);  // Ethernet7 gone, Ethernet9 in the row of Ethernet1
  for (Quill::U32 i = 1; i <= n; ++i) {
    const std::optional<std::string> expected =
        i == 7 || i == 9 ? std::nullopt : std::optional(IntfId::ethernet(i).name());
    ASSERT_EQ(names.name(2 * i - 1), expected) << "ifIndex " << 2 * i - 1;
    ASSERT_EQ(names.name(2 * i), std::nullopt) << "ifIndex " << 2 * i;
  }
  EXPECT_EQ(names.name(1), "Ethernet1");

  for (Quill::U32 round = 0; round < 5000; ++round) {
    ifMib->ifIndexByIntfIdIs(IntfId::ethernet(2), 100000 + round % 7);
  }
  EXPECT_EQ(names.name(3), std::nullopt);
  EXPECT_EQ(names.name(100000 + 4999 % 7), "Ethernet2");
  EXPECT_EQ(names.rows(), n - 2);
}

TEST_F(InterfaceNamesTest, StopsFollowingOnceDestroyed) {
  {
    Agent::InterfaceNames names(ifMib);
    Set("Ethernet1", 1);
  }
  EXPECT_EQ(ifMib->ifIndexByIntfId().changes().subscriberCount(), 0U);
  Set("Ethernet2", 2);  // no subscriber left to touch the freed table
}

}  // namespace
