// Mox::CompactString: an immutable byte string in 16 bytes, for the names that status objects,
// collection keys and table indexes hold by the million.
//
// Up to inlineCapacity (15) bytes are stored in the object itself; a longer string lives in one
// heap block of exactly its size. std::string takes 32 bytes for the same 15 inline bytes,
// because it keeps a capacity for growing, which a name never does. The bytes are not
// null-terminated: read them through view(), data() and size().
//
// Layout: the last byte tells the two forms apart. Inline, it holds the size (0..15) and the
// bytes come first; on the heap, it holds heapTag and the first 12 bytes hold the block's
// address and the size (32 bits).
#pragma once

#include <compare>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string_view>

#include "Quill/IntTypes.h"

namespace Mox {

class CompactString {
 public:
  static constexpr size_t inlineCapacity = 15;

  CompactString() noexcept { rep_[tagAt] = 0; }
  explicit CompactString(std::string_view bytes) { assign(bytes); }
  CompactString(const CompactString& other) { assign(other.view()); }
  CompactString(CompactString&& other) noexcept {
    std::memcpy(rep_, other.rep_, sizeof rep_);
    other.rep_[tagAt] = 0;
  }
  CompactString& operator=(const CompactString& other) {
    if (this != &other) {
      CompactString copy(other);
      *this = std::move(copy);
    }
    return *this;
  }
  CompactString& operator=(CompactString&& other) noexcept {
    if (this != &other) {
      release();
      std::memcpy(rep_, other.rep_, sizeof rep_);
      other.rep_[tagAt] = 0;
    }
    return *this;
  }
  ~CompactString() { release(); }

  const char* data() const noexcept { return onHeap() ? heapBlock() : rep_; }
  size_t size() const noexcept { return onHeap() ? heapSize() : static_cast<U8>(rep_[tagAt]); }
  bool empty() const noexcept { return size() == 0; }
  std::string_view view() const noexcept { return {data(), size()}; }

  friend bool operator==(const CompactString& a, const CompactString& b) noexcept {
    return a.view() == b.view();
  }
  // Byte order, the bytes compared as unsigned values (as char_traits<char> does).
  friend std::strong_ordering operator<=>(const CompactString& a, const CompactString& b) noexcept {
    return a.view().compare(b.view()) <=> 0;
  }

 private:
  static constexpr size_t tagAt = 15;
  static constexpr char heapTag = static_cast<char>(0xff);

  bool onHeap() const noexcept { return rep_[tagAt] == heapTag; }
  char* heapBlock() const noexcept {
    char* block;
    std::memcpy(&block, rep_, sizeof block);
    return block;
  }
  size_t heapSize() const noexcept {
    U32 size;
    std::memcpy(&size, rep_ + sizeof(char*), sizeof size);
    return size;
  }
  void assign(std::string_view bytes) {
    if (bytes.size() <= inlineCapacity) {
      std::memcpy(rep_, bytes.data(), bytes.size());
      rep_[tagAt] = static_cast<char>(bytes.size());
      return;
    }
    if (bytes.size() > std::numeric_limits<U32>::max()) {
      throw std::length_error("Mox::CompactString: more than 4 GiB");
    }
    const auto size = static_cast<U32>(bytes.size());
    char* block = new char[size];
    std::memcpy(block, bytes.data(), size);
    std::memcpy(rep_, &block, sizeof block);
    std::memcpy(rep_ + sizeof block, &size, sizeof size);
    rep_[tagAt] = heapTag;
  }
  void release() noexcept {
    if (onHeap()) {
      delete[] heapBlock();
    }
  }

  alignas(8) char rep_[16];
};

static_assert(sizeof(CompactString) == 16);

}  // namespace Mox
