#include "StateLoader.h"

#include <poll.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

namespace {

using StateSim::StateLoader;

class StateLoaderTest : public ::testing::Test {
 protected:
  void Write(const std::string& text) {
    // A new file moved into place, as an editor or a script would write it.
    std::ofstream(path_.string() + ".tmp") << text;
    std::filesystem::rename(path_.string() + ".tmp", path_);
  }
  static std::string Profiles(int n, int cir = 1) {
    std::string text = R"({"policerProfiles": [)";
    for (int i = 0; i < n; ++i) {
      text += (i ? "," : "") + std::string(R"({"name": "p)") + std::to_string(i) + R"(", "cir": )" +
              std::to_string(cir) + "}";
    }
    return text + "]}";
  }
  // The next result, waiting for the loader's fd as the agent's event loop does.
  static StateLoader::Result Next(StateLoader& loader) {
    pollfd fd{loader.fd(), POLLIN, 0};
    EXPECT_EQ(poll(&fd, 1, 20000), 1) << "no result within 20 s";
    auto result = loader.take();
    EXPECT_TRUE(result.has_value());
    return result.value_or(StateLoader::Result{});
  }

  std::filesystem::path path_ =
      std::filesystem::path(::testing::TempDir()) /
      (std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()) + ".json");
};

TEST_F(StateLoaderTest, ReadsAtStartThenDiffsEachReadAgainstTheLastGoodOne) {
  Write(Profiles(3));
  StateLoader loader(path_.string());
  auto first = Next(loader);
  ASSERT_TRUE(first.state) << first.error;
  EXPECT_TRUE(first.first);
  EXPECT_EQ(first.diff.profiles.size(), 3U);
  EXPECT_FALSE(loader.take().has_value());

  Write("{\"policerProfiles\": [");  // refused: the base of the next diff stays
  loader.request();
  auto refused = Next(loader);
  EXPECT_FALSE(refused.state);
  EXPECT_NE(refused.error.find(path_.string() + ": line 1"), std::string::npos) << refused.error;

  Write(Profiles(4));
  loader.request();
  auto next = Next(loader);
  ASSERT_TRUE(next.state);
  EXPECT_FALSE(next.first);
  ASSERT_EQ(next.diff.profiles.size(), 1U);
  EXPECT_EQ(next.diff.profiles[0].str(), "p3");
  EXPECT_EQ(next.state->policerProfiles.size(), 4U);
}

TEST_F(StateLoaderTest, RequestsWhileAResultWaitsMakeOneMoreReadOfTheNewestFile) {
  Write(Profiles(1));
  StateLoader loader(path_.string());
  for (int i = 2; i <= 20; ++i) {
    Write(Profiles(i));
    loader.request();
  }
  // The first read may have seen any of the files; what follows it is one more read at most,
  // and the last result holds the last file.
  int results = 0;
  StateLoader::Result last;
  while (loader.busy() || results == 0) {
    last = Next(loader);
    ++results;
    ASSERT_LE(results, 2);
  }
  ASSERT_TRUE(last.state);
  EXPECT_EQ(last.state->policerProfiles.size(), 20U);
}

TEST_F(StateLoaderTest, AMissingFileIsAResultWithItsReason) {
  StateLoader loader((path_.string() + ".absent"));
  auto result = Next(loader);
  EXPECT_FALSE(result.state);
  EXPECT_NE(result.error.find("No such file"), std::string::npos) << result.error;
}

TEST_F(StateLoaderTest, DestroyingTheLoaderDuringALongReadCancelsIt) {
  Write(Profiles(100000));
  StateLoader loader(path_.string());
  // The destructor runs while the read is under way: it must neither wait for the whole read
  // nor leave the thread behind (the sanitizer build reports a leaked or racing thread).
}

}  // namespace
