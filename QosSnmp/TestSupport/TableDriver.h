// Test support: QosSnmp::test::TableDriver, the in-process request driver of the table tests.
//
// It drives one table registered in the default context as net-snmp's table iterator does:
// get_first_data_point (with or without a hint), get_next_data_point, data contexts, and the
// table's handler over one chain of requests for the row the iterator is on. It owns every
// context and request it creates and frees them when destroyed. Hint builds the parsed index
// that net-snmp hands get_first_data_point. Single-threaded, like the agent.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <gtest/gtest.h>

#include "QosSnmp/SnmpTables/SnmpModule.h"
#include "Quill/IntTypes.h"
#include "Snmp/RegVoidCollByContext.h"

namespace QosSnmp::test {

// A request's parsed index: the components in index order.
class Hint {
 public:
  Hint() = default;
  ~Hint() { snmp_free_varbind(info_.indexes); }
  Hint(const Hint&) = delete;
  Hint& operator=(const Hint&) = delete;

  Hint& octets(std::string_view value) { return add(ASN_OCTET_STR, value.data(), value.size()); }
  Hint& integer(long value, u_char type = ASN_INTEGER) { return add(type, &value, sizeof value); }
  netsnmp_table_request_info* get() noexcept { return &info_; }

 private:
  Hint& add(u_char type, const void* value, size_t size) {
    snmp_varlist_add_variable(&info_.indexes, nullptr, 0, type, static_cast<const u_char*>(value),
                              size);
    ++info_.number_indexes;
    return *this;
  }
  netsnmp_table_request_info info_{};
};

// What the handler left in one request of a GET pass.
struct Answer {
  int status = 0;  // the request's error status
  bool processed = false;
  u_char type = 0;  // the varbind's type; ASN_NULL when untouched
  long integer = 0;
  Quill::U64 counter = 0;
  std::string octets;
};

using Events = std::array<Quill::U64, 6>;  // iterator event counts, by event type

class TableDriver {
 public:
  // Table `table` ("veloraClassMapTable") of `module` in the default context, whose exported
  // handler is `handler`. REQUIRES: the module is initialised for the default context.
  TableDriver(const SnmpModule& module, std::string_view table, Netsnmp_Node_Handler* handler)
      : handler_(handler) {
    for (netsnmp_handler_registration* reg : module.handlerRegistrationsByContext().at("")) {
      if (std::string_view(reg->handlerName) == std::string(table) + "_") {
        reg_ = reg;
      }
    }
    if (!reg_) {
      ADD_FAILURE() << table << " is not registered";
      return;
    }
    iinfo_ = static_cast<netsnmp_iterator_info*>(
        netsnmp_find_handler_by_name(reg_, "table_iterator")->myvoid);
    put_ = snmp_clone_varbind(iinfo_->indexes);
  }
  ~TableDriver() {
    freeRequests();
    endWalk();
    snmp_free_varbind(put_);
  }
  TableDriver(const TableDriver&) = delete;
  TableDriver& operator=(const TableDriver&) = delete;

  netsnmp_iterator_info* iinfo() const noexcept { return iinfo_; }
  // The loop context of the walk under way (null before first()).
  void* loopContext() const noexcept { return loop_; }
  netsnmp_variable_list* indexVarbinds() const noexcept { return put_; }

  // get_first_data_point: the index of the first row of the walk ("a/2": octet strings as
  // text, integers in decimal, '/' between components), or "" when there is none.
  std::string first(Hint* hint = nullptr) {
    endWalk();
    loop_ = hint ? hint->get() : nullptr;
    return indexText(iinfo_->get_first_data_point(&loop_, &data_, put_, iinfo_));
  }
  // get_next_data_point: the next row's index, or "" at the end.
  std::string next() {
    return indexText(iinfo_->get_next_data_point(&loop_, &data_, put_, iinfo_));
  }
  // Every row's index, from the first row.
  std::vector<std::string> walk() {
    std::vector<std::string> rows;
    for (std::string row = first(); !row.empty(); row = next()) {
      rows.push_back(row);
    }
    return rows;
  }
  // free_loop_context_at_end for the walk under way, if any.
  void endWalk() {
    if (loop_) {
      iinfo_->free_loop_context_at_end(loop_, iinfo_);
      loop_ = nullptr;
    }
  }

  // A GET pass (or another `mode`) for `columns` of the row the iterator is on, as one chain
  // of requests sharing one data context; returns the handler's result. See answer().
  int get(const std::vector<unsigned>& columns, int mode = MODE_GET) {
    freeRequests();
    dataContext_ = iinfo_->make_data_context(loop_, iinfo_);
    reqinfo_ = {};
    reqinfo_.mode = mode;
    requests_ = std::vector<Request>(columns.size());
    for (size_t i = 0; i < columns.size(); ++i) {
      Request& r = requests_[i];
      r.table.colnum = columns[i];
      r.info.agent_req_info = &reqinfo_;
      snmp_varlist_add_variable(&r.info.requestvb, nullptr, 0, ASN_NULL, nullptr, 0);
      netsnmp_request_add_list_data(
          &r.info, netsnmp_create_data_list(TABLE_HANDLER_NAME, &r.table, nullptr));
      netsnmp_request_add_list_data(
          &r.info, netsnmp_create_data_list(TABLE_ITERATOR_NAME, dataContext_, nullptr));
      if (i > 0) {
        requests_[i - 1].info.next = &r.info;
      }
    }
    return handler_(nullptr, reg_, &reqinfo_, &requests_.front().info);
  }
  // What request `i` of the last pass holds.
  Answer answer(size_t i) const {
    const netsnmp_request_info& request = requests_.at(i).info;
    const netsnmp_variable_list& var = *request.requestvb;
    Answer a;
    a.status = request.status;
    a.processed = request.processed != 0;
    a.type = var.type;
    if (var.type == ASN_INTEGER || var.type == ASN_UNSIGNED) {
      a.integer = *var.val.integer;
    } else if (var.type == ASN_COUNTER64) {
      a.counter = (Quill::U64{var.val.counter64->high} << 32) | var.val.counter64->low;
    } else if (var.type == ASN_OCTET_STR) {
      a.octets.assign(reinterpret_cast<const char*>(var.val.string), var.val_len);
    }
    return a;
  }
  // Walks to the row `hint` names (or the first row) and GETs `column` of it; a table without
  // such a row answers a default Answer.
  Answer getOne(unsigned column, Hint* hint = nullptr) {
    if (first(hint).empty()) {
      return {};
    }
    get({column});
    return answer(0);
  }

  Events events() const {
    Events counts{};
    for (Quill::U32 type = 0; type < counts.size(); ++type) {
      counts[type] = regVoid().tableCounters.orderedIterCntr(type);
    }
    return counts;
  }
  Events eventsSince(const Events& before) const {
    Events counts = events();
    for (size_t i = 0; i < counts.size(); ++i) {
      counts[i] -= before[i];
    }
    return counts;
  }

 private:
  struct Request {
    netsnmp_request_info info{};
    netsnmp_table_request_info table{};
  };

  const Snmp::RegVoid& regVoid() const { return *static_cast<Snmp::RegVoid*>(iinfo_->myvoid); }

  static std::string indexText(const netsnmp_variable_list* var) {
    std::string text;
    for (; var; var = var->next_variable) {
      text += text.empty() ? "" : "/";
      text += var->type == ASN_OCTET_STR
                  ? std::string(reinterpret_cast<const char*>(var->val.string), var->val_len)
                  : std::to_string(*var->val.integer);
    }
    return text;
  }

  void freeRequests() {
    for (Request& r : requests_) {
      netsnmp_free_request_data_sets(&r.info);
      snmp_free_varbind(r.info.requestvb);
    }
    requests_.clear();
    if (dataContext_) {
      iinfo_->free_data_context(dataContext_, iinfo_);
      dataContext_ = nullptr;
    }
  }

  Netsnmp_Node_Handler* handler_;
  netsnmp_handler_registration* reg_ = nullptr;
  netsnmp_iterator_info* iinfo_ = nullptr;
  netsnmp_variable_list* put_ = nullptr;
  void* loop_ = nullptr;
  void* data_ = nullptr;
  void* dataContext_ = nullptr;
  netsnmp_agent_request_info reqinfo_{};
  std::vector<Request> requests_;
};

}  // namespace QosSnmp::test
