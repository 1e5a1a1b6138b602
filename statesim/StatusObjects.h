// StateSim::StatusObjects<Key, T, Spec>: the status objects of one kind, kept by key from one
// state to the next, as the QoS agent keeps its status objects while its configuration changes.
//
// A state is applied in one pass: is() is called for every key the new state has, then sweep()
// forgets the objects whose key was not asked for (rows and other holders keep their own
// references). is() makes an object the first time its key is seen, and writes the key's spec
// into it in place only when the spec differs from the one last written: a key whose state did
// not change is not touched, so counters the status source advanced since keep their values.
// Single-threaded.
#pragma once

#include <map>
#include <set>
#include <utility>

#include "Quill/Ptr.h"

namespace StateSim {

struct NoSpec {
  friend bool operator==(const NoSpec&, const NoSpec&) = default;
};

template <typename Key, typename T, typename Spec = NoSpec>
class StatusObjects {
 public:
  // The object for `key`: made by make() when absent; write(object, spec) is called when the
  // object is new or `spec` differs from the spec last written for the key.
  template <typename Make, typename Write>
  Quill::Ptr<T> is(const Key& key, const Spec& spec, Make&& make, Write&& write) {
    used_.insert(key);
    auto it = objects_.find(key);
    if (it == objects_.end()) {
      it = objects_.emplace(key, Slot{make(), spec}).first;
      write(*it->second.object, spec);
    } else if (!(it->second.spec == spec)) {
      it->second.spec = spec;
      write(*it->second.object, spec);
    }
    return it->second.object;
  }
  // The object for `key` with nothing to write.
  template <typename Make>
  Quill::Ptr<T> is(const Key& key, Make&& make) {
    return is(key, Spec{}, std::forward<Make>(make), [](T&, const Spec&) {});
  }

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

 private:
  struct Slot {
    Quill::Ptr<T> object;
    Spec spec;
  };
  std::map<Key, Slot> objects_;
  std::set<Key> used_;
};

}  // namespace StateSim
