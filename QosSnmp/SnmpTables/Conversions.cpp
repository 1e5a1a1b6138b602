#include "QosSnmp/SnmpTables/Conversions.h"

#include <array>

#include "Quill/Assert.h"
#include "Quill/Exception.h"
#include "Snmp/Codec.h"

namespace QosSnmp {

namespace {

// MIB integer for each model value; values past the end of the table encode 0.
template <size_t N>
int encodeMapped(U8 model, const std::array<S32, N>& mib, unsigned char* buf, int size) {
  S32 v = model < N ? mib[model] : 0;
  return Snmp::S32ToAsnIntegerF(v, buf, size);
}

// MIB integer 1..count to model value 0..count-1; anything else is out of range.
template <typename E>
E decodeOneBased(void* value, S32 count, const char* tooBig) {
  S32 v = 0;
  try {
    v = Snmp::AsnIntegerToS32(value);
  } catch (const Quill::RangeException&) {
    throw Quill::RangeException(tooBig);
  }
  if (v < 1 || v > count) {
    throw Quill::RangeException(tooBig);
  }
  return static_cast<E>(v - 1);
}

}  // namespace

int MapTypeToAsnInteger(Qos::MapType value, unsigned char* buf, int size) {
  if (value == Qos::MapType::mapCoppCli_) {
    QUILL_ASSERT(false && "Invalid MapType 'mapCoppCli_' in MapTypeToAsnInteger");
  }
  if (value == Qos::MapType::mapQosCli_) {
    QUILL_ASSERT(false && "Invalid MapType 'mapQosCli_' in MapTypeToAsnInteger");
  }
  return encodeMapped(static_cast<U8>(value), std::array<S32, 3>{1, 2, 2}, buf, size);
}

int DirectionToAsnInteger(Qos::Direction value, unsigned char* buf, int size) {
  return encodeMapped(static_cast<U8>(value), std::array<S32, 2>{1, 2}, buf, size);
}

int ActionTypeToAsnInteger(Qos::ActionType value, unsigned char* buf, int size) {
  return encodeMapped(static_cast<U8>(value), std::array<S32, 7>{1, 2, 3, 4, 5, 6, 7}, buf, size);
}

int MatchConditionToAsnInteger(Qos::ClassMapMatchCondition value, unsigned char* buf, int size) {
  return encodeMapped(static_cast<U8>(value), std::array<S32, 2>{1, 2}, buf, size);
}

int RateUnitToAsnInteger(Qos::RateUnit const& value, unsigned char* buf, int size) {
  return encodeMapped(static_cast<U8>(value), std::array<S32, 4>{1, 2, 3, 4}, buf, size);
}

int BurstUnitToAsnInteger(Qos::BurstUnit const& value, unsigned char* buf, int size) {
  // The model's last burst unit (packets) is the MIB's first.
  return encodeMapped(static_cast<U8>(value), std::array<S32, 4>{2, 3, 4, 1}, buf, size);
}

Qos::MapType AsnIntegerToMapType(void* value) {
  return decodeOneBased<Qos::MapType>(value, 2, "too big for Qos::MapType");
}

Qos::Direction AsnIntegerToDirection(void* value) {
  return decodeOneBased<Qos::Direction>(value, 2, "too big for Qos::Direction");
}

Qos::ActionType AsnIntegerToActionType(void* value) {
  return decodeOneBased<Qos::ActionType>(value, 7, "too big for Qos::ActionType");
}

}  // namespace QosSnmp
