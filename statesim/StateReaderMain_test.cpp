// The unit tests' main: the test binary is also the state reader its StateLoader tests start
// (StateLoaderTest::readerCommand), as qossnmpd is the agent's.
#include <unistd.h>

#include <string_view>

#include <gtest/gtest.h>

#include "StateLoader.h"

int main(int argc, char** argv) {
  if (argc == 3 && std::string_view(argv[1]) == "--state-reader") {
    return StateSim::serveStateReads(argv[2], STDIN_FILENO, STDOUT_FILENO);
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
