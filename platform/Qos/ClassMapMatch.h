// Qos::ClassMapMatch: one match rule of a class map as the QoS agent publishes it.
//
// A rule has a match type (ClassMapMatchType, 32 bits) and a name (the rule as configured,
// e.g. an access list's name). Two kinds of rule carry a sub-object that says more:
//   - matchVlan_: a 16-bit value with a mask, or a set of ranges (ClassMapMatchVlan);
//   - matchDscpEcn_: a DSCP value or ranges and an ECN value (ClassMapMatchDscpEcn).
// The sub-objects are plain values, present only for their kind of rule. Written by the QoS
// agent, read by the SNMP model through const pointers.
#pragma once

#include <compare>
#include <optional>
#include <set>

#include "Acl/Ecn.h"
#include "Quill/IntTypes.h"
#include "Quill/Object.h"
#include "Quill/String.h"

namespace Qos {

// Match types. Values other than these may occur and are reported as they are.
enum ClassMapMatchType : U32 {
  matchIpAccessGroup_ = 1,
  matchIpv6AccessGroup_ = 2,
  matchVlan_ = 3,
  matchDscpEcn_ = 4,
};

// An inclusive range of DSCP values, ordered by low end, then high end.
struct DscpRange {
  U8 low = 0;
  U8 high = 0;
  friend constexpr auto operator<=>(const DscpRange&, const DscpRange&) = default;
};

// An inclusive range of VLAN ids, ordered by low end, then high end.
struct VlanRange {
  U16 low = 0;
  U16 high = 0;
  friend constexpr auto operator<=>(const VlanRange&, const VlanRange&) = default;
};

struct ClassMapMatchDscpEcn {
  static constexpr U8 dscpNone = 64;  // no single DSCP value given

  U8 dscp = dscpNone;
  Acl::Ecn ecn = Acl::Ecn::ecnDontCare_;
  bool dscpNamed = false;  // the DSCP value was configured by its name ("EF")
  std::set<DscpRange> ranges;
};

// Either value/mask form (valueMaskForm set) or a set of ranges.
struct ClassMapMatchVlan {
  U16 value = 0;
  U16 mask = 0;
  bool valueMaskForm = false;
  std::set<VlanRange> ranges;
};

class ClassMapMatch : public Quill::Object {
 public:
  ClassMapMatch(U32 type, Mox::String name) : type_(type), name_(std::move(name)) {}

  U32 type() const noexcept { return type_; }
  void typeIs(U32 type) noexcept { type_ = type; }
  const Mox::String& name() const noexcept { return name_; }
  void nameIs(Mox::String name) { name_ = std::move(name); }

  const std::optional<ClassMapMatchDscpEcn>& dscpEcn() const noexcept { return dscpEcn_; }
  void dscpEcnIs(std::optional<ClassMapMatchDscpEcn> m) { dscpEcn_ = std::move(m); }
  const std::optional<ClassMapMatchVlan>& vlan() const noexcept { return vlan_; }
  void vlanIs(std::optional<ClassMapMatchVlan> m) { vlan_ = std::move(m); }

 private:
  U32 type_;
  Mox::String name_;
  std::optional<ClassMapMatchDscpEcn> dscpEcn_;
  std::optional<ClassMapMatchVlan> vlan_;
};

}  // namespace Qos
