// Mox hashing: the framework's byte hash and its seeded multi-field hash state.
//
// hashBytes is the single-attribute hash of a byte string. Mox::Hash is a seeded state that
// fields are mixed into one after another (mix) and that yields a 32-bit final value.
// hashValue(x) asks a value for its hash and raises NotHashableException for types that
// deliberately offer none.
#pragma once

#include <string_view>

#include "Mox/HashMix.h"
#include "Quill/Exception.h"
#include "Quill/IntTypes.h"

namespace Mox {

U32 hashBytes(std::string_view bytes, U32 seed = 0) noexcept;

class Hash {
 public:
  explicit Hash(U32 seed) noexcept : mix_(seed) {}
  void mix(U32 v) noexcept { mix_.mixBytes4(v); }
  void mix(U64 v) noexcept {
    mix_.mixBytes4(static_cast<U32>(v));
    mix_.mixBytes4(static_cast<U32>(v >> 32));
  }
  void mixBytes(std::string_view bytes) noexcept { mix_.mixBytes4(hashBytes(bytes)); }
  U32 final() const noexcept { return mix_.final(); }

 private:
  Mox::HashMix mix_;
};

template <typename T>
U32 hashValue(const T& v) {
  if constexpr (requires {
                  { v.hash() } -> std::convertible_to<U32>;
                }) {
    return v.hash();
  } else if constexpr (requires {
                         { v.hash(U32{0}) } -> std::convertible_to<U32>;
                       }) {
    return v.hash(0);
  } else {
    throw NotHashableException("type is not hashable");
  }
}

// Process-wide 32-bit seed for hash maps whose order must not be predictable across runs.
U32 processHashSeed() noexcept;

}  // namespace Mox
