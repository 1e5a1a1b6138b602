#include "ServiceNotify.h"

#ifdef QOSSNMPD_HAVE_SYSTEMD
#include <systemd/sd-daemon.h>
#endif

namespace Agent {

namespace {

#ifdef QOSSNMPD_HAVE_SYSTEMD
// sd_notify() returns a positive number once sent, 0 without $NOTIFY_SOCKET, a negative errno
// when sending failed. The environment is left as it is: a reload sends READY=1 again.
NotifyResult send(const std::string& message) {
  int result = sd_notify(0, message.c_str());
  if (result > 0) {
    return NotifyResult::sent;
  }
  return result == 0 ? NotifyResult::noManager : NotifyResult::failed;
}
#else
NotifyResult send(const std::string&) {
  return NotifyResult::noManager;
}
#endif

}  // namespace

NotifyResult notifyReady(const std::string& status) {
  return send("READY=1\nSTATUS=" + status);
}

NotifyResult notifyReloading(const std::string& status) {
  return send("RELOADING=1\nSTATUS=" + status);
}

NotifyResult notifyStatus(const std::string& status) {
  return send("STATUS=" + status);
}

NotifyResult notifyStopping() {
  return send("STOPPING=1\nSTATUS=stopping");
}

bool serviceNotifySupported() noexcept {
#ifdef QOSSNMPD_HAVE_SYSTEMD
  return true;
#else
  return false;
#endif
}

}  // namespace Agent
