// Quill::Ptr<T>: counted reference to a Quill::Object (T may be const-qualified).
//
// A null Ptr is valid and compares equal to nullptr. Copying adds a reference, moving transfers
// it. Equality is identity of the referenced object, which is what the table mutators use to
// decide whether a row is re-created with "the same" status objects.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

#include "Quill/Object.h"

namespace Quill {

template <typename T>
class Ptr {
 public:
  Ptr() noexcept = default;
  Ptr(std::nullptr_t) noexcept {}  // NOLINT(google-explicit-constructor)
  explicit Ptr(T* p) noexcept : p_(p) { acquire(); }
  Ptr(const Ptr& o) noexcept : p_(o.p_) { acquire(); }
  Ptr(Ptr&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
  template <typename U, typename = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ptr(const Ptr<U>& o) noexcept : p_(o.get()) {  // NOLINT(google-explicit-constructor)
    acquire();
  }
  template <typename U, typename = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ptr(Ptr<U>&& o) noexcept : p_(o.release()) {}  // NOLINT(google-explicit-constructor)
  ~Ptr() { releaseRef(); }

  Ptr& operator=(Ptr o) noexcept {
    std::swap(p_, o.p_);
    return *this;
  }

  T* get() const noexcept { return p_; }
  T* operator->() const noexcept { return p_; }
  T& operator*() const noexcept { return *p_; }
  explicit operator bool() const noexcept { return p_ != nullptr; }

  void reset() noexcept {
    releaseRef();
    p_ = nullptr;
  }
  // Gives up ownership of the reference without dropping it.
  [[nodiscard]] T* release() noexcept { return std::exchange(p_, nullptr); }

  friend bool operator==(const Ptr& a, const Ptr& b) noexcept { return a.p_ == b.p_; }
  friend bool operator==(const Ptr& a, std::nullptr_t) noexcept { return a.p_ == nullptr; }

 private:
  void acquire() noexcept {
    if (p_) {
      p_->ref();
    }
  }
  void releaseRef() noexcept {
    if (p_) {
      p_->unref();
    }
  }

  T* p_ = nullptr;
};

template <typename T, typename... Args>
Ptr<T> make(Args&&... args) {
  return Ptr<T>(new T(std::forward<Args>(args)...));
}

// Down-cast by dynamic_cast; null when the object is not a T.
template <typename T, typename U>
Ptr<T> dynamicPtrCast(const Ptr<U>& p) noexcept {
  return Ptr<T>(dynamic_cast<T*>(p.get()));
}

}  // namespace Quill
