// Qos::PolicingStatus: the QoS agent's policing status, four watched collections:
//   - profile: policing profiles by name;
//   - policerInstance: policer instances by name;
//   - intfPolicer, intfPolicerOutput: the input and output policer status of each interface
//     member (Qos::IntfPairKey).
// Readers take a collection through its const accessor, subscribe to its changes() (the key,
// after each change) and read its header() version; the entity's own changes() publishes the
// collection's attribute id after each of its changes (after the collection's key
// notification). Only the QoS agent (here the status source) calls the mutators.
// The member objects are immutable; a changed member is set as a new object.
#pragma once

#include "InterfacePolicing/PolicerInstance.h"
#include "InterfacePolicing/PolicerName.h"
#include "InterfacePolicing/PolicerProfile.h"
#include "Mox/Entity.h"
#include "Mox/WatchedMap.h"
#include "Qos/IntfPairKey.h"
#include "Qos/IntfPolicerInfoStatus.h"
#include "Quill/Ptr.h"

namespace Qos {

class PolicingStatus : public Mox::Entity {
 public:
  enum Attr : U32 {
    profileAttr = 1,
    policerInstanceAttr,
    intfPolicerAttr,
    intfPolicerOutputAttr,
  };

  using ProfileColl =
      Mox::WatchedMap<InterfacePolicing::PolicerName,
                      Quill::Ptr<InterfacePolicing::PolicerProfile const>, 0x2c6f7d15>;
  using PolicerInstanceColl =
      Mox::WatchedMap<InterfacePolicing::PolicerName,
                      Quill::Ptr<InterfacePolicing::PolicerInstance const>, 0x6a09e667>;
  using IntfPolicerColl =
      Mox::WatchedMap<IntfPairKey, Quill::Ptr<IntfPolicerInfoStatus const>, Linko::intfOrderSeed>;

  explicit PolicingStatus(Quill::String name = "policingStatus") : Entity(std::move(name)) {}

  const ProfileColl& profile() const noexcept { return profile_; }
  // Sets or replaces the profile; a null profile deletes the name.
  void profileIs(const InterfacePolicing::PolicerName& name,
                 Quill::Ptr<InterfacePolicing::PolicerProfile const> p) {
    setOrDel(profile_, profileAttr, name, std::move(p));
  }
  // Deletes the name; false when absent.
  bool profileDel(const InterfacePolicing::PolicerName& name) {
    return del(profile_, profileAttr, name);
  }

  const PolicerInstanceColl& policerInstance() const noexcept { return policerInstance_; }
  void policerInstanceIs(const InterfacePolicing::PolicerName& name,
                         Quill::Ptr<InterfacePolicing::PolicerInstance const> p) {
    setOrDel(policerInstance_, policerInstanceAttr, name, std::move(p));
  }
  bool policerInstanceDel(const InterfacePolicing::PolicerName& name) {
    return del(policerInstance_, policerInstanceAttr, name);
  }

  // Input-direction policers.
  const IntfPolicerColl& intfPolicer() const noexcept { return intfPolicer_; }
  void intfPolicerIs(const IntfPairKey& key, Quill::Ptr<IntfPolicerInfoStatus const> s) {
    setOrDel(intfPolicer_, intfPolicerAttr, key, std::move(s));
  }
  bool intfPolicerDel(const IntfPairKey& key) { return del(intfPolicer_, intfPolicerAttr, key); }

  // Output-direction policers.
  const IntfPolicerColl& intfPolicerOutput() const noexcept { return intfPolicerOutput_; }
  void intfPolicerOutputIs(const IntfPairKey& key, Quill::Ptr<IntfPolicerInfoStatus const> s) {
    setOrDel(intfPolicerOutput_, intfPolicerOutputAttr, key, std::move(s));
  }
  bool intfPolicerOutputDel(const IntfPairKey& key) {
    return del(intfPolicerOutput_, intfPolicerOutputAttr, key);
  }

 private:
  template <typename Coll, typename K, typename V>
  void setOrDel(Coll& coll, Attr attr, const K& key, V value) {
    if (!value) {
      del(coll, attr, key);
      return;
    }
    if (coll.set(key, std::move(value))) {
      changes().publish(attr);
    }
  }
  template <typename Coll, typename K>
  bool del(Coll& coll, Attr attr, const K& key) {
    if (!coll.del(key)) {
      return false;
    }
    changes().publish(attr);
    return true;
  }

  ProfileColl profile_;
  PolicerInstanceColl policerInstance_;
  IntfPolicerColl intfPolicer_;
  IntfPolicerColl intfPolicerOutput_;
};

}  // namespace Qos
