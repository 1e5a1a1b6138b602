// The watched status entities: what a watcher sees, and when.
#include "Qos/PolicingStatus.h"

#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "IntfSnmp/IfMib.h"
#include "Qos/Status.h"

namespace {

using InterfacePolicing::PolicerName;
using InterfacePolicing::PolicerProfile;
using Linko::IntfId;
using Quill::U32;

// Logs key notifications of one collection and attribute notifications of its entity, each
// with what a reader sees at that moment.
class PolicingStatusTest : public ::testing::Test {
 protected:
  PolicingStatusTest() {
    keySub_ = status_->profile().changes().subscribe([this](const PolicerName& n) {
      const auto* p = status_->profile().find(n);
      log_.push_back(fmt::format("key {} -> {} v{}", n, p ? fmt::format("{}", *p) : "absent",
                                 status_->profile().version()));
    });
    attrSub_ = status_->changes().subscribe(
        [this](const U32& attr) { log_.push_back(fmt::format("attr {}", attr)); });
  }
  static Quill::Ptr<PolicerProfile const> Profile(const char* name) {
    return Quill::make<PolicerProfile>(PolicerName(name));
  }

  Quill::Ptr<Qos::PolicingStatus> status_ = Quill::make<Qos::PolicingStatus>();
  Quill::Publisher<PolicerName>::Subscription keySub_;
  Quill::Publisher<U32>::Subscription attrSub_;
  std::vector<std::string> log_;
};

TEST_F(PolicingStatusTest, EachChangedKeyIsPublishedOnceAfterTheChange) {
  auto p1 = Profile("p1");
  status_->profileIs(PolicerName("p1"), p1);
  status_->profileIs(PolicerName("p1"), p1);  // same object: no change
  status_->profileIs(PolicerName("p1"), Profile("p1"));
  EXPECT_TRUE(status_->profileDel(PolicerName("p1")));
  EXPECT_FALSE(status_->profileDel(PolicerName("p1")));
  status_->profileIs(PolicerName("p2"), nullptr);  // null deletes; absent: nothing
  const std::string attr = fmt::format("attr {}", U32(Qos::PolicingStatus::profileAttr));
  EXPECT_EQ(log_, (std::vector<std::string>{"key p1 -> PolicerProfile(p1) v1", attr,
                                            "key p1 -> PolicerProfile(p1) v2", attr,
                                            "key p1 -> absent v3", attr}));
}

TEST_F(PolicingStatusTest, CollectionsAreIndependent) {
  Qos::IntfPairKey key{IntfId(1), IntfId(1)};
  auto info = Quill::make<Qos::IntfPolicerInfoStatus>(Qos::IntfPolicerInfoStatus::PolicerNameMap{});
  std::vector<U32> attrs;
  auto sub = status_->changes().subscribe([&](const U32& a) { attrs.push_back(a); });
  status_->intfPolicerOutputIs(key, info);
  status_->policerInstanceIs(
      PolicerName("i1"), Quill::make<InterfacePolicing::PolicerInstance>(PolicerName("i1"), "p1"));
  EXPECT_EQ(status_->intfPolicer().size(), 0U);
  EXPECT_EQ(*status_->intfPolicerOutput().find(key), info);
  EXPECT_EQ(status_->intfPolicerOutput().version(), 1U);
  EXPECT_TRUE(status_->intfPolicerOutputDel(key));
  EXPECT_FALSE(status_->intfPolicerDel(key));
  EXPECT_EQ(attrs, (std::vector<U32>{Qos::PolicingStatus::intfPolicerOutputAttr,
                                     Qos::PolicingStatus::policerInstanceAttr,
                                     Qos::PolicingStatus::intfPolicerOutputAttr}));
  for (const auto& line : log_) {
    EXPECT_FALSE(line.starts_with("key")) << "the profile collection did not change";
  }
}

TEST(StatusTest, PublishesThePolicingStatusAttributeOnlyWhenThePointerChanges) {
  auto status = Quill::make<Qos::Status>();
  std::vector<const Qos::PolicingStatus*> seen;
  auto sub = status->changes().subscribe([&](const U32& attr) {
    EXPECT_EQ(attr, Qos::Status::policingStatusAttr);
    seen.push_back(status->policingStatus().get());
  });
  auto first = Quill::make<Qos::PolicingStatus>();
  auto second = Quill::make<Qos::PolicingStatus>();
  status->policingStatusIs(first);
  status->policingStatusIs(first);
  status->policingStatusIs(second);
  status->policingStatusIs(nullptr);
  status->policingStatusIs(nullptr);
  EXPECT_EQ(seen, (std::vector<const Qos::PolicingStatus*>{first.get(), second.get(), nullptr}));
}

TEST(IfMibTest, IfIndexChangesArePublishedByKeyThenAttribute) {
  auto ifMib = Quill::make<IntfSnmp::IfMib>();
  std::vector<std::string> log;
  auto keySub = ifMib->ifIndexByIntfId().changes().subscribe([&](const IntfId& id) {
    const U32* ifIndex = ifMib->ifIndexByIntfId().find(id);
    log.push_back(fmt::format("{}={}", id, ifIndex ? std::to_string(*ifIndex) : "absent"));
  });
  auto attrSub = ifMib->changes().subscribe([&](const U32&) { log.push_back("attr"); });
  ifMib->ifIndexByIntfIdIs(IntfId(1), 1001);
  ifMib->ifIndexByIntfIdIs(IntfId(1), 1001);
  ifMib->ifIndexByIntfIdIs(IntfId(1), 2001);
  EXPECT_TRUE(ifMib->ifIndexByIntfIdDel(IntfId(1)));
  EXPECT_FALSE(ifMib->ifIndexByIntfIdDel(IntfId(1)));
  EXPECT_EQ(log, (std::vector<std::string>{"Ethernet1=1001", "attr", "Ethernet1=2001", "attr",
                                           "Ethernet1=absent", "attr"}));
}

}  // namespace
