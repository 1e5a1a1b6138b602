// The walk floor: the least SNMP agent that serves one of qossnmpd's tables through net-snmp's
// table iterator, so that a walk of qossnmpd can be compared with what the library itself costs.
//
// It reads the state file qossnmpd reads, keeps the rows of ONE table in a std::vector sorted in
// OID order, and registers that table as qossnmpd does: the same table OID, index components
// (types and order), column numbers and ASN types, the sorted iterator with the serialize handler
// injected, read-only. The callbacks are as cheap as an iterator's can be: get_first starts at
// the row the iterator's hint names (binary search; any other hint starts at the first row, as
// qossnmpd's tables do), get_next steps to the next element, the loop and data contexts are the
// row's address (nothing allocated), and the handler copies the requested column's stored value.
//
//   g++ -O2 -std=c++20 bench/walk_floor.cpp -o /tmp/walk_floor -lnetsnmpagent -lnetsnmp
//   /tmp/walk_floor --table veloraClassMapTable --state FILE --listen udp:127.0.0.1:PORT
//
// Tables: veloraClassMapTable (rows from "classMaps"), veloraPolicingProfileTable
// ("policerProfiles"), veloraIfPolicerInStatsTable (one row per interface with an input policer,
// by its ifIndex). --enterprise ARC (default $VELORA_ENTERPRISE_ARC or 32473) is the enterprise
// number of the OIDs. Community "public" reads, from 127.0.0.1 only; no configuration file or
// persistent state is read or written. It logs one line when it answers and stops on SIGTERM or
// SIGINT. bench/walk_floor_bench.py times qossnmpd's walks against it.
#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <nlohmann/json.hpp>

namespace {

// A row's index: an octet string and an integer, the parts a table's index does not have left
// empty and 0. Where a table has both, the string comes first. Ordered as the index is in an OID:
// the string's length, then its bytes as unsigned values, then the integer.
struct Key {
  std::string text;
  unsigned long number = 0;

  friend bool operator==(const Key&, const Key&) = default;
  friend bool operator<(const Key& a, const Key& b) {
    if (a.text.size() != b.text.size()) {
      return a.text.size() < b.text.size();
    }
    if (int order = a.text.compare(b.text)) {  // char_traits<char> compares as unsigned char
      return order < 0;
    }
    return a.number < b.number;
  }
};

// A column's stored value: text for an octet string, number for an integer or a counter.
struct Cell {
  std::string text;
  std::uint64_t number = 0;
};

struct Row {
  Key key;
  std::vector<Cell> cells;  // cells[i] answers columns[i]
};

struct Column {
  unsigned int number;
  u_char type;
};

using Json = nlohmann::json;

// One servable table: its arcs below enterprises.E, its index components' types in order, its
// columns (ascending, contiguous) and how its rows come from the state file.
struct Shape {
  const char* name;
  std::vector<oid> arcs;
  std::vector<u_char> index;
  std::vector<Column> columns;
  std::vector<Row> (*rows)(const Json& state);
};

// The number of a member's spelling (`otherwise` when it is absent); throws for another one.
long spelled(const Json& object, const char* member, const std::map<std::string, long>& names,
             const char* otherwise) {
  const std::string spelling = object.value(member, otherwise);
  auto found = names.find(spelling);
  if (found == names.end()) {
    throw std::runtime_error(std::string(member) + ": unknown value \"" + spelling + "\"");
  }
  return found->second;
}

std::vector<Row> classMapRows(const Json& state) {
  // The MIB has two map types: control plane (1) and QoS (2), which qosStatic maps report.
  const std::map<std::string, long> types{{"controlPlane", 1}, {"qos", 2}, {"qosStatic", 2}};
  const std::map<std::string, long> conditions{{"any", 1}, {"all", 2}};
  std::vector<Row> rows;
  for (const Json& map : state.value("classMaps", Json::array())) {
    const std::string id = map.at("id").get<std::string>();
    const long type = spelled(map, "type", types, "qos");
    const long condition = spelled(map, "matchCondition", conditions, "any");
    rows.push_back({{id, static_cast<unsigned long>(type)},
                    {{map.value("name", id), 0}, {"", static_cast<std::uint64_t>(condition)}}});
  }
  return rows;
}

std::vector<Row> policingProfileRows(const Json& state) {
  const std::map<std::string, long> rateUnits{{"bps", 1}, {"kbps", 2}, {"mbps", 3}, {"pps", 4}};
  const std::map<std::string, long> burstUnits{
      {"packets", 1}, {"bytes", 2}, {"kbytes", 3}, {"mbytes", 4}};
  std::vector<Row> rows;
  for (const Json& profile : state.value("policerProfiles", Json::array())) {
    Row row{{profile.at("name").get<std::string>(), 0}, {}};
    for (const char* rate : {"cir", "bc", "pir", "be"}) {
      row.cells.push_back({"", profile.value(rate, std::uint64_t{0})});
    }
    for (auto [unit, names] :
         {std::pair{"cirUnit", &rateUnits}, std::pair{"bcUnit", &burstUnits},
          std::pair{"pirUnit", &rateUnits}, std::pair{"beUnit", &burstUnits}}) {
      const char* otherwise = names == &rateUnits ? "bps" : "bytes";
      row.cells.push_back(
          {"", static_cast<std::uint64_t>(spelled(profile, unit, *names, otherwise))});
    }
    rows.push_back(std::move(row));
  }
  return rows;
}

// One row per interface with an input policer: the first policer's profile and group policer,
// and the counters of its members, summed.
std::vector<Row> ifPolicerInRows(const Json& state) {
  std::map<std::string, unsigned long> ifIndexes;
  for (const Json& interface : state.value("interfaces", Json::array())) {
    ifIndexes.emplace(interface.at("name").get<std::string>(),
                      interface.at("ifIndex").get<unsigned long>());
  }
  static constexpr const char* counters[] = {"pktsDropped", "pktsSent",       "bytesDropped",
                                             "bytesSent",   "yellowPktsSent", "yellowBytesSent"};
  std::map<unsigned long, Row> byIfIndex;
  for (const Json& policer : state.value("interfacePolicers", Json::array())) {
    auto ifIndex = ifIndexes.find(policer.at("interface").get<std::string>());
    if (ifIndex == ifIndexes.end() || policer.value("direction", "input") != "input") {
      continue;
    }
    Row& row = byIfIndex[ifIndex->second];
    if (row.cells.empty()) {
      row.key = {"", ifIndex->second};
      row.cells = {{policer.value("profile", ""), 0}, {policer.value("groupPolicer", ""), 0}};
      row.cells.resize(2 + std::size(counters));
    }
    const Json& given = policer.value("counters", Json::object());
    for (size_t c = 0; c < std::size(counters); ++c) {
      row.cells[2 + c].number += given.value(counters[c], std::uint64_t{0});
    }
  }
  std::vector<Row> rows;
  for (auto& [ifIndex, row] : byIfIndex) {
    rows.push_back(std::move(row));
  }
  return rows;
}

const std::vector<Column> ifPolicerColumns = {
    {2, ASN_OCTET_STR}, {3, ASN_OCTET_STR}, {4, ASN_COUNTER64}, {5, ASN_COUNTER64},
    {6, ASN_COUNTER64}, {7, ASN_COUNTER64}, {8, ASN_COUNTER64}, {9, ASN_COUNTER64}};

const Shape shapes[] = {
    {"veloraClassMapTable",
     {3, 13, 1, 1},
     {ASN_OCTET_STR, ASN_INTEGER},
     {{3, ASN_OCTET_STR}, {4, ASN_INTEGER}},
     classMapRows},
    {"veloraPolicingProfileTable",
     {3, 42, 1, 1},
     {ASN_OCTET_STR},
     {{2, ASN_COUNTER64},
      {3, ASN_COUNTER64},
      {4, ASN_COUNTER64},
      {5, ASN_COUNTER64},
      {6, ASN_INTEGER},
      {7, ASN_INTEGER},
      {8, ASN_INTEGER},
      {9, ASN_INTEGER}},
     policingProfileRows},
    {"veloraIfPolicerInStatsTable",
     {3, 43, 1, 1},
     {ASN_INTEGER},
     ifPolicerColumns,
     ifPolicerInRows},
};

// The served table, read by the callbacks through the iterator's and the registration's myvoid.
struct Served {
  const Shape* shape = nullptr;
  std::vector<Row> rows;  // sorted by key
};

// --- the iterator's callbacks ---

// The key a hint names, or nothing when it cannot name a row (too few components, a wrong type,
// a negative integer).
std::optional<Key> hintKey(const Served& served, const netsnmp_table_request_info* hint) {
  if (hint->number_indexes != served.shape->index.size()) {
    return std::nullopt;
  }
  Key key;
  const netsnmp_variable_list* var = hint->indexes;
  for (u_char type : served.shape->index) {
    if (!var || var->type != type) {
      return std::nullopt;
    }
    if (type == ASN_OCTET_STR) {
      key.text.assign(reinterpret_cast<const char*>(var->val.string), var->val_len);
    } else {
      if (*var->val.integer < 0) {
        return std::nullopt;
      }
      key.number = static_cast<unsigned long>(*var->val.integer);
    }
    var = var->next_variable;
  }
  return key;
}

// Makes `row` the current one: both contexts point at it and its index goes into the iterator's
// index varbinds. Null at the end.
netsnmp_variable_list* current(const Served& served, const Row* row, void** loopContext,
                               void** dataContext, netsnmp_variable_list* putIndexData) {
  *loopContext = const_cast<Row*>(row);
  *dataContext = const_cast<Row*>(row);
  if (!row) {
    return nullptr;
  }
  netsnmp_variable_list* var = putIndexData;
  for (u_char type : served.shape->index) {
    if (type == ASN_OCTET_STR) {
      snmp_set_var_typed_value(var, type, row->key.text.data(), row->key.text.size());
    } else {
      long value = static_cast<long>(row->key.number);
      snmp_set_var_typed_value(var, type, &value, sizeof value);
    }
    var = var->next_variable;
  }
  return putIndexData;
}

netsnmp_variable_list* getFirst(void** loopContext, void** dataContext,
                                netsnmp_variable_list* putIndexData, netsnmp_iterator_info* iinfo) {
  const auto& served = *static_cast<const Served*>(iinfo->myvoid);
  const Row* start = served.rows.empty() ? nullptr : served.rows.data();
  if (const auto* hint = static_cast<const netsnmp_table_request_info*>(*loopContext)) {
    if (std::optional<Key> key = hintKey(served, hint)) {
      auto found = std::lower_bound(served.rows.begin(), served.rows.end(), *key,
                                    [](const Row& row, const Key& k) { return row.key < k; });
      if (found != served.rows.end() && found->key == *key) {
        start = &*found;
      }
    }
  }
  return current(served, start, loopContext, dataContext, putIndexData);
}

netsnmp_variable_list* getNext(void** loopContext, void** dataContext,
                               netsnmp_variable_list* putIndexData, netsnmp_iterator_info* iinfo) {
  const auto& served = *static_cast<const Served*>(iinfo->myvoid);
  const auto* row = static_cast<const Row*>(*loopContext);
  if (!row) {
    return nullptr;
  }
  ++row;
  return current(served, row == served.rows.data() + served.rows.size() ? nullptr : row,
                 loopContext, dataContext, putIndexData);
}

int handler(netsnmp_mib_handler* /*handler*/, netsnmp_handler_registration* reginfo,
            netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests) {
  const auto& served = *static_cast<const Served*>(reginfo->my_reg_void);
  const std::vector<Column>& columns = served.shape->columns;
  for (netsnmp_request_info* request = requests; request; request = request->next) {
    if (request->processed) {
      continue;
    }
    if (reqinfo->mode != MODE_GET) {
      netsnmp_request_set_error(request, SNMP_ERR_NOTWRITABLE);
      continue;
    }
    const auto* row = static_cast<const Row*>(netsnmp_extract_iterator_context(request));
    const netsnmp_table_request_info* info = netsnmp_extract_table_info(request);
    if (!row || !info) {
      continue;
    }
    if (info->colnum < columns.front().number || info->colnum > columns.back().number) {
      netsnmp_request_set_error(request, SNMP_NOSUCHOBJECT);
      continue;
    }
    const size_t at = info->colnum - columns.front().number;
    const Cell& cell = row->cells[at];
    switch (columns[at].type) {
      case ASN_OCTET_STR:
        snmp_set_var_typed_value(request->requestvb, ASN_OCTET_STR, cell.text.data(),
                                 cell.text.size());
        break;
      case ASN_COUNTER64: {
        counter64 value{cell.number >> 32, cell.number & 0xffffffffU};
        snmp_set_var_typed_value(request->requestvb, ASN_COUNTER64, &value, sizeof value);
        break;
      }
      default: {
        long value = static_cast<long>(cell.number);
        snmp_set_var_typed_value(request->requestvb, columns[at].type, &value, sizeof value);
      }
    }
  }
  return SNMP_ERR_NOERROR;
}

// --- registration ---

Served served;

void registerTable(unsigned long enterprise) {
  const Shape& shape = *served.shape;
  std::vector<oid> tableOid = {1, 3, 6, 1, 4, 1, enterprise};
  tableOid.insert(tableOid.end(), shape.arcs.begin(), shape.arcs.end());
  netsnmp_handler_registration* reg = netsnmp_create_handler_registration(
      shape.name, handler, tableOid.data(), tableOid.size(), HANDLER_CAN_GETANDGETNEXT);
  reg->my_reg_void = &served;

  auto* tinfo = SNMP_MALLOC_TYPEDEF(netsnmp_table_registration_info);
  for (u_char type : shape.index) {
    snmp_varlist_add_variable(&tinfo->indexes, nullptr, 0, type, nullptr, 0);
  }
  tinfo->min_column = shape.columns.front().number;
  tinfo->max_column = shape.columns.back().number;

  auto* iinfo = SNMP_MALLOC_TYPEDEF(netsnmp_iterator_info);
  iinfo->get_first_data_point = getFirst;
  iinfo->get_next_data_point = getNext;
  iinfo->myvoid = &served;
  iinfo->flags = NETSNMP_ITERATOR_FLAG_SORTED | NETSNMP_HANDLER_OWNS_IINFO;
  iinfo->table_reginfo = tinfo;
  if (netsnmp_register_table_iterator(reg, iinfo) != MIB_REGISTERED_OK ||
      netsnmp_inject_handler(reg, netsnmp_get_serialize_handler()) != SNMPERR_SUCCESS) {
    std::fprintf(stderr, "walk_floor: cannot register %s\n", shape.name);
    std::exit(1);
  }
}

volatile std::sig_atomic_t stopping = 0;

extern "C" void onStop(int /*signal*/) {
  stopping = 1;
}

[[noreturn]] void usage(const char* program) {
  std::fprintf(stderr,
               "usage: %s --table TABLE --state FILE --listen udp:127.0.0.1:PORT "
               "[--enterprise ARC]\ntables:",
               program);
  for (const Shape& shape : shapes) {
    std::fprintf(stderr, " %s", shape.name);
  }
  std::fprintf(stderr, "\n");
  std::exit(2);
}

}  // namespace

int main(int argc, char** argv) {
  std::string table, statePath, listen;
  const char* arcText = std::getenv("VELORA_ENTERPRISE_ARC");
  unsigned long enterprise = arcText ? std::strtoul(arcText, nullptr, 10) : 32473;
  for (int i = 1; i + 1 < argc; i += 2) {
    std::string_view option = argv[i];
    if (option == "--table") {
      table = argv[i + 1];
    } else if (option == "--state") {
      statePath = argv[i + 1];
    } else if (option == "--listen") {
      listen = argv[i + 1];
    } else if (option == "--enterprise") {
      enterprise = std::strtoul(argv[i + 1], nullptr, 10);
    } else {
      usage(argv[0]);
    }
  }
  for (const Shape& shape : shapes) {
    if (table == shape.name) {
      served.shape = &shape;
    }
  }
  if (argc % 2 == 0 || !served.shape || statePath.empty() || listen.empty()) {
    usage(argv[0]);
  }

  std::ifstream in(statePath, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "walk_floor: cannot read %s\n", statePath.c_str());
    return 1;
  }
  std::stringstream text;
  text << in.rdbuf();
  try {
    served.rows = served.shape->rows(Json::parse(text.str()));
  } catch (const std::exception& e) {
    std::fprintf(stderr, "walk_floor: %s: %s\n", statePath.c_str(), e.what());
    return 1;
  }
  std::sort(served.rows.begin(), served.rows.end(),
            [](const Row& a, const Row& b) { return a.key < b.key; });

  // A master agent on `listen` alone: no MIB files, configuration files or persistent state.
  setenv("MIBS", "", 1);
  setenv("MIBDIRS", "", 1);
  snmp_enable_stderrlog();
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 0);
  // Debian's net-snmp is built with TCP wrappers, which would log every request.
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS,
                         1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_SAVE, 1);
  netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS, listen.c_str());
  char access[] = "rocommunity public 127.0.0.1";
  netsnmp_config_remember(access);
  init_agent("walk_floor");
  registerTable(enterprise);
  init_snmp("walk_floor");
  if (init_master_agent() != 0) {
    std::fprintf(stderr, "walk_floor: cannot listen on %s\n", listen.c_str());
    return 1;
  }

  struct sigaction action = {};
  action.sa_handler = onStop;
  sigemptyset(&action.sa_mask);
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
  std::fprintf(stderr, "walk_floor: serving %zu rows of %s on %s\n", served.rows.size(),
               served.shape->name, listen.c_str());
  std::fflush(stderr);
  while (!stopping) {
    agent_check_and_process(1);  // a signal ends the wait (select is never restarted)
  }
  snmp_shutdown("walk_floor");
  shutdown_master_agent();
  return 0;
}
