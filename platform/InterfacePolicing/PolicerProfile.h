// Policing profiles as the QoS agent publishes them: a named profile and the rate/burst
// configuration it references. Both are immutable once built and shared through
// Quill::Ptr<... const>; a changed profile is published as a new object under the same name.
#pragma once

#include <fmt/format.h>

#include "InterfacePolicing/PolicerName.h"
#include "Mox/Enum.h"
#include "Qos/Types.h"
#include "Quill/Format.h"
#include "Quill/IntTypes.h"
#include "Quill/Object.h"
#include "Quill/Ptr.h"

namespace InterfacePolicing {

// Committed rate and burst, peak rate and excess burst, each with its unit.
class PolicerRateBurst : public Quill::Object {
 public:
  // The values, named at the call site: PolicerRateBurst({.cir = 1000, .cirUnit = ...}).
  struct Values {
    U64 cir = 0;
    Qos::RateUnit cirUnit{};
    U64 bc = 0;
    Qos::BurstUnit bcUnit{};
    U64 pir = 0;
    Qos::RateUnit pirUnit{};
    U64 be = 0;
    Qos::BurstUnit beUnit{};
  };

  explicit PolicerRateBurst(const Values& v) noexcept
      : rates_{v.cir, v.bc, v.pir, v.be},
        cirUnit_(v.cirUnit),
        bcUnit_(v.bcUnit),
        pirUnit_(v.pirUnit),
        beUnit_(v.beUnit) {}

  U64 cir() const noexcept { return rates_[0]; }
  Qos::RateUnit cirUnit() const noexcept { return cirUnit_; }
  U64 bc() const noexcept { return rates_[1]; }
  Qos::BurstUnit bcUnit() const noexcept { return bcUnit_; }
  U64 pir() const noexcept { return rates_[2]; }
  Qos::RateUnit pirUnit() const noexcept { return pirUnit_; }
  U64 be() const noexcept { return rates_[3]; }
  Qos::BurstUnit beUnit() const noexcept { return beUnit_; }

 private:
  // The four numbers first and the one-byte units after them: 36 bytes, not Values' 64.
  const U64 rates_[4];
  const Qos::RateUnit cirUnit_;
  const Qos::BurstUnit bcUnit_;
  const Qos::RateUnit pirUnit_;
  const Qos::BurstUnit beUnit_;
};

// A policing profile: its name and its rate/burst configuration (null when it has none).
class PolicerProfile : public Quill::Object {
 public:
  explicit PolicerProfile(PolicerName name, Quill::Ptr<PolicerRateBurst const> config = nullptr)
      : name_(std::move(name)), config_(std::move(config)) {}

  const PolicerName& name() const noexcept { return name_; }
  // The rate/burst configuration, or null.
  const Quill::Ptr<PolicerRateBurst const>& config() const noexcept { return config_; }

 private:
  const PolicerName name_;
  const Quill::Ptr<PolicerRateBurst const> config_;
};

}  // namespace InterfacePolicing

// "cir=1000 rateUnitKbps_ bc=1500 burstUnitBytes_ pir=0 rateUnitBps_ be=0 burstUnitBytes_"
template <>
struct fmt::formatter<InterfacePolicing::PolicerRateBurst> {
  constexpr auto parse(fmt::format_parse_context& ctx) { return ctx.begin(); }
  auto format(const InterfacePolicing::PolicerRateBurst& r, fmt::format_context& ctx) const {
    return fmt::format_to(ctx.out(), "cir={} {} bc={} {} pir={} {} be={} {}", r.cir(),
                          Mox::enumName(r.cirUnit()), r.bc(), Mox::enumName(r.bcUnit()), r.pir(),
                          Mox::enumName(r.pirUnit()), r.be(), Mox::enumName(r.beUnit()));
  }
};

// "PolicerProfile(p1: cir=...)", or "PolicerProfile(p1)" without configuration.
template <>
struct fmt::formatter<InterfacePolicing::PolicerProfile> {
  constexpr auto parse(fmt::format_parse_context& ctx) { return ctx.begin(); }
  auto format(const InterfacePolicing::PolicerProfile& p, fmt::format_context& ctx) const {
    if (!p.config()) {
      return fmt::format_to(ctx.out(), "PolicerProfile({})", p.name());
    }
    return fmt::format_to(ctx.out(), "PolicerProfile({}: {})", p.name(), *p.config());
  }
};
