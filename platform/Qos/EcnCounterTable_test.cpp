// The shared-memory ECN counter table stand-in, and transmit queue ids.
#include "Qos/EcnCounterTable.h"

#include <gtest/gtest.h>

namespace {

using Linko::IntfId;
using Qos::TxQueueId;

TEST(TxQueueIdTest, ValuesUpToInvalidAreAccepted) {
  EXPECT_EQ(TxQueueId().value(), TxQueueId::invalid);
  EXPECT_FALSE(TxQueueId(16).isValid());
  EXPECT_TRUE(TxQueueId(0).isValid());
  try {
    TxQueueId(17);
    ADD_FAILURE() << "17 accepted";
  } catch (const Quill::RangeException& e) {
    EXPECT_STREQ(e.what(),
                 "Qos::TxQueueId::value < Qos::TxQueueId::min or > Qos::TxQueueId::invalid not "
                 "allowed");
  }
}

TEST(EcnCounterTableTest, LookupWithDefaultAndDamagedRecords) {
  Qos::EcnCounterTable table;
  Qos::EcnCounterKey key{IntfId(3), TxQueueId(2)};
  EXPECT_EQ(table.lookupWithDefault(key).pktCount, 0u);
  table.recordIs(key, 5, 6);
  auto r = table.lookupWithDefault(key);
  EXPECT_EQ(r.key, key);
  EXPECT_EQ(r.pktCount, 5u);
  EXPECT_EQ(r.locallyMarkedPktCount, 6u);
  EXPECT_EQ(table.lookupWithDefault({IntfId(3), TxQueueId(1)}).locallyMarkedPktCount, 0u);

  table.markCorrupt(key);
  EXPECT_THROW(table.lookupWithDefault(key), Qos::EcnCounterTableError);
  table.recordIs(key, 7, 8);  // rewriting the record repairs it
  EXPECT_EQ(table.lookupWithDefault(key).pktCount, 7u);

  table.corruptionDetected("first");
  table.corruptionDetected("second");
  EXPECT_EQ(table.corruptionDetectedCount(), 2u);
  EXPECT_EQ(table.lastCorruptionMessage(), "second");
}

}  // namespace
