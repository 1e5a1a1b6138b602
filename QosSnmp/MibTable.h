// QosSnmp::MibTable<Entry>: a model table attribute of a MIB entity, with the mutator semantics
// every table shares.
//
//   is(index, args...)  creates the row, or returns the existing one when it was created with
//                       the same arguments; an existing row with other arguments raises
//                       Mox::MutatorReinstantiationException (delete it first) and is kept.
//   del(index / iter)   removes and returns the row (null when absent).
//   delAll()            removes every row, one notification each.
// Every insert and removal is published on the map (with the key) and then on the owning
// entity (with the attribute id). QOSSNMP_MIB_TABLE declares the named accessors and mutators
// (`classMapTable()`, `classMapTableIs`, `classMapTableDel`, `classMapTableDelAll`).
#pragma once

#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "QosSnmp/IndexText.h"
#include "Mox/Entity.h"
#include "Mox/RbTreeMap.h"
#include "Quill/Exception.h"
#include "Quill/Ptr.h"

namespace QosSnmp {

template <typename Entry>
class MibTable {
 public:
  using Index = typename Entry::IndexType;
  using Map = Mox::RbTreeMap<Entry, Index>;

  MibTable(const Mox::Entity& owner, U32 attrId) : owner_(owner), attrId_(attrId) {}

  const Map& map() const noexcept { return map_; }

  template <typename... A>
  Quill::Ptr<Entry> is(std::string_view entryType, const Index& index, const A&... args) {
    if (auto existing = map_.find(index)) {
      if (existing->sameArgs(args...)) {
        return existing;
      }
      throw Mox::MutatorReinstantiationException(
          fmt::format("{}: row {} exists with other arguments; delete it before re-creating it",
                      entryType, indexText(index)));
    }
    auto entry = Quill::make<Entry>(index, args...);
    map_.insert(entry);
    owner_.changes().publish(attrId_);
    return entry;
  }

  Quill::Ptr<Entry> del(const Index& index) { return published(map_.erase(index)); }
  Quill::Ptr<Entry> del(typename Map::const_iterator it) { return published(map_.erase(it)); }
  void delAll() {
    while (!map_.empty()) {
      del(map_.begin());
    }
  }

 private:
  Quill::Ptr<Entry> published(Quill::Ptr<Entry> removed) {
    if (removed) {
      owner_.changes().publish(attrId_);
    }
    return removed;
  }

  const Mox::Entity& owner_;
  U32 attrId_;
  Map map_;
};

}  // namespace QosSnmp

// Declares table attribute `name` of Entry rows (attribute id `attrId`) in a Mox::Entity.
#define QOSSNMP_MIB_TABLE(name, Entry, attrId)                                        \
 public:                                                                              \
  const ::QosSnmp::MibTable<Entry>::Map& name() const noexcept {                      \
    return name##_.map();                                                             \
  }                                                                                   \
  ::Quill::Ptr<Entry> name(const Entry::IndexType& index) const {                     \
    return name##_.map().find(index);                                                 \
  }                                                                                   \
  template <typename... A>                                                            \
  ::Quill::Ptr<Entry> name##Is(const Entry::IndexType& index, const A&... args) {     \
    return name##_.is(#Entry, index, args...);                                        \
  }                                                                                   \
  ::Quill::Ptr<Entry> name##Del(const Entry::IndexType& index) {                      \
    return name##_.del(index);                                                        \
  }                                                                                   \
  ::Quill::Ptr<Entry> name##Del(::QosSnmp::MibTable<Entry>::Map::const_iterator it) { \
    return name##_.del(it);                                                           \
  }                                                                                   \
  void name##DelAll() {                                                               \
    name##_.delAll();                                                                 \
  }                                                                                   \
                                                                                      \
 private:                                                                             \
  ::QosSnmp::MibTable<Entry> name##_{*this, attrId};                                  \
                                                                                      \
 public:
