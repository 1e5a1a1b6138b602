// StateSim::encode / decode: the binary form in which the state reader process hands its results
// to the agent (StateReader.h).
//
// Both ends are the same build, so the form is plain: numbers and enums in the machine's byte
// order, strings with a 32-bit length, containers with a 64-bit count followed by their
// elements in order, an optional as a flag and its value, a record as its fields in declared
// order. decode() refuses (WireError) a message that ends early, holds bytes past its end, or a
// string too long for its type: the agent never applies half a message.
//
// Pure functions; safe on any thread.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "StateDiff.h"

namespace StateSim {

class WireError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

std::string encode(const StateEdits& edits);
StateEdits decode(std::string_view bytes);

}  // namespace StateSim
