// Mox::IndexRecord<Derived>: value semantics for table index records, written once.
//
// A record lists its fields, in declared order, in `static constexpr auto fields()` (a tuple of
// Mox::field(name, &Derived::member)); declared order may differ from the members' storage
// order, and everything here follows declared order:
//   - three-way comparison, first difference decides (the SNMP walk order);
//   - equality field by field (isEq, ==); an object always equals itself;
//   - operator bool: differs from the default-constructed record;
//   - hashing: Derived::hashKind selects hash() (fields mixed into a Mox::HashMix, strings
//     XORed in by their own hash), hash(seed) (a seeded Mox::Hash) or none at all;
//   - textual form "name=value, name=value" (strings quoted and escaped, enumerations by name),
//     and fromString, which also accepts the form wrapped in "TypeName(...)". A field that does
//     not parse raises Mox::DeserializeException naming the field.
// Field types need a Mox::FieldTraits specialisation (U32 and enumerations here, Snmp::String
// beside its type).
#pragma once

#include <charconv>
#include <compare>
#include <limits>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "Mox/HashMix.h"
#include "Mox/Enum.h"
#include "Mox/Hash.h"
#include "Quill/Exception.h"
#include "Quill/IntTypes.h"

namespace Mox {

template <typename Owner, typename T>
struct Field {
  std::string_view name;
  T Owner::*member;
};

template <typename Owner, typename T>
constexpr Field<Owner, T> field(std::string_view name, T Owner::*member) {
  return {name, member};
}

template <typename T, typename = void>
struct FieldTraits;

template <typename T>
struct FieldTraits<T, std::enable_if_t<std::is_unsigned_v<T> || std::is_enum_v<T>>> {
  static U32 widen(T v) { return static_cast<U32>(v); }
  static std::strong_ordering compare(T a, T b) { return widen(a) <=> widen(b); }
  static void mix4(Mox::HashMix& m, T v) { m.mixBytes4(widen(v)); }
  static void mixSeeded(Hash& h, T v) { h.mix(widen(v)); }
  static std::string print(T v) {
    if constexpr (std::is_enum_v<T>) {
      return enumName(v);
    } else {
      return std::to_string(v);
    }
  }
  static T parse(std::string_view text) {
    if constexpr (std::is_enum_v<T>) {
      return enumFromName<T>(text);
    } else {
      unsigned long long n = 0;
      auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), n);
      if (text.empty() || ec != std::errc() || end != text.data() + text.size() ||
          n > std::numeric_limits<T>::max()) {
        throw Quill::RangeException("'" + std::string(text) + "' is not an unsigned number");
      }
      return static_cast<T>(n);
    }
  }
};

enum class HashKind { mix4, seeded, none };

// Byte strings in textual forms: double-quoted, with \" \\ and \xHH escapes.
std::string quoteBytes(std::string_view bytes);
// Inverse of quoteBytes; raises Quill::RangeException on malformed text.
std::string unquoteBytes(std::string_view text);

namespace detail {
// Splits "a=1, b=\"x, y\"" into (name, value text) items; quotes protect separators.
std::vector<std::pair<std::string_view, std::string_view>> splitFields(std::string_view text,
                                                                       std::string_view type);
}  // namespace detail

template <typename Derived>
class IndexRecord {
 public:
  explicit operator bool() const { return !isEq(Derived{}); }

  bool isEq(const Derived& o) const {
    if (&self() == &o) {
      return true;
    }
    return std::apply(
        [&](const auto&... f) { return ((self().*(f.member) == o.*(f.member)) && ...); },
        Derived::fields());
  }

  friend bool operator==(const Derived& a, const Derived& b) { return a.isEq(b); }

  friend std::strong_ordering operator<=>(const Derived& a, const Derived& b) {
    if (&a == &b) {
      return std::strong_ordering::equal;
    }
    std::strong_ordering r = std::strong_ordering::equal;
    std::apply(
        [&](const auto&... f) {
          ((r == 0 ? (r = decltype(traitsOf(f))::compare(a.*(f.member), b.*(f.member)), 0) : 0),
           ...);
        },
        Derived::fields());
    return r;
  }

  U32 hash() const requires(Derived::hashKind == HashKind::mix4) {
    Mox::HashMix m(0);
    std::apply([&](const auto&... f) { (decltype(traitsOf(f))::mix4(m, self().*(f.member)), ...); },
               Derived::fields());
    return m.final();
  }

  U32 hash(U32 seed) const requires(Derived::hashKind == HashKind::seeded) {
    Hash h(seed);
    std::apply(
        [&](const auto&... f) { (decltype(traitsOf(f))::mixSeeded(h, self().*(f.member)), ...); },
        Derived::fields());
    return h.final();
  }

  std::string toString() const {
    std::string out;
    std::apply(
        [&](const auto&... f) {
          ((out += (out.empty() ? "" : ", "), out += f.name, out += '=',
            out += decltype(traitsOf(f))::print(self().*(f.member))),
           ...);
        },
        Derived::fields());
    return out;
  }

  static Derived fromString(std::string_view text) {
    auto items = detail::splitFields(text, Derived::typeName);
    Derived d;
    size_t i = 0;
    std::apply(
        [&](const auto&... f) {
          (
              [&] {
                if (i >= items.size() || items[i].first != f.name) {
                  throw DeserializeException(std::string(f.name),
                                             "missing attribute " + std::string(f.name) + " in " +
                                                 std::string(Derived::typeName));
                }
                try {
                  d.*(f.member) = decltype(traitsOf(f))::parse(items[i].second);
                } catch (const Quill::RangeException& e) {
                  throw DeserializeException(
                      std::string(f.name),
                      "bad value for attribute " + std::string(f.name) + ": " + e.what());
                }
                ++i;
              }(),
              ...);
        },
        Derived::fields());
    if (i != items.size()) {
      throw DeserializeException(std::string(items[i].first),
                                 "unexpected attribute " + std::string(items[i].first));
    }
    return d;
  }

 private:
  template <typename F>
  using traitsOfT = FieldTraits<
      std::remove_cvref_t<decltype(std::declval<Derived>().*(std::declval<F>().member))>>;
  template <typename F>
  static auto traitsOf(const F&) -> traitsOfT<F>;

  const Derived& self() const { return static_cast<const Derived&>(*this); }
};

}  // namespace Mox
