#include "Toggle.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace {

class ToggleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir = std::filesystem::temp_directory_path() /
          ("toggles-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
           ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::create_directories(dir);
    toggleDirectoryIs(dir.string());
  }
  void TearDown() override {
    toggleDirectoryIs("");
    std::filesystem::remove_all(dir);
  }
  void Write(const std::string& text) { std::ofstream(dir / "Snmp.json") << text; }
  std::filesystem::path dir;
};

TEST_F(ToggleTest, MissingFileOrNameGivesTheDefault) {
  EXPECT_TRUE(getToggleState("PolicingConfigSnmp", "Snmp.json", true));
  Write(R"({"Other": false})");
  EXPECT_TRUE(getToggleState("PolicingConfigSnmp", "Snmp.json", true));
  EXPECT_FALSE(getToggleState("PolicingConfigSnmp", "Snmp.json", false));
}

TEST_F(ToggleTest, ReadsTheToggleValue) {
  Write(R"({"PolicingConfigSnmp": false, "IntfPolicingSnmp": true})");
  EXPECT_FALSE(getToggleState("PolicingConfigSnmp", "Snmp.json", true));
  EXPECT_TRUE(getToggleState("IntfPolicingSnmp", "Snmp.json", false));
}

TEST_F(ToggleTest, MalformedFileReadsAsMissing) {
  Write("{not json");
  EXPECT_TRUE(getToggleState("PolicingConfigSnmp", "Snmp.json", true));
  Write(R"({"PolicingConfigSnmp": "off"})");
  EXPECT_TRUE(getToggleState("PolicingConfigSnmp", "Snmp.json", true));
}

}  // namespace
