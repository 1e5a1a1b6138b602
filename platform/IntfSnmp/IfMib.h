// IntfSnmp::IfMib: the interface MIB model's mapping of platform interfaces to SNMP ifIndex
// values, a watched collection ifIndexByIntfId (Linko::IntfId -> ifIndex). Readers subscribe to
// the collection's changes() (the interface id, after each change) and read its header()
// version; the entity's changes() publishes ifIndexByIntfIdAttr after each change. Only the
// interface agent (here the status source) calls the mutators.
#pragma once

#include "Linko/IntfId.h"
#include "Mox/Entity.h"
#include "Mox/WatchedMap.h"
#include "Quill/IntTypes.h"

namespace IntfSnmp {

class IfMib : public Mox::Entity {
 public:
  enum Attr : U32 { ifIndexByIntfIdAttr = 1 };

  using IfIndexByIntfIdColl = Mox::WatchedMap<Linko::IntfId, U32, Linko::intfOrderSeed>;

  explicit IfMib(Quill::String name = "ifMib") : Entity(std::move(name)) {}

  const IfIndexByIntfIdColl& ifIndexByIntfId() const noexcept { return ifIndexByIntfId_; }
  // Sets or replaces the interface's ifIndex.
  void ifIndexByIntfIdIs(Linko::IntfId intfId, U32 ifIndex) {
    if (ifIndexByIntfId_.set(intfId, ifIndex)) {
      changes().publish(ifIndexByIntfIdAttr);
    }
  }
  // Removes the interface; false when absent.
  bool ifIndexByIntfIdDel(Linko::IntfId intfId) {
    if (!ifIndexByIntfId_.del(intfId)) {
      return false;
    }
    changes().publish(ifIndexByIntfIdAttr);
    return true;
  }

 private:
  IfIndexByIntfIdColl ifIndexByIntfId_;
};

}  // namespace IntfSnmp
