// Service policy and statistics rows: where the per-class counters come from (hardware status,
// per-policer sums, per-interface sums, the counter itself), wrap-around of sums and
// differences, per-interface and per-policer counts.
#include "QosSnmp/QosMib/StatsEntries.h"

#include <limits>

#include <gtest/gtest.h>

namespace {

using Qos::MapType;
using QosSnmp::QosStatsTableEntry;
using QosSnmp::QosStatsTableIndex;
using Quill::U64;

Quill::Ptr<Qos::PolicerHwStatus> Policer(U64 dropped, U64 total, U64 droppedBytes, U64 totalBytes) {
  auto p = Quill::make<Qos::PolicerHwStatus>();
  p->droppedPktsIs(dropped);
  p->totalPktsIs(total);
  p->droppedBytesIs(droppedBytes);
  p->totalBytesIs(totalBytes);
  return p;
}

Quill::Ptr<Qos::CounterIntf> Intf(U64 dropPkts, U64 dropBytes, U64 outPkts, U64 outBytes) {
  auto c = Quill::make<Qos::CounterIntf>();
  c->countsIs(dropPkts, dropBytes, outPkts, outBytes);
  return c;
}

struct Counts {
  U64 drop, dropBytes, out, outBytes, match, matchBytes;
  friend bool operator==(const Counts&, const Counts&) = default;
  friend std::ostream& operator<<(std::ostream& os, const Counts& c) {
    return os << c.drop << "/" << c.dropBytes << "/" << c.out << "/" << c.outBytes << "/" << c.match
              << "/" << c.matchBytes;
  }
};

template <typename Entry>
Counts CountsOf(const Entry& e) {
  return {e.dropCount(),    e.dropByteCount(), e.outCount(),
          e.outByteCount(), e.matchCount(),    e.matchByteCount()};
}

class QosStatsTest : public ::testing::Test {
 protected:
  QosStatsTest() { counter_->countsIs(1, 100, 2, 200); }

  Counts Read(MapType type, Quill::Ptr<Qos::ClassMapHwStatus const> hw = nullptr) {
    QosStatsTableEntry e(QosStatsTableIndex("pm", type, "cm", Qos::Direction::directionInput_), hw,
                         counter_);
    return CountsOf(e);
  }

  Quill::Ptr<Qos::Counter> counter_ = Quill::make<Qos::Counter>();
};

TEST_F(QosStatsTest, QosMapSumsPolicersOutIsTotalMinusDropped) {
  counter_->policerStatusIs("p1", Policer(5, 20, 500, 2000));
  counter_->policerStatusIs("p2", Policer(0, 7, 0, 700));
  counter_->intfCounterIs("Ethernet1", Intf(9, 9, 9, 9));  // not consulted
  EXPECT_EQ(Read(MapType::mapQos_), (Counts{5, 500, 22, 2200, 27, 2700}));
}

TEST_F(QosStatsTest, QosMapSumsInterfacesWhenThereAreNoPolicers) {
  counter_->intfCounterIs("Ethernet1", Intf(1, 10, 100, 1000));
  counter_->intfCounterIs("Ethernet2", Intf(2, 20, 200, 2000));
  EXPECT_EQ(Read(MapType::mapQos_), (Counts{3, 30, 300, 3000, 303, 3030}));
}

TEST_F(QosStatsTest, NonEmptyMapsWithZeroSumsDoNotFallThrough) {
  counter_->intfCounterIs("Ethernet1", Intf(0, 0, 0, 0));
  EXPECT_EQ(Read(MapType::mapQos_), (Counts{0, 0, 0, 0, 0, 0}));
  counter_->policerStatusIs("p1", Policer(0, 0, 0, 0));
  counter_->intfCounterIs("Ethernet1", Intf(5, 5, 5, 5));
  EXPECT_EQ(Read(MapType::mapQos_), (Counts{0, 0, 0, 0, 0, 0}));
}

TEST_F(QosStatsTest, OwnCountsWhenMapsAreEmptyOrTheMapIsNotQos) {
  EXPECT_EQ(Read(MapType::mapQos_), (Counts{1, 100, 2, 200, 3, 300}));
  counter_->policerStatusIs("p1", Policer(5, 20, 500, 2000));
  counter_->intfCounterIs("Ethernet1", Intf(9, 9, 9, 9));
  EXPECT_EQ(Read(MapType::mapControlPlane_), (Counts{1, 100, 2, 200, 3, 300}));
  // Static QoS maps are not of the QoS type here.
  EXPECT_EQ(Read(MapType::mapQosStatic_), (Counts{1, 100, 2, 200, 3, 300}));
}

TEST_F(QosStatsTest, HardwareStatusWinsAndCounterMayBeAbsent) {
  auto hw = Quill::make<Qos::ClassMapHwStatus>();
  hw->countsIs(10, 1000, 20, 2000);
  counter_->policerStatusIs("p1", Policer(5, 20, 500, 2000));
  EXPECT_EQ(Read(MapType::mapQos_, hw), (Counts{10, 1000, 20, 2000, 30, 3000}));
  QosStatsTableEntry noCounter(QosStatsTableIndex(), hw, nullptr);
  EXPECT_EQ(CountsOf(noCounter), (Counts{10, 1000, 20, 2000, 30, 3000}));
  // Counts are read when asked.
  hw->outPktsIs(21);
  EXPECT_EQ(noCounter.outCount(), 21u);
  EXPECT_EQ(noCounter.matchCount(), 31u);
}

TEST_F(QosStatsTest, SumsAndDifferencesWrapModulo2To64) {
  const U64 max = std::numeric_limits<U64>::max();
  counter_->policerStatusIs("p1", Policer(max, 1, max - 1, 0));  // total below dropped
  counter_->policerStatusIs("p2", Policer(3, 3, 3, 3));
  // drop: max + 3 = 2; out: (1 - max) + 0 = 2; bytes out: (0 - (max-1)) + 0 = 2.
  EXPECT_EQ(Read(MapType::mapQos_), (Counts{2, 1, 2, 2, 4, 3}));
}

TEST(QosPerIntfStatsTest, CountsOfItsInterfaceCounter) {
  auto intf = Intf(1, 10, 2, 20);
  QosSnmp::QosPerIntfStatsTableEntry e({}, intf);
  EXPECT_EQ(CountsOf(e), (Counts{1, 10, 2, 20, 3, 30}));
  intf->countsIs(std::numeric_limits<U64>::max(), 0, 2, 5);
  EXPECT_EQ(e.matchCount(), 1u);
}

TEST(QosPolicerStatsTest, OutCountsThePassingStatesDropCountDefaultsToZero) {
  auto c = Quill::make<Qos::PolicerCounter>();
  c->droppedPktsIs(4);
  c->conformPktsIs(10);
  c->conformDroppedPktsIs(100);
  c->exceedDroppedPktsIs(1000);
  c->exceedPktsIs(7);
  QosSnmp::QosPolicerStatsTableEntry e({}, c);
  EXPECT_EQ(e.dropCount(), 4u);
  EXPECT_EQ(e.outCount(), 17u);
  QosSnmp::QosPolicerStatsTableEntry none({}, nullptr);
  EXPECT_EQ(none.dropCount(), 0u);
}

TEST(ServicePolicyTest, MapIdIsStoredAndTypeComesFromTheKey) {
  QosSnmp::ServicePolicyTableEntry e(
      QosSnmp::ServicePolicyTableIndex(5, Qos::Direction::directionOutput_), "pm-out",
      Qos::ServicePolicyKey{"pm-out", MapType::mapQos_, Qos::Direction::directionOutput_});
  EXPECT_EQ(e.policyMapId(), "pm-out");
  EXPECT_EQ(e.policyMapType(), MapType::mapQos_);
  EXPECT_EQ(e.ifIndex(), 5u);
}

}  // namespace
