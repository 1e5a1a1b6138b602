// QosSnmp::indexText: the textual form of a table key, for traces and error messages.
//
// Index records print themselves (toString()); a table keyed by a plain field type, such as
// the ECN counter table's Snmp::String, prints the key as the record would print that field.
#pragma once

#include <string>

#include "Mox/Record.h"

namespace QosSnmp {

template <typename Index>
std::string indexText(const Index& index) {
  if constexpr (requires { index.toString(); }) {
    return index.toString();
  } else {
    return Mox::FieldTraits<Index>::print(index);
  }
}

}  // namespace QosSnmp
