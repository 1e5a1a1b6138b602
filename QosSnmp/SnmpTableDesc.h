// Declarative descriptions of MIB tables, read by the generic table mechanism (SnmpTable.h).
//
// A table description is a struct with
//   using Entity, Entry;                       the model entity and its row type
//   static constexpr const char* name;         MIB table name ("veloraClassMapTable")
//   static constexpr U32 arc;                  table arc below the module's object root
//   static const Map& table(const Entity&);    the model table that is walked
//   static constexpr std::array indexes;       IndexComponent<Index>, in index order
//   static constexpr std::array columns;       Column<Entry>, ascending column numbers
// Components and columns are built with the helpers below from member pointers and
// conversion functions, so a table is described, not coded.
#pragma once

#include <string>
#include <string_view>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include "Mox/Record.h"
#include "Quill/IntTypes.h"
#include "Quill/String.h"
#include "Snmp/Codec.h"

namespace QosSnmp {

// One component of a table's index.
template <typename Index>
struct IndexComponent {
  const char* mibName;   // "veloraClassMapId"
  const char* attrName;  // "classMapId", the index record's field
  u_char asnType;
  int maxLen;  // octet strings: the longest value the index carries
  // Encodes the component of `index` into buf (length, or negative on failure).
  int (*encode)(const Index& index, unsigned char* buf, int size, int maxLen);
  // Stores a request varbind's value into the component of `index`; raises
  // Quill::RangeException when the value is out of range for the component.
  void (*decode)(Index& index, const netsnmp_variable_list& var);
  // The component of `index` as text, for traces.
  std::string (*print)(const Index& index);
};

// One served column.
template <typename Entry>
struct Column {
  U32 number;
  const char* mibName;     // "veloraClassMapName"
  const char* attrName;    // "classMapName": the model attribute, named in failure traces
  const char* conversion;  // "StringToAsnOctetString": the encoder, named in failure traces
  u_char asnType;
  int minLen;  // octet strings: allowed length range (checked after conversion)
  int maxLen;
  int (*encode)(const Entry& entry, unsigned char* buf, int size, int maxLen);
};

// --- index components ---

template <typename Index, auto Field>
constexpr IndexComponent<Index> stringComponent(const char* mibName, const char* attrName,
                                                int maxLen) {
  return {mibName,
          attrName,
          ASN_OCTET_STR,
          maxLen,
          [](const Index& index, unsigned char* buf, int size, int max) {
            return Snmp::StringToAsnOctetStringF(index.*Field, buf, size, max);
          },
          [](Index& index, const netsnmp_variable_list& var) {
            index.*Field = Snmp::AsnOctetStringToSnmpString(var.val.string, var.val_len);
          },
          [](const Index& index) { return (index.*Field).str(); }};
}

// Enumeration component with its forward and reverse conversions.
template <typename Index, auto Field, auto ToAsn, auto FromAsn>
constexpr IndexComponent<Index> enumComponent(const char* mibName, const char* attrName) {
  return {mibName,
          attrName,
          ASN_INTEGER,
          0,
          [](const Index& index, unsigned char* buf, int size, int) {
            return ToAsn(index.*Field, buf, size);
          },
          [](Index& index, const netsnmp_variable_list& var) {
            index.*Field = FromAsn(var.val.integer);
          },
          [](const Index& index) { return Mox::enumName(index.*Field); }};
}

// Plain 32-bit integer component (ifIndex, queue, sequence number).
template <typename Index, auto Field>
constexpr IndexComponent<Index> integerComponent(const char* mibName, const char* attrName) {
  return {mibName,
          attrName,
          ASN_INTEGER,
          0,
          [](const Index& index, unsigned char* buf, int size, int) {
            return Snmp::U32ToAsnUnsignedF(index.*Field, buf, size);
          },
          [](Index& index, const netsnmp_variable_list& var) {
            index.*Field = Snmp::AsnUnsignedToU32(var.val.integer);
          },
          [](const Index& index) { return std::to_string(index.*Field); }};
}

// --- columns ---

template <typename Entry, auto Accessor>
constexpr Column<Entry> stringColumn(U32 number, const char* mibName, const char* attrName,
                                     int maxLen, int minLen = 0) {
  return {number,
          mibName,
          attrName,
          "StringToAsnOctetString",
          ASN_OCTET_STR,
          minLen,
          maxLen,
          [](const Entry& e, unsigned char* buf, int size, int max) {
            return Snmp::StringToAsnOctetStringF((e.*Accessor)(), buf, size, max);
          }};
}

// A column whose value the accessor computes and `Encode(value, buf, size)` writes; failures
// name the encoder as `conversion`.
template <typename Entry, auto Accessor, auto Encode>
constexpr Column<Entry> encodedColumn(U32 number, const char* mibName, const char* attrName,
                                      const char* conversion, u_char asnType) {
  return {number,
          mibName,
          attrName,
          conversion,
          asnType,
          0,
          0,
          [](const Entry& e, unsigned char* buf, int size, int) {
            return Encode((e.*Accessor)(), buf, size);
          }};
}

// Enumeration column converted by its ...ToAsnInteger function, named `conversion`.
template <typename Entry, auto Accessor, auto ToAsn>
constexpr Column<Entry> enumColumn(U32 number, const char* mibName, const char* attrName,
                                   const char* conversion) {
  return encodedColumn<Entry, Accessor, ToAsn>(number, mibName, attrName, conversion, ASN_INTEGER);
}

// Integer32 column; a U32 value is reported as its 32 bits.
template <typename Entry, auto Accessor>
constexpr Column<Entry> integerColumn(U32 number, const char* mibName, const char* attrName) {
  return encodedColumn<Entry, Accessor, Snmp::S32ToAsnIntegerF>(number, mibName, attrName,
                                                                "S32ToAsnInteger", ASN_INTEGER);
}

// TruthValue column.
template <typename Entry, auto Accessor>
constexpr Column<Entry> truthColumn(U32 number, const char* mibName, const char* attrName) {
  return encodedColumn<Entry, Accessor, Snmp::BoolToAsnIntegerF>(number, mibName, attrName,
                                                                 "BoolToAsnInteger", ASN_INTEGER);
}

template <typename Entry, auto Accessor>
constexpr Column<Entry> counterColumn(U32 number, const char* mibName, const char* attrName) {
  return encodedColumn<Entry, Accessor, Snmp::U64ToCounter64F>(number, mibName, attrName,
                                                               "U64ToCounter64", ASN_COUNTER64);
}

}  // namespace QosSnmp
