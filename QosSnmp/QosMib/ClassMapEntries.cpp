#include "QosSnmp/QosMib/ClassMapEntries.h"

#include <fmt/format.h>

#include "Qos/Dscp.h"
#include "Quill/Assert.h"

namespace QosSnmp {

Mox::AllocationTracker ClassMapTableEntry::memAllocationTracker_("QosSnmp::ClassMapTableEntry");
Mox::AllocationTracker ClassMapMatchTableEntry::memAllocationTracker_(
    "QosSnmp::ClassMapMatchTableEntry");

namespace {

// "low" or "low-high" per range, joined by ",".
template <typename Ranges>
std::string rangeList(const Ranges& ranges) {
  std::string out;
  for (const auto& r : ranges) {
    if (!out.empty()) {
      out += ',';
    }
    out += r.low == r.high ? fmt::format("{}", r.low) : fmt::format("{}-{}", r.low, r.high);
  }
  return out;
}

std::string vlanMatchText(const Qos::ClassMapMatchVlan& vlan) {
  if (vlan.valueMaskForm) {
    return fmt::format("{} 0x{:03x}", vlan.value, vlan.mask);
  }
  return rangeList(vlan.ranges);
}

std::string dscpEcnMatchText(const Qos::ClassMapMatchDscpEcn& m) {
  if (m.dscp == Qos::ClassMapMatchDscpEcn::dscpNone && m.ranges.empty()) {
    return "ECN " + ecnValueString(m.ecn);
  }
  std::string ecn = m.ecn != Acl::Ecn{} ? " ECN " + ecnValueString(m.ecn) : std::string();
  if (!m.ranges.empty()) {
    return "DSCP " + rangeList(m.ranges) + ecn;
  }
  if (m.dscpNamed) {
    return "DSCP " + getDscpNameFromValue(m.dscp) + ecn;
  }
  return fmt::format("DSCP {}{}", m.dscp, ecn);
}

}  // namespace

Mox::String getDscpNameFromValue(U8 dscp) {
  // Only code points configured by name are rendered by name.
  const Qos::DscpName* named = Qos::dscpByValue(dscp);
  if (!named) {
    QUILL_ASSERT(0);
  }
  return Mox::String(named->name);
}

Mox::String ecnValueString(Acl::Ecn ecn) {
  switch (ecn) {
    case Acl::Ecn::ecnDontCare_:
      QUILL_ASSERT(0);
    case Acl::Ecn::ecnAnyEct_:
      return "ECT(0)/ECT(1)/CE";
    case Acl::Ecn::ecnNotEct_:
      return "Not-ECT";
    case Acl::Ecn::ecnCe_:
      return "CE";
    case Acl::Ecn::ecnEct_:
      return "ECT(0)/ECT(1)";
  }
  return "";
}

Mox::String ClassMapTableEntry::classMapName() const {
  return classMap() ? classMap()->name() : Mox::String();
}

Qos::ClassMapMatchCondition ClassMapTableEntry::classMapMatchCondition() const {
  return classMap() ? classMap()->matchCondition() : Qos::ClassMapMatchCondition{};
}

U32 ClassMapMatchTableEntry::classMapMatchType() const {
  return classMapMatch() ? classMapMatch()->type() : U32{Qos::matchIpAccessGroup_};
}

Mox::String ClassMapMatchTableEntry::classMapMatchName() const {
  const auto& match = classMapMatch();
  if (!match) {
    return {};
  }
  if (match->type() == Qos::matchVlan_ && match->vlan()) {
    return vlanMatchText(*match->vlan());
  }
  if (match->type() == Qos::matchDscpEcn_ && match->dscpEcn()) {
    return dscpEcnMatchText(*match->dscpEcn());
  }
  return match->name();
}

}  // namespace QosSnmp
