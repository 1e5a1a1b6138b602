// The outputs of a table Sm (see TableSm.h).
//
//  - MibTableOutput<Table>: rows of a MIB table of a model entity, written through rowIs() and
//    rowDel(), the one way a pipeline writes its rows. A Sm that starts while the
//    table has rows reconciles: every key its events write during the event-producing scan is
//    marked (seenIs), and once that scan is complete a sweep deletes every row not marked, in a
//    task of its own that yields like the scans do, resuming at a bookmark. The output is ready
//    when the sweep is done (at once when the table was empty at start).
//  - StoreOutput: a private local store of the Sm; it starts empty, so it only turns ready.
#pragma once

#include <optional>
#include <string>
#include <unordered_set>

#include "Mox/HashMap.h"
#include "Quill/Assert.h"
#include "QosSnmp/Reactive/TableSm.h"

namespace QosSnmp::Reactive {

// An output key: the output table's key and whether it is set (k0Valid), as bookmarks and
// Seen sets store it.
template <typename K>
struct OutputKey {
  K k0{};
  bool k0Valid = false;

  U32 hash(U32 seed = 0) const { return Mox::Hasher<K>{}(k0) ^ seed; }
  bool isEq(const OutputKey& o) const { return k0Valid == o.k0Valid && (!k0Valid || k0 == o.k0); }
  friend bool operator==(const OutputKey& a, const OutputKey& b) { return a.isEq(b); }
  // Set keys order by their key, after every unset one.
  friend auto operator<=>(const OutputKey& a, const OutputKey& b) {
    if (a.k0Valid != b.k0Valid) {
      return a.k0Valid <=> b.k0Valid;
    }
    return a.k0Valid ? a.k0 <=> b.k0 : std::strong_ordering::equal;
  }
  void validate() const { QUILL_ASSERT(k0Valid); }
};

// Table: a QosSnmp::MibTable<Entry> (the output entity's table attribute).
template <typename Table>
class MibTableOutput : public OutputBase {
 public:
  using Index = typename Table::Index;
  using Key = OutputKey<Index>;

  // name: "policingMibPolicingProfileTableOutput"; table: the entity's table attribute.
  MibTableOutput(TableSmBase& root, std::string name, Table& table)
      : OutputBase(root, std::move(name)), table_(table) {}
  ~MibTableOutput() override {
    if (task_) {
      task_->cancel();
    }
  }

  Table& table() const noexcept { return table_; }
  bool reconciling() const noexcept { return reconciling_; }
  // The reconciliation task; null in synchronous mode and once the sweep is done.
  Dovo::Task* task() const noexcept { return task_.get(); }

  // <Out>SeenIs: marks a key written by the event-producing scan.
  void seenIs(const Index& index) {
    if (reconciling_) {
      seen_.insert(Key{index, true});
    }
  }

  // Writes the row at `index` made of `args` (the entry's arguments after the index): marks the
  // key, deletes a row that holds other arguments (rows are immutable: another status object
  // gets a fresh row), and creates the row unless it is there already.
  template <typename... A>
  void rowIs(const Index& index, const A&... args) {
    seenIs(index);
    table_.replace(index, args...);
  }
  // Deletes the row at `index`, if any, and marks the key.
  void rowDel(const Index& index) {
    seenIs(index);
    table_.del(index);
  }

  void initialize() override {
    if (!root_.synchronous()) {
      std::string taskName = fmt::format("{}-{}Task", root_.smClass(), name_);
      task_ = root_.scheduler().taskIs(std::move(taskName), root_.flumeControl().priority,
                                       [this] { handleInputReady(); });
    }
    reconciling_ = !table_.map().empty();
    QTRACE(root_.trace(), 9, "Reconciling {}: {}", name_, reconciling_);
  }

  void handleInputReady() override {
    if (!advanceToEventScan()) {
      return;
    }
    if (reconciling_ && !sweep()) {
      return;  // continues in the reconciliation task
    }
    reconciling_ = false;
    seen_.clear();
    root_.outputState().outputReadyIs(index_, true);
  }

 private:
  // The deletion sweep; false when it yielded (or moved into its task).
  bool sweep() {
    if (task_ && !task_->taskCurrentlyRunning()) {
      task_->scheduleTask();
      return false;
    }
    const auto& map = table_.map();
    auto it = useBookmark_ ? map.lowerBoundIter(bookmark_.k0) : map.begin();
    size_t processed = 0;
    size_t deleted = 0;
    while (it != map.end()) {
      auto current = it++;
      if (!seen_.contains(Key{current->index(), true})) {
        table_.del(current);
        ++deleted;
      }
      ++processed;
      if (it != map.end() && task_ && task_->taskShouldYield()) {
        bookmark_ = Key{it->index(), true};
        useBookmark_ = true;
        task_->taskWorkCountInc(processed);
        task_->scheduleTask();
        QTRACE(root_.trace(), 9,
               "Yielding in reconciliation processing after processing {} items, including "
               "{} deletions .",
               processed, deleted);
        return false;
      }
    }
    QTRACE(root_.trace(), 9,
           "Deletion scan for reconciliation is done, last task run processed {} items, "
           "deleting {} items.",
           processed, deleted);
    if (task_) {
      task_->taskWorkCountInc(processed);
      task_->cancel();
      task_ = nullptr;
    }
    bookmark_ = Key{};
    useBookmark_ = false;
    return true;
  }

  struct KeyHash {
    size_t operator()(const Key& k) const { return k.hash(); }
  };

  Table& table_;
  std::unordered_set<Key, KeyHash> seen_;
  Quill::Ptr<Dovo::Task> task_;
  Key bookmark_;
  bool reconciling_ = false;
  bool useBookmark_ = false;
};

// An output into a local store of the Sm: starts empty, so it needs no reconciliation.
class StoreOutput : public OutputBase {
 public:
  using OutputBase::OutputBase;
  void initialize() override {}
  void handleInputReady() override;
};

}  // namespace QosSnmp::Reactive
