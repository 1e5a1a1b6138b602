// InterfacePolicing::PolicerInstance: a named policer as the QoS agent publishes it, with the
// name of the policing profile it uses. Immutable once built; a changed instance is published
// as a new object under the same name.
#pragma once

#include <string_view>

#include <fmt/format.h>

#include "InterfacePolicing/PolicerName.h"
#include "Quill/Format.h"
#include "Quill/Object.h"
#include "Mox/CompactString.h"

namespace InterfacePolicing {

class PolicerInstance : public Quill::Object {
 public:
  PolicerInstance(PolicerName name, std::string_view profileName)
      : name_(std::move(name)), profileName_(profileName) {}

  const PolicerName& name() const noexcept { return name_; }
  // The profile this policer uses (may be empty).
  std::string_view profileName() const noexcept { return profileName_.view(); }

 private:
  const PolicerName name_;
  const Mox::CompactString profileName_;
};

}  // namespace InterfacePolicing

// "PolicerInstance(i1, profile p1)"
template <>
struct fmt::formatter<InterfacePolicing::PolicerInstance> {
  constexpr auto parse(fmt::format_parse_context& ctx) { return ctx.begin(); }
  auto format(const InterfacePolicing::PolicerInstance& p, fmt::format_context& ctx) const {
    return fmt::format_to(ctx.out(), "PolicerInstance({}, profile {})", p.name(), p.profileName());
  }
};
