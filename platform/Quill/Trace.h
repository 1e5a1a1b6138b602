// Tracing by facility and level.
//
// Each source keeps a TraceHandle for its facility ("QosSnmp", "PolicingMibTableSm", ...).
// Levels run 0-9. QTRACE checks the level before any argument is formatted, so a disabled
// trace costs one load and a bit test. Levels are set by a spec string such as
// "QosSnmp/0-2,PolicingMibTableSm/7" (see traceSpecIs); handles created later pick up the
// spec in force. Lines go to the sink (standard error unless traceSinkIs replaced it).
// Not thread-safe beyond the level check: configure before threads start.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "Quill/IntTypes.h"

namespace Quill {

class TraceHandle {
 public:
  explicit TraceHandle(std::string facility);
  ~TraceHandle();
  TraceHandle(const TraceHandle&) = delete;
  TraceHandle& operator=(const TraceHandle&) = delete;

  bool enabled(int level) const noexcept {
    return (levels_.load(std::memory_order_relaxed) >> level) & 1U;
  }
  const std::string& facility() const noexcept { return facility_; }

  template <typename... A>
  void write(int level, fmt::format_string<A...> format, A&&... args) const {
    emit(level, fmt::vformat(format, fmt::make_format_args(args...)));
  }
  void emit(int level, std::string_view text) const;

  // Bit i set = level i enabled. Normally set through traceSpecIs.
  void levelsIs(U32 levels) noexcept { levels_.store(levels, std::memory_order_relaxed); }

 private:
  std::string facility_;
  std::atomic<U32> levels_{0};
};

using TraceSink = std::function<void(std::string_view facility, int level, std::string_view text)>;

// Applies a spec: comma-separated "FACILITY/LEVELS" items; FACILITY may be "*"; LEVELS is
// "*" (all), a range "0-2", or digits each naming a level ("017"). A later item overrides an
// earlier one for the same facility. Throws std::invalid_argument on a malformed spec and then
// changes nothing.
void traceSpecIs(std::string_view spec);
// Replaces the output of every handle; an empty sink restores standard error.
void traceSinkIs(TraceSink sink);

}  // namespace Quill

#define QTRACE(handle, level, ...)              \
  do {                                          \
    if ((handle).enabled(level)) [[unlikely]] { \
      (handle).write((level), __VA_ARGS__);     \
    }                                           \
  } while (0)
