// Mox::RbTreeMap<Entry, Index>: the ordered map that holds a model table.
//
// Entries are reference-counted framework objects that derive from Mox::RbTreeNode and expose
// `const Index& index() const`; the map keeps one reference to each member and orders them by
// Index's operator<=>. Built on Boost.Intrusive's red-black tree, so a member knows its own place:
// next(entry) is the in-order successor without a lookup, and lowerBound/upperBound descend from
// the root.
//
// version() changes on every insert and removal; a reader that keeps a member across calls
// compares versions to know whether its member may have left the map (then it searches again
// by key instead of stepping with next()).
//
// changes() publishes the key after each insert and removal. Not thread-safe: the reader and the
// writer of a map must not run at the same time.
#pragma once

#include <boost/intrusive/set.hpp>

#include "Quill/Assert.h"
#include "Quill/IntTypes.h"
#include "Quill/Ptr.h"
#include "Quill/Publisher.h"

namespace Mox {

// Three pointers: the node's color is kept in the low bit of its parent pointer.
using RbTreeNode =
    boost::intrusive::set_base_hook<boost::intrusive::link_mode<boost::intrusive::safe_link>,
                                    boost::intrusive::optimize_size<true>>;

template <typename Entry, typename Index>
class RbTreeMap {
  struct KeyOf {
    using type = Index;
    const Index& operator()(const Entry& e) const noexcept { return e.index(); }
  };
  struct Less {
    bool operator()(const Index& a, const Index& b) const noexcept { return (a <=> b) < 0; }
  };
  using Tree = boost::intrusive::set<Entry, boost::intrusive::key_of_value<KeyOf>,
                                     boost::intrusive::compare<Less>,
                                     boost::intrusive::constant_time_size<true>>;

 public:
  using const_iterator = typename Tree::const_iterator;

  RbTreeMap() = default;
  RbTreeMap(const RbTreeMap&) = delete;
  RbTreeMap& operator=(const RbTreeMap&) = delete;
  ~RbTreeMap() { clear(); }

  size_t size() const noexcept { return tree_.size(); }
  bool empty() const noexcept { return tree_.empty(); }
  U32 version() const noexcept { return version_; }

  const_iterator begin() const noexcept { return tree_.begin(); }
  const_iterator end() const noexcept { return tree_.end(); }
  // Iteration from the first member whose key is not less than `from`.
  const_iterator lowerBoundIter(const Index& from) const { return tree_.lower_bound(from); }

  // The member with this key, or null.
  Quill::Ptr<Entry> find(const Index& key) const {
    auto it = tree_.find(key);
    return it == tree_.end() ? nullptr : ptrTo(*it);
  }

  // Navigation returns raw members: valid while they stay in the map; hold a Ptr to keep one.
  Entry* first() const noexcept { return tree_.empty() ? nullptr : rawOf(*tree_.begin()); }
  // REQUIRES: e is a member of this map.
  Entry* next(const Entry& e) const noexcept {
    QUILL_ASSERT(e.is_linked());
    auto it = std::next(tree_.iterator_to(e));
    return it == tree_.end() ? nullptr : rawOf(*it);
  }
  // First member whose key is not less than `key`, or null.
  Entry* lowerBound(const Index& key) const {
    auto it = tree_.lower_bound(key);
    return it == tree_.end() ? nullptr : rawOf(*it);
  }
  // First member whose key is greater than `key`, or null.
  Entry* upperBound(const Index& key) const {
    auto it = tree_.upper_bound(key);
    return it == tree_.end() ? nullptr : rawOf(*it);
  }

  // REQUIRES: no member has e's key.
  void insert(Quill::Ptr<Entry> e) {
    Position at = position(e->index());
    QUILL_ASSERT(!at.member);
    insertAt(std::move(e), at);
  }

  // Where `key` stands: its member, or (member null) where a member with that key would be
  // inserted, valid until the map next changes. One descent at most: the search starts just
  // after the last member inserted, so keys inserted in ascending order cost constant time each.
  struct Position {
    Entry* member = nullptr;
    typename Tree::insert_commit_data commit;
  };
  Position position(const Index& key) const {
    Position at;
    auto hint = lastInserted_ ? std::next(tree_.iterator_to(*lastInserted_)) : tree_.end();
    auto [it, absent] = tree_.insert_check(hint, key, at.commit);
    if (!absent) {
      at.member = rawOf(*it);
    }
    return at;
  }
  // Inserts `e` where position(e->index()) said. REQUIRES: that position, no change since, and
  // its member null.
  void insertAt(Quill::Ptr<Entry> e, const Position& at) {
    auto it = tree_.insert_commit(*e, at.commit);
    lastInserted_ = e.release();  // the map owns this reference now
    ++version_;
    changes_.publish(it->index());
  }

  // Removes and returns the member with this key; null (and no change) when absent.
  Quill::Ptr<Entry> erase(const Index& key) {
    auto it = tree_.find(key);
    if (it == tree_.end()) {
      return nullptr;
    }
    return erase(it);
  }
  Quill::Ptr<Entry> erase(const_iterator it) {
    Entry* e = rawOf(*it);
    if (e == lastInserted_) {
      lastInserted_ = nullptr;
    }
    Quill::Ptr<Entry> held(e);
    e->unref();  // the map's own reference; `held` keeps the entry alive
    tree_.erase(it);
    ++version_;
    changes_.publish(e->index());
    return held;
  }

  void clear() {
    while (!tree_.empty()) {
      erase(tree_.begin());
    }
  }

  Quill::Publisher<Index>& changes() const noexcept { return changes_; }

 private:
  static Entry* rawOf(const Entry& e) noexcept { return const_cast<Entry*>(&e); }
  static Quill::Ptr<Entry> ptrTo(const Entry& e) { return Quill::Ptr<Entry>(rawOf(e)); }

  mutable Tree tree_;
  const Entry* lastInserted_ = nullptr;  // where the next search starts: just after it
  U32 version_ = 0;
  mutable Quill::Publisher<Index> changes_;
};

}  // namespace Mox
