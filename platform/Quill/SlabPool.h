// Quill::SlabPool: memory for the small objects a switch holds by the million (framework objects,
// the nodes of watched collections), without malloc's cost per block.
//
// malloc gives a request of n bytes a chunk of n + 8 rounded up to 16: a 64-byte table entry
// takes 80, a 48-byte status object 64. Here each size, in steps of 8 bytes up to maxSize, has
// slabs of its own: slabSize bytes mapped from the system and aligned to their size, so that a
// block finds its slab by masking its address. A slab holds a header and then blocks of one size
// end to end; a freed block goes on its slab's free list. A slab left with no block in use goes
// back to the system, but for the last slab with room of its size, kept for the next
// allocations. When glibc is asked to put its heap on transparent huge pages
// (GLIBC_TUNABLES=glibc.malloc.hugetlb=1), the slabs are advised to be huge pages too.
//
// A block of size s lies at a multiple of s from a 64-byte boundary, so it is aligned as any type
// of that size needs (the alignment of a type divides its size) up to 64 bytes.
//
// Thread-safe (one lock). The process's pool is reached through allocateSmall() and
// deallocateSmall(), which pass larger sizes to ::operator new, and every size when the address
// sanitizer is on, so that it sees each object's bounds and lifetime. A pool of one's own (the
// tests') poisons its free blocks for the sanitizer.
#pragma once

#include <cstddef>
#include <mutex>
#include <new>
#include <string_view>

#include "Quill/IntTypes.h"

namespace Quill {

class SlabPool {
 public:
  static constexpr size_t slabSize = size_t{2} << 20;  // a huge page
  static constexpr size_t maxSize = 256;
  static constexpr size_t step = 8;

  SlabPool() = default;
  SlabPool(const SlabPool&) = delete;
  SlabPool& operator=(const SlabPool&) = delete;
  // Unmaps every slab, blocks in use or not.
  ~SlabPool();

  // A block of `size` bytes, 1 <= size <= maxSize. Throws std::bad_alloc when the system has no
  // memory to map.
  void* allocate(size_t size);
  // Gives back a block that allocate(size) returned, with the same size.
  void deallocate(void* block, size_t size) noexcept;

  // Slabs mapped, and blocks in use, over all sizes (counted: for tests).
  size_t slabs() const;
  size_t blocksInUse() const;

 private:
  struct Slab;
  struct Block {
    Block* next;
  };
  // The slabs of one size that have room (free blocks, or never-used space at their end).
  struct SizeClass {
    Slab* withRoom = nullptr;
  };

  static size_t classOf(size_t size) noexcept { return (size + step - 1) / step - 1; }
  void unlink(SizeClass& sizeClass, Slab* slab) noexcept;
  void pushFront(SizeClass& sizeClass, Slab* slab) noexcept;
  Slab* newSlab(size_t blockSize);

  mutable std::mutex mutex_;
  SizeClass classes_[maxSize / step];
  Slab* all_ = nullptr;
};

// Whether GLIBC_TUNABLES' value `tunables` asks glibc to put its heap on huge pages
// (glibc.malloc.hugetlb=1 or 2): the process's pool then advises its slabs to be huge pages.
bool hugePagesAsked(std::string_view tunables) noexcept;

// The process's pool for a block of `size` bytes (see above); never destroyed, so objects freed
// while the process exits find it.
void* allocateSmall(size_t size);
void deallocateSmall(void* block, size_t size) noexcept;

// A base whose derived classes are allocated from the process's pool. A class deleted through a
// base pointer needs a virtual destructor, so that the size given back is its own.
struct SlabAllocated {
  static void* operator new(size_t size) { return allocateSmall(size); }
  static void operator delete(void* block, size_t size) noexcept { deallocateSmall(block, size); }
  // Classes aligned beyond the default go to the global heap.
  static void* operator new(size_t size, std::align_val_t align) {
    return ::operator new(size, align);
  }
  static void operator delete(void* block, size_t, std::align_val_t align) noexcept {
    ::operator delete(block, align);
  }
};

}  // namespace Quill
