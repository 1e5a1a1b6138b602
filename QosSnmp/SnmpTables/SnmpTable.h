// QosSnmp::SnmpTable<Desc>: the net-snmp side of one MIB table, written once for all tables.
//
// Desc is a declarative table description (SnmpTableDesc.h). The mechanism walks the model's
// ordered table for net-snmp's sorted table iterator and answers GET for the row the iterator
// chose (SnmpTableRegistration registers it):
//
//  - getFirstDataPoint receives the request's parsed index (netsnmp_table_request_info) in the
//    loop-context slot as a hint. A hint naming an existing row starts the walk at that row in
//    one descent of the tree; any other hint starts at the first row (the iterator itself
//    compares each returned index with the request, so this is only ever a shortcut).
//  - The loop context (TableContext) holds a counted reference to the current row and the
//    table's version; while the version is unchanged getNextDataPoint steps to the in-order
//    successor, otherwise it searches for the first row after the current one, so a walk
//    neither repeats nor skips rows that exist throughout it.
//  - A walk asks for a loop context and a data context per varbind and frees them with the
//    request, so contexts come from a free list of their own (ContextStore): after the first
//    varbinds a walk allocates none.
//  - Each iterator event is counted in the table's Snmp::TableCounters (types 0-5).
//  - The handler encodes the requested column from the row's accessor; a failed conversion or
//    an over-long string fails the request with genErr, an unknown column answers
//    noSuchObject, and any other mode than GET answers notWritable.
//
// The named per-table callbacks (<table>_get_first_data_point, ...) are thin functions declared
// by QOSSNMP_TABLE_CALLBACKS (SnmpTableCallbacks.h) that forward here. Everything runs on the
// agent's thread.
#pragma once

#include <algorithm>
#include <new>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include <fmt/format.h>
#include <sanitizer/asan_interface.h>
#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include "QosSnmp/SnmpTables/IndexText.h"
#include "QosSnmp/SnmpTables/SnmpTableDesc.h"
#include "QosSnmp/SnmpTables/Trace.h"
#include "Quill/Assert.h"
#include "Quill/Exception.h"
#include "Quill/Ptr.h"
#include "Snmp/CordbUtil.h"
#include "Snmp/RegVoidCollByContext.h"

namespace QosSnmp {

// Memory for the contexts of one record type: freed blocks are kept on a list and reused, so
// the list holds at most as many blocks as were ever alive at once. A block on the list is
// poisoned for the address sanitizer but for its link, so a context used after its release is
// still caught. Agent's thread only.
template <size_t Size>
class ContextStore {
 public:
  ContextStore() = default;
  ContextStore(const ContextStore&) = delete;
  ContextStore& operator=(const ContextStore&) = delete;
  ~ContextStore() {
    while (free_) {
      ::operator delete(take());
    }
  }

  void* allocate() { return free_ ? take() : ::operator new(Size); }
  void release(void* block) noexcept {
    free_ = ::new (block) Block{free_};
    ASAN_POISON_MEMORY_REGION(static_cast<char*>(block) + sizeof(Block), Size - sizeof(Block));
  }

 private:
  struct Block {
    Block* next;
  };
  static_assert(Size >= sizeof(Block));

  void* take() noexcept {
    Block* block = free_;
    free_ = block->next;
    ASAN_UNPOISON_MEMORY_REGION(block, Size);
    return block;
  }

  Block* free_ = nullptr;
};

// Loop context and data context of a table's iterator callbacks.
template <typename Desc>
struct TableContext {
  using Map =
      std::remove_cvref_t<decltype(Desc::table(std::declval<const typename Desc::Entity&>()))>;
  const Map* table = nullptr;
  Quill::Ptr<typename Desc::Entry> current;
  U32 version = 0;

  static void* operator new(size_t size) {
    QUILL_ASSERT(size == sizeof(TableContext));
    return store().allocate();
  }
  static void operator delete(void* block) noexcept { store().release(block); }

 private:
  // Never destroyed: a request may free its data context while the library's statics go.
  static auto& store() {
    static auto* contexts = new ContextStore<sizeof(TableContext)>;
    return *contexts;
  }
};

// Iterator event counters.
enum IterEvent : U32 {
  iterHintMissed = 0,      // get_first: no row has the hint's key
  iterHintMatched = 1,     // get_first: the walk starts at the hinted row
  iterWalkFromFirst = 2,   // get_first: the walk starts at the first row
  iterNextWithoutRow = 3,  // get_next: no loop context, or one already at the end
  iterNextPastLast = 4,    // get_next: stepped past the last row
  iterNextToRow = 5,       // get_next: stepped to a further row
};

template <typename Desc>
class SnmpTable {
  static_assert(checkTableDescription<Desc>());

 public:
  using Entity = typename Desc::Entity;
  using Entry = typename Desc::Entry;
  using Context = TableContext<Desc>;
  using Map = typename Context::Map;
  using Index = typename Entry::IndexType;
  static constexpr size_t bufferSize = 1024;
  static constexpr size_t indexCount = std::tuple_size_v<decltype(Desc::indexes)>;

  static netsnmp_variable_list* getFirstDataPoint(void** loopContext, void** /*dataContext*/,
                                                  netsnmp_variable_list* putIndexData,
                                                  netsnmp_iterator_info* iinfo) {
    auto* regVoid = static_cast<Snmp::RegVoid*>(iinfo->myvoid);
    const Map& table = Desc::table(*static_cast<const Entity*>(regVoid->entity));
    auto* hint = static_cast<netsnmp_table_request_info*>(*loopContext);
    if (Snmp::CordbUtil::ignoreIteratorHints()) {
      hint = nullptr;
    }
    QTRACE(snmpTrace(), 2, "{}_get_first_data_point - *hint = {}, number_indexes = {}", Desc::name,
           fmt::ptr(hint), hint ? hint->number_indexes : 0);

    Entry* start = nullptr;
    bool hintMatched = false;
    if (hint && hint->number_indexes == indexCount) {
      if (std::optional<Index> key = decodeHint(hint->indexes)) {
        start = table.lowerBound(*key);
        if (start && start->index() == *key) {
          hintMatched = true;
          regVoid->tableCounters.orderedIterCntrsInc(iterHintMatched, 1);
        } else {
          QTRACE(snmpTrace(), 2, "{}_get_first_data_point - key '{}' not found in table",
                 Desc::name, indexText(*key));
          regVoid->tableCounters.orderedIterCntrsInc(iterHintMissed, 1);
        }
      }
    }
    if (!hintMatched) {
      start = table.first();
      regVoid->tableCounters.orderedIterCntrsInc(iterWalkFromFirst, 1);
    }
    auto* ctx = new Context{&table, Quill::Ptr<Entry>(start), table.version()};
    QTRACE(snmpTrace(), 2,
           "{}_get_first_data_point - allocated new loop context {}, hintMatched={}", Desc::name,
           fmt::ptr(ctx), hintMatched);
    *loopContext = ctx;
    return iterationHelper(ctx, putIndexData);
  }

  static netsnmp_variable_list* getNextDataPoint(void** loopContext, void** dataContext,
                                                 netsnmp_variable_list* putIndexData,
                                                 netsnmp_iterator_info* iinfo) {
    auto* regVoid = static_cast<Snmp::RegVoid*>(iinfo->myvoid);
    auto* ctx = static_cast<Context*>(*loopContext);
    if (!ctx || !ctx->current) {
      QTRACE(snmpTrace(), 2, "{}_get_next_data_point - at end of loop context {}", Desc::name,
             fmt::ptr(ctx));
      regVoid->tableCounters.orderedIterCntrsInc(iterNextWithoutRow, 1);
      return nullptr;
    }
    QTRACE(snmpTrace(), 2, "{}_get_next_data_point - advancing loop context {} ; data context {}",
           Desc::name, fmt::ptr(ctx), fmt::ptr(*dataContext));
    if (ctx->table->version() == ctx->version) {
      ctx->current = Quill::Ptr<Entry>(ctx->table->next(*ctx->current));
    } else {
      // The table changed since the current row was taken; it may have left the table.
      ctx->current = Quill::Ptr<Entry>(ctx->table->upperBound(ctx->current->index()));
      ctx->version = ctx->table->version();
    }
    regVoid->tableCounters.orderedIterCntrsInc(ctx->current ? iterNextToRow : iterNextPastLast, 1);
    if (auto* data = static_cast<Context*>(*dataContext)) {
      data->table = ctx->table;
      data->current = ctx->current;
      data->version = ctx->version;
    }
    return iterationHelper(ctx, putIndexData);
  }

  static void* makeDataContext(void* loopContext, netsnmp_iterator_info* /*iinfo*/) {
    auto* ctx = static_cast<Context*>(loopContext);
    auto* data = new Context{ctx->table, ctx->current, ctx->version};
    QTRACE(snmpTrace(), 2, "{}_make_data_context - allocated data context {} for loop context {}",
           Desc::name, fmt::ptr(data), fmt::ptr(ctx));
    return data;
  }

  static void freeDataContext(void* dataContext, netsnmp_iterator_info* /*iinfo*/) {
    QTRACE(snmpTrace(), 2, "{}_free_data_context {}", Desc::name, fmt::ptr(dataContext));
    delete static_cast<Context*>(dataContext);
  }

  static void freeLoopContextAtEnd(void* loopContext, netsnmp_iterator_info* /*iinfo*/) {
    QTRACE(snmpTrace(), 2, "{}_free_loop_context_at_end {}", Desc::name, fmt::ptr(loopContext));
    delete static_cast<Context*>(loopContext);
  }

  // Writes the current row's index into the iterator's index varbinds; null at the end.
  static netsnmp_variable_list* iterationHelper(Context* ctx, netsnmp_variable_list* putIndexData) {
    if (!ctx->current) {
      QTRACE(snmpTrace(), 2, "{}IterationHelper - iterator is at end", Desc::name);
      return nullptr;
    }
    const Index& index = ctx->current->index();
    netsnmp_variable_list* var = putIndexData;
    std::apply([&](const auto&... component) { (putComponent(component, index, var), ...); },
               Desc::indexes);
    return putIndexData;
  }

  static int handler(netsnmp_mib_handler* /*handler*/, netsnmp_handler_registration* /*reginfo*/,
                     netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests) {
    QTRACE(snmpTrace(), 2, "{}_handler", Desc::name);
    QTRACE(snmpTrace(), 2, "{}_handler: request mode {}", Desc::name, reqinfo->mode);
    for (netsnmp_request_info* request = requests; request; request = request->next) {
      if (request->processed) {
        QTRACE(snmpTrace(), 2, "{}_handler: request {} already processed", Desc::name,
               fmt::ptr(request));
        continue;
      }
      netsnmp_table_request_info* tableInfo = netsnmp_extract_table_info(request);
      if (reqinfo->mode != MODE_GET) {
        QTRACE(snmpTrace(), 0, "{} invalid column {}", Desc::name,
               tableInfo ? tableInfo->colnum : 0);
        netsnmp_request_set_error(request, SNMP_ERR_NOTWRITABLE);
        return SNMP_ERR_NOERROR;
      }
      auto* data = static_cast<Context*>(netsnmp_extract_iterator_context(request));
      if (!data || !data->current) {
        QTRACE(snmpTrace(), 2, "{}_handler: null data context in request", Desc::name);
        return SNMP_ERR_NOERROR;
      }
      const Column<Entry>* column = findColumn(tableInfo ? tableInfo->colnum : 0);
      if (!column) {
        QTRACE(snmpTrace(), 0, "{} invalid column {}", Desc::name,
               tableInfo ? tableInfo->colnum : 0);
        netsnmp_request_set_error(request, SNMP_NOSUCHOBJECT);
        return SNMP_ERR_NOERROR;
      }
      const Entry& entry = *data->current;
      QTRACE(snmpTrace(), 2, "{}_handler: request GET for column {}, key {}", Desc::name,
             column->mibName, indexText(entry.index()));
      unsigned char buf[bufferSize];
      int len = -1;
      try {
        len = column->encode(entry, buf, sizeof buf, column->maxLen);
      } catch (const Quill::RangeException& e) {
        // A value the model cannot compute (an out-of-range queue, say) fails like a conversion.
        QTRACE(snmpTrace(), 0, "handle_{} - {} raised: {}", Desc::name, column->attrName, e.what());
      }
      if (len < 0) {
        QTRACE(snmpTrace(), 2, "handle_{} - {} failed for: {}", Desc::name, column->conversion,
               column->attrName);
        netsnmp_request_set_error(requests, SNMP_ERR_GENERR);
        return SNMP_ERR_GENERR;
      }
      if (column->asnType == ASN_OCTET_STR && (len > column->maxLen || len < column->minLen)) {
        QTRACE(snmpTrace(), 2, "handle_{} - entity /{}/{} length out of range: {} ({})", Desc::name,
               Snmp::CordbUtil::getSnmpConfig()->sysname, Desc::Entity::mountPath, column->attrName,
               len);
        netsnmp_request_set_error(requests, SNMP_ERR_GENERR);
        return SNMP_ERR_GENERR;
      }
      snmp_set_var_typed_value(request->requestvb, column->asnType, buf, static_cast<size_t>(len));
      warmAhead(*data);
    }
    return SNMP_ERR_NOERROR;
  }

 private:
  // A walk asks for the following rows next, and a row's objects lie wherever their writers put
  // them, out of the index's order. So each answer warms two rows ahead: the next row's second
  // level (its first was asked for one answer earlier) and the row after that's first level; both
  // load while net-snmp finishes this answer and starts the next. Nothing is warmed when the
  // table changed since the walk took this row: it may have left the tree.
  static void warmAhead(const Context& data) noexcept {
    if constexpr (Warmable<Entry>) {
      if (data.table->version() != data.version) {
        return;
      }
      if (const Entry* next = data.table->next(*data.current)) {
        next->warm(1);
        if (const Entry* after = data.table->next(*next)) {
          after->warm(0);
        }
      }
    }
  }

  // Writes one component of `index` into *var and moves var to the next index varbind.
  template <typename Component>
  static void putComponent(const Component& component, const Index& index,
                           netsnmp_variable_list*& var) {
    const auto& value = component.get(index);
    unsigned char buf[bufferSize];
    int len = component.encode(value, buf, sizeof buf, component.maxLen);
    if (component.asnType == ASN_OCTET_STR) {
      len = std::min(len, component.maxLen);
    }
    QTRACE(snmpTrace(), 2, "{}IterationHelper - iterator has another value: {}={}", Desc::name,
           component.attrName, component.print(value));
    snmp_set_var_typed_value(var, component.asnType, buf, static_cast<size_t>(std::max(len, 0)));
    var = var->next_variable;
  }

  // The key a hint names, built through the index record's constructor from the decoded
  // components; nothing when the walk must start at the first row (a component of the wrong
  // type or out of range, too few components, or a constructor that refuses the values).
  static std::optional<Index> decodeHint(netsnmp_variable_list* var) {
    size_t good = 0;
    // A braced list evaluates in order: components are decoded in index order.
    auto values = std::apply(
        [&](const auto&... component) {
          return std::tuple{decodeComponent(component, var, good)...};
        },
        Desc::indexes);
    if (good < indexCount) {
      QTRACE(snmpTrace(), 2, "{}_get_first_data_point - needed {} components, found only {}",
             Desc::name, indexCount, good);
      return std::nullopt;
    }
    try {
      return std::apply([](auto&... value) { return Index(std::move(*value)...); }, values);
    } catch (const Quill::RangeException& e) {
      QTRACE(snmpTrace(), 0, "Bad hint for {}: {} ctor threw exception: {}", Desc::name,
             indexTypeName<Index>(), e.what());
      return std::nullopt;
    }
  }

  // One component's value from *var (counted in `good`), then var moves on; nothing when the
  // list has ended, the type is wrong or the value is out of range.
  template <typename Component>
  static std::optional<typename Component::ValueType> decodeComponent(const Component& component,
                                                                      netsnmp_variable_list*& var,
                                                                      size_t& good) {
    if (!var) {
      return std::nullopt;
    }
    const netsnmp_variable_list& current = *var;
    var = var->next_variable;
    if (current.type != component.asnType) {
      QTRACE(snmpTrace(), 0, "hint for {} has incorrect type! Expecting {} but got {}",
             component.mibName, component.asnType, current.type);
      return std::nullopt;
    }
    try {
      auto value = component.decode(current);
      QTRACE(snmpTrace(), 2, "hint component {} is '{}'", component.mibName,
             component.print(value));
      ++good;
      return value;
    } catch (const Quill::RangeException& e) {
      QTRACE(snmpTrace(), 0, "hint for index {} of {} is out of range! {}", component.mibName,
             Desc::name, e.what());
      return std::nullopt;
    }
  }

  static const Column<Entry>* findColumn(unsigned int number) {
    for (const auto& column : Desc::columns) {
      if (column.number == number) {
        return &column;
      }
    }
    return nullptr;
  }
};

}  // namespace QosSnmp
