// Mox::AllocationTracker: counts the live instances of one framework type.
//
// Every model class keeps a static `memAllocationTracker_` and derives from Mox::Tracked<Self>,
// which records one allocation per construction and one deallocation per destruction. all()
// lists every tracker in the process (for reports of live object counts per type).
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "Quill/IntTypes.h"

namespace Mox {

class AllocationTracker {
 public:
  explicit AllocationTracker(std::string typeName);
  ~AllocationTracker();
  AllocationTracker(const AllocationTracker&) = delete;
  AllocationTracker& operator=(const AllocationTracker&) = delete;

  void allocated() noexcept { allocs_.fetch_add(1, std::memory_order_relaxed); }
  void deallocated() noexcept { deallocs_.fetch_add(1, std::memory_order_relaxed); }
  U64 allocations() const noexcept { return allocs_.load(std::memory_order_relaxed); }
  U64 live() const noexcept {
    return allocs_.load(std::memory_order_relaxed) - deallocs_.load(std::memory_order_relaxed);
  }
  const std::string& typeName() const noexcept { return typeName_; }

  static std::vector<const AllocationTracker*> all();

 private:
  std::string typeName_;
  std::atomic<U64> allocs_{0};
  std::atomic<U64> deallocs_{0};
};

// Base that keeps T::memAllocationTracker_ up to date for every instance of T.
template <typename T>
class Tracked {
 protected:
  Tracked() noexcept { T::memAllocationTracker_.allocated(); }
  Tracked(const Tracked&) noexcept { T::memAllocationTracker_.allocated(); }
  Tracked& operator=(const Tracked&) noexcept = default;
  ~Tracked() { T::memAllocationTracker_.deallocated(); }
};

}  // namespace Mox
