// The feature toggles of the policing modules. A toggle is read once per process, so every
// case runs in a process of its own (a re-executed death test) with its own toggle file.
#include "QosSnmp/SnmpTables/FeatureToggles.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "QosSnmp/SnmpTables/SnmpModule.h"
#include "QosSnmp/TestSupport/TestAgent.h"
#include "QosSnmp/TestSupport/TraceCapture.h"
#include "QosSnmp/IfPolicerMib/veloraIfPolicerMib.h"
#include "QosSnmp/PolicingMib/veloraPolicingMib.h"
#include "Snmp/MibContext.h"
#include "Toggle.h"

namespace {

using QosSnmp::test::TraceCapture;

constexpr const char* policingNoop[] = {
    "initialize_table_veloraPolicingProfileTable is a noop because toggle PolicingConfigSnmp is "
    "not enabled.",
    "initialize_table_veloraPolicerInstanceTable is a noop because toggle PolicingConfigSnmp is "
    "not enabled."};
constexpr const char* ifPolicerNoop[] = {
    "initialize_table_veloraIfPolicerInStatsTable is a noop because toggle IntfPolicingSnmp is "
    "not enabled.",
    "initialize_table_veloraIfPolicerOutStatsTable is a noop because toggle IntfPolicingSnmp is "
    "not enabled."};

// What a scenario found wrong, one line per failed check.
class Findings {
 public:
  void check(bool ok, const std::string& what) {
    if (!ok) {
      text_ += what + "\n";
    }
  }
  const std::string& text() const noexcept { return text_; }

 private:
  std::string text_;
};

size_t Tables(const QosSnmp::SnmpModule& module) {
  auto it = module.handlerRegistrationsByContext().find("");
  return it == module.handlerRegistrationsByContext().end() ? 0 : it->second.size();
}

bool MibContext(const char* module) {
  auto it = Snmp::mibContexts().find("");
  return it != Snmp::mibContexts().end() && it->second.count(module) == 1;
}

class FeatureTogglesTest : public ::testing::Test {
 protected:
  // A re-executed child starts with nothing cached; a forked one would inherit the toggles.
  static void SetUpTestSuite() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
  static void TearDownTestSuite() { GTEST_FLAG_SET(death_test_style, "fast"); }

  // Writes the toggle file of this process and points the toggle service at it.
  static void ToggleFile(const std::string& json) {
    static const std::filesystem::path dir =
        std::filesystem::temp_directory_path() / ("qossnmp-toggles-" + std::to_string(getpid()));
    std::filesystem::create_directories(dir);
    std::ofstream(dir / "Snmp.json") << json;
    toggleDirectoryIs(dir.string());
  }

  // Runs `scenario` in a fresh process; its findings fail the test.
  static void Fresh(const std::function<void(Findings&)>& scenario) {
    EXPECT_EXIT(
        {
          QosSnmp::test::ensureAgent();
          Findings findings;
          scenario(findings);
          std::filesystem::remove_all(std::filesystem::path(toggleDirectory()));
          std::fputs(findings.text().c_str(), stderr);
          std::_Exit(findings.text().empty() ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
  }
};

TEST_F(FeatureTogglesTest, PolicingConfigSnmpOffRemovesThePolicingTablesOnlyUntilRestart) {
  Fresh([](Findings& f) {
    ToggleFile(R"({"PolicingConfigSnmp": false})");
    TraceCapture trace("QosSnmp/0-1");
    init_veloraPolicingMib("");
    init_veloraIfPolicerMib("");
    f.check(Tables(QosSnmp::veloraPolicingMibModule()) == 0, "policing tables registered");
    f.check(QosSnmp::veloraPolicingMibModule().columnInfosByContext().count("") == 0,
            "policing column infos recorded");
    for (const char* noop : policingNoop) {
      f.check(trace.count(noop) == 1, std::string("not traced once: ") + noop);
    }
    f.check(MibContext("veloraPolicingMib"), "no MIB context for veloraPolicingMib");
    f.check(Tables(QosSnmp::veloraIfPolicerMibModule()) == 2, "interface tables not registered");
    f.check(!trace.contains("IntfPolicingSnmp"), "interface toggle reported off");

    // Switched on in the file: this process keeps what it read.
    ToggleFile(R"({"PolicingConfigSnmp": true})");
    unregister_veloraPolicingMib("");
    init_veloraPolicingMib("");
    f.check(Tables(QosSnmp::veloraPolicingMibModule()) == 0, "toggle read again");
  });
}

TEST_F(FeatureTogglesTest, IntfPolicingSnmpOffIsReadOnceForBothInterfaceTables) {
  Fresh([](Findings& f) {
    ToggleFile(R"({"IntfPolicingSnmp": false})");
    TraceCapture trace("QosSnmp/0-1");
    auto config = Snmp::CordbUtil::getSnmpConfig();
    initialize_table_veloraIfPolicerInStatsTable(config, "");
    ToggleFile(R"({"IntfPolicingSnmp": true})");
    initialize_table_veloraIfPolicerOutStatsTable(config, "");
    for (const char* noop : ifPolicerNoop) {
      f.check(trace.count(noop) == 1, std::string("not traced once: ") + noop);
    }
    f.check(Tables(QosSnmp::veloraIfPolicerMibModule()) == 0, "interface tables registered");
    init_veloraIfPolicerMib("");
    init_veloraPolicingMib("");
    f.check(Tables(QosSnmp::veloraIfPolicerMibModule()) == 0, "interface tables registered");
    f.check(MibContext("veloraIfPolicerMib"), "no MIB context for veloraIfPolicerMib");
    f.check(Tables(QosSnmp::veloraPolicingMibModule()) == 2, "policing tables not registered");
  });
}

TEST_F(FeatureTogglesTest, TogglesTheFileDoesNotNameAreOn) {
  Fresh([](Findings& f) {
    ToggleFile(R"({"SomeOtherToggle": false})");
    TraceCapture trace("QosSnmp/0-1");
    init_veloraPolicingMib("");
    init_veloraIfPolicerMib("");
    f.check(QosSnmp::togglePolicingConfigSnmpEnabled(), "PolicingConfigSnmp off");
    f.check(QosSnmp::toggleIntfPolicingSnmpEnabled(), "IntfPolicingSnmp off");
    f.check(Tables(QosSnmp::veloraPolicingMibModule()) == 2, "policing tables not registered");
    f.check(Tables(QosSnmp::veloraIfPolicerMibModule()) == 2, "interface tables not registered");
    f.check(!trace.contains("is a noop"), "a table reported off");
  });
}

}  // namespace
