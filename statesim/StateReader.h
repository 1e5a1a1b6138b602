// StateSim::Reader and StateSim::JsonObject: typed reading of a state file's JSON document.
//
// Every read names the value by its JSON pointer ("/policyMaps/0/classes/2/classMap"), and every
// failure is a StateFileError with the file, that pointer and what was expected, quoting the
// input through Excerpt.h. Enumerations are read by name or by the number of one of the names.
// Used by the section readers only.
#pragma once

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "Excerpt.h"
#include "JsonDocument.h"
#include "Quill/IntTypes.h"
#include "State.h"

namespace StateSim {

// The names of an enumeration's values, as a state file spells them.
template <typename E>
using Spelling = std::pair<std::string_view, E>;

// Where a value is, for a message: a JSON pointer, or a member or an element below one. A file
// names millions of values and a read fails at one at most, so the pointer is made into text
// only when a message needs it. It refers to the pointer it extends: use it within the call it
// is made for.
class Where {
 public:
  // NOLINTNEXTLINE(google-explicit-constructor)
  Where(const std::string& pointer) noexcept : base_(pointer) {}
  Where(const std::string& base, std::string_view member) noexcept
      : base_(base), member_(member), kind_(Kind::member) {}
  Where(const std::string& base, size_t element) noexcept
      : base_(base), element_(element), kind_(Kind::element) {}

  // The JSON pointer; a long member name is cut (see Excerpt.h), so it is for messages only.
  std::string pointer() const {
    switch (kind_) {
      case Kind::member:
        return base_ + "/" + pointerToken(member_);
      case Kind::element:
        return fmt::format("{}/{}", base_, element_);
      default:
        return base_;
    }
  }
  // NOLINTNEXTLINE(google-explicit-constructor)
  operator std::string() const { return pointer(); }

 private:
  enum class Kind { pointer, member, element };
  const std::string& base_;
  std::string_view member_;
  size_t element_ = 0;
  Kind kind_ = Kind::pointer;
};

class Reader {
 public:
  explicit Reader(const std::string& file) : file_(file) {}

  [[noreturn]] void fail(const Where& where, const std::string& message) const;

  const Json::array_t& array(const Json& value, const Where& where) const;
  // An object whose member names are data (interface names, say), not fixed names.
  const Json::object_t& object(const Json& value, const Where& where) const;
  const std::string& string(const Json& value, const Where& where) const;
  bool boolean(const Json& value, const Where& where) const;
  // A non-negative integer no greater than `max`.
  U64 number(const Json& value, const Where& where, U64 max) const;
  // An identifier: a string of 1 to `maxLength` bytes without NUL; `what` names it in errors
  // ("class map id").
  const std::string& identifier(const Json& value, const Where& where, std::string_view what,
                                size_t maxLength) const;
  // An interface name ("Ethernet1", "Port-Channel10").
  Linko::IntfId interface(const Json& value, const Where& where) const;

  // One of `spellings` by name, or by the number of one of them.
  template <typename E, size_t N>
  E spelled(const Json& value, const Where& where, const Spelling<E> (&spellings)[N],
            std::string_view what) const {
    for (const auto& [spelling, e] : spellings) {
      if ((value.is_string() && value.get_ref<const std::string&>() == spelling) ||
          (value.is_number_unsigned() && value.get<U64>() == static_cast<U64>(e))) {
        return e;
      }
    }
    std::string known;
    for (const auto& spelling : spellings) {
      known += known.empty() ? "" : ", ";
      known += spelling.first;
    }
    if (!value.is_string() && !value.is_number_unsigned()) {
      fail(where, fmt::format("expected {} {} name or number, found {}", article(what), what,
                              value.type_name()));
    }
    fail(where, fmt::format("{} is not {} {} ({})", shown(value), article(what), what, known));
  }

  // "an" before a vowel ("an ECN value"), "a" otherwise ("a class map type").
  static std::string_view article(std::string_view noun) {
    return !noun.empty() &&
                   std::string_view("AEIOUaeiou").find(noun.front()) != std::string_view::npos
               ? "an"
               : "a";
  }

  // The pointer of a member or an element, as text (Where::pointer).
  static std::string pointer(const std::string& where, std::string_view member) {
    return Where(where, member).pointer();
  }
  static std::string pointer(const std::string& where, size_t element) {
    return Where(where, element).pointer();
  }

  const std::string& file() const noexcept { return file_; }

 private:
  const std::string& file_;
};

// A JSON object of the document at `where`, allowed only the members `known`.
class JsonObject {
 public:
  JsonObject(const Reader& r, const Json& value, std::string where,
             std::initializer_list<std::string_view> known);

  const Reader& reader() const noexcept { return r_; }
  const std::string& where() const noexcept { return where_; }
  Where at(std::string_view name) const { return {where_, name}; }
  const Json::object_t& members() const noexcept { return *object_; }

  // The member, or null.
  const Json* member(std::string_view name) const;
  // The member; its absence is an error.
  const Json& required(std::string_view name) const;

  const std::string& string(std::string_view name) const {
    return r_.string(required(name), at(name));
  }
  std::string string(std::string_view name, std::string_view otherwise) const;
  bool boolean(std::string_view name, bool otherwise) const;
  U64 number(std::string_view name, U64 max, U64 otherwise) const;
  Linko::IntfId interface(std::string_view name) const {
    return r_.interface(required(name), at(name));
  }
  template <typename E, size_t N>
  E spelled(std::string_view name, const Spelling<E> (&spellings)[N], std::string_view what) const {
    return r_.spelled(required(name), at(name), spellings, what);
  }
  template <typename E, size_t N>
  E spelled(std::string_view name, const Spelling<E> (&spellings)[N], std::string_view what,
            E otherwise) const {
    const Json* v = member(name);
    return v ? r_.spelled(*v, at(name), spellings, what) : otherwise;
  }

 private:
  const Reader& r_;
  std::string where_;
  const Json::object_t* object_;
};

// Calls f(element, pointer) for each element of the array member `name` of `object`, if any.
template <typename F>
void forEach(const JsonObject& object, std::string_view name, F&& f) {
  const Json* value = object.member(name);
  if (!value) {
    return;
  }
  const std::string where = object.at(name);
  const auto& elements = object.reader().array(*value, where);
  for (size_t i = 0; i < elements.size(); ++i) {
    f(elements[i], Reader::pointer(where, i));
  }
}

// The enumeration spellings shared by several sections.
inline constexpr Spelling<Qos::MapType> policyMapTypeSpellings[] = {
    {"controlPlane", Qos::MapType::mapControlPlane_},
    {"qos", Qos::MapType::mapQos_},
};
inline constexpr Spelling<Qos::Direction> directionSpellings[] = {
    {"input", Qos::Direction::directionInput_},
    {"output", Qos::Direction::directionOutput_},
};

}  // namespace StateSim
