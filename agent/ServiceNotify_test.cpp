#include "ServiceNotify.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace Agent {
namespace {

// Plays the service manager: a datagram socket named by $NOTIFY_SOCKET for the test's length.
class ServiceNotifyTest : public ::testing::Test {
 protected:
  ServiceNotifyTest() {
    dir_ =
        std::filesystem::temp_directory_path() / ("qossnmpd-notify-" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir_);
    path_ = (dir_ / "notify.sock").string();
  }
  ~ServiceNotifyTest() override {
    if (fd_ >= 0) {
      ::close(fd_);
    }
    ::unsetenv("NOTIFY_SOCKET");
    std::filesystem::remove_all(dir_);
  }

  void Listen() {
    fd_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ASSERT_GE(fd_, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(path_.size(), sizeof(address.sun_path));
    std::strcpy(address.sun_path, path_.c_str());
    ASSERT_EQ(::bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    PointAt(path_);
  }

  static void PointAt(const std::string& socket) { ::setenv("NOTIFY_SOCKET", socket.c_str(), 1); }

  // The next message sent to the socket, or "" when none is waiting.
  std::string Received() {
    char buffer[512];
    ssize_t size = ::recv(fd_, buffer, sizeof(buffer), MSG_DONTWAIT);
    return size > 0 ? std::string(buffer, static_cast<size_t>(size)) : std::string();
  }

  std::filesystem::path dir_;
  std::string path_;
  int fd_ = -1;
};

TEST_F(ServiceNotifyTest, WithoutAManagerEveryCallDoesNothing) {
  ::unsetenv("NOTIFY_SOCKET");
  EXPECT_EQ(notifyReady("ready on udp:127.0.0.1:1161"), NotifyResult::noManager);
  EXPECT_EQ(notifyReloading("reloading state.json"), NotifyResult::noManager);
  EXPECT_EQ(notifyStopping(), NotifyResult::noManager);
}

TEST_F(ServiceNotifyTest, TheManagerHearsReadyReloadingAndStoppingInOrder) {
  if (!serviceNotifySupported()) {
    GTEST_SKIP() << "built without libsystemd";
  }
  Listen();
  EXPECT_EQ(notifyReady("ready on udp:127.0.0.1:1161"), NotifyResult::sent);
  EXPECT_EQ(notifyReloading("reloading /etc/qossnmpd/state.json"), NotifyResult::sent);
  EXPECT_EQ(notifyReady("ready on udp:127.0.0.1:1161"), NotifyResult::sent);
  EXPECT_EQ(notifyStopping(), NotifyResult::sent);

  EXPECT_EQ(Received(), "READY=1\nSTATUS=ready on udp:127.0.0.1:1161");
  EXPECT_EQ(Received(), "RELOADING=1\nSTATUS=reloading /etc/qossnmpd/state.json");
  EXPECT_EQ(Received(), "READY=1\nSTATUS=ready on udp:127.0.0.1:1161");
  EXPECT_EQ(Received(), "STOPPING=1\nSTATUS=stopping");
  EXPECT_EQ(Received(), "");
  // The variable stays set, so that a reload can report again.
  EXPECT_NE(std::getenv("NOTIFY_SOCKET"), nullptr);
}

TEST_F(ServiceNotifyTest, AManagerThatCannotBeReachedIsAFailure) {
  if (!serviceNotifySupported()) {
    GTEST_SKIP() << "built without libsystemd";
  }
  PointAt((dir_ / "nobody-listens.sock").string());
  EXPECT_EQ(notifyReady("ready on udp:127.0.0.1:1161"), NotifyResult::failed);
}

}  // namespace
}  // namespace Agent
