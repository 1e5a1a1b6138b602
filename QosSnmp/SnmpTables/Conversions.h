// Conversions between the QoS model's enumerations (zero-based) and the QoS MIB's enumerated
// integers (one-based).
//
// Forward conversions encode the MIB integer with Snmp::S32ToAsnIntegerF into `buf` and return
// its result: the encoded length, negative when the buffer is too small. 0 is the MIB's
// out-of-range sentinel for model values it does not define; it is still encoded. Map types 1
// and 2 both report as the MIB's qos (2). The configuration-only map types mapCoppCli_ and
// mapQosCli_ must never reach the MIB: converting them is an assertion failure.
//
// Reverse conversions read an index varbind's value (used to decode a request's hint) and raise
// Quill::RangeException ("too big for Qos::MapType", ...) for values the MIB does not define,
// 0 and negative ones included.
#pragma once

#include "Qos/Types.h"

namespace QosSnmp {

int MapTypeToAsnInteger(Qos::MapType value, unsigned char* buf, int size);
int DirectionToAsnInteger(Qos::Direction value, unsigned char* buf, int size);
int ActionTypeToAsnInteger(Qos::ActionType value, unsigned char* buf, int size);
int MatchConditionToAsnInteger(Qos::ClassMapMatchCondition value, unsigned char* buf, int size);
int RateUnitToAsnInteger(Qos::RateUnit const& value, unsigned char* buf, int size);
int BurstUnitToAsnInteger(Qos::BurstUnit const& value, unsigned char* buf, int size);

Qos::MapType AsnIntegerToMapType(void* value);
Qos::Direction AsnIntegerToDirection(void* value);
Qos::ActionType AsnIntegerToActionType(void* value);

}  // namespace QosSnmp
