#include "InterfaceNames.h"

#include <iterator>
#include <limits>
#include <string_view>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <fmt/format.h>

#include "SnmpAgent.h"
#include "Snmp/CordbUtil.h"

namespace Agent {

namespace {

// IF-MIB: ifTable and ifXTable, and the columns served of each.
constexpr oid ifTableOid[] = {1, 3, 6, 1, 2, 1, 2, 2};
constexpr oid ifXTableOid[] = {1, 3, 6, 1, 2, 1, 31, 1, 1};
constexpr unsigned ifDescrColumn = 2;
constexpr unsigned ifNameColumn = 1;
constexpr unsigned ifAliasColumn = 18;
// net-snmp reads the column list through a non-const pointer but never writes it.
unsigned ifXTableColumns[] = {ifNameColumn, ifAliasColumn};

// Answers the GETs the table iterator has matched with rows (GETNEXT reaches here as GET); the
// row's data context is the interface that names it. ifDescr and ifName are the name, ifAlias
// empty.
int answer(netsnmp_mib_handler*, netsnmp_handler_registration*, netsnmp_agent_request_info* reqinfo,
           netsnmp_request_info* requests) {
  if (reqinfo->mode != MODE_GET) {
    return SNMP_ERR_NOERROR;
  }
  for (netsnmp_request_info* request = requests; request != nullptr; request = request->next) {
    if (request->processed) {
      continue;
    }
    const auto* intf = static_cast<const Linko::IntfId*>(netsnmp_extract_iterator_context(request));
    netsnmp_table_request_info* info = netsnmp_extract_table_info(request);
    if (intf == nullptr || info == nullptr) {
      netsnmp_set_request_error(reqinfo, request, SNMP_NOSUCHINSTANCE);
      continue;
    }
    // Column 18 is ifXTable's only: ifTable's registration serves column 2 alone.
    const std::string name = info->colnum == ifAliasColumn ? std::string() : intf->name();
    const std::string_view value = name;
    snmp_set_var_typed_value(request->requestvb, ASN_OCTET_STR,
                             reinterpret_cast<const u_char*>(value.data()), value.size());
  }
  return SNMP_ERR_NOERROR;
}

}  // namespace

// The sorted iterator's callbacks over the rows. The loop context is the current row's first
// pair (the rows do not change during a request); its data context is that pair's interface. The
// iterator hands get_first the request's parsed index as a hint: a walk starts at the row it
// names, or at the first row when it names none (net-snmp compares every row it is given with the
// request, so the hint only saves steps).
struct InterfaceNames::Iteration {
  using Pair = Pairs::value_type;

  static const InterfaceNames& names(netsnmp_iterator_info* iinfo) {
    return *static_cast<const InterfaceNames*>(iinfo->myvoid);
  }

  // The row a hint names, if any: one INTEGER component in ifIndex's range that is a row.
  static Pairs::const_iterator hinted(const InterfaceNames& names, const void* loopContext) {
    const auto* hint = static_cast<const netsnmp_table_request_info*>(loopContext);
    if (hint == nullptr || Snmp::CordbUtil::ignoreIteratorHints() || hint->number_indexes != 1 ||
        hint->indexes == nullptr || hint->indexes->type != ASN_INTEGER ||
        hint->indexes->val.integer == nullptr) {
      return names.pairs_.end();
    }
    const long ifIndex = *hint->indexes->val.integer;
    if (ifIndex < 0 || static_cast<unsigned long>(ifIndex) > std::numeric_limits<U32>::max()) {
      return names.pairs_.end();
    }
    return names.row(static_cast<U32>(ifIndex));
  }

  static netsnmp_variable_list* point(Pairs::const_iterator it, const Pairs& pairs,
                                      void** loopContext, void** dataContext,
                                      netsnmp_variable_list* index) {
    if (it == pairs.end()) {
      *loopContext = nullptr;
      return nullptr;
    }
    const Pair& pair = *it;
    *loopContext = const_cast<Pair*>(&pair);
    *dataContext = const_cast<Linko::IntfId*>(&pair.second);
    const long ifIndex = pair.first;
    snmp_set_var_typed_value(index, ASN_INTEGER, reinterpret_cast<const u_char*>(&ifIndex),
                             sizeof ifIndex);
    return index;
  }

  static netsnmp_variable_list* first(void** loopContext, void** dataContext,
                                      netsnmp_variable_list* index, netsnmp_iterator_info* iinfo) {
    const InterfaceNames& n = names(iinfo);
    auto it = hinted(n, *loopContext);
    return point(it != n.pairs_.end() ? it : n.pairs_.begin(), n.pairs_, loopContext, dataContext,
                 index);
  }

  static netsnmp_variable_list* next(void** loopContext, void** dataContext,
                                     netsnmp_variable_list* index, netsnmp_iterator_info* iinfo) {
    const InterfaceNames& n = names(iinfo);
    const auto* current = static_cast<const Pair*>(*loopContext);
    if (current == nullptr) {
      return nullptr;
    }
    return point(n.nextRow(*current), n.pairs_, loopContext, dataContext, index);
  }
};

InterfaceNames::InterfaceNames(Quill::Ptr<IntfSnmp::IfMib const> ifMib) : ifMib_(std::move(ifMib)) {
  const auto& coll = ifMib_->ifIndexByIntfId();
  subscription_ = coll.changes().subscribe([this](Linko::IntfId intf) { changed(intf); });
  for (const auto& [intf, ifIndex] : coll) {
    changed(intf);
  }
}

InterfaceNames::~InterfaceNames() {
  subscription_.reset();
  // Each registration owns its iterator information and table information (not the columns:
  // net-snmp never frees a table's valid columns).
  for (netsnmp_handler_registration* reg : registrations_) {
    netsnmp_unregister_handler(reg);
  }
}

void InterfaceNames::serve() {
  struct Table {
    const char* name;
    const oid* rootOid;
    size_t rootOidLen;
    unsigned minColumn;
    unsigned maxColumn;
    netsnmp_column_info* columns;  // the columns between min and max served; null: all
  };
  static netsnmp_column_info ifXColumns = [] {
    netsnmp_column_info columns{};
    columns.isRange = 0;
    columns.list_count = static_cast<char>(std::size(ifXTableColumns));
    columns.details.list = ifXTableColumns;
    return columns;
  }();
  const Table tables[] = {
      {"ifTable", ifTableOid, std::size(ifTableOid), ifDescrColumn, ifDescrColumn, nullptr},
      {"ifXTable", ifXTableOid, std::size(ifXTableOid), ifNameColumn, ifAliasColumn, &ifXColumns}};
  for (const Table& t : tables) {
    netsnmp_handler_registration* reg = netsnmp_create_handler_registration(
        t.name, answer, t.rootOid, t.rootOidLen, HANDLER_CAN_RONLY);
    auto* info = SNMP_MALLOC_TYPEDEF(netsnmp_table_registration_info);
    auto* iinfo = SNMP_MALLOC_TYPEDEF(netsnmp_iterator_info);
    if (reg == nullptr || info == nullptr || iinfo == nullptr) {
      netsnmp_handler_registration_free(reg);
      netsnmp_table_registration_info_free(info);
      SNMP_FREE(iinfo);
      throw SnmpAgentError(fmt::format("cannot register {}: out of memory", t.name));
    }
    netsnmp_table_helper_add_indexes(info, ASN_INTEGER, 0);
    info->min_column = t.minColumn;
    info->max_column = t.maxColumn;
    info->valid_columns = t.columns;
    iinfo->get_first_data_point = Iteration::first;
    iinfo->get_next_data_point = Iteration::next;
    iinfo->myvoid = this;
    iinfo->flags = NETSNMP_ITERATOR_FLAG_SORTED | NETSNMP_HANDLER_OWNS_IINFO;
    iinfo->table_reginfo = info;
    // A failed registration ends the agent; what net-snmp was given is not touched again.
    if (netsnmp_register_table_iterator(reg, iinfo) != MIB_REGISTERED_OK) {
      throw SnmpAgentError(fmt::format("cannot register {}: its OID is taken", t.name));
    }
    registrations_.push_back(reg);
    // One request at a time: a hint is the index of one request, and a GET of several rows
    // must not start them all at the first one's row.
    if (netsnmp_inject_handler(reg, netsnmp_get_serialize_handler()) != SNMPERR_SUCCESS) {
      throw SnmpAgentError(fmt::format("cannot register {}: out of memory", t.name));
    }
  }
}

std::optional<std::string> InterfaceNames::name(U32 ifIndex) const {
  auto it = row(ifIndex);
  if (it == pairs_.end()) {
    return std::nullopt;
  }
  return it->second.name();
}

size_t InterfaceNames::rows() const {
  size_t rows = 0;
  for (auto it = pairs_.begin(); it != pairs_.end(); it = nextRow(*it)) {
    ++rows;
  }
  return rows;
}

InterfaceNames::Pairs::const_iterator InterfaceNames::nextRow(const Pairs::value_type& at) const {
  return pairs_.upper_bound({at.first, Linko::IntfId(std::numeric_limits<U32>::max())});
}

InterfaceNames::Pairs::const_iterator InterfaceNames::row(U32 ifIndex) const {
  auto it = pairs_.lower_bound({ifIndex, Linko::IntfId()});
  return it != pairs_.end() && it->first == ifIndex ? it : pairs_.end();
}

void InterfaceNames::changed(Linko::IntfId intf) {
  const U32* now = ifMib_->ifIndexByIntfId().find(intf);
  if (const U32* shown = shown_.find(intf)) {
    if (now != nullptr && *now == *shown) {
      return;
    }
    pairs_.erase({*shown, intf});
    if (now == nullptr) {
      shown_.del(intf);
      return;
    }
  }
  if (now != nullptr) {
    shown_.set(intf, *now);
    pairs_.emplace(*now, intf);
  }
}

}  // namespace Agent
