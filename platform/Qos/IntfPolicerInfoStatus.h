// The QoS agent's policer status of one interface member (see Qos::IntfPairKey): the names of
// the policers applied to it, and their live counters.
//
// IntfPolicerInfoStatus is immutable once built and shared through Quill::Ptr<... const>; a
// change of names is published as a new object. Its counters object is shared with the QoS
// agent, which advances the counts in place (through its own non-const reference) while
// readers hold the status.
#pragma once

#include <boost/container/flat_map.hpp>
#include <boost/container/small_vector.hpp>
#include <fmt/format.h>

#include "InterfacePolicing/PolicerName.h"
#include "InterfacePolicing/PolicerType.h"
#include "Quill/Format.h"
#include "Quill/IntTypes.h"
#include "Quill/Object.h"
#include "Quill/Ptr.h"

namespace Qos {

// The six policer counts of one member, in their published order.
class IntfPolicerCounters : public Quill::Object {
 public:
  U64 pktsDropped() const noexcept { return pktsDropped_; }
  void pktsDroppedIs(U64 v) noexcept { pktsDropped_ = v; }
  U64 pktsSent() const noexcept { return pktsSent_; }
  void pktsSentIs(U64 v) noexcept { pktsSent_ = v; }
  U64 bytesDropped() const noexcept { return bytesDropped_; }
  void bytesDroppedIs(U64 v) noexcept { bytesDropped_ = v; }
  U64 bytesSent() const noexcept { return bytesSent_; }
  void bytesSentIs(U64 v) noexcept { bytesSent_ = v; }
  U64 yellowPktsSent() const noexcept { return yellowPktsSent_; }
  void yellowPktsSentIs(U64 v) noexcept { yellowPktsSent_ = v; }
  U64 yellowBytesSent() const noexcept { return yellowBytesSent_; }
  void yellowBytesSentIs(U64 v) noexcept { yellowBytesSent_ = v; }

 private:
  U64 pktsDropped_ = 0;
  U64 pktsSent_ = 0;
  U64 bytesDropped_ = 0;
  U64 bytesSent_ = 0;
  U64 yellowPktsSent_ = 0;
  U64 yellowBytesSent_ = 0;
};

class IntfPolicerInfoStatus : public Quill::Object {
 public:
  // A member has a profile and at most a group policer: the names live inside the status
  // object, in type order, without a node per name.
  using PolicerNameMap = boost::container::small_flat_map<InterfacePolicing::PolicerType,
                                                          InterfacePolicing::PolicerName, 2>;

  IntfPolicerInfoStatus(PolicerNameMap policerName,
                        Quill::Ptr<IntfPolicerCounters const> counters = nullptr)
      : policerName_(std::move(policerName)), counters_(std::move(counters)) {}

  // Every name, by type.
  const PolicerNameMap& policerName() const noexcept { return policerName_; }
  // The name of this type, or null when the member has none.
  const InterfacePolicing::PolicerName* policerName(InterfacePolicing::PolicerType type) const {
    auto it = policerName_.find(type);
    return it == policerName_.end() ? nullptr : &it->second;
  }
  // The live counters, or null when the hardware keeps none for this member.
  const Quill::Ptr<IntfPolicerCounters const>& counters() const noexcept { return counters_; }

 private:
  const PolicerNameMap policerName_;
  const Quill::Ptr<IntfPolicerCounters const> counters_;
};

}  // namespace Qos

// "pktsDropped=1 pktsSent=2 bytesDropped=3 bytesSent=4 yellowPktsSent=5 yellowBytesSent=6"
template <>
struct fmt::formatter<Qos::IntfPolicerCounters> {
  constexpr auto parse(fmt::format_parse_context& ctx) { return ctx.begin(); }
  auto format(const Qos::IntfPolicerCounters& c, fmt::format_context& ctx) const {
    return fmt::format_to(ctx.out(),
                          "pktsDropped={} pktsSent={} bytesDropped={} bytesSent={} "
                          "yellowPktsSent={} yellowBytesSent={}",
                          c.pktsDropped(), c.pktsSent(), c.bytesDropped(), c.bytesSent(),
                          c.yellowPktsSent(), c.yellowBytesSent());
  }
};

// "IntfPolicerInfoStatus(policerTypeProfile=p1, policerTypeGroup=g1, counters)": the names by
// type, and whether counters are kept (their live values change too often for a trace line).
template <>
struct fmt::formatter<Qos::IntfPolicerInfoStatus> {
  constexpr auto parse(fmt::format_parse_context& ctx) { return ctx.begin(); }
  auto format(const Qos::IntfPolicerInfoStatus& s, fmt::format_context& ctx) const {
    auto out = fmt::format_to(ctx.out(), "IntfPolicerInfoStatus(");
    const char* sep = "";
    for (const auto& [type, name] : s.policerName()) {
      out = fmt::format_to(out, "{}{}={}", sep, type, name);
      sep = ", ";
    }
    return fmt::format_to(out, "{}{})", sep, s.counters() ? "counters" : "no counters");
  }
};
