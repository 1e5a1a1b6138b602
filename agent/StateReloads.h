// Agent::StateReloads: brings the state file's changes to the status source without holding the
// agent's thread.
//
// The StateLoader has the file read and compared by the state reader; when a result is ready (its
// fd(), watched by the event loop, is readable) resultReady() takes it and starts a scheduler
// task that applies its edits (StatusSource::applyEdits), yielding whenever the scheduler says
// so, like the table state machines' scans. While edits are being applied the next result waits
// in the loader (fd() is -1 meanwhile), and SIGHUPs that arrive (request()) coalesce there into
// one more read of the newest file. So the agent's thread spends on a reload what the change
// costs, never what the file costs.
//
// A whole result (from a reader started again after one ended) goes back to the loader with a
// copy of the state in force: the loader's thread compares the two, and the edits that comparison
// finds come as the next result, applied like any other. Here the state is only copied, by the
// same task, in slices (StatusSource::snapshotInto); nothing is applied meanwhile, since the
// loader holds every further result until it has the copy.
//
// Events, on the agent's thread: applied(initial) once every edit of a result is applied
// (initial: the file read at start), refused(error, initial) for a file that does not parse or
// validate, or a reader that ended (nothing changed). Single-threaded: the agent's thread.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "Dovo/TaskScheduler.h"
#include "StateLoader.h"
#include "StatusSource.h"

namespace Agent {

class StateReloads {
 public:
  struct Events {
    std::function<void(bool initial)> applied;
    std::function<void(const std::string& error, bool initial)> refused;
  };

  // The apply task's priority: above the table state machines', whose inputs it writes.
  static constexpr Dovo::TaskPriority priority = 2;

  StateReloads(StateSim::StatusSource& source, StateSim::StateLoader& loader,
               Dovo::TaskScheduler& scheduler, Events events);
  ~StateReloads();
  StateReloads(const StateReloads&) = delete;
  StateReloads& operator=(const StateReloads&) = delete;

  // What the event loop watches: the loader's descriptor, or -1 while edits are applied.
  int fd() const;
  // Takes the loader's result: starts applying it, or reports it refused.
  void resultReady();
  // Reads the file again (SIGHUP).
  void request() { loader_.request(); }

 private:
  void applyRun();

  StateSim::StatusSource& source_;
  StateSim::StateLoader& loader_;
  Events events_;
  Quill::Ptr<Dovo::Task> task_;
  bool applying_ = false;  // a result's edits are being applied, or the state copied
  // A whole result's State, while the state in force is copied (into snapshot_) to compare it
  // with.
  std::optional<StateSim::State> whole_;
  StateSim::StateSnapshot snapshot_;
  bool applied_ = false;  // the first result has been applied
};

}  // namespace Agent
