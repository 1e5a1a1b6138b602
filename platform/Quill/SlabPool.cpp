#include "Quill/SlabPool.h"

#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <new>
#include <string_view>

#include <sanitizer/asan_interface.h>

#include "Quill/Assert.h"

#if defined(__SANITIZE_ADDRESS__)
#define QUILL_POOL_BYPASSED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QUILL_POOL_BYPASSED 1
#endif
#endif

namespace Quill {

// At the start of each slab; the blocks follow at headerSize.
struct SlabPool::Slab {
  Slab* prev;  // in its size's list of slabs with room
  Slab* next;
  Slab* allPrev;  // in the list of every slab (for the destructor)
  Slab* allNext;
  Block* free;
  char* unused;  // the first block never handed out
  char* end;     // after the last whole block
  U32 live;
  U32 blockSize;

  bool full() const noexcept { return !free && unused == end; }
};

namespace {

constexpr size_t headerSize = 128;
static_assert(headerSize % 64 == 0);

void* mapAligned(size_t size) {
  // Twice the size, then the unaligned ends unmapped.
  void* raw = mmap(nullptr, 2 * size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (raw == MAP_FAILED) {
    throw std::bad_alloc();
  }
  const auto start = reinterpret_cast<std::uintptr_t>(raw);
  const std::uintptr_t aligned = (start + size - 1) & ~(size - 1);
  if (aligned > start) {
    munmap(raw, aligned - start);
  }
  const std::uintptr_t tail = start + 2 * size - (aligned + size);
  if (tail > 0) {
    munmap(reinterpret_cast<void*>(aligned + size), tail);
  }
  return reinterpret_cast<void*>(aligned);
}

bool hugePagesWanted() {
  static const bool wanted = [] {
    const char* tunables = std::getenv("GLIBC_TUNABLES");
    return tunables && hugePagesAsked(tunables);
  }();
  return wanted;
}

}  // namespace

bool hugePagesAsked(std::string_view tunables) noexcept {
  const std::string_view name = "glibc.malloc.hugetlb=";
  for (size_t at = tunables.find(name); at != std::string_view::npos;
       at = tunables.find(name, at + 1)) {
    const bool whole = at == 0 || tunables[at - 1] == ':';
    const size_t value = at + name.size();
    if (whole && value < tunables.size() && (tunables[value] == '1' || tunables[value] == '2')) {
      return true;
    }
  }
  return false;
}

SlabPool::~SlabPool() {
  while (all_) {
    Slab* slab = all_;
    all_ = slab->allNext;
    ASAN_UNPOISON_MEMORY_REGION(slab, slabSize);
    munmap(slab, slabSize);
  }
}

void* SlabPool::allocate(size_t size) {
  QUILL_ASSERT(size >= 1 && size <= maxSize);
  const size_t index = classOf(size);
  std::lock_guard lock(mutex_);
  SizeClass& sizeClass = classes_[index];
  Slab* slab = sizeClass.withRoom;
  if (!slab) {
    slab = newSlab((index + 1) * step);
    pushFront(sizeClass, slab);
  }
  void* block;
  if (slab->free) {
    Block* taken = slab->free;
    ASAN_UNPOISON_MEMORY_REGION(taken, slab->blockSize);
    slab->free = taken->next;
    block = taken;
  } else {
    block = slab->unused;
    ASAN_UNPOISON_MEMORY_REGION(block, slab->blockSize);
    slab->unused += slab->blockSize;
  }
  ++slab->live;
  if (slab->full()) {
    unlink(sizeClass, slab);
  }
  return block;
}

void SlabPool::deallocate(void* block, size_t size) noexcept {
  const size_t index = classOf(size);
  auto* slab = reinterpret_cast<Slab*>(reinterpret_cast<std::uintptr_t>(block) & ~(slabSize - 1));
  std::lock_guard lock(mutex_);
  QUILL_ASSERT(slab->blockSize == (index + 1) * step);
  SizeClass& sizeClass = classes_[index];
  if (slab->full()) {
    pushFront(sizeClass, slab);  // it has room again
  }
  slab->free = ::new (block) Block{slab->free};
  ASAN_POISON_MEMORY_REGION(block, slab->blockSize);
  --slab->live;
  const bool onlySlabWithRoom = sizeClass.withRoom == slab && !slab->next;
  if (slab->live == 0 && !onlySlabWithRoom) {
    unlink(sizeClass, slab);
    (slab->allPrev ? slab->allPrev->allNext : all_) = slab->allNext;
    if (slab->allNext) {
      slab->allNext->allPrev = slab->allPrev;
    }
    ASAN_UNPOISON_MEMORY_REGION(slab, slabSize);
    munmap(slab, slabSize);
  }
}

size_t SlabPool::slabs() const {
  std::lock_guard lock(mutex_);
  size_t slabs = 0;
  for (const Slab* slab = all_; slab; slab = slab->allNext) {
    ++slabs;
  }
  return slabs;
}

size_t SlabPool::blocksInUse() const {
  std::lock_guard lock(mutex_);
  size_t blocks = 0;
  for (const Slab* slab = all_; slab; slab = slab->allNext) {
    blocks += slab->live;
  }
  return blocks;
}

void SlabPool::unlink(SizeClass& sizeClass, Slab* slab) noexcept {
  (slab->prev ? slab->prev->next : sizeClass.withRoom) = slab->next;
  if (slab->next) {
    slab->next->prev = slab->prev;
  }
  slab->prev = slab->next = nullptr;
}

void SlabPool::pushFront(SizeClass& sizeClass, Slab* slab) noexcept {
  slab->prev = nullptr;
  slab->next = sizeClass.withRoom;
  if (slab->next) {
    slab->next->prev = slab;
  }
  sizeClass.withRoom = slab;
}

SlabPool::Slab* SlabPool::newSlab(size_t blockSize) {
  static_assert(sizeof(Slab) <= headerSize);
  char* base = static_cast<char*>(mapAligned(slabSize));
  if (hugePagesWanted()) {
    madvise(base, slabSize, MADV_HUGEPAGE);  // a hint: without it, small pages
  }
  char* first = base + headerSize;
  auto* slab = ::new (base) Slab{};
  slab->free = nullptr;
  slab->unused = first;
  slab->end = first + (slabSize - headerSize) / blockSize * blockSize;
  slab->live = 0;
  slab->blockSize = static_cast<U32>(blockSize);
  slab->allNext = all_;
  if (all_) {
    all_->allPrev = slab;
  }
  all_ = slab;
  ASAN_POISON_MEMORY_REGION(first, slabSize - headerSize);
  return slab;
}

#ifdef QUILL_POOL_BYPASSED

void* allocateSmall(size_t size) {
  return ::operator new(size);
}

void deallocateSmall(void* block, size_t) noexcept {
  ::operator delete(block);
}

#else

namespace {
SlabPool& processPool() {
  static auto* pool = new SlabPool;
  return *pool;
}
}  // namespace

void* allocateSmall(size_t size) {
  return size <= SlabPool::maxSize ? processPool().allocate(size) : ::operator new(size);
}

void deallocateSmall(void* block, size_t size) noexcept {
  if (size <= SlabPool::maxSize) {
    processPool().deallocate(block, size);
  } else {
    ::operator delete(block);
  }
}

#endif

}  // namespace Quill
