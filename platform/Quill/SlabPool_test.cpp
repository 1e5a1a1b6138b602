#include "Quill/SlabPool.h"

#include <cstdint>
#include <cstring>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sanitizer/asan_interface.h>

namespace {

using Quill::SlabPool;

struct Held {
  void* block;
  size_t size;
};

// Every size up to maxSize: the blocks are disjoint, aligned as a type of their size needs, and
// keep what is written into them while others are handed out and given back.
TEST(SlabPoolTest, BlocksOfEverySizeAreDisjointAlignedAndKeepTheirBytes) {
  SlabPool pool;
  std::vector<Held> held;
  for (int round = 0; round < 3; ++round) {
    for (size_t size = 1; size <= SlabPool::maxSize; ++size) {
      void* block = pool.allocate(size);
      const auto address = reinterpret_cast<std::uintptr_t>(block);
      const size_t rounded = (size + 7) / 8 * 8;
      const size_t alignment = rounded & -rounded;  // the largest power of two dividing it
      EXPECT_EQ(address % std::min<size_t>(alignment, 64), 0U) << "size " << size;
      std::memset(block, static_cast<int>(held.size() % 251), size);
      held.push_back({block, size});
    }
    // Give back every third block; the next round reuses them.
    for (size_t i = round; i < held.size(); i += 3) {
      if (held[i].block) {
        pool.deallocate(held[i].block, held[i].size);
        held[i].block = nullptr;
      }
    }
  }
  std::set<std::pair<std::uintptr_t, std::uintptr_t>> ranges;
  for (size_t i = 0; i < held.size(); ++i) {
    if (!held[i].block) {
      continue;
    }
    const auto* bytes = static_cast<const unsigned char*>(held[i].block);
    for (size_t b = 0; b < held[i].size; ++b) {
      ASSERT_EQ(bytes[b], i % 251) << "block " << i << " byte " << b;
    }
    const auto start = reinterpret_cast<std::uintptr_t>(held[i].block);
    auto next = ranges.lower_bound({start, 0});
    if (next != ranges.end()) {
      EXPECT_GE(next->first, start + held[i].size);
    }
    if (next != ranges.begin()) {
      EXPECT_LE(std::prev(next)->second, start);
    }
    ranges.insert({start, start + held[i].size});
  }
  EXPECT_EQ(pool.blocksInUse(), ranges.size());
}

// A block given back is the next one handed out of its size; a slab emptied goes back to the
// system unless it is the last of its size with room.
TEST(SlabPoolTest, FreedBlocksAreReusedAndEmptiedSlabsUnmappedButOne) {
  SlabPool pool;
  constexpr size_t size = 48;
  const size_t perSlab = SlabPool::slabSize / size;  // a little more than fits in one
  std::vector<void*> blocks;
  for (size_t i = 0; i < 3 * perSlab; ++i) {
    blocks.push_back(pool.allocate(size));
  }
  EXPECT_EQ(pool.slabs(), 3U + 1U);  // the header takes a block's room of each slab
  void* middle = blocks[perSlab];
  pool.deallocate(middle, size);
  EXPECT_EQ(pool.allocate(size), middle);
#if defined(__SANITIZE_ADDRESS__)
  pool.deallocate(middle, size);
  EXPECT_TRUE(__asan_address_is_poisoned(static_cast<char*>(middle) + size - 1));
  EXPECT_EQ(pool.allocate(size), middle);
  EXPECT_FALSE(__asan_address_is_poisoned(static_cast<char*>(middle) + size - 1));
#endif
  // Another size has slabs of its own.
  void* other = pool.allocate(size + 8);
  EXPECT_EQ(pool.slabs(), 5U);
  pool.deallocate(other, size + 8);
  EXPECT_EQ(pool.slabs(), 5U);  // kept: the only slab of its size
  for (void* block : blocks) {
    pool.deallocate(block, size);
  }
  EXPECT_EQ(pool.blocksInUse(), 0U);
  EXPECT_EQ(pool.slabs(), 2U);
  // What is kept is used again.
  void* again = pool.allocate(size);
  EXPECT_EQ(pool.slabs(), 2U);
  pool.deallocate(again, size);
}

// The framework's objects are made on one thread and freed on another (a reload's edits).
TEST(SlabPoolTest, ThreadsAllocatingAndFreeingTogetherLoseNothing) {
  SlabPool pool;
  auto churn = [&pool](unsigned seed) {
    std::vector<std::pair<void*, size_t>> mine;
    for (int i = 0; i < 200000; ++i) {
      seed = seed * 1103515245 + 12345;
      if (mine.empty() || seed % 3 != 0) {
        const size_t size = 8 + seed / 7 % 200;
        void* block = pool.allocate(size);
        std::memset(block, 0x5a, size);
        mine.emplace_back(block, size);
      } else {
        const size_t at = seed / 11 % mine.size();
        pool.deallocate(mine[at].first, mine[at].second);
        mine[at] = mine.back();
        mine.pop_back();
      }
    }
    for (auto [block, size] : mine) {
      pool.deallocate(block, size);
    }
  };
  std::thread other(churn, 7U);
  churn(11U);
  other.join();
  EXPECT_EQ(pool.blocksInUse(), 0U);
}

TEST(SlabPoolTest, HugePagesFollowGlibcsHugetlbTunable) {
  EXPECT_TRUE(Quill::hugePagesAsked("glibc.malloc.hugetlb=1"));
  EXPECT_TRUE(Quill::hugePagesAsked("glibc.malloc.tcache_count=0:glibc.malloc.hugetlb=2"));
  EXPECT_FALSE(Quill::hugePagesAsked("glibc.malloc.hugetlb=0"));
  EXPECT_FALSE(Quill::hugePagesAsked("glibc.malloc.hugetlb="));
  EXPECT_FALSE(Quill::hugePagesAsked("xglibc.malloc.hugetlb=1"));
  EXPECT_FALSE(Quill::hugePagesAsked(""));
}

}  // namespace
