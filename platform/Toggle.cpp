#include "Toggle.h"

#include <cstdio>
#include <fstream>

#include <nlohmann/json.hpp>

namespace {
std::string& dirRef() {
  static std::string d;
  return d;
}
}  // namespace

void toggleDirectoryIs(std::string dir) {
  dirRef() = std::move(dir);
}

const std::string& toggleDirectory() {
  return dirRef();
}

bool getToggleState(std::string_view name, std::string_view file, bool dflt) {
  if (dirRef().empty()) {
    return dflt;
  }
  std::string path = dirRef() + "/" + std::string(file);
  std::ifstream in(path);
  if (!in) {
    return dflt;
  }
  nlohmann::json doc = nlohmann::json::parse(in, nullptr, /*allow_exceptions=*/false);
  if (!doc.is_object()) {
    std::fprintf(stderr, "toggle file %s is not a JSON object of booleans; using defaults\n",
                 path.c_str());
    return dflt;
  }
  auto it = doc.find(std::string(name));
  if (it == doc.end()) {
    return dflt;
  }
  if (!it->is_boolean()) {
    std::fprintf(stderr, "toggle %.*s in %s is not a boolean; using its default\n",
                 static_cast<int>(name.size()), name.data(), path.c_str());
    return dflt;
  }
  return it->get<bool>();
}
