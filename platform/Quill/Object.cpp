#include "Quill/Object.h"

namespace Quill {

namespace {
std::atomic<bool> threadsInUse_{false};
}

bool threadsInUse() noexcept {
  return threadsInUse_.load(std::memory_order_relaxed);
}

void threadsInUseIs(bool inUse) noexcept {
  threadsInUse_.store(inUse, std::memory_order_seq_cst);
}

}  // namespace Quill
