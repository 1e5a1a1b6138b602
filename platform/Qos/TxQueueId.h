// Qos::TxQueueId: a transmit queue number, 8 bits. Valid values run from min through invalid
// (16), which is itself the "no queue" value and the default. Constructing from a larger value
// raises Quill::RangeException. Hashable and ordered by value.
#pragma once

#include <compare>

#include "Quill/Exception.h"
#include "Quill/IntTypes.h"

namespace Qos {

class TxQueueId {
 public:
  static constexpr U8 min = 0;
  static constexpr U8 invalid = 16;

  constexpr TxQueueId() noexcept = default;
  constexpr explicit TxQueueId(U8 value) : value_(checked(value)) {}

  constexpr U8 value() const noexcept { return value_; }
  constexpr bool isValid() const noexcept { return value_ != invalid; }
  constexpr U32 hash() const noexcept { return value_; }

  friend constexpr bool operator==(TxQueueId a, TxQueueId b) noexcept = default;
  friend constexpr auto operator<=>(TxQueueId a, TxQueueId b) noexcept = default;

 private:
  static constexpr U8 checked(U8 value) {
    if (value > invalid) {
      throw Quill::RangeException(
          "Qos::TxQueueId::value < Qos::TxQueueId::min or > Qos::TxQueueId::invalid not allowed");
    }
    return value;
  }

  U8 value_ = invalid;
};

}  // namespace Qos
