#include "InterfaceNames.h"

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

TEST_F(InterfaceNamesTest, StopsFollowingOnceDestroyed) {
  {
    Agent::InterfaceNames names(ifMib);
    Set("Ethernet1", 1);
  }
  EXPECT_EQ(ifMib->ifIndexByIntfId().changes().subscriberCount(), 0U);
  Set("Ethernet2", 2);  // no subscriber left to touch the freed table
}

}  // namespace
