// Agent::ServiceNotify: tells the service manager that started qossnmpd (systemd, for a unit of
// Type=notify) where the agent is in its life: ready to serve, reloading its state file,
// stopping. The messages go through sd_notify(3) to the socket named by $NOTIFY_SOCKET.
//
// Outside a Type=notify service $NOTIFY_SOCKET is unset and every call does nothing. A build
// without libsystemd (QOSSNMPD_HAVE_SYSTEMD undefined) compiles to the same no-op, so the agent
// builds and runs where libsystemd-dev is missing; only the readiness report is lost.
//
// Stateless free functions; call them on the agent's thread.
#pragma once

#include <string>

namespace Agent {

// What a call achieved: told the manager, nobody to tell, or the message could not be sent.
enum class NotifyResult { sent, noManager, failed };

// READY=1 with STATUS=<status>; sent once the agent answers requests (and after each reload).
NotifyResult notifyReady(const std::string& status);

// RELOADING=1 with STATUS=<status>; sent before the state file is read again.
NotifyResult notifyReloading(const std::string& status);

// STATUS=<status> alone: what the service is doing while it is not (or no longer) ready.
NotifyResult notifyStatus(const std::string& status);

// STOPPING=1; sent when a stop signal arrived, before the modules are unregistered.
NotifyResult notifyStopping();

// Whether this build can talk to a service manager at all.
bool serviceNotifySupported() noexcept;

}  // namespace Agent
