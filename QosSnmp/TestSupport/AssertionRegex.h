// Test helper: the regular expression that matches an assertion's report for `condition`,
// for EXPECT_DEATH. The condition text is matched literally.
#pragma once

#include <string>
#include <string_view>

namespace QosSnmp::test {

inline std::string assertionRegex(std::string_view condition) {
  std::string out = "Assertion `";
  for (char c : condition) {
    if (std::string_view("\\^$.|?*+()[]{}").find(c) != std::string_view::npos) {
      out += '\\';
    }
    out += c;
  }
  return out + "' failed";
}

}  // namespace QosSnmp::test
