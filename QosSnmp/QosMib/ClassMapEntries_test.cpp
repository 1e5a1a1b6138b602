// Class map and class map match rows: defaults without status objects, and the rendering of
// match rules as text (VLAN value/mask and ranges, DSCP numbers, names and ranges, ECN names).
#include "QosSnmp/QosMib/ClassMapEntries.h"

#include <gtest/gtest.h>

#include "QosSnmp/TestSupport/AssertionRegex.h"

namespace {

using Acl::Ecn;
using Qos::ClassMapMatch;
using Qos::ClassMapMatchDscpEcn;
using Qos::ClassMapMatchVlan;
using QosSnmp::ClassMapMatchTableEntry;
using QosSnmp::ClassMapMatchTableIndex;
using QosSnmp::test::assertionRegex;
using Quill::U32;
using Quill::U8;

class ClassMapMatchTest : public ::testing::Test {
 protected:
  // The rendered name of a match of `type` named `name` with the given sub-objects.
  static std::string Render(U32 type, std::string name,
                            std::optional<ClassMapMatchDscpEcn> dscpEcn = std::nullopt,
                            std::optional<ClassMapMatchVlan> vlan = std::nullopt) {
    auto match = Quill::make<ClassMapMatch>(type, std::move(name));
    match->dscpEcnIs(std::move(dscpEcn));
    match->vlanIs(std::move(vlan));
    return Entry(match)->classMapMatchName();
  }
  static std::string Dscp(U8 dscp, bool named, Ecn ecn, std::set<Qos::DscpRange> ranges = {}) {
    return Render(Qos::matchDscpEcn_, "ignored", ClassMapMatchDscpEcn{dscp, ecn, named, ranges});
  }
  static Quill::Ptr<ClassMapMatchTableEntry> Entry(Quill::Ptr<ClassMapMatch const> match) {
    return Quill::make<ClassMapMatchTableEntry>(
        ClassMapMatchTableIndex("cm1", Qos::MapType::mapQos_, 1), nullptr, std::move(match));
  }
};

TEST(ClassMapTableEntryTest, ReadsTheStatusLiveAndDefaultsWithoutOne) {
  QosSnmp::ClassMapTableIndex index("cm1", Qos::MapType::mapQos_);
  auto status = Quill::make<Qos::ClassMapStatus>("first");
  QosSnmp::ClassMapTableEntry entry(index, status);
  status->nameIs("second");
  status->matchConditionIs(Qos::ClassMapMatchCondition::matchConditionAll_);
  EXPECT_EQ(entry.classMapName(), "second");
  EXPECT_EQ(entry.classMapMatchCondition(), Qos::ClassMapMatchCondition::matchConditionAll_);

  QosSnmp::ClassMapTableEntry bare(index, nullptr);
  EXPECT_EQ(bare.classMapName(), "");
  EXPECT_EQ(bare.classMapMatchCondition(), Qos::ClassMapMatchCondition{});
}

TEST_F(ClassMapMatchTest, WithoutMatchObjectTypeIsOneAndNameEmpty) {
  auto entry = Entry(nullptr);
  EXPECT_EQ(entry->classMapMatchType(), 1u);
  EXPECT_EQ(entry->classMapMatchName(), "");
}

TEST_F(ClassMapMatchTest, OtherTypesReportTheirNameAndType) {
  auto match = Quill::make<ClassMapMatch>(7, "acl-web");
  // Sub-objects of other kinds do not change the text of an unrelated type.
  match->vlanIs(ClassMapMatchVlan{100, 0xfff, true, {}});
  EXPECT_EQ(Entry(match)->classMapMatchType(), 7u);
  EXPECT_EQ(Entry(match)->classMapMatchName(), "acl-web");
  EXPECT_EQ(Render(Qos::matchIpAccessGroup_, "acl-1"), "acl-1");
}

TEST_F(ClassMapMatchTest, VlanValueMaskPrintsTheMaskWithAtLeastThreeHexDigits) {
  EXPECT_EQ(Render(Qos::matchVlan_, "x", std::nullopt, ClassMapMatchVlan{100, 0xfff, true, {}}),
            "100 0xfff");
  EXPECT_EQ(Render(Qos::matchVlan_, "x", std::nullopt, ClassMapMatchVlan{100, 0xf, true, {}}),
            "100 0x00f");
  EXPECT_EQ(Render(Qos::matchVlan_, "x", std::nullopt, ClassMapMatchVlan{65535, 0xabcd, true, {}}),
            "65535 0xabcd");
}

TEST_F(ClassMapMatchTest, VlanRangesAreListedInAscendingOrderAndReplaceTheName) {
  ClassMapMatchVlan vlan;
  vlan.ranges = {{300, 310}, {7, 7}, {1, 5}};
  EXPECT_EQ(Render(Qos::matchVlan_, "vlan-name", std::nullopt, vlan), "1-5,7,300-310");
  vlan.ranges.clear();
  EXPECT_EQ(Render(Qos::matchVlan_, "vlan-name", std::nullopt, vlan), "");
}

TEST_F(ClassMapMatchTest, DscpByNameOrNumberWithOptionalEcnSuffix) {
  EXPECT_EQ(Dscp(46, true, Ecn::ecnCe_), "DSCP EF ECN CE");
  EXPECT_EQ(Dscp(0, true, Ecn::ecnDontCare_), "DSCP CS0");
  EXPECT_EQ(Dscp(0, false, Ecn::ecnDontCare_), "DSCP 0");
  EXPECT_EQ(Dscp(63, false, Ecn::ecnEct_), "DSCP 63 ECN ECT(0)/ECT(1)");
}

TEST_F(ClassMapMatchTest, DscpRangesTakePrecedenceAndFollowTheSetOrder) {
  EXPECT_EQ(Dscp(46, true, Ecn::ecnDontCare_, {{46, 46}, {10, 14}}), "DSCP 10-14,46");
  EXPECT_EQ(Dscp(64, false, Ecn::ecnDontCare_, {{0, 63}}), "DSCP 0-63");
  EXPECT_EQ(Dscp(64, false, Ecn::ecnNotEct_, {{8, 8}}), "DSCP 8 ECN Not-ECT");
}

TEST_F(ClassMapMatchTest, EcnOnlyWhenNoDscpAndNoRanges) {
  EXPECT_EQ(Dscp(64, false, Ecn::ecnNotEct_), "ECN Not-ECT");
  EXPECT_EQ(Dscp(64, false, Ecn::ecnAnyEct_), "ECN ECT(0)/ECT(1)/CE");
  // Unknown ECN values render empty, leaving the bare prefix.
  EXPECT_EQ(Dscp(12, false, static_cast<Ecn>(5)), "DSCP 12 ECN ");
}

TEST(DscpAndEcnNamesTest, StandardCodePointNames) {
  const std::pair<U8, const char*> names[] = {
      {0, "CS0"},   {8, "CS1"},   {10, "AF11"}, {12, "AF12"}, {14, "AF13"}, {16, "CS2"},
      {18, "AF21"}, {20, "AF22"}, {22, "AF23"}, {24, "CS3"},  {26, "AF31"}, {28, "AF32"},
      {30, "AF33"}, {32, "CS4"},  {34, "AF41"}, {36, "AF42"}, {38, "AF43"}, {40, "CS5"},
      {46, "EF"},   {48, "CS6"},  {56, "CS7"}};
  for (const auto& [value, name] : names) {
    EXPECT_EQ(QosSnmp::getDscpNameFromValue(value), name) << int(value);
  }
  EXPECT_EQ(QosSnmp::ecnValueString(Ecn::ecnAnyEct_), "ECT(0)/ECT(1)/CE");
  EXPECT_EQ(QosSnmp::ecnValueString(Ecn::ecnNotEct_), "Not-ECT");
  EXPECT_EQ(QosSnmp::ecnValueString(Ecn::ecnCe_), "CE");
  EXPECT_EQ(QosSnmp::ecnValueString(Ecn::ecnEct_), "ECT(0)/ECT(1)");
  EXPECT_EQ(QosSnmp::ecnValueString(static_cast<Ecn>(200)), "");
}

TEST(DscpAndEcnNamesDeathTest, UnnamedValuesAreProgrammingErrors) {
  EXPECT_DEATH(QosSnmp::getDscpNameFromValue(1), assertionRegex("0"));
  EXPECT_DEATH(QosSnmp::getDscpNameFromValue(64), assertionRegex("0"));
  EXPECT_DEATH(QosSnmp::ecnValueString(Ecn::ecnDontCare_), assertionRegex("0"));
}

}  // namespace
