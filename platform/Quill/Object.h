// Quill::Object: the base of every reference-counted framework object.
//
// Objects are created with Quill::make<T>() and held through Quill::Ptr; the last Ptr to go
// deletes the object. Reference counts use atomic read-modify-write only while the framework
// reports that several threads use framework objects (threadsInUse()); on the usual single
// framework thread they are plain loads and stores, which is cheaper on the request path.
//
// Objects live in the slab pool (Quill/SlabPool.h): a switch holds them by the million, and
// malloc would add 8 to 24 bytes to each.
#pragma once

#include <atomic>

#include "Quill/IntTypes.h"
#include "Quill/SlabPool.h"

namespace Quill {

// True once the process has declared that more than one thread touches framework objects.
bool threadsInUse() noexcept;
// Declares (or withdraws) multi-threaded use. Call before a second thread starts.
void threadsInUseIs(bool inUse) noexcept;

class Object : public SlabAllocated {
 public:
  Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  void ref() const noexcept {
    if (threadsInUse()) {
      refCount_.fetch_add(1, std::memory_order_relaxed);
    } else {
      refCount_.store(refCount_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }
  }

  // Drops one reference; deletes the object when it was the last.
  void unref() const noexcept {
    U32 left;
    if (threadsInUse()) {
      left = refCount_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    } else {
      left = refCount_.load(std::memory_order_relaxed) - 1;
      refCount_.store(left, std::memory_order_relaxed);
    }
    if (left == 0) {
      delete this;
    }
  }

  U32 refCount() const noexcept { return refCount_.load(std::memory_order_relaxed); }

 protected:
  virtual ~Object() = default;

 private:
  mutable std::atomic<U32> refCount_{0};
};

}  // namespace Quill
