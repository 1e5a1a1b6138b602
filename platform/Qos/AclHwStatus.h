// Qos::AclHwStatus: the ACL and policing capabilities of the switch's hardware, as the QoS
// agent publishes them. Read by the interface policer statistics to tell whether a port
// channel's members count separately.
#pragma once

#include <fmt/format.h>

#include "Quill/Object.h"

namespace Qos {

class AclHwStatus : public Quill::Object {
 public:
  explicit AclHwStatus(bool interfacePolicingCountersPerLagMemberCounterInfo = false)
      : perLagMember_(interfacePolicingCountersPerLagMemberCounterInfo) {}

  // Each member of a port channel has its own policer counters; a port channel's count is
  // their sum. When false, the first member's counters stand for the whole port channel.
  bool interfacePolicingCountersPerLagMemberCounterInfo() const noexcept { return perLagMember_; }
  void interfacePolicingCountersPerLagMemberCounterInfoIs(bool v) noexcept { perLagMember_ = v; }

 private:
  bool perLagMember_;
};

}  // namespace Qos

// "AclHwStatus(perLagMemberCounters=true)"
template <>
struct fmt::formatter<Qos::AclHwStatus> {
  constexpr auto parse(fmt::format_parse_context& ctx) { return ctx.begin(); }
  auto format(const Qos::AclHwStatus& s, fmt::format_context& ctx) const {
    return fmt::format_to(ctx.out(), "AclHwStatus(perLagMemberCounters={})",
                          s.interfacePolicingCountersPerLagMemberCounterInfo());
  }
};
