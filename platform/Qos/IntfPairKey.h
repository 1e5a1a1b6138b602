// Qos::IntfPairKey: names one member of an interface in the QoS agent's per-interface status:
// the interface, and the member port that carries it (a port channel has one per member; a
// plain port is its own member). A plain value, ordered by interface, then member; prints as
// "Port-Channel10/Ethernet1". It hashes as its interface does, so that a map of them seeded
// with Linko::intfOrderSeed keeps an interface's members together and the interfaces in the
// order of every other map of interfaces.
#pragma once

#include <compare>

#include <fmt/format.h>

#include "Linko/IntfId.h"
#include "Mox/Hash.h"
#include "Quill/IntTypes.h"

namespace Qos {

struct IntfPairKey {
  Linko::IntfId intfId;
  Linko::IntfId memberId;

  // The interface's id mixed into a Mox::Hash seeded with `seed`; the member plays no part.
  U32 hash(U32 seed = 0) const noexcept {
    Mox::Hash h(seed);
    h.mix(intfId.hash());
    return h.final();
  }

  friend bool operator==(const IntfPairKey&, const IntfPairKey&) noexcept = default;
  friend auto operator<=>(const IntfPairKey&, const IntfPairKey&) noexcept = default;
};

}  // namespace Qos

template <>
struct fmt::formatter<Qos::IntfPairKey> {
  constexpr auto parse(fmt::format_parse_context& ctx) { return ctx.begin(); }
  auto format(const Qos::IntfPairKey& k, fmt::format_context& ctx) const {
    return fmt::format_to(ctx.out(), "{}/{}", k.intfId, k.memberId);
  }
};
