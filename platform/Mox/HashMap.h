// Mox::HashMap2018<K, V>: the framework's hash map. Keys are hashed through Mox::Hasher<K>,
// which uses the key's own hash() where it has one and std::hash otherwise. Iteration order is
// the map's own and carries no meaning.
//
// This is the plain member map of a status object. A collection that is watched, scanned with
// bookmarks, or whose order matters ("the first member") is a Mox::WatchedMap instead (see
// Mox/WatchedMap.h): the same keys, a defined order by seeded hash then key, a version, and a
// change publisher.
#pragma once

#include <functional>
#include <unordered_map>

#include "Mox/Hash.h"

namespace Mox {

template <typename K>
struct Hasher {
  size_t operator()(const K& k) const noexcept {
    if constexpr (requires {
                    { k.hash() } -> std::convertible_to<U32>;
                  }) {
      return k.hash();
    } else {
      return std::hash<K>{}(k);
    }
  }
};

template <typename K, typename V, typename H = Hasher<K>>
using HashMap2018 = std::unordered_map<K, V, H>;

}  // namespace Mox
