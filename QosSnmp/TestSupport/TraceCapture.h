// Test support: QosSnmp::test::TraceCapture collects the trace lines written while it lives,
// at the levels of `spec` (for example "QosSnmp/0-2"), and restores silence when destroyed.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Quill/Trace.h"

namespace QosSnmp::test {

class TraceCapture {
 public:
  explicit TraceCapture(const std::string& spec = "QosSnmp/0-2") {
    Quill::traceSinkIs(
        [this](std::string_view, int, std::string_view text) { lines_.emplace_back(text); });
    Quill::traceSpecIs(spec);
  }
  ~TraceCapture() {
    Quill::traceSpecIs("");
    Quill::traceSinkIs({});
  }
  TraceCapture(const TraceCapture&) = delete;
  TraceCapture& operator=(const TraceCapture&) = delete;

  const std::vector<std::string>& lines() const noexcept { return lines_; }
  void clear() { lines_.clear(); }
  // Whether a line was exactly `line`.
  bool has(std::string_view line) const {
    for (const auto& l : lines_) {
      if (l == line) {
        return true;
      }
    }
    return false;
  }
  // Whether some line contains `fragment`.
  bool contains(std::string_view fragment) const {
    for (const auto& l : lines_) {
      if (l.find(fragment) != std::string::npos) {
        return true;
      }
    }
    return false;
  }
  size_t count(std::string_view line) const {
    size_t n = 0;
    for (const auto& l : lines_) {
      n += l == line ? 1 : 0;
    }
    return n;
  }

 private:
  std::vector<std::string> lines_;
};

}  // namespace QosSnmp::test
