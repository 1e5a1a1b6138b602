// Fixed-width integer names used throughout the platform and the plug-in.
//
// They are declared in Quill and brought into each framework namespace by using-declarations,
// not declared globally: net-snmp's headers own the global name U64 (struct counter64).
#pragma once

#include <cstdint>

namespace Quill {
using U8 = std::uint8_t;
using U16 = std::uint16_t;
using U32 = std::uint32_t;
using U64 = std::uint64_t;
using S32 = std::int32_t;
using S64 = std::int64_t;
}  // namespace Quill

#define QUILL_IMPORT_INT_TYPES(ns) \
  namespace ns {                   \
  using Quill::S32;                \
  using Quill::S64;                \
  using Quill::U16;                \
  using Quill::U32;                \
  using Quill::U64;                \
  using Quill::U8;                 \
  }

QUILL_IMPORT_INT_TYPES(Mox)
QUILL_IMPORT_INT_TYPES(Dovo)
QUILL_IMPORT_INT_TYPES(Cordb)
QUILL_IMPORT_INT_TYPES(Snmp)
QUILL_IMPORT_INT_TYPES(Qos)
QUILL_IMPORT_INT_TYPES(Acl)
QUILL_IMPORT_INT_TYPES(Linko)
QUILL_IMPORT_INT_TYPES(InterfacePolicing)
QUILL_IMPORT_INT_TYPES(IntfSnmp)
QUILL_IMPORT_INT_TYPES(Rivo)
QUILL_IMPORT_INT_TYPES(QosSnmp)
QUILL_IMPORT_INT_TYPES(StateSim)
