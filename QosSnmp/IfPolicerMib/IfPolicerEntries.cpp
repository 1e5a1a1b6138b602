#include "QosSnmp/IfPolicerMib/IfPolicerEntries.h"

namespace QosSnmp {

Mox::AllocationTracker IntfPolicerInfoStatusColl::memAllocationTracker_(
    "QosSnmp::IntfPolicerInfoStatusColl");
Mox::AllocationTracker IfPolicerStatsTableEntry::memAllocationTracker_(
    "QosSnmp::IfPolicerStatsTableEntry");

Quill::Ptr<Qos::IntfPolicerInfoStatus const> IntfPolicerInfoStatusColl::intfPolicerInfoStatusColl(
    Linko::IntfId id) const {
  const auto* status = members_.find(id);
  return status ? *status : nullptr;
}

void IntfPolicerInfoStatusColl::intfPolicerInfoStatusCollIs(
    Linko::IntfId id, Quill::Ptr<Qos::IntfPolicerInfoStatus const> status) {
  if (!status) {
    members_.del(id);
  } else {
    members_.set(id, std::move(status));
  }
  firstChanged();
}

void IntfPolicerInfoStatusColl::firstChanged() noexcept {
  first_ = members_.empty() ? nullptr : members_.begin()->second.get();
  firstCounters_ = first_ ? first_->counters().get() : nullptr;
}

Quill::Ptr<Qos::IntfPolicerInfoStatus const>
IntfPolicerInfoStatusColl::intfPolicerInfoStatusCollDel(Linko::IntfId id) {
  Quill::Ptr<Qos::IntfPolicerInfoStatus const> status = intfPolicerInfoStatusColl(id);
  members_.del(id);
  firstChanged();
  return status;
}

Quill::Ptr<IntfPolicerInfoStatusColl> IntfPolicerInfoStatusCollIs() {
  return Quill::make<IntfPolicerInfoStatusColl>();
}

Mox::String IfPolicerStatsTableEntry::firstMemberName(InterfacePolicing::PolicerType type) const {
  const Qos::IntfPolicerInfoStatus* first =
      intfPolicerInfoStatusColl() ? intfPolicerInfoStatusColl()->first() : nullptr;
  if (!first) {
    return {};
  }
  const InterfacePolicing::PolicerName* name = first->policerName(type);
  return name ? Mox::String(name->str()) : Mox::String();
}

Mox::String IfPolicerStatsTableEntry::policerProfile() const {
  return firstMemberName(InterfacePolicing::PolicerType::policerTypeProfile);
}

Mox::String IfPolicerStatsTableEntry::groupPolicer() const {
  return firstMemberName(InterfacePolicing::PolicerType::policerTypeGroup);
}

Quill::Ptr<IfPolicerStatsTableEntry> ifPolicerStatsTableEntryFactory(
    U32 ifIndex, Quill::Ptr<IntfPolicerInfoStatusColl> coll,
    Quill::Ptr<Qos::AclHwStatus const> aclHwStatus) {
  return Quill::make<IfPolicerStatsTableEntry>(ifIndex, std::move(coll), std::move(aclHwStatus));
}

}  // namespace QosSnmp
