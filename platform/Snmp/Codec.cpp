#include "Snmp/Codec.h"

#include <cstring>
#include <limits>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

namespace Snmp {

namespace {

template <typename T>
int writeValue(const T& v, unsigned char* buf, int size) {
  if (buf == nullptr || size < static_cast<int>(sizeof(T))) {
    return -1;
  }
  std::memcpy(buf, &v, sizeof(T));
  return static_cast<int>(sizeof(T));
}

int copyOctets(const char* data, size_t length, unsigned char* buf, int size, int maxLen) {
  if (buf == nullptr || size < 0 || maxLen < 0) {
    return -1;
  }
  size_t copied = std::min<size_t>(length, static_cast<size_t>(maxLen));
  if (copied > static_cast<size_t>(size) ||
      length > static_cast<size_t>(std::numeric_limits<int>::max())) {
    return -1;
  }
  std::memcpy(buf, data, copied);
  return static_cast<int>(length);
}

}  // namespace

int StringToAsnOctetStringF(const Mox::String& value, unsigned char* buf, int size, int maxLen) {
  return copyOctets(value.data(), value.size(), buf, size, maxLen);
}

int StringToAsnOctetStringF(const Snmp::String& value, unsigned char* buf, int size, int maxLen) {
  return copyOctets(value.data(), value.size(), buf, size, maxLen);
}

int S32ToAsnIntegerF(S32 value, unsigned char* buf, int size) {
  return writeValue(static_cast<long>(value), buf, size);
}

int U32ToAsnUnsignedF(U32 value, unsigned char* buf, int size) {
  return writeValue(static_cast<long>(value), buf, size);
}

int BoolToAsnIntegerF(bool value, unsigned char* buf, int size) {
  return writeValue(static_cast<long>(value ? 1 : 2), buf, size);  // TruthValue
}

int U64ToCounter64F(U64 value, unsigned char* buf, int size) {
  counter64 c;
  c.high = static_cast<u_long>(value >> 32);
  c.low = static_cast<u_long>(value & 0xffffffffULL);
  return writeValue(c, buf, size);
}

Snmp::String AsnOctetStringToSnmpString(const void* value, size_t length) {
  if (length > Snmp::String::maxLength) {
    throw Quill::RangeException("Snmp::String::bytes > maxLength() not allowed");
  }
  return Snmp::String(std::string_view(static_cast<const char*>(value), length));
}

S32 AsnIntegerToS32(const void* value) {
  long v;
  std::memcpy(&v, value, sizeof v);
  if (v < std::numeric_limits<S32>::min() || v > std::numeric_limits<S32>::max()) {
    throw Quill::RangeException("value too big for S32");
  }
  return static_cast<S32>(v);
}

U32 AsnUnsignedToU32(const void* value) {
  long v;
  std::memcpy(&v, value, sizeof v);
  if (v < 0 || static_cast<unsigned long>(v) > std::numeric_limits<U32>::max()) {
    throw Quill::RangeException("value too big for U32");
  }
  return static_cast<U32>(v);
}

}  // namespace Snmp
