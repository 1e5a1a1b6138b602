// The standard names of DSCP code points (RFC 2474, 2597, 3246): the class selectors CS0-CS7,
// the assured forwarding classes AF11-AF43 and expedited forwarding EF. Other code points have
// no name.
#pragma once

#include <array>
#include <string_view>

#include "Quill/IntTypes.h"

namespace Qos {

struct DscpName {
  std::string_view name;
  U8 value;
};

inline constexpr std::array<DscpName, 21> dscpNames = {{
    {"CS0", 0},   {"CS1", 8},   {"AF11", 10}, {"AF12", 12}, {"AF13", 14}, {"CS2", 16},
    {"AF21", 18}, {"AF22", 20}, {"AF23", 22}, {"CS3", 24},  {"AF31", 26}, {"AF32", 28},
    {"AF33", 30}, {"CS4", 32},  {"AF41", 34}, {"AF42", 36}, {"AF43", 38}, {"CS5", 40},
    {"EF", 46},   {"CS6", 48},  {"CS7", 56},
}};

// The entry named `name` or whose value is `value`; null when there is none.
constexpr const DscpName* dscpByName(std::string_view name) {
  for (const DscpName& d : dscpNames) {
    if (d.name == name) {
      return &d;
    }
  }
  return nullptr;
}
constexpr const DscpName* dscpByValue(U8 value) {
  for (const DscpName& d : dscpNames) {
    if (d.value == value) {
      return &d;
    }
  }
  return nullptr;
}

}  // namespace Qos
