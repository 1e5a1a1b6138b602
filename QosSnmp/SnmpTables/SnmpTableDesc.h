// Declarative descriptions of MIB tables, read by the generic table mechanism (SnmpTable.h).
//
// A table description is a struct with
//   using Entity, Entry;                       the model entity (with its typeName and
//                                              mountPath) and its row type
//   static constexpr const char* name;         MIB table name ("veloraClassMapTable")
//   static constexpr U32 arc;                  table arc below the module's object root
//   static const Map& table(const Entity&);    the model table that is walked
//   static constexpr std::tuple indexes;       IndexComponent<Index, V>, in index order
//   static constexpr std::array columns;       Column<Entry>, ascending column numbers
// and optionally
//   static constexpr FeatureToggle toggle;     registers the table only while the toggle is on
// The concept TableDescription states this contract; the mechanism asserts it. Components and
// columns are built with the helpers below from member pointers and conversion functions, so a
// table is described, not coded. The index record of a table is built from its components'
// values through its constructor, in index order.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include "Mox/Entity.h"
#include "Mox/Record.h"
#include "Quill/IntTypes.h"
#include "Quill/String.h"
#include "Snmp/Codec.h"

namespace QosSnmp {

// One component of a table's index, of value type V. `get` finds it in a key; encode and
// decode are the codecs the table names for it.
template <typename Index, typename V>
struct IndexComponent {
  using IndexType = Index;
  using ValueType = V;
  const char* mibName;   // "veloraClassMapId"
  const char* attrName;  // "classMapId", the index record's field
  u_char asnType;
  int maxLen;  // octet strings: the longest value the index carries
  const V& (*get)(const Index& index);
  // Encodes a value into buf (length, or negative on failure).
  int (*encode)(const V& value, unsigned char* buf, int size, int maxLen);
  // Reads a request varbind's value; raises Quill::RangeException when it is out of range.
  V (*decode)(const netsnmp_variable_list& var);
  // A value as text, for traces.
  std::string (*print)(const V& value);
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
//
// A component is a field of the index record (`stringComponent<I, &I::classMapId>`) or, for a
// table keyed by one plain value (a descriptor string, an ifIndex), the whole key
// (wholeKeyComponent).

namespace detail {

template <typename Index, auto Member>
constexpr const auto& fieldOf(const Index& index) {
  return index.*Member;
}

template <typename Key>
constexpr const Key& wholeKey(const Key& key) {
  return key;
}

template <typename Index>
constexpr IndexComponent<Index, Snmp::String> octetStringAt(
    const Snmp::String& (*get)(const Index&), const char* mibName, const char* attrName,
    int maxLen) {
  return {mibName,
          attrName,
          ASN_OCTET_STR,
          maxLen,
          get,
          [](const Snmp::String& value, unsigned char* buf, int size, int max) {
            return Snmp::StringToAsnOctetStringF(value, buf, size, max);
          },
          [](const netsnmp_variable_list& var) {
            return Snmp::AsnOctetStringToSnmpString(var.val.string, var.val_len);
          },
          [](const Snmp::String& value) { return std::string(value.str()); }};
}

// An integer or enumeration component with its encoder `Encode(value, buf, size)` and its
// decoder `Decode(asnValue)`.
template <typename Index, typename V, auto Encode, auto Decode>
constexpr IndexComponent<Index, V> integerAt(const V& (*get)(const Index&), const char* mibName,
                                             const char* attrName) {
  return {
      mibName,
      attrName,
      ASN_INTEGER,
      0,
      get,
      [](const V& value, unsigned char* buf, int size, int) { return Encode(value, buf, size); },
      [](const netsnmp_variable_list& var) -> V { return Decode(var.val.integer); },
      [](const V& value) -> std::string {
        if constexpr (std::is_enum_v<V>) {
          return Mox::enumName(value);
        } else {
          return std::to_string(value);
        }
      }};
}

template <typename Index, auto Field>
using FieldType = std::remove_cvref_t<decltype(std::declval<const Index&>().*Field)>;

}  // namespace detail

template <typename Index, auto Field>
constexpr auto stringComponent(const char* mibName, const char* attrName, int maxLen) {
  return detail::octetStringAt<Index>(&detail::fieldOf<Index, Field>, mibName, attrName, maxLen);
}

// Enumeration component with its forward and reverse conversions.
template <typename Index, auto Field, auto ToAsn, auto FromAsn>
constexpr auto enumComponent(const char* mibName, const char* attrName) {
  return detail::integerAt<Index, detail::FieldType<Index, Field>, ToAsn, FromAsn>(
      &detail::fieldOf<Index, Field>, mibName, attrName);
}

// Integer component (ifIndex, queue, sequence number) with its codecs.
template <typename Index, auto Field, auto Encode, auto Decode>
constexpr auto integerComponent(const char* mibName, const char* attrName) {
  return detail::integerAt<Index, detail::FieldType<Index, Field>, Encode, Decode>(
      &detail::fieldOf<Index, Field>, mibName, attrName);
}

// The one component of a table keyed by a plain value: an Snmp::String (an octet string of at
// most maxLen bytes), or an integer with its encoder and decoder.
template <typename Key, auto... Codecs>
constexpr auto wholeKeyComponent(const char* mibName, const char* attrName, int maxLen = 0) {
  if constexpr (std::is_same_v<Key, Snmp::String>) {
    static_assert(sizeof...(Codecs) == 0, "octet strings have their own codec");
    return detail::octetStringAt<Key>(&detail::wholeKey<Key>, mibName, attrName, maxLen);
  } else {
    static_assert(sizeof...(Codecs) == 2, "an integer key names its encoder and decoder");
    return detail::integerAt<Key, Key, Codecs...>(&detail::wholeKey<Key>, mibName, attrName);
  }
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

// A feature toggle that gates a table's registration: its name (for traces) and the accessor
// that reads it, once per process.
struct FeatureToggle {
  const char* name;
  bool (*enabled)();
};

// --- the contract ---

namespace detail {

template <typename Index, typename Components>
inline constexpr bool isIndexComponents = false;
template <typename Index, typename... V>
inline constexpr bool isIndexComponents<Index, std::tuple<IndexComponent<Index, V>...>> =
    sizeof...(V) > 0;

template <typename Entry, typename Columns>
inline constexpr bool isColumns = false;
template <typename Entry, size_t N>
inline constexpr bool isColumns<Entry, std::array<Column<Entry>, N>> = N > 0;

template <typename Entry, size_t N>
constexpr bool ascending(const std::array<Column<Entry>, N>& columns) {
  for (size_t i = 1; i < N; ++i) {
    if (columns[i - 1].number >= columns[i].number) {
      return false;
    }
  }
  return true;
}

}  // namespace detail

// A row that can warm what its columns read, ahead of a walk's request for it (TableEntry.h).
template <typename Entry>
concept Warmable = requires(const Entry& entry, int depth) {
  entry.warm(depth);
};

// An ordered model table as the iterator walks it (Mox::RbTreeMap): first row, in-order
// successor, descents for a key, and a version that changes with every insert and removal.
template <typename Map, typename Entry>
concept WalkableTable = requires(const Map& map, const Entry& entry,
                                 const typename Entry::IndexType& key) {
  { map.first() } -> std::same_as<Entry*>;
  { map.next(entry) } -> std::same_as<Entry*>;
  { map.lowerBound(key) } -> std::same_as<Entry*>;
  { map.upperBound(key) } -> std::same_as<Entry*>;
  { map.version() } -> std::same_as<U32>;
  { entry.index() } -> std::same_as<const typename Entry::IndexType&>;
};

// Every member of a table description that the mechanism reads.
template <typename D>
concept TableDescription = std::derived_from<typename D::Entity, Mox::Entity> &&
    requires(const typename D::Entity& entity) {
  { D::name } -> std::convertible_to<const char*>;
  { D::arc } -> std::convertible_to<U32>;
  { D::Entity::mountPath } -> std::convertible_to<const char*>;
  { D::Entity::typeName } -> std::convertible_to<const char*>;
  { D::table(entity) } -> WalkableTable<typename D::Entry>;
} && detail::isIndexComponents<typename D::Entry::IndexType,
                               std::remove_cv_t<decltype(D::indexes)>> &&
    detail::isColumns<typename D::Entry, std::remove_cv_t<decltype(D::columns)>> &&(!requires {
      D::toggle;
    } || std::same_as<std::remove_cv_t<decltype(D::toggle)>, FeatureToggle>);

// The checks that need the description's values: compile-time errors with a reason.
template <typename D>
constexpr bool checkTableDescription() {
  static_assert(TableDescription<D>, "not a table description: see SnmpTableDesc.h");
  static_assert(detail::ascending(D::columns), "columns must be in ascending column order");
  static_assert(D::arc > 0, "a table arc is positive");
  return true;
}

}  // namespace QosSnmp
