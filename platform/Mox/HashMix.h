// Mox::HashMix: the framework's 32-bit incremental hash mixer (MurmurHash3's block and
// finalisation steps). Feed four-byte words with mixBytes4, XOR in pre-hashed values with
// mixXor, and read final(). Deterministic across runs and platforms.
#pragma once

#include <bit>

#include "Quill/IntTypes.h"

namespace Mox {

class HashMix {
 public:
  explicit HashMix(U32 seed = 0) noexcept : h_(seed) {}

  void mixBytes4(U32 k) noexcept {
    k *= 0xcc9e2d51U;
    k = std::rotl(k, 15);
    k *= 0x1b873593U;
    h_ ^= k;
    h_ = std::rotl(h_, 13) * 5 + 0xe6546b64U;
    len_ += 4;
  }
  void mixXor(U32 v) noexcept { h_ ^= v; }

  U32 final() const noexcept {
    U32 h = h_ ^ len_;
    h ^= h >> 16;
    h *= 0x85ebca6bU;
    h ^= h >> 13;
    h *= 0xc2b2ae35U;
    h ^= h >> 16;
    return h;
  }

 private:
  U32 h_;
  U32 len_ = 0;
};

}  // namespace Mox
