#include "StateLoader.h"

#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "PolicingWriter.h"

namespace {

using StateSim::State;
using StateSim::StateLoader;
using StateSim::StateSnapshot;

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
  // Kills `pid` and waits until it is gone (a zombie its parent, the loader, has yet to reap).
  static void Kill(pid_t pid) {
    ASSERT_EQ(kill(pid, SIGKILL), 0);
    for (;;) {
      std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
      std::string comm;
      char state = 'Z';
      if (!(stat >> comm >> comm >> state) || state == 'Z' || state == 'X') {
        return;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
  // Waits until `pid` is inside openat(2): blocked opening a FIFO that no one writes.
  static void WaitUntilOpening(pid_t pid) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    for (;;) {
      long call = -1;
      std::ifstream("/proc/" + std::to_string(pid) + "/syscall") >> call;
      if (call == SYS_openat) {
        return;
      }
      ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "the reader never opened the file";
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
  // This binary is the state reader too (StateReaderMain_test.cpp).
  static std::vector<std::string> ReaderCommand() { return {"/proc/self/exe", "--state-reader"}; }
  // The next result, waiting for the loader's fd as the agent's event loop does.
  static StateLoader::Result Next(StateLoader& loader, bool compareWhole = false) {
    pollfd fd{loader.fd(), POLLIN, 0};
    EXPECT_EQ(poll(&fd, 1, 20000), 1) << "no result within 20 s";
    auto result = loader.take(compareWhole);
    EXPECT_TRUE(result.has_value());
    return std::move(result).value_or(StateLoader::Result{});  // moved: a copy drops its entries
  }

  std::filesystem::path path_ =
      std::filesystem::path(::testing::TempDir()) /
      (std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()) + ".json");
};

TEST_F(StateLoaderTest, ReadsAtStartThenDiffsEachReadAgainstTheLastGoodOne) {
  Write(Profiles(3));
  StateLoader loader(path_.string(), ReaderCommand());
  auto first = Next(loader);
  ASSERT_TRUE(first.edits) << first.error;
  EXPECT_TRUE(first.whole);
  EXPECT_EQ(first.edits->diff.profiles.size(), 3U);
  EXPECT_EQ(first.edits->values.policerProfiles.size(), 3U);
  EXPECT_FALSE(loader.take().has_value());

  Write("{\"policerProfiles\": [");  // refused: the base of the next diff stays
  loader.request();
  auto refused = Next(loader);
  EXPECT_FALSE(refused.edits);
  EXPECT_NE(refused.error.find(path_.string() + ": line 1"), std::string::npos) << refused.error;

  Write(Profiles(4));
  loader.request();
  auto next = Next(loader);
  ASSERT_TRUE(next.edits);
  EXPECT_FALSE(next.whole);
  ASSERT_EQ(next.edits->diff.profiles.size(), 1U);
  EXPECT_EQ(next.edits->diff.profiles[0].str(), "p3");
  // Only what changed crosses over.
  ASSERT_EQ(next.edits->values.policerProfiles.size(), 1U);
  EXPECT_EQ(next.edits->values.policerProfiles.begin()->first.str(), "p3");
}

TEST_F(StateLoaderTest, AReaderThatEndsIsReplacedAndItsFirstResultIsWhole) {
  Write(Profiles(3));
  StateLoader loader(path_.string(), ReaderCommand());
  ASSERT_TRUE(Next(loader).edits);
  // Killed while it waits: the next read goes to a new reader.
  const pid_t first = loader.readerPid();
  ASSERT_GT(first, 0);
  Kill(first);
  Write(Profiles(4, 2));
  loader.request();
  auto again = Next(loader);
  ASSERT_TRUE(again.edits) << again.error;
  EXPECT_TRUE(again.whole);
  EXPECT_EQ(again.edits->values.policerProfiles.size(), 4U);
  EXPECT_NE(loader.readerPid(), first);

  // Killed during a read (of a FIFO no one writes: it waits there): that read is refused with
  // the reason, and the next one is whole again.
  std::filesystem::remove(path_);
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  loader.request();
  const pid_t second = loader.readerPid();
  WaitUntilOpening(second);
  Kill(second);
  auto ended = Next(loader);
  EXPECT_FALSE(ended.edits);
  EXPECT_NE(ended.error.find("the state reader ended (killed by signal 9"), std::string::npos)
      << ended.error;
  std::filesystem::remove(path_);
  Write(Profiles(4, 2));
  loader.request();
  auto whole = Next(loader);
  ASSERT_TRUE(whole.edits) << whole.error;
  EXPECT_TRUE(whole.whole);
}

TEST_F(StateLoaderTest, AWholeResultTakenToCompareIsComparedBeforeAnyFurtherRead) {
  Write(Profiles(3));
  StateLoader loader(path_.string(), ReaderCommand());
  auto first = Next(loader);  // nothing in force yet: applied as it is
  ASSERT_TRUE(first.edits) << first.error;
  const State inForce = first.edits->values;

  Kill(loader.readerPid());
  Write(Profiles(4, 2));
  loader.request();
  auto whole = Next(loader, true);
  ASSERT_TRUE(whole.edits) << whole.error;
  ASSERT_TRUE(whole.whole);
  // A read asked for now waits until the whole result is compared: its edits are from the
  // whole file's State, which is not in force yet.
  Write(Profiles(5, 2));
  loader.request();
  pollfd fd{loader.fd(), POLLIN, 0};
  EXPECT_EQ(poll(&fd, 1, 300), 0) << "a read went ahead of the comparison";

  // The state in force, as the agent's thread copies it: policing entries in no order.
  StateSnapshot before{.rest = inForce};
  before.rest.policerProfiles.clear();
  for (const auto& entry : inForce.policerProfiles) {
    before.policing.profiles.insert(before.policing.profiles.begin(), entry);
  }
  const State after = whole.edits->values;
  loader.compare(std::move(whole.edits->values), std::move(before));
  auto compared = Next(loader);
  ASSERT_TRUE(compared.edits) << compared.error;
  EXPECT_FALSE(compared.whole);
  StateSim::StateEdits expected = StateSim::editsFrom(inForce, after, false);
  StateSim::orderAsTheCollections(expected);  // as the loader hands over every result's edits
  EXPECT_EQ(*compared.edits, expected);
  EXPECT_EQ(compared.edits->diff.profiles.size(), 4U);  // three changed, one came
  EXPECT_EQ(compared.edits->entries.profiles.size(), 4U);

  auto held = Next(loader);  // then the read asked for meanwhile
  ASSERT_TRUE(held.edits) << held.error;
  ASSERT_EQ(held.edits->diff.profiles.size(), 1U);
  EXPECT_EQ(held.edits->diff.profiles[0].str(), "p4");
}

TEST_F(StateLoaderTest, AReaderThatCannotStartIsARefusedRead) {
  Write(Profiles(1));
  StateLoader loader(path_.string(), {"/nonexistent/qossnmpd"});
  auto result = Next(loader);
  EXPECT_FALSE(result.edits);
  EXPECT_NE(result.error.find("cannot start the state reader /nonexistent/qossnmpd"),
            std::string::npos)
      << result.error;
}

TEST_F(StateLoaderTest, RequestsWhileAResultWaitsMakeOneMoreReadOfTheNewestFile) {
  Write(Profiles(1));
  StateLoader loader(path_.string(), ReaderCommand());
  for (int i = 2; i <= 20; ++i) {
    Write(Profiles(i));
    loader.request();
  }
  // The first read may have seen any of the files; what follows it is one more read at most,
  // and the last result holds the last file.
  int results = 0;
  std::set<std::string> profiles;  // the profiles the results set, together
  while (loader.busy() || results == 0) {
    auto result = Next(loader);
    ASSERT_TRUE(result.edits) << result.error;
    for (const auto& [name, profile] : result.edits->values.policerProfiles) {
      profiles.emplace(name.str());
    }
    ++results;
    ASSERT_LE(results, 2);
  }
  EXPECT_EQ(profiles.size(), 20U);
}

TEST_F(StateLoaderTest, AMissingFileIsAResultWithItsReason) {
  StateLoader loader((path_.string() + ".absent"), ReaderCommand());
  auto result = Next(loader);
  EXPECT_FALSE(result.edits);
  EXPECT_NE(result.error.find("No such file"), std::string::npos) << result.error;
}

TEST_F(StateLoaderTest, DestroyingTheLoaderDuringALongReadCancelsIt) {
  Write(Profiles(100000));
  pid_t reader = -1;
  {
    StateLoader loader(path_.string(), ReaderCommand());
    while ((reader = loader.readerPid()) <= 0) {
      std::this_thread::yield();
    }
    // The destructor runs while the read is under way: it must neither wait for the whole read
    // nor leave the thread or the reader behind (the sanitizer build reports a leaked thread).
  }
  EXPECT_EQ(kill(reader, 0), -1) << "the reader outlived its loader";
}

}  // namespace
