// StateSim::StatusObjects<Key, T, Values>: the status objects of one kind, kept by key from one
// state to the next, as the QoS agent keeps its status objects while its configuration changes.
//
// A whole state is applied in one pass: is() is called for every key the new state has, then
// sweep() forgets the objects whose key was not asked for (rows and other holders keep their own
// references). is() makes an object the first time its key is seen, and writes the key's values
// into it in place only when they differ from the values last written: a key whose state did
// not change is not touched, so counters the status source advanced since keep their values.
// A writer that applies key-level edits uses set() and del() instead.
// Single-threaded.
#pragma once

#include <map>
#include <set>
#include <utility>

#include "Quill/Ptr.h"

namespace StateSim {

struct NoValues {
  friend bool operator==(const NoValues&, const NoValues&) = default;
};

template <typename Key, typename T, typename Values = NoValues>
class StatusObjects {
 public:
  // The object for `key`: made by make() when absent; write(object, values) is called when the
  // object is new or `values` differs from the values last written for the key.
  template <typename Make, typename Write>
  Quill::Ptr<T> is(const Key& key, const Values& values, Make&& make, Write&& write) {
    used_.insert(key);
    return set(key, values, std::forward<Make>(make), std::forward<Write>(write));
  }
  // is() for a writer that applies key-level edits instead of whole states (no sweep): the
  // object stays until del().
  template <typename Make, typename Write>
  Quill::Ptr<T> set(const Key& key, const Values& values, Make&& make, Write&& write) {
    auto it = objects_.find(key);
    if (it == objects_.end()) {
      it = objects_.emplace(key, Slot{make(), values}).first;
      write(*it->second.object, values);
    } else if (!(it->second.values == values)) {
      it->second.values = values;
      write(*it->second.object, values);
    }
    return it->second.object;
  }
  // The object for `key` with nothing to write.
  template <typename Make>
  Quill::Ptr<T> is(const Key& key, Make&& make) {
    return is(key, Values{}, std::forward<Make>(make), [](T&, const Values&) {});
  }

  // The values last written for `key`, or null when it has no object.
  const Values* values(const Key& key) const {
    auto it = objects_.find(key);
    return it == objects_.end() ? nullptr : &it->second.values;
  }

  // Forgets the object for `key`, if any.
  void del(const Key& key) { objects_.erase(key); }

  // The object for `key`, or null.
  Quill::Ptr<T> find(const Key& key) const {
    auto it = objects_.find(key);
    return it == objects_.end() ? nullptr : it->second.object;
  }

  // Forgets every object whose key is() was not called for since the last sweep.
  void sweep() {
    for (auto it = objects_.begin(); it != objects_.end();) {
      it = used_.contains(it->first) ? std::next(it) : objects_.erase(it);
    }
    used_.clear();
  }

  // Calls f(key, object) for every object, in key order.
  template <typename F>
  void forEach(F&& f) const {
    for (const auto& [key, slot] : objects_) {
      f(key, *slot.object);
    }
  }
  size_t size() const noexcept { return objects_.size(); }

  struct Slot {
    Quill::Ptr<T> object;
    Values values;  // as last written
  };
  // Every key with its object and values, in key order.
  const std::map<Key, Slot>& slots() const noexcept { return objects_; }

 private:
  std::map<Key, Slot> objects_;
  std::set<Key> used_;
};

}  // namespace StateSim
