// Names of the model's enumerations. A model enumeration E specialises Mox::EnumNames<E> with
// `static constexpr std::array<std::string_view, N> names` (index = numeric value). enumName
// prints a value (its number when it has no name); enumFromName reads a name or a decimal
// number and raises Quill::RangeException for anything else or a number too big for E.
#pragma once

#include <array>
#include <charconv>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

#include "Quill/Exception.h"

namespace Mox {

template <typename E>
struct EnumNames;

template <typename E>
std::string enumName(E value) {
  using U = std::underlying_type_t<E>;
  auto n = static_cast<std::make_unsigned_t<U>>(value);
  const auto& names = EnumNames<E>::names;
  if (n < names.size()) {
    return std::string(names[n]);
  }
  return std::to_string(static_cast<unsigned long long>(n));
}

template <typename E>
E enumFromName(std::string_view text) {
  using U = std::underlying_type_t<E>;
  const auto& names = EnumNames<E>::names;
  for (size_t i = 0; i < names.size(); ++i) {
    if (names[i] == text) {
      return static_cast<E>(i);
    }
  }
  unsigned long long n = 0;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), n);
  if (text.empty() || ec != std::errc() || end != text.data() + text.size() ||
      n > std::numeric_limits<std::make_unsigned_t<U>>::max()) {
    throw Quill::RangeException("'" + std::string(text) + "' is not a value of " +
                                std::string(EnumNames<E>::typeName));
  }
  return static_cast<E>(n);
}

}  // namespace Mox
