// InterfacePolicing::PolicerName: the name of a policing profile or policer instance, a byte
// string of at most maxLength (64) bytes. Building a longer one raises Quill::RangeException.
// A plain value: ordered by bytes (unsigned), hashed with the framework's single-attribute
// hash, printed as its bytes. Held in a compact string: a name of up to 15 bytes takes 16.
#pragma once

#include <compare>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "Mox/CompactString.h"
#include "Mox/Hash.h"
#include "Quill/Exception.h"
#include "Quill/IntTypes.h"

namespace InterfacePolicing {

class PolicerName {
 public:
  static constexpr size_t maxLength = 64;

  PolicerName() = default;
  explicit PolicerName(std::string_view bytes) : bytes_(checked(bytes)) {}
  explicit PolicerName(const char* bytes) : PolicerName(std::string_view(bytes)) {}

  std::string_view str() const noexcept { return bytes_.view(); }
  size_t size() const noexcept { return bytes_.size(); }
  bool empty() const noexcept { return bytes_.empty(); }
  U32 hash() const noexcept { return Mox::hashBytes(bytes_.view()); }

  friend bool operator==(const PolicerName& a, const PolicerName& b) noexcept = default;
  // char_traits<char> compares bytes as unsigned values.
  friend std::strong_ordering operator<=>(const PolicerName& a, const PolicerName& b) noexcept {
    return a.bytes_ <=> b.bytes_;
  }

 private:
  static Mox::CompactString checked(std::string_view bytes) {
    if (bytes.size() > maxLength) {
      throw Quill::RangeException("Mox::String::bytes > maxLength() not allowed");
    }
    return Mox::CompactString(bytes);
  }
  Mox::CompactString bytes_;
};

}  // namespace InterfacePolicing

template <>
struct fmt::formatter<InterfacePolicing::PolicerName> : fmt::formatter<std::string_view> {
  auto format(const InterfacePolicing::PolicerName& n, fmt::format_context& ctx) const {
    return fmt::formatter<std::string_view>::format(n.str(), ctx);
  }
};
