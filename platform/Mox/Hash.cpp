#include "Mox/Hash.h"

#include <cstring>
#include <random>

namespace Mox {

U32 hashBytes(std::string_view bytes, U32 seed) noexcept {
  Mox::HashMix mix(seed);
  size_t i = 0;
  for (; i + 4 <= bytes.size(); i += 4) {
    U32 k;
    std::memcpy(&k, bytes.data() + i, 4);
    mix.mixBytes4(k);
  }
  U32 tail = 0;
  for (size_t j = bytes.size(); j > i; --j) {
    tail = (tail << 8) | static_cast<unsigned char>(bytes[j - 1]);
  }
  mix.mixBytes4(tail ^ static_cast<U32>(bytes.size()));
  return mix.final();
}

U32 processHashSeed() noexcept {
  static const U32 seed = std::random_device{}();
  return seed;
}

}  // namespace Mox
