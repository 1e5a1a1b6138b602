// Rivo::SmControl: the control record handed to a reactive state machine when it is created:
// the scheduler its tasks run on (null: the process-wide default scheduler), a word the
// machine passes through unchanged, its trace facility (empty: the machine family's own), the
// priority of its tasks, and whether it runs synchronously (no tasks, everything inline).
// A plain value, copied by the machine.
#pragma once

#include <string>

#include <fmt/format.h>

#include "Dovo/TaskScheduler.h"
#include "Quill/IntTypes.h"
#include "Quill/Ptr.h"

namespace Rivo {

struct SmControl {
  // Values of synchronousMode.
  static constexpr U8 synchronousModeClassDefault = 0;
  static constexpr U8 synchronousModeSynchronous = 1;
  static constexpr U8 synchronousModeAsynchronous = 2;

  Quill::Ptr<Dovo::TaskScheduler> scheduler;
  U64 passThrough = 0;
  std::string traceName;
  Dovo::TaskPriority priority = 0;
  U8 synchronousMode = synchronousModeClassDefault;

  // Whether the machine runs synchronously: as synchronousMode says, or `classDefault` when it
  // leaves the choice to the machine's class (0, or any unknown value).
  bool synchronous(bool classDefault) const noexcept {
    if (synchronousMode == synchronousModeSynchronous) {
      return true;
    }
    if (synchronousMode == synchronousModeAsynchronous) {
      return false;
    }
    return classDefault;
  }
};

}  // namespace Rivo

// "SmControl(scheduler=agent, passThrough=0, traceName=, priority=4, synchronousMode=2)"
template <>
struct fmt::formatter<Rivo::SmControl> {
  constexpr auto parse(fmt::format_parse_context& ctx) { return ctx.begin(); }
  auto format(const Rivo::SmControl& c, fmt::format_context& ctx) const {
    return fmt::format_to(
        ctx.out(),
        "SmControl(scheduler={}, passThrough={}, traceName={}, priority={}, "
        "synchronousMode={})",
        c.scheduler ? std::string_view(c.scheduler->name()) : std::string_view("null"),
        c.passThrough, c.traceName, c.priority, c.synchronousMode);
  }
};
