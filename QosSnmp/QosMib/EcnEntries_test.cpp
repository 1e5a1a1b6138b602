// ECN rows: chip counters, and per-queue counters from the interface's counter status or the
// shared-memory table: enabled queues, queue number bounds, the locally marked count, and
// damaged table records.
#include "QosSnmp/QosMib/EcnEntries.h"

#include <gtest/gtest.h>

#include "QosSnmp/TestSupport/AssertionRegex.h"

namespace {

using Linko::IntfId;
using Qos::TxQueueId;
using QosSnmp::EcnQueueCounterTableEntry;
using QosSnmp::test::assertionRegex;
using Quill::U32;
using Quill::U8;

constexpr const char* queueRangeText =
    "Qos::TxQueueId::value < Qos::TxQueueId::min or > Qos::TxQueueId::invalid not allowed";

class EcnQueueCounterTest : public ::testing::Test {
 protected:
  EcnQueueCounterTest() { slice_->ecnIntfCounterStatusIs(intf_, status_); }

  Quill::Ptr<EcnQueueCounterTableEntry> Row(U32 queueIndex, bool shoal, bool localSupported,
                                            IntfId intf = IntfId(1)) {
    return Quill::make<EcnQueueCounterTableEntry>(QosSnmp::EcnQueueCounterTableIndex(7, queueIndex),
                                                  intf, slice_, table_, shoal, localSupported);
  }
  void Enable(U8 queue, bool enabled = true) {
    status_->queueConfigIs(TxQueueId(queue), Qos::EcnQueueConfig{enabled});
  }

  IntfId intf_ = IntfId(1);
  Quill::Ptr<Qos::SliceHwStatus> slice_ = Quill::make<Qos::SliceHwStatus>();
  Quill::Ptr<Qos::EcnIntfCounterStatus> status_ = Quill::make<Qos::EcnIntfCounterStatus>();
  Quill::Ptr<Qos::EcnCounterTable> table_ = Quill::make<Qos::EcnCounterTable>();
};

TEST(EcnCounterTableEntryTest, ReportsTheChipCountLiveAndItsEntityCode) {
  auto chip = Quill::make<Qos::ChipCounter>(5);
  QosSnmp::EcnCounterTableEntry e("ecn-marked", chip, 42);
  EXPECT_EQ(e.index(), Snmp::String("ecn-marked"));
  EXPECT_EQ(e.veloraEcnCounterEntity(), 42u);
  chip->countIs(6);
  EXPECT_EQ(e.ecnCounter(), 6u);
}

TEST_F(EcnQueueCounterTest, InterfaceWithoutStatusReportsNothingAndChecksNoQueue) {
  auto row = Row(17, true, true, IntfId(2));
  EXPECT_EQ(row->ecnIntfCounterStatus(), nullptr);
  EXPECT_FALSE(row->counterEnabled());
  EXPECT_EQ(row->pktCount(), 0u);
  EXPECT_EQ(row->locallyMarkedPktCount(), 0u);
}

TEST_F(EcnQueueCounterTest, CountsFromTheInterfaceStatusOnlyForEnabledQueues) {
  Enable(3);
  status_->queuePktCountIs(TxQueueId(3), 30);
  status_->queuePktCountIs(TxQueueId(4), 40);
  auto q3 = Row(3, false, true);
  EXPECT_TRUE(q3->counterEnabled());
  EXPECT_EQ(q3->pktCount(), 30u);
  EXPECT_EQ(q3->locallyMarkedPktCount(), 0u);  // the status has no locally marked count
  auto q4 = Row(4, false, true);
  EXPECT_FALSE(q4->counterEnabled());
  EXPECT_EQ(q4->pktCount(), 0u);
  Enable(4, false);
  EXPECT_FALSE(q4->counterEnabled());
  EXPECT_EQ(q4->pktCount(), 0u);
  Enable(5);
  EXPECT_EQ(Row(5, false, true)->pktCount(), 0u);  // enabled, not counted yet
}

TEST_F(EcnQueueCounterTest, CountsFromTheSharedTableWhenSelected) {
  Enable(2);
  status_->queuePktCountIs(TxQueueId(2), 999);  // not consulted
  table_->recordIs({intf_, TxQueueId(2)}, 20, 5);
  EXPECT_EQ(Row(2, true, true)->pktCount(), 20u);
  EXPECT_EQ(Row(2, true, true)->locallyMarkedPktCount(), 5u);
  EXPECT_EQ(Row(2, true, false)->pktCount(), 20u);
  EXPECT_EQ(Row(2, true, false)->locallyMarkedPktCount(), 0u);
  // A disabled queue reports nothing even when the table has counts for it.
  table_->recordIs({intf_, TxQueueId(6)}, 60, 6);
  EXPECT_EQ(Row(6, true, true)->pktCount(), 0u);
  EXPECT_EQ(Row(6, true, true)->locallyMarkedPktCount(), 0u);
  // An enabled queue without a record reads the zero record.
  Enable(8);
  EXPECT_EQ(Row(8, true, true)->pktCount(), 0u);
  EXPECT_EQ(table_->corruptionDetectedCount(), 0u);
}

TEST_F(EcnQueueCounterTest, QueueIsTheLowByteUpToTheInvalidQueue) {
  Enable(16);
  Enable(0);
  status_->queuePktCountIs(TxQueueId(16), 160);
  status_->queuePktCountIs(TxQueueId(0), 1);
  EXPECT_TRUE(Row(16, false, false)->counterEnabled());
  EXPECT_EQ(Row(16, false, false)->pktCount(), 160u);
  EXPECT_EQ(Row(272, false, false)->pktCount(), 160u);  // 272 = 256 + 16
  EXPECT_EQ(Row(256, false, false)->pktCount(), 1u);

  for (U32 queue : {17u, 255u, 273u}) {
    auto row = Row(queue, true, true);
    EXPECT_THROW(
        try { row->counterEnabled(); } catch (const Quill::RangeException& e) {
          EXPECT_STREQ(e.what(), queueRangeText);
          throw;
        },
        Quill::RangeException);
    EXPECT_THROW(row->pktCount(), Quill::RangeException);
    EXPECT_THROW(row->locallyMarkedPktCount(), Quill::RangeException);
  }
}

TEST_F(EcnQueueCounterTest, DamagedRecordIsReportedAndReadAsZero) {
  Enable(1);
  Qos::EcnCounterKey key{intf_, TxQueueId(1)};
  table_->recordIs(key, 10, 3);
  table_->markCorrupt(key);
  auto row = Row(1, true, true);
  EXPECT_EQ(row->pktCount(), 0u);
  EXPECT_EQ(table_->corruptionDetectedCount(), 1u);
  EXPECT_EQ(table_->lastCorruptionMessage(),
            "EcnCounterTable: corrupt record for Ethernet1 queue 1");
  EXPECT_EQ(row->locallyMarkedPktCount(), 0u);
  EXPECT_EQ(table_->corruptionDetectedCount(), 2u);
  EXPECT_TRUE(row->counterEnabled());  // the table plays no part in the configuration
  table_->recordIs(key, 11, 4);
  EXPECT_EQ(row->pktCount(), 11u);
  EXPECT_EQ(table_->corruptionDetectedCount(), 2u);
}

using EcnQueueCounterDeathTest = EcnQueueCounterTest;

TEST_F(EcnQueueCounterDeathTest, MissingSliceOrSelectedTableAreAssertions) {
  auto noSlice = Quill::make<EcnQueueCounterTableEntry>(QosSnmp::EcnQueueCounterTableIndex(7, 1),
                                                        intf_, nullptr, table_, true, true);
  EXPECT_DEATH(noSlice->counterEnabled(), assertionRegex("sliceHwStatus()"));

  Enable(1);
  table_ = nullptr;
  EXPECT_DEATH(Row(1, true, true)->pktCount(), assertionRegex("ecnCounterTable()"));
  EXPECT_DEATH(Row(1, true, true)->locallyMarkedPktCount(), assertionRegex("ecnCounterTable()"));
  // Not needed when the queue is disabled or the table is not selected.
  EXPECT_EQ(Row(2, true, true)->pktCount(), 0u);
  EXPECT_EQ(Row(1, false, true)->locallyMarkedPktCount(), 0u);
}

}  // namespace
