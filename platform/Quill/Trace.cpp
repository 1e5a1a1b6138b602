#include "Quill/Trace.h"

#include <cstdio>
#include <map>
#include <set>
#include <stdexcept>
#include <vector>

namespace Quill {

namespace {

constexpr U32 kAllLevels = 0x3ffU;

struct Registry {
  std::set<TraceHandle*> handles;
  std::vector<std::pair<std::string, U32>> spec;  // in spec order; later items win
  TraceSink sink;

  U32 levelsFor(const std::string& facility) const {
    U32 levels = 0;
    for (const auto& [name, mask] : spec) {
      if (name == "*" || name == facility) {
        levels = mask;
      }
    }
    return levels;
  }
};

Registry& registry() {
  static Registry* r = new Registry;  // never destroyed: handles in unloading libraries use it
  return *r;
}

U32 parseLevels(std::string_view text, std::string_view item) {
  auto bad = [&] {
    return std::invalid_argument("bad trace levels in '" + std::string(item) + "'");
  };
  if (text == "*") {
    return kAllLevels;
  }
  if (text.size() == 3 && text[1] == '-') {
    int lo = text[0] - '0';
    int hi = text[2] - '0';
    if (lo < 0 || lo > 9 || hi < lo || hi > 9) {
      throw bad();
    }
    U32 mask = 0;
    for (int l = lo; l <= hi; ++l) {
      mask |= 1U << l;
    }
    return mask;
  }
  if (text.empty()) {
    throw bad();
  }
  U32 mask = 0;
  for (char c : text) {
    if (c < '0' || c > '9') {
      throw bad();
    }
    mask |= 1U << (c - '0');
  }
  return mask;
}

}  // namespace

TraceHandle::TraceHandle(std::string facility) : facility_(std::move(facility)) {
  auto& r = registry();
  levels_.store(r.levelsFor(facility_), std::memory_order_relaxed);
  r.handles.insert(this);
}

TraceHandle::~TraceHandle() {
  registry().handles.erase(this);
}

void TraceHandle::emit(int level, std::string_view text) const {
  auto& r = registry();
  if (r.sink) {
    r.sink(facility_, level, text);
    return;
  }
  std::fprintf(stderr, "%s/%d %.*s\n", facility_.c_str(), level, static_cast<int>(text.size()),
               text.data());
}

void traceSpecIs(std::string_view spec) {
  std::vector<std::pair<std::string, U32>> parsed;
  while (!spec.empty()) {
    size_t comma = spec.find(',');
    std::string_view item = spec.substr(0, comma);
    spec = comma == std::string_view::npos ? std::string_view() : spec.substr(comma + 1);
    if (item.empty()) {
      continue;
    }
    size_t slash = item.find('/');
    if (slash == 0 || slash == std::string_view::npos) {
      throw std::invalid_argument("trace item '" + std::string(item) + "' is not FACILITY/LEVELS");
    }
    parsed.emplace_back(std::string(item.substr(0, slash)),
                        parseLevels(item.substr(slash + 1), item));
  }
  auto& r = registry();
  r.spec = std::move(parsed);
  for (TraceHandle* h : r.handles) {
    h->levelsIs(r.levelsFor(h->facility()));
  }
}

void traceSinkIs(TraceSink sink) {
  registry().sink = std::move(sink);
}

}  // namespace Quill
