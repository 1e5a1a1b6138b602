#include <gtest/gtest.h>

#include "Options.h"

namespace Agent {
namespace {

class OptionsTest : public ::testing::Test {
 protected:
  const Defaults defaults{"/opt/q/etc/qossnmpd.conf", "/opt/q/share/default.json"};

  Options Parse(std::vector<std::string> args) { return parseOptions(args, defaults); }

  // The message of the OptionsError that `args` raise, or "no error".
  std::string ErrorOf(std::vector<std::string> args) {
    try {
      parseOptions(args, defaults);
    } catch (const OptionsError& e) {
      return e.what();
    }
    return "no error";
  }
};

TEST_F(OptionsTest, NoArgumentsGiveAMasterAgentOnLoopbackWithTheBundledFiles) {
  Options o = Parse({});
  EXPECT_EQ(o.listen, "udp:127.0.0.1:1161");
  EXPECT_FALSE(o.subAgent());
  EXPECT_EQ(o.agentx, "");
  EXPECT_EQ(o.config, "/opt/q/etc/qossnmpd.conf");
  EXPECT_EQ(o.state, "/opt/q/share/default.json");
  EXPECT_EQ(o.trace, "");
  EXPECT_EQ(o.toggles, "");
  EXPECT_TRUE(o.contexts.empty());
  EXPECT_FALSE(o.noHint);
  EXPECT_FALSE(o.live);
  EXPECT_FALSE(o.help);
}

TEST_F(OptionsTest, EveryValueOptionIsTaken) {
  Options o = Parse({"--listen", "udp:127.0.0.1:2161", "--config", "a.conf", "--state", "s.json",
                     "--trace", "QosSnmp/0-2", "--toggles", "/tmp/t"});
  EXPECT_EQ(o.listen, "udp:127.0.0.1:2161");
  EXPECT_EQ(o.config, "a.conf");
  EXPECT_EQ(o.state, "s.json");
  EXPECT_EQ(o.trace, "QosSnmp/0-2");
  EXPECT_EQ(o.toggles, "/tmp/t");
}

TEST_F(OptionsTest, ValuesMayFollowAnEqualsSign) {
  Options o = Parse({"--listen=tcp:127.0.0.1:3161", "--context=vrf1", "--trace=*/0"});
  EXPECT_EQ(o.listen, "tcp:127.0.0.1:3161");
  EXPECT_EQ(o.contexts, std::vector<std::string>{"vrf1"});
  EXPECT_EQ(o.trace, "*/0");
}

TEST_F(OptionsTest, FlagsAreSet) {
  Options o = Parse({"--no-hint", "--live"});
  EXPECT_TRUE(o.noHint);
  EXPECT_TRUE(o.live);
  EXPECT_TRUE(Parse({"--help"}).help);
  EXPECT_TRUE(Parse({"--version"}).version);
  Options check = Parse({"--check", "--state", "s.json"});
  EXPECT_TRUE(check.check);
  EXPECT_EQ(check.state, "s.json");
  EXPECT_FALSE(Parse({}).check);
}

TEST_F(OptionsTest, ContextsAreKeptInCommandLineOrder) {
  Options o = Parse({"--context", "vrf2", "--context", "vrf1", "--context", "mgmt"});
  EXPECT_EQ(o.contexts, (std::vector<std::string>{"vrf2", "vrf1", "mgmt"}));
}

TEST_F(OptionsTest, AgentxMakesASubAgent) {
  Options o = Parse({"--agentx", "unix:/tmp/agentx.sock"});
  EXPECT_TRUE(o.subAgent());
  EXPECT_EQ(o.agentx, "unix:/tmp/agentx.sock");
}

TEST_F(OptionsTest, ALaterValueReplacesAnEarlierOne) {
  EXPECT_EQ(Parse({"--state", "a.json", "--state", "b.json"}).state, "b.json");
}

TEST_F(OptionsTest, UnknownOptionsAreRefusedByName) {
  EXPECT_EQ(ErrorOf({"--listen", "udp:1", "--verbose"}), "unknown option '--verbose'");
  EXPECT_EQ(ErrorOf({"-x"}), "unknown option '-x'");
  EXPECT_EQ(ErrorOf({"--bogus=1"}), "unknown option '--bogus'");
}

TEST_F(OptionsTest, StrayArgumentsAreRefused) {
  EXPECT_EQ(ErrorOf({"state.json"}), "unexpected argument 'state.json'");
}

TEST_F(OptionsTest, AValueOptionAtTheEndNeedsItsValue) {
  EXPECT_EQ(ErrorOf({"--state"}), "option '--state' needs a value");
  EXPECT_EQ(ErrorOf({"--live", "--context"}), "option '--context' needs a value");
}

TEST_F(OptionsTest, EmptyValuesAreRefused) {
  EXPECT_EQ(ErrorOf({"--context", ""}), "option '--context' needs a non-empty value");
  EXPECT_EQ(ErrorOf({"--config="}), "option '--config' needs a non-empty value");
}

TEST_F(OptionsTest, FlagsTakeNoValue) {
  EXPECT_EQ(ErrorOf({"--live=yes"}), "option '--live' takes no value");
}

TEST_F(OptionsTest, AContextGivenTwiceIsRefused) {
  EXPECT_EQ(ErrorOf({"--context", "vrf1", "--context", "vrf1"}), "context 'vrf1' given twice");
}

TEST_F(OptionsTest, ListenAndAgentxExcludeEachOther) {
  EXPECT_EQ(ErrorOf({"--listen", "udp:127.0.0.1:1", "--agentx", "unix:/a"}),
            "--listen and --agentx exclude each other");
}

TEST_F(OptionsTest, UsageNamesEveryOptionAndTheDefaults) {
  std::string text = usage("qossnmpd", defaults);
  for (const char* option :
       {"--listen", "--agentx", "--config", "--context", "--state", "--trace", "--toggles",
        "--no-hint", "--live", "--check", "--version", "--help"}) {
    EXPECT_NE(text.find(option), std::string::npos) << option;
  }
  EXPECT_NE(text.find(defaults.config), std::string::npos);
  EXPECT_NE(text.find(defaults.state), std::string::npos);
  EXPECT_NE(text.find("udp:127.0.0.1:1161"), std::string::npos);
}

}  // namespace
}  // namespace Agent
