#include <gtest/gtest.h>

#include "Mox/Singleton.h"
#include "Snmp/HandlerRegistration.h"
#include "Snmp/MibContext.h"
#include "Snmp/RegVoidCollByContext.h"

namespace {

struct NullRegistration : Snmp::HandlerRegistration {
  void initHandler(Quill::String) override {}
  void unregisterHandler(Quill::String) override {}
};

TEST(AutoRegistreeTest, AnnouncesForItsLifetimeAndRefusesDuplicates) {
  NullRegistration reg;
  size_t before = Snmp::AutoRegistree::registrations().size();
  {
    Snmp::AutoRegistree announce(&reg);
    EXPECT_EQ(Snmp::AutoRegistree::registrations().size(), before + 1);
    EXPECT_DEATH(Snmp::AutoRegistree again(&reg), "std::find");
  }
  EXPECT_EQ(Snmp::AutoRegistree::registrations().size(), before);
}

TEST(RegVoidCollTest, RecordsPerContextAndTableAndRefusesDuplicates) {
  Snmp::RegVoidCollByContext coll;
  int entity = 0;
  Snmp::RegVoid* rec = coll.addRegVoid("", "veloraClassMapTable", &entity);
  EXPECT_EQ(rec->entity, &entity);
  EXPECT_EQ(coll.regVoid("", "veloraClassMapTable"), rec);
  EXPECT_EQ(coll.regVoid("vrf1", "veloraClassMapTable"), nullptr);
  EXPECT_DEATH(coll.addRegVoid("", "veloraClassMapTable", &entity), "registered twice");
  coll.delRegVoid("", "veloraClassMapTable");
  EXPECT_EQ(coll.size(), 0U);
}

TEST(MibContextTest, RecordsModulesPerContext) {
  Snmp::registerMibContext("ctxA", "modA");
  Snmp::registerMibContext("ctxA", "modB");
  EXPECT_EQ(Snmp::mibContexts().at("ctxA").size(), 2U);
  EXPECT_DEATH(Snmp::registerMibContext("ctxA", "modA"), "registered twice");
  Snmp::unregisterMibContext("ctxA", "modA");
  Snmp::unregisterMibContext("ctxA", "modB");
  EXPECT_EQ(Snmp::mibContexts().count("ctxA"), 0U);
  Snmp::unregisterMibContext("never", "modA");  // unknown: nothing to do
}

TEST(MibContextTest, AModuleNameIsDeclaredOnce) {
  Snmp::mibModuleIs("modC", {1, 3, 6, 1, 4, 1, 99}, "first");
  EXPECT_DEATH(Snmp::mibModuleIs("modC", {1, 3, 6, 1, 4, 1, 98}, "second"), "declared twice");
  Snmp::mibModuleDel("modC");
  Snmp::mibModuleIs("modC", {1, 3, 6, 1, 4, 1, 98}, "again, after it was forgotten");
  Snmp::mibModuleDel("modC");
}

}  // namespace
