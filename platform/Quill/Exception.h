// Framework exceptions: data-range faults and (de)serialisation faults. Programming faults are
// assertions (QUILL_ASSERT), not exceptions.
#pragma once

#include <stdexcept>
#include <string>

namespace Quill {

// A value outside the range its type allows (an out-of-range enumeration, an over-long string).
class RangeException : public std::range_error {
 public:
  using std::range_error::range_error;
};

}  // namespace Quill

namespace Mox {

// Parsing a textual form failed; attribute() names the field that could not be read.
class DeserializeException : public std::runtime_error {
 public:
  DeserializeException(std::string attribute, const std::string& what)
      : std::runtime_error(what), attribute_(std::move(attribute)) {}
  const std::string& attribute() const noexcept { return attribute_; }

 private:
  std::string attribute_;
};

// A mutator was asked to re-create an existing row with different constructor arguments.
class MutatorReinstantiationException : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

// The framework was asked for the hash of a type that is deliberately not hashable.
class NotHashableException : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

}  // namespace Mox
