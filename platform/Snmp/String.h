// Snmp::String: the bounded octet string of textual table indexes.
//
// It orders as a non-IMPLIED OCTET STRING index is encoded in an OID: shorter strings first,
// then byte by byte as unsigned values. That makes the model's walk order the OID order that
// SNMP clients require. At most maxLength bytes; a longer value raises Quill::RangeException.
// Held in a compact string: an index of up to 15 bytes takes 16.
#pragma once

#include <compare>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "Mox/CompactString.h"
#include "Mox/Hash.h"
#include "Mox/Record.h"
#include "Quill/Exception.h"
#include "Quill/IntTypes.h"

namespace Snmp {

class String {
 public:
  static constexpr size_t maxLength = 255;

  String() = default;
  String(std::string_view bytes) : bytes_(checked(bytes)) {}  // NOLINT(google-explicit-constructor)
  String(const char* bytes) : String(std::string_view(bytes)) {}  // NOLINT

  std::string_view str() const noexcept { return bytes_.view(); }
  const char* data() const noexcept { return bytes_.data(); }
  size_t size() const noexcept { return bytes_.size(); }
  bool empty() const noexcept { return bytes_.empty(); }
  U32 hash() const noexcept { return Mox::hashBytes(bytes_.view()); }

  friend bool operator==(const String& a, const String& b) noexcept { return a.bytes_ == b.bytes_; }
  friend bool operator<(const String& a, const String& b) noexcept {
    if (a.size() != b.size()) {
      return a.size() < b.size();
    }
    return a.bytes_ < b.bytes_;  // bytes compare unsigned
  }
  friend std::strong_ordering operator<=>(const String& a, const String& b) noexcept {
    if (a < b) {
      return std::strong_ordering::less;
    }
    return b < a ? std::strong_ordering::greater : std::strong_ordering::equal;
  }

 private:
  static Mox::CompactString checked(std::string_view bytes) {
    if (bytes.size() > maxLength) {
      throw Quill::RangeException("Snmp::String::bytes > maxLength() not allowed");
    }
    return Mox::CompactString(bytes);
  }
  Mox::CompactString bytes_;
};

}  // namespace Snmp

template <>
struct Mox::FieldTraits<Snmp::String> {
  static std::strong_ordering compare(const Snmp::String& a, const Snmp::String& b) {
    return a <=> b;
  }
  // The hash() family XORs a string's own hash into the state without a mixing step.
  static void mix4(Mox::HashMix& m, const Snmp::String& v) { m.mixXor(v.hash()); }
  static void mixSeeded(Mox::Hash& h, const Snmp::String& v) { h.mixBytes(v.str()); }
  static std::string print(const Snmp::String& v) { return Mox::quoteBytes(v.str()); }
  static Snmp::String parse(std::string_view text) { return Snmp::String(Mox::unquoteBytes(text)); }
};

template <>
struct fmt::formatter<Snmp::String> : fmt::formatter<std::string_view> {
  auto format(const Snmp::String& s, fmt::format_context& ctx) const {
    return fmt::formatter<std::string_view>::format(s.str(), ctx);
  }
};
