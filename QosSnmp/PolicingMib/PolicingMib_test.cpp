// The policing MIB's model: index order and truth, the mutators' semantics and notifications,
// and the columns a row computes from its profile or instance.
#include "QosSnmp/PolicingMib/PolicingMib.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using InterfacePolicing::PolicerInstance;
using InterfacePolicing::PolicerName;
using InterfacePolicing::PolicerProfile;
using InterfacePolicing::PolicerRateBurst;
using QosSnmp::PolicerInstanceTableIndex;
using QosSnmp::PolicingMib;
using QosSnmp::PolicingProfileTableEntry;
using QosSnmp::PolicingProfileTableIndex;

TEST(PolicingMibIndexesTest, EmptyNameIsFalseAndNamesOrderAsInTheOid) {
  EXPECT_FALSE(PolicingProfileTableIndex());
  EXPECT_FALSE(PolicingProfileTableIndex(""));
  EXPECT_TRUE(PolicingProfileTableIndex("p"));
  EXPECT_FALSE(PolicerInstanceTableIndex(""));
  // Shorter names first, then bytes as unsigned values.
  EXPECT_LT(PolicingProfileTableIndex("zz"), PolicingProfileTableIndex("aaa"));
  EXPECT_LT(PolicerInstanceTableIndex("a\x7f"), PolicerInstanceTableIndex("a\x80"));
  EXPECT_EQ(PolicerInstanceTableIndex("i1"), PolicerInstanceTableIndex("i1"));
}

TEST(PolicingMibIndexesTest, TextualFormReadsBackAndRejectsOtherAttributes) {
  PolicingProfileTableIndex index("gold \"1\"");
  EXPECT_EQ(PolicingProfileTableIndex::fromString(index.toString()), index);
  EXPECT_EQ(PolicerInstanceTableIndex::fromString("policerName=\"i1\""),
            PolicerInstanceTableIndex("i1"));
  EXPECT_THROW(PolicerInstanceTableIndex::fromString("profileName=\"i1\""),
               Mox::DeserializeException);
}

class PolicingMibTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sub = mib->changes().subscribe([this](const Quill::U32& attr) { attrs.push_back(attr); });
    keySub = mib->policingProfileTable().changes().subscribe(
        [this](const PolicingProfileTableIndex& key) { keys.emplace_back(key.profileName.str()); });
  }

  static Quill::Ptr<PolicerProfile const> Profile(const char* name) {
    return Quill::make<PolicerProfile>(PolicerName(name));
  }
  std::vector<std::string> ProfileRows() const {
    std::vector<std::string> rows;
    for (const auto& row : mib->policingProfileTable()) {
      rows.emplace_back(row.profileName().str());
    }
    return rows;
  }

  Quill::Ptr<PolicingMib> mib = QosSnmp::PolicingMibIs("policingMib");
  std::vector<Quill::U32> attrs;
  std::vector<std::string> keys;
  Quill::Publisher<Quill::U32>::Subscription sub;
  Quill::Publisher<PolicingProfileTableIndex>::Subscription keySub;
};

TEST_F(PolicingMibTest, SameProfileTwiceReturnsTheSameRowAndPublishesOnce) {
  auto gold = Profile("gold");
  auto row = mib->policingProfileTableIs(PolicingProfileTableIndex("gold"), gold);
  EXPECT_EQ(mib->policingProfileTableIs(PolicingProfileTableIndex("gold"), gold), row);
  EXPECT_EQ(attrs, std::vector<Quill::U32>{PolicingMib::policingProfileTableAttr});
  EXPECT_EQ(keys, std::vector<std::string>{"gold"});
  EXPECT_EQ(mib->policingProfileTable(PolicingProfileTableIndex("gold")), row);
}

TEST_F(PolicingMibTest, AnotherProfileUnderTheSameNameIsRefusedAndKeepsTheRow) {
  auto row = mib->policingProfileTableIs(PolicingProfileTableIndex("gold"), Profile("gold"));
  attrs.clear();
  try {
    mib->policingProfileTableIs(PolicingProfileTableIndex("gold"), Profile("gold"));
    ADD_FAILURE() << "re-created with another profile";
  } catch (const Mox::MutatorReinstantiationException& e) {
    EXPECT_STREQ(e.what(),
                 "QosSnmp::PolicingMib::policingProfileTable: row profileName=\"gold\" exists "
                 "with another policerProfile; delete it before re-creating it");
  }
  EXPECT_EQ(mib->policingProfileTable(PolicingProfileTableIndex("gold")), row);
  EXPECT_TRUE(attrs.empty());
}

TEST_F(PolicingMibTest, DeleteReturnsTheRowOncePublishedAndNullForAnAbsentKey) {
  auto row = mib->policingProfileTableIs(PolicingProfileTableIndex("gold"), Profile("gold"));
  keys.clear();
  EXPECT_EQ(mib->policingProfileTableDel(PolicingProfileTableIndex("silver")), nullptr);
  EXPECT_TRUE(keys.empty());
  EXPECT_EQ(mib->policingProfileTableDel(PolicingProfileTableIndex("gold")), row);
  EXPECT_EQ(keys, std::vector<std::string>{"gold"});
  EXPECT_EQ(row->profileName(), "gold");  // the caller's row outlives the table's
  EXPECT_EQ(mib->policingProfileTableDel(PolicingProfileTableIndex("gold")), nullptr);
}

TEST_F(PolicingMibTest, RowsWalkInNameOrderAndDelAllPublishesEachRow) {
  for (const char* name : {"gold", "bronze", "a", "silver"}) {
    mib->policingProfileTableIs(PolicingProfileTableIndex(name), Profile(name));
  }
  EXPECT_EQ(ProfileRows(), (std::vector<std::string>{"a", "gold", "bronze", "silver"}));
  auto first = mib->policingProfileTableDel(mib->policingProfileTable().begin());
  EXPECT_EQ(first->profileName(), "a");
  keys.clear();
  attrs.clear();
  mib->policingProfileTableDelAll();
  EXPECT_EQ(keys, (std::vector<std::string>{"gold", "bronze", "silver"}));
  EXPECT_EQ(attrs, std::vector<Quill::U32>(3, PolicingMib::policingProfileTableAttr));
  EXPECT_TRUE(mib->policingProfileTable().empty());
}

TEST_F(PolicingMibTest, ProfileRowReadsItsConfigurationOrZero) {
  auto config = Quill::make<PolicerRateBurst>(
      PolicerRateBurst::Values{.cir = 1000,
                               .cirUnit = Qos::RateUnit::rateUnitKbps_,
                               .bc = 1500,
                               .bcUnit = Qos::BurstUnit::burstUnitKBytes_,
                               .pir = 2000,
                               .pirUnit = Qos::RateUnit::rateUnitMbps_,
                               .be = 3000,
                               .beUnit = Qos::BurstUnit::burstUnitPackets_});
  auto full = mib->policingProfileTableIs(PolicingProfileTableIndex("full"),
                                          Quill::make<PolicerProfile>(PolicerName("full"), config));
  EXPECT_EQ(full->cir(), 1000U);
  EXPECT_EQ(full->bc(), 1500U);
  EXPECT_EQ(full->pir(), 2000U);
  EXPECT_EQ(full->be(), 3000U);
  EXPECT_EQ(full->cirUnit(), Qos::RateUnit::rateUnitKbps_);
  EXPECT_EQ(full->bcUnit(), Qos::BurstUnit::burstUnitKBytes_);
  EXPECT_EQ(full->pirUnit(), Qos::RateUnit::rateUnitMbps_);
  EXPECT_EQ(full->beUnit(), Qos::BurstUnit::burstUnitPackets_);

  for (auto profile : {Quill::Ptr<PolicerProfile const>(), Profile("unconfigured")}) {
    auto row = QosSnmp::policingProfileTableEntryFactory(PolicingProfileTableIndex("x"), profile);
    EXPECT_EQ(row->cir() + row->bc() + row->pir() + row->be(), 0U);
    EXPECT_EQ(row->cirUnit(), Qos::RateUnit{});
    EXPECT_EQ(row->bcUnit(), Qos::BurstUnit{});
    EXPECT_EQ(row->pirUnit(), Qos::RateUnit{});
    EXPECT_EQ(row->beUnit(), Qos::BurstUnit{});
  }
}

TEST_F(PolicingMibTest, InstanceRowReadsItsProfileNameOrEmpty) {
  auto instance = Quill::make<PolicerInstance>(PolicerName("i1"), "gold");
  auto row = mib->policerInstanceTableIs(PolicerInstanceTableIndex("i1"), instance);
  EXPECT_EQ(row->profileName(), "gold");
  EXPECT_EQ(row->policerName(), "i1");
  auto bare = mib->policerInstanceTableIs(PolicerInstanceTableIndex("i2"), nullptr);
  EXPECT_EQ(bare->profileName(), "");
  EXPECT_THROW(mib->policerInstanceTableIs(PolicerInstanceTableIndex("i2"), instance),
               Mox::MutatorReinstantiationException);
  EXPECT_EQ(mib->policerInstanceTable().size(), 2U);
  // The instance table publishes under its own attribute, not on the profile table's keys.
  EXPECT_EQ(attrs, std::vector<Quill::U32>(2, PolicingMib::policerInstanceTableAttr));
  EXPECT_TRUE(keys.empty());
}

TEST(PolicingMibLifetimeTest, TrackersCountLiveObjectsAndTheEntityReleasesItsRows) {
  using QosSnmp::PolicerInstanceTableEntry;
  Quill::U64 mibs = PolicingMib::memAllocationTracker_.live();
  Quill::U64 profiles = PolicingProfileTableEntry::memAllocationTracker_.live();
  Quill::U64 instances = PolicerInstanceTableEntry::memAllocationTracker_.live();
  auto mib = QosSnmp::policingMibFactory("policingMib");
  EXPECT_EQ(mib->name(), "policingMib");
  mib->policingProfileTableIs(PolicingProfileTableIndex("p"), nullptr);
  mib->policerInstanceTableIs(PolicerInstanceTableIndex("i"), nullptr);
  auto kept = mib->policerInstanceTableIs(PolicerInstanceTableIndex("j"), nullptr);
  EXPECT_EQ(PolicingMib::memAllocationTracker_.live(), mibs + 1);
  EXPECT_EQ(PolicingProfileTableEntry::memAllocationTracker_.live(), profiles + 1);
  EXPECT_EQ(PolicerInstanceTableEntry::memAllocationTracker_.live(), instances + 2);
  mib.reset();
  EXPECT_EQ(PolicingMib::memAllocationTracker_.live(), mibs);
  EXPECT_EQ(PolicingProfileTableEntry::memAllocationTracker_.live(), profiles);
  EXPECT_EQ(PolicerInstanceTableEntry::memAllocationTracker_.live(), instances + 1);
  EXPECT_EQ(kept->refCount(), 1U);
}

}  // namespace
