// Value encoders and decoders between model values and net-snmp variable values.
//
// Encoders write the value into `buf` in the form snmp_set_var_typed_value expects for the
// column's ASN type and return the number of bytes written, or a negative number when the
// value does not fit `size`:
//   - StringToAsnOctetStringF copies at most `maxLen` bytes and returns the string's full
//     length, so a caller that compares the result with maxLen sees an over-long value;
//   - integers are written as a C long (ASN_INTEGER, ASN_UNSIGNED), TruthValue as 1/2;
//   - Counter64 as net-snmp's struct counter64.
// Decoders read the value of a request's index varbind (netsnmp_vardata's pointer).
#pragma once

#include <cstddef>

#include "Quill/IntTypes.h"
#include "Quill/String.h"
#include "Snmp/String.h"

namespace Snmp {

int StringToAsnOctetStringF(const Mox::String& value, unsigned char* buf, int size, int maxLen);
int StringToAsnOctetStringF(const Snmp::String& value, unsigned char* buf, int size, int maxLen);
int S32ToAsnIntegerF(S32 value, unsigned char* buf, int size);
int U32ToAsnUnsignedF(U32 value, unsigned char* buf, int size);
int BoolToAsnIntegerF(bool value, unsigned char* buf, int size);
int U64ToCounter64F(U64 value, unsigned char* buf, int size);

// Raises Quill::RangeException when the octets exceed Snmp::String::maxLength.
Snmp::String AsnOctetStringToSnmpString(const void* value, size_t length);
// Reads an ASN_INTEGER value (a C long) as a signed 32-bit number; values outside S32 raise
// Quill::RangeException.
S32 AsnIntegerToS32(const void* value);
// Reads an ASN_INTEGER / ASN_UNSIGNED value as U32; negative or too-big values raise
// Quill::RangeException.
U32 AsnUnsignedToU32(const void* value);

}  // namespace Snmp
