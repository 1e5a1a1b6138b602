// QosSnmp::MibTable<Entry>: one table attribute of a MIB entity, with the mutator semantics
// every table shares.
//
// The entity declares each table once, with QOSSNMP_MIB_TABLE(classMapTable, ClassMapTableEntry),
// which gives it the table and its accessors and mutators named after it (`classMapTable()` the
// ordered rows, `classMapTable(index)` the row or null, `classMapTableIs`, `classMapTableDel`,
// `classMapTableDelAll`); generic code (a runtime that keeps an output table in step with its
// inputs) is handed the table itself (`classMapTableColl()`) and uses the same operations:
//
//   is(index, args...)  creates the row, or returns the existing one when it was created with
//                       the same arguments; an existing row with other arguments raises
//                       Mox::MutatorReinstantiationException (delete it first) and is kept.
//   del(index / iter)   removes and returns the row (null when absent).
//   delAll()            removes every row, smallest key first, one notification each.
//
// Every insert and removal is published after the change, once: the key on the map's own
// publisher, then the table's attribute id on the owning entity's publisher. The table holds
// one reference to each row; a removed row lives on as long as a caller holds it. Rows are
// removed (and published) when the table is destroyed. Not thread-safe: the agent's thread.
#pragma once

#include <string>
#include <concepts>
#include <string_view>
#include <utility>

#include "Mox/Entity.h"
#include "Mox/RbTreeMap.h"
#include "QosSnmp/SnmpTables/IndexText.h"
#include "Quill/Exception.h"
#include "Quill/Ptr.h"

namespace QosSnmp {

template <typename Entry>
class MibTable {
 public:
  using EntryType = Entry;
  using Index = typename Entry::IndexType;
  using Map = Mox::RbTreeMap<Entry, Index>;
  using const_iterator = typename Map::const_iterator;

  // `owner` publishes `attrId` after every change; `entityType` ("QosSnmp::QosMib") and
  // `name` ("classMapTable") name the table in errors. REQUIRES: owner outlives the table.
  MibTable(const Mox::Entity& owner, std::string_view entityType, std::string_view name, U32 attrId)
      : owner_(owner), entityType_(entityType), name_(name), attrId_(attrId) {}
  ~MibTable() { delAll(); }
  MibTable(const MibTable&) = delete;
  MibTable& operator=(const MibTable&) = delete;

  std::string_view name() const noexcept { return name_; }
  U32 attrId() const noexcept { return attrId_; }
  // The ordered rows, for walks (the SNMP layer) and key-change subscriptions.
  const Map& map() const noexcept { return map_; }
  size_t size() const noexcept { return map_.size(); }
  bool empty() const noexcept { return map_.empty(); }
  const_iterator begin() const noexcept { return map_.begin(); }
  const_iterator end() const noexcept { return map_.end(); }

  // The row with this key, or null.
  Quill::Ptr<Entry> find(const Index& index) const { return map_.find(index); }

  // The row for `index` built from `args` (Entry's constructor arguments after the index).
  template <typename... A>
  requires std::constructible_from<Entry, const Index&, A...> Quill::Ptr<Entry> is(
      const Index& index, A&&... args) {
    auto at = map_.position(index);
    if (at.member) {
      if (const char* differing = at.member->firstDifferingArg(args...)) {
        throw Mox::MutatorReinstantiationException(reinstantiationText(index, differing));
      }
      return Quill::Ptr<Entry>(at.member);
    }
    return created(index, at, std::forward<A>(args)...);
  }

  // The row for `index` made of `args`, whatever stood there: the row itself when it was made
  // of the same arguments, else a new one (the other row deleted first: rows are immutable).
  template <typename... A>
  requires std::constructible_from<Entry, const Index&, A...> Quill::Ptr<Entry> replace(
      const Index& index, A&&... args) {
    auto at = map_.position(index);
    if (at.member) {
      if (at.member->sameArgs(args...)) {
        return Quill::Ptr<Entry>(at.member);
      }
      del(index);
      at = map_.position(index);
    }
    return created(index, at, std::forward<A>(args)...);
  }

  Quill::Ptr<Entry> del(const Index& index) { return published(map_.erase(index)); }
  // REQUIRES: it is a row of this table (not end()).
  Quill::Ptr<Entry> del(const_iterator it) { return published(map_.erase(it)); }
  void delAll() {
    while (!map_.empty()) {
      del(map_.begin());
    }
  }

 private:
  template <typename... A>
  Quill::Ptr<Entry> created(const Index& index, const typename Map::Position& at, A&&... args) {
    auto entry = Quill::make<Entry>(index, std::forward<A>(args)...);
    map_.insertAt(entry, at);
    owner_.changes().publish(attrId_);
    return entry;
  }

  Quill::Ptr<Entry> published(Quill::Ptr<Entry> removed) {
    if (removed) {
      owner_.changes().publish(attrId_);
    }
    return removed;
  }

  std::string reinstantiationText(const Index& index, const char* differing) const {
    return std::string(entityType_) + "::" + std::string(name_) + ": row " + indexText(index) +
           " exists with another " + differing + "; delete it before re-creating it";
  }

  const Mox::Entity& owner_;
  std::string_view entityType_;
  std::string_view name_;
  U32 attrId_;
  Map map_;
};

// A model entity's (or a table Sm's) exported factory, an object called with the constructor's
// arguments: `policingMibFactory("policingMib")` is a new, empty PolicingMib.
template <typename T>
struct Factory {
  template <typename... A>
  requires std::constructible_from<T, A...> Quill::Ptr<T>
  operator()(A&&... args) const { return Quill::make<T>(std::forward<A>(args)...); }
};

}  // namespace QosSnmp

// Declares, inside the class of the model entity Type (a Mox::Entity and Mox::Tracked<Type> of
// namespace QosSnmp), its type name, where it is mounted below the agent's root, its allocation
// tracker and its constructor from a name.
#define QOSSNMP_MIB_ENTITY(Type, path)                                  \
 public:                                                                \
  static constexpr const char* typeName = "QosSnmp::" #Type;            \
  static constexpr const char* mountPath = path;                        \
  static inline Mox::AllocationTracker memAllocationTracker_{typeName}; \
  explicit Type(Quill::String name) : Mox::Entity(std::move(name)) {}   \
  static_assert(true, "")

// Declares, inside a model entity's class, its table attribute `name` of `Entry` rows and the
// accessors and mutators named after it (see above). The entity has `typeName` and the
// attribute id `name##Attr` of its Attr enumeration. Leaves the class in its public section.
#define QOSSNMP_MIB_TABLE(name, Entry)                                         \
 private:                                                                      \
  ::QosSnmp::MibTable<Entry> name##_{*this, typeName, #name, name##Attr};      \
                                                                               \
 public:                                                                       \
  const ::QosSnmp::MibTable<Entry>::Map& name() const noexcept {               \
    return name##_.map();                                                      \
  }                                                                            \
  Quill::Ptr<Entry> name(const Entry::IndexType& index) const {                \
    return name##_.find(index);                                                \
  }                                                                            \
  template <typename... A>                                                     \
  Quill::Ptr<Entry> name##Is(const Entry::IndexType& index, A&&... args) {     \
    return name##_.is(index, std::forward<A>(args)...);                        \
  }                                                                            \
  Quill::Ptr<Entry> name##Del(const Entry::IndexType& index) {                 \
    return name##_.del(index);                                                 \
  }                                                                            \
  Quill::Ptr<Entry> name##Del(::QosSnmp::MibTable<Entry>::const_iterator it) { \
    return name##_.del(it);                                                    \
  }                                                                            \
  void name##DelAll() {                                                        \
    name##_.delAll();                                                          \
  }                                                                            \
  ::QosSnmp::MibTable<Entry>& name##Coll() noexcept {                          \
    return name##_;                                                            \
  }                                                                            \
  const ::QosSnmp::MibTable<Entry>& name##Coll() const noexcept {              \
    return name##_;                                                            \
  }                                                                            \
  static_assert(true, "")
