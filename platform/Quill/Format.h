// fmt formatters for the framework's wrappers, so trace lines can print them with {}:
//   - Quill::Ptr<T> prints the referenced object through T's own formatter, or "null";
//   - std::optional<T> prints the held value, or "none" when empty (so an
//     std::optional<Quill::Ptr<T const>> prints the object's short text or "none").
// Both apply only when T itself is formattable.
#pragma once

#include <optional>
#include <type_traits>

#include <fmt/format.h>

#include "Quill/Ptr.h"

template <typename T>
requires fmt::is_formattable<std::remove_const_t<T>>::value struct fmt::formatter<Quill::Ptr<T>> {
  constexpr auto parse(fmt::format_parse_context& ctx) { return ctx.begin(); }
  auto format(const Quill::Ptr<T>& p, fmt::format_context& ctx) const {
    if (!p) {
      return fmt::format_to(ctx.out(), "null");
    }
    return fmt::format_to(ctx.out(), "{}", *p);
  }
};

// fmt 9 has no formatter of its own for std::optional.
template <typename T>
requires fmt::is_formattable<T>::value struct fmt::formatter<std::optional<T>> {
  constexpr auto parse(fmt::format_parse_context& ctx) { return ctx.begin(); }
  auto format(const std::optional<T>& o, fmt::format_context& ctx) const {
    if (!o) {
      return fmt::format_to(ctx.out(), "none");
    }
    return fmt::format_to(ctx.out(), "{}", *o);
  }
};
