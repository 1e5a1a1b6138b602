// Interface member keys and the per-member policer status.
#include "Qos/IntfPairKey.h"

#include <optional>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "IntfSnmp/IfMib.h"
#include "Qos/AclHwStatus.h"
#include "Qos/IntfPolicerInfoStatus.h"
#include "Qos/PolicingStatus.h"

namespace {

using InterfacePolicing::PolicerName;
using InterfacePolicing::PolicerType;
using Linko::IntfId;
using Qos::IntfPairKey;

IntfPairKey key(Quill::U32 intf, Quill::U32 member) {
  return {IntfId(intf), IntfId(member)};
}

TEST(IntfPairKeyTest, OrdersByInterfaceThenMember) {
  EXPECT_LT(key(1, 9), key(2, 1));
  EXPECT_LT(key(2, 1), key(2, 3));
  EXPECT_EQ(key(2, 3), key(2, 3));
  EXPECT_NE(key(2, 3), key(3, 2));
}

TEST(IntfPairKeyTest, HashesAsItsInterfaceSoMapsOfBothIterateInterfacesInOneOrder) {
  EXPECT_EQ(key(1, 2).hash(), key(1, 3).hash());
  EXPECT_NE(key(1, 2).hash(), key(2, 1).hash());
  EXPECT_NE(key(1, 2).hash(7), key(1, 2).hash(8));
  EXPECT_EQ(key(1, 2).hash(), key(1, 2).hash(0));

  // The policer status and the ifIndex map visit interfaces alike; an interface's members follow
  // one another in member order.
  Qos::PolicingStatus::IntfPolicerColl pairs;
  IntfSnmp::IfMib::IfIndexByIntfIdColl ifIndexes;
  for (Quill::U32 i = 1; i <= 200; ++i) {
    ifIndexes.set(IntfId(i), i);
    for (Quill::U32 m : {i + 1000, i}) {
      pairs.set(key(i, m), nullptr);
    }
  }
  std::vector<IntfPairKey> expected;
  for (const auto& [intf, ifIndex] : ifIndexes) {
    expected.push_back(key(intf.value(), intf.value()));
    expected.push_back(key(intf.value(), intf.value() + 1000));
  }
  std::vector<IntfPairKey> visited;
  for (const auto& [k, status] : pairs) {
    visited.push_back(k);
  }
  EXPECT_EQ(visited, expected);
}

TEST(IntfPairKeyTest, PrintsInterfaceSlashMember) {
  IntfPairKey po{IntfId::portChannel(10), IntfId::ethernet(1)};
  EXPECT_EQ(fmt::format("{}", po), "Port-Channel10/Ethernet1");
  EXPECT_EQ(fmt::format("{}", key(1, 1)), "Ethernet1/Ethernet1");
  EXPECT_EQ(fmt::format("{}", IntfPairKey{}), "0/0");
}

TEST(IntfPolicerInfoStatusTest, LooksUpNamesByTypeAndPrintsThem) {
  auto counters = Quill::make<Qos::IntfPolicerCounters>();
  Quill::Ptr<Qos::IntfPolicerInfoStatus const> status = Quill::make<Qos::IntfPolicerInfoStatus>(
      Qos::IntfPolicerInfoStatus::PolicerNameMap{
          {PolicerType::policerTypeGroup, PolicerName("g1")},
          {PolicerType::policerTypeProfile, PolicerName("p1")}},
      counters);
  ASSERT_NE(status->policerName(PolicerType::policerTypeProfile), nullptr);
  EXPECT_EQ(*status->policerName(PolicerType::policerTypeProfile), PolicerName("p1"));
  EXPECT_EQ(*status->policerName(PolicerType::policerTypeGroup), PolicerName("g1"));
  EXPECT_EQ(status->policerName(PolicerType::policerTypeInvalid), nullptr);
  EXPECT_EQ(fmt::format("{}", std::optional(status)),
            "IntfPolicerInfoStatus(policerTypeProfile=p1, policerTypeGroup=g1, counters)");

  counters->yellowBytesSentIs(6);  // the QoS agent advances counts in place
  EXPECT_EQ(status->counters()->yellowBytesSent(), 6U);

  auto bare = Quill::make<Qos::IntfPolicerInfoStatus>(Qos::IntfPolicerInfoStatus::PolicerNameMap{});
  EXPECT_EQ(fmt::format("{}", bare), "IntfPolicerInfoStatus(no counters)");
  EXPECT_EQ(fmt::format("{}", *Quill::make<Qos::AclHwStatus>(true)),
            "AclHwStatus(perLagMemberCounters=true)");
}

}  // namespace
