// Mox::WatchedMap<K, V, TypeSeed>: a status collection that readers watch and scan.
//
// A map from K to V (typically Quill::Ptr<T const>; any copyable value works). Its writer edits
// it with set() and del(); its readers subscribe to changes(), which publishes the key of every
// insert, replace and removal AFTER the change, so a subscriber reads the new state. Readers
// that scan the whole collection do it in slices: they remember the next key as a bookmark and
// continue with resumeAt(bookmark) later, even if that key was deleted meanwhile.
//
// Iteration order is fixed by the keys alone: first by keyHash(k) (the key's hash seeded with
// Mox::processHashSeed() xor TypeSeed, a constant per map type, or shared by map types that are
// meant to iterate alike, as the maps of interfaces share Linko::intfOrderSeed), then by K's
// operator<=>. So "the next key after k" is defined for every k, present or not, and a resumed
// scan visits each key still present after the bookmark exactly once. The order differs between
// runs (the seed is per process) and carries no other meaning. Keys need hash(seed), hash() or
// std::hash, and operator<=>.
//
// header() is the collection's 32-bit header word: bits 8..30 hold a 23-bit version that every
// change increments (wrapping within 23 bits); the other bits are zero. A reader that records
// version() can tell later whether it has seen every change since.
//
// How it relates to Mox::HashMap2018: HashMap2018 is the plain member map of a status object
// (an std::unordered_map: no defined order, no version, no notifications) and stays that way
// for maps nobody watches. A map whose order matters (a "first member"), that is scanned with
// bookmarks, or that is watched is a WatchedMap; with no subscriber its notifications cost one
// empty check.
//
// Not thread-safe; a subscriber may read or edit the map from its callback.
#pragma once

#include <concepts>
#include <functional>
#include <iterator>
#include <type_traits>
#include <utility>

#include <boost/intrusive/set.hpp>

#include "Mox/Hash.h"
#include "Quill/IntTypes.h"
#include "Quill/Publisher.h"
#include "Quill/SlabPool.h"

namespace Mox {

// Lets tests set a map's version (to check wrapping without 2^23 edits).
struct WatchedMapTestAccess;

inline constexpr U32 watchedMapDefaultTypeSeed = 0x5bd1e995;

template <typename K, typename V, U32 TypeSeed = watchedMapDefaultTypeSeed>
class WatchedMap {
  // One block of the slab pool per key: the tree links (three words, the color in a pointer's low
  // bit), the key's hash and the pair.
  struct Node : boost::intrusive::set_base_hook<boost::intrusive::optimize_size<true>>,
                Quill::SlabAllocated {
    Node(U32 h, const K& k, V v) : hash(h), kv(k, std::move(v)) {}
    U32 hash;
    mutable std::pair<const K, V> kv;  // the set orders by hash and key; only kv.second changes
  };
  struct Dispose {
    void operator()(Node* n) const { delete n; }
  };
  struct Probe {
    U32 hash;
    const K& key;
  };
  struct Less {
    using is_transparent = void;
    template <typename A, typename B>
    bool operator()(const A& a, const B& b) const {
      if (a.hash != b.hash) {
        return a.hash < b.hash;
      }
      return (keyOf(a) <=> keyOf(b)) < 0;
    }
    static const K& keyOf(const Node& n) { return n.kv.first; }
    static const K& keyOf(const Probe& p) { return p.key; }
  };
  using Set = boost::intrusive::set<Node, boost::intrusive::compare<Less>,
                                    boost::intrusive::constant_time_size<true>>;

 public:
  using key_type = K;
  using mapped_type = V;
  using value_type = std::pair<const K, V>;

  static constexpr U32 versionMask = 0x7fffff;
  static constexpr int versionShift = 8;

  // Bidirectional iterator over (key, value) pairs in iteration order.
  class const_iterator {
   public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = WatchedMap::value_type;
    using difference_type = std::ptrdiff_t;
    using pointer = const value_type*;
    using reference = const value_type&;

    const_iterator() = default;
    reference operator*() const { return it_->kv; }
    pointer operator->() const { return &it_->kv; }
    const_iterator& operator++() {
      ++it_;
      return *this;
    }
    const_iterator operator++(int) { return const_iterator(it_++); }
    const_iterator& operator--() {
      --it_;
      return *this;
    }
    const_iterator operator--(int) { return const_iterator(it_--); }
    friend bool operator==(const const_iterator&, const const_iterator&) = default;

   private:
    friend class WatchedMap;
    explicit const_iterator(typename Set::const_iterator it) : it_(it) {}
    typename Set::const_iterator it_;
  };

  WatchedMap() = default;
  WatchedMap(const WatchedMap&) = delete;
  WatchedMap& operator=(const WatchedMap&) = delete;
  ~WatchedMap() { set_.clear_and_dispose(Dispose{}); }  // no changes published

  size_t size() const noexcept { return set_.size(); }
  bool empty() const noexcept { return set_.empty(); }
  const_iterator begin() const noexcept { return const_iterator(set_.begin()); }
  const_iterator end() const noexcept { return const_iterator(set_.end()); }

  // The value stored under k, or null. Valid until the next change of k.
  const V* find(const K& k) const {
    auto it = set_.find(Probe{keyHash(k), k}, Less{});
    return it == set_.end() ? nullptr : &it->kv.second;
  }
  bool contains(const K& k) const { return find(k) != nullptr; }
  // The first element not before k in iteration order; k need not be present.
  const_iterator resumeAt(const K& k) const {
    return const_iterator(set_.lower_bound(Probe{keyHash(k), k}, Less{}));
  }

  // Inserts k or replaces its value; returns whether that changed anything. Setting the value k
  // already has is no change: nothing is counted or published.
  // One descent of the tree at most: none when k comes right after the key inserted last, as
  // keys set in iteration order do.
  bool set(const K& k, V v) {
    const Probe probe{keyHash(k), k};
    auto it = placeOf(probe);
    if (it == set_.end() || Less{}(probe, *it)) {
      lastInsert_ = set_.insert_before(it, *new Node(probe.hash, k, std::move(v)));
    } else {
      if constexpr (std::equality_comparable<V>) {
        if (it->kv.second == v) {
          return false;
        }
      }
      it->kv.second = std::move(v);
    }
    changed(k);
    return true;
  }

  // Removes k; false (and no change) when absent.
  bool del(const K& k) {
    auto it = set_.find(Probe{keyHash(k), k}, Less{});
    if (it == set_.end()) {
      return false;
    }
    K key = it->kv.first;
    erase(it);
    changed(key);
    return true;
  }

  // Removes every key in iteration order, each as its own change.
  void clear() {
    while (!set_.empty()) {
      K key = set_.begin()->kv.first;
      erase(set_.begin());
      changed(key);
    }
  }

  U32 header() const noexcept { return version_ << versionShift; }
  U32 version() const noexcept { return version_; }

  // Publishes the key of every change, after it.
  Quill::Publisher<K>& changes() const noexcept { return changes_; }

  // The hash that orders k: seeded with the process's hash seed xor TypeSeed.
  static U32 keyHash(const K& k) {
    U32 seed = processHashSeed() ^ TypeSeed;
    if constexpr (requires {
                    { k.hash(seed) } -> std::convertible_to<U32>;
                  }) {
      return k.hash(seed);
    } else {
      Hash h(seed);
      if constexpr (requires {
                      { k.hash() } -> std::convertible_to<U32>;
                    }) {
        h.mix(static_cast<U32>(k.hash()));
      } else if constexpr (std::is_integral_v<K> || std::is_enum_v<K>) {
        h.mix(static_cast<U64>(k));
      } else {
        h.mix(static_cast<U64>(std::hash<K>{}(k)));
      }
      return h.final();
    }
  }

 private:
  friend struct WatchedMapTestAccess;

  // The first node not before `probe`: the one after the last insert when `probe` falls between
  // the two, else found by a descent.
  typename Set::iterator placeOf(const Probe& probe) {
    if (lastInsert_ != set_.end() && Less{}(*lastInsert_, probe)) {
      auto next = std::next(lastInsert_);
      if (next == set_.end() || !Less{}(*next, probe)) {
        return next;
      }
    }
    return set_.lower_bound(probe, Less{});
  }

  void erase(typename Set::iterator it) {
    if (it == lastInsert_) {
      lastInsert_ = set_.end();
    }
    set_.erase_and_dispose(it, Dispose{});
  }

  void changed(const K& k) {
    version_ = (version_ + 1) & versionMask;
    changes_.publish(k);
  }

  Set set_;
  typename Set::iterator lastInsert_ = set_.end();  // end() when none, or erased since
  U32 version_ = 0;
  mutable Quill::Publisher<K> changes_;
};

}  // namespace Mox
