#include "QosSnmp/IfPolicerEntries.h"

#include "Mox/Hash.h"

namespace QosSnmp {

namespace {
constexpr U32 memberSeedMask = 0x1e0f1c2f;
}  // namespace

size_t IntfIdSeededHash::operator()(Linko::IntfId id) const noexcept {
  static const U32 seed = Mox::processHashSeed() ^ memberSeedMask;
  U32 value = id.value();
  return Mox::hashBytes(std::string_view(reinterpret_cast<const char*>(&value), sizeof value),
                        seed);
}

Mox::AllocationTracker IntfPolicerInfoStatusColl::memAllocationTracker_(
    "QosSnmp::IntfPolicerInfoStatusColl");
Mox::AllocationTracker IfPolicerStatsTableEntry::memAllocationTracker_(
    "QosSnmp::IfPolicerStatsTableEntry");

Quill::Ptr<Qos::IntfPolicerInfoStatus const> IntfPolicerInfoStatusColl::intfPolicerInfoStatusColl(
    Linko::IntfId id) const {
  auto it = members_.find(id);
  return it == members_.end() ? nullptr : it->second;
}

void IntfPolicerInfoStatusColl::intfPolicerInfoStatusCollIs(
    Linko::IntfId id, Quill::Ptr<Qos::IntfPolicerInfoStatus const> status) {
  if (!status) {
    members_.erase(id);
    return;
  }
  members_.insert_or_assign(id, std::move(status));
}

Quill::Ptr<Qos::IntfPolicerInfoStatus const>
IntfPolicerInfoStatusColl::intfPolicerInfoStatusCollDel(Linko::IntfId id) {
  auto it = members_.find(id);
  if (it == members_.end()) {
    return nullptr;
  }
  Quill::Ptr<Qos::IntfPolicerInfoStatus const> status = std::move(it->second);
  members_.erase(it);
  return status;
}

Quill::Ptr<IntfPolicerInfoStatusColl> IntfPolicerInfoStatusCollIs() {
  return Quill::make<IntfPolicerInfoStatusColl>();
}

Mox::String IfPolicerStatsTableEntry::firstMemberName(InterfacePolicing::PolicerType type) const {
  if (!intfPolicerInfoStatusColl() ||
      intfPolicerInfoStatusColl()->intfPolicerInfoStatusColl().empty()) {
    return {};
  }
  const auto& first = intfPolicerInfoStatusColl()->intfPolicerInfoStatusColl().begin()->second;
  const InterfacePolicing::PolicerName* name = first->policerName(type);
  return name ? name->str() : Mox::String();
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
