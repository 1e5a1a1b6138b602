#include "Cordb/Dir.h"

#include <gtest/gtest.h>

namespace {

TEST(CordbDirTest, MountsAndFindsByRelativePath) {
  auto root = Quill::make<Cordb::Dir>("root");
  auto e = Quill::make<Mox::Entity>("root");
  root->mount("snmp/qos/root", e);
  EXPECT_EQ(root->lookup("snmp/qos/root"), Quill::Ptr<Mox::Entity>(e));
  EXPECT_TRUE(Quill::dynamicPtrCast<Cordb::Dir>(root->lookup("snmp/qos")));
  EXPECT_EQ(root->lookup("snmp/qos/policingMib"), nullptr);
  EXPECT_EQ(root->lookup("snmp/qos/root/deeper"), nullptr);
  EXPECT_EQ(root->unmount("snmp/qos/root"), Quill::Ptr<Mox::Entity>(e));
  EXPECT_EQ(root->lookup("snmp/qos/root"), nullptr);
}

}  // namespace
