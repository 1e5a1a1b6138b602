#include "InterfaceNames.h"

#include <iterator>
#include <string_view>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <fmt/format.h>

#include "SnmpAgent.h"

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

// The row's data is its interface name (InterfaceNames::Entry::name).
const std::string* rowName(netsnmp_request_info* request) {
  return static_cast<const std::string*>(netsnmp_tdata_extract_entry(request));
}

// Answers the GETs the table-data helper has matched with rows (GETNEXT reaches here as GET).
// ifDescr and ifName are the name, ifAlias empty.
int answer(netsnmp_mib_handler*, netsnmp_handler_registration*, netsnmp_agent_request_info* reqinfo,
           netsnmp_request_info* requests) {
  if (reqinfo->mode != MODE_GET) {
    return SNMP_ERR_NOERROR;
  }
  for (netsnmp_request_info* request = requests; request != nullptr; request = request->next) {
    if (request->processed) {
      continue;
    }
    const std::string* name = rowName(request);
    netsnmp_table_request_info* info = netsnmp_extract_table_info(request);
    if (name == nullptr || info == nullptr) {
      netsnmp_set_request_error(reqinfo, request, SNMP_NOSUCHINSTANCE);
      continue;
    }
    // Column 18 is ifXTable's only: ifTable's registration serves column 2 alone.
    const std::string_view value =
        info->colnum == ifAliasColumn ? std::string_view() : std::string_view(*name);
    snmp_set_var_typed_value(request->requestvb, ASN_OCTET_STR,
                             reinterpret_cast<const u_char*>(value.data()), value.size());
  }
  return SNMP_ERR_NOERROR;
}

}  // namespace

InterfaceNames::InterfaceNames(Quill::Ptr<IntfSnmp::IfMib const> ifMib)
    : ifMib_(std::move(ifMib)), table_(netsnmp_tdata_create_table("qossnmpdIfNames", 0)) {
  if (table_ == nullptr) {
    throw SnmpAgentError("cannot create the interface names' table");
  }
  netsnmp_tdata_add_index(table_, ASN_INTEGER);
  const auto& coll = ifMib_->ifIndexByIntfId();
  subscription_ = coll.changes().subscribe([this](Linko::IntfId intf) { changed(intf); });
  for (const auto& [intf, ifIndex] : coll) {
    changed(intf);
  }
}

InterfaceNames::~InterfaceNames() {
  subscription_.reset();
  for (const Registration& r : registrations_) {
    netsnmp_unregister_handler(r.reg);
    r.info->valid_columns = nullptr;  // ours, not net-snmp's
    netsnmp_table_registration_info_free(r.info);
  }
  for (auto& [ifIndex, entry] : entries_) {
    netsnmp_tdata_remove_and_delete_row(table_, entry.row);
  }
  // net-snmp 5.9 leaves the index template to its creator.
  snmp_free_varbind(table_->indexes_template);
  table_->indexes_template = nullptr;
  netsnmp_tdata_delete_table(table_);
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
    if (reg == nullptr || info == nullptr) {
      throw SnmpAgentError(fmt::format("cannot register {}: out of memory", t.name));
    }
    netsnmp_table_helper_add_indexes(info, ASN_INTEGER, 0);
    info->min_column = t.minColumn;
    info->max_column = t.maxColumn;
    info->valid_columns = t.columns;
    if (netsnmp_tdata_register(reg, table_, info) != MIB_REGISTERED_OK) {
      info->valid_columns = nullptr;
      netsnmp_table_registration_info_free(info);
      throw SnmpAgentError(fmt::format("cannot register {}: its OID is taken", t.name));
    }
    registrations_.push_back({reg, info});
  }
}

std::optional<std::string> InterfaceNames::name(U32 ifIndex) const {
  oid index = ifIndex;
  netsnmp_tdata_row* row = netsnmp_tdata_row_get_byoid(table_, &index, 1);
  if (row == nullptr) {
    return std::nullopt;
  }
  return *static_cast<const std::string*>(row->data);
}

size_t InterfaceNames::rows() const {
  return static_cast<size_t>(netsnmp_tdata_row_count(table_));
}

void InterfaceNames::changed(Linko::IntfId intf) {
  const U32* now = ifMib_->ifIndexByIntfId().find(intf);
  auto shown = ifIndexByIntf_.find(intf);
  if (shown != ifIndexByIntf_.end()) {
    if (now != nullptr && *now == shown->second) {
      return;
    }
    U32 old = shown->second;
    entries_[old].intfs.erase(intf);
    ifIndexByIntf_.erase(shown);
    sync(old);
  }
  if (now != nullptr) {
    ifIndexByIntf_.emplace(intf, *now);
    entries_[*now].intfs.insert(intf);
    sync(*now);
  }
}

void InterfaceNames::sync(U32 ifIndex) {
  auto it = entries_.find(ifIndex);
  if (it == entries_.end()) {
    return;
  }
  Entry& entry = it->second;
  if (entry.intfs.empty()) {
    if (entry.row != nullptr) {
      netsnmp_tdata_remove_and_delete_row(table_, entry.row);
    }
    entries_.erase(it);
    return;
  }
  entry.name = entry.intfs.begin()->name();
  if (entry.row != nullptr) {
    return;  // the row reads the name in place
  }
  netsnmp_tdata_row* row = netsnmp_tdata_create_row();
  if (row == nullptr) {
    throw SnmpAgentError("cannot create an interface name's row: out of memory");
  }
  long index = static_cast<long>(ifIndex);
  netsnmp_tdata_row_add_index(row, ASN_INTEGER, &index, sizeof(index));
  row->data = &entry.name;
  if (netsnmp_tdata_add_row(table_, row) != SNMPERR_SUCCESS) {
    netsnmp_tdata_delete_row(row);
    throw SnmpAgentError(fmt::format("cannot add the row of ifIndex {}", ifIndex));
  }
  entry.row = row;
}

}  // namespace Agent
