// QosSnmp::indexText and indexTypeName: a table key as text, and its type's name, for traces
// and error messages.
//
// Index records print themselves (toString()) and carry their type name (typeName); a table
// keyed by a plain value, such as the ECN counter table's Snmp::String or an ifIndex, prints
// the key as a record would print that field, under the plain type's name ("U32").
#pragma once

#include <string>
#include <string_view>
#include <type_traits>

#include "Mox/Record.h"
#include "Quill/IntTypes.h"
#include "Snmp/String.h"

namespace QosSnmp {

template <typename Index>
std::string indexText(const Index& index) {
  if constexpr (requires { index.toString(); }) {
    return index.toString();
  } else {
    return Mox::FieldTraits<Index>::print(index);
  }
}

template <typename Index>
constexpr std::string_view indexTypeName() {
  if constexpr (requires { Index::typeName; }) {
    return Index::typeName;
  } else if constexpr (std::is_same_v<Index, U32>) {
    return "U32";
  } else {
    static_assert(std::is_same_v<Index, Snmp::String>, "a key type without a name");
    return "Snmp::String";
  }
}

}  // namespace QosSnmp
