#include "PolicingModels.h"

#include <gtest/gtest.h>

namespace {

TEST(PolicingModelsTest, MountsBothEntitiesWhereTheModulesLookAndUnmountsThem) {
  auto root = Quill::make<Cordb::Dir>("sysroot");
  {
    Agent::PolicingModels models(root);
    EXPECT_EQ(root->lookup("snmp/qos/policingMib"), Quill::Ptr<Mox::Entity>(models.policingMib()));
    EXPECT_EQ(root->lookup("snmp/qos/ifPolicerMib"),
              Quill::Ptr<Mox::Entity>(models.ifPolicerMib()));
  }
  EXPECT_EQ(root->lookup("snmp/qos/policingMib"), nullptr);
  EXPECT_EQ(root->lookup("snmp/qos/ifPolicerMib"), nullptr);
}

}  // namespace
