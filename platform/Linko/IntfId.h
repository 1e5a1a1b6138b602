// Linko::IntfId: the platform's interface identifier, a plain 32-bit value.
//
// Ethernet ports are numbered from 1 ("Ethernet1" is id 1); port channels live above
// portChannelBase ("Port-Channel10" is portChannelBase + 10). Zero is no interface. name() and
// fromName() convert to and from those names; fromName raises Quill::RangeException for any
// other text. Hashable (hash()) and ordered by value. fmt prints the name ("0" for the null id).
#pragma once

#include <compare>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "Quill/IntTypes.h"

namespace Linko {

class IntfId {
 public:
  static constexpr U32 portChannelBase = 0x40000000;

  constexpr IntfId() noexcept = default;
  constexpr explicit IntfId(U32 value) noexcept : value_(value) {}
  static IntfId ethernet(U32 port);
  static IntfId portChannel(U32 number);
  // "Ethernet<n>" or "Port-Channel<n>"; raises Quill::RangeException otherwise.
  static IntfId fromName(std::string_view name);

  constexpr U32 value() const noexcept { return value_; }
  // "Ethernet<n>", "Port-Channel<n>", or "" for the null id.
  std::string name() const;
  constexpr U32 hash() const noexcept { return value_; }

  friend constexpr bool operator==(IntfId a, IntfId b) noexcept = default;
  friend constexpr auto operator<=>(IntfId a, IntfId b) noexcept = default;

 private:
  U32 value_ = 0;
};

// The type seed of every Mox::WatchedMap keyed by an interface, or by an interface first (whose
// key hashes as its interface alone, like Qos::IntfPairKey): all of them iterate the interfaces
// in one order, so a reader that joins one to another on the interface, visiting the first in
// its order, finds each key of the second a little further on, not somewhere at random.
inline constexpr U32 intfOrderSeed = 0x510e527f;

}  // namespace Linko

template <>
struct fmt::formatter<Linko::IntfId> : fmt::formatter<std::string_view> {
  auto format(Linko::IntfId id, fmt::format_context& ctx) const {
    return fmt::formatter<std::string_view>::format(id.value() ? id.name() : "0", ctx);
  }
};
