// InterfacePolicing::PolicerType: which of a policer's names a status record carries: the
// name of its policing profile, or the name of its group policer.
#pragma once

#include <array>
#include <string_view>

#include <fmt/format.h>

#include "Mox/Enum.h"
#include "Quill/IntTypes.h"

namespace InterfacePolicing {

enum class PolicerType : U8 {
  policerTypeInvalid = 0,  // default; never a key of a published status
  policerTypeProfile = 1,  // the policer's profile name
  policerTypeGroup = 2,    // its group policer name
};

}  // namespace InterfacePolicing

template <>
struct Mox::EnumNames<InterfacePolicing::PolicerType> {
  static constexpr std::string_view typeName = "InterfacePolicing::PolicerType";
  static constexpr std::array<std::string_view, 3> names = {
      "policerTypeInvalid", "policerTypeProfile", "policerTypeGroup"};
};

template <>
struct fmt::formatter<InterfacePolicing::PolicerType> : fmt::formatter<std::string_view> {
  auto format(InterfacePolicing::PolicerType t, fmt::format_context& ctx) const {
    return fmt::formatter<std::string_view>::format(Mox::enumName(t), ctx);
  }
};
