// QosSnmp::TableEntry: the common shape of a model table's row.
//
// A row is an immutable, reference-counted object that stores its index and its constructor
// arguments (counted references to status objects, or small values) and nothing else; column
// accessors of the concrete entry compute values from those arguments when asked. sameArgs()
// tells a table mutator whether a row would be re-created with the same arguments (pointers
// compare by identity, values by value), firstDifferingArg() which argument differs.
//
// The concrete entry names its arguments in order, for errors:
//   static constexpr std::array argNames{"classMap"};
//
// An entry whose columns reach through pointers may also say how to warm them for a walk
// (Warmable in SnmpTableDesc.h): warm(0) asks for the objects its arguments point at, warm(1) for
// the objects those point at in turn, and is called only once warm(0)'s have had time to arrive.
#pragma once

#include <array>
#include <cstddef>
#include <tuple>
#include <utility>

#include "Mox/AllocationTracker.h"
#include "Mox/RbTreeMap.h"
#include "Quill/Ptr.h"

namespace QosSnmp {

// Asks the processor for the cache lines of *object without waiting for them; a null object
// asks for nothing.
template <typename T>
void prefetchObject(const T* object) noexcept {
  if (!object) {
    return;
  }
  constexpr size_t line = 64;
  const auto* bytes = reinterpret_cast<const char*>(object);
  // Unrolled by hand: g++ drops a loop whose body only prefetches.
  [bytes]<size_t... Line>(std::index_sequence<Line...>) {
    (__builtin_prefetch(bytes + Line * line), ...);
  }
  (std::make_index_sequence<(sizeof(T) + line - 1) / line>{});
  __builtin_prefetch(bytes + sizeof(T) - 1);  // an object need not start on a line
}

template <typename Derived, typename Index, typename... Args>
class TableEntry : public Quill::Object, public Mox::RbTreeNode, private Mox::Tracked<Derived> {
 public:
  using IndexType = Index;
  using ArgsTuple = std::tuple<Args...>;  // the arguments after the index

  explicit TableEntry(Index index, Args... args)
      : index_(std::move(index)), args_(std::move(args)...) {}

  const Index& index() const noexcept { return index_; }
  bool sameArgs(const Args&... args) const { return args_ == std::tie(args...); }
  // The name of the first argument that differs from the stored one, or null if none does.
  const char* firstDifferingArg(const Args&... args) const {
    return firstDifference(std::index_sequence_for<Args...>{}, std::tie(args...));
  }

 protected:
  template <size_t I>
  const auto& arg() const noexcept {
    return std::get<I>(args_);
  }

 private:
  template <size_t... I>
  const char* firstDifference(std::index_sequence<I...>, std::tuple<const Args&...> given) const {
    static_assert(Derived::argNames.size() == sizeof...(Args), "one name per argument");
    const char* differing = nullptr;
    ((differing =
          differing ? differing
                    : (std::get<I>(args_) == std::get<I>(given) ? nullptr : Derived::argNames[I])),
     ...);
    return differing;
  }

  Index index_;
  std::tuple<Args...> args_;
};

}  // namespace QosSnmp
