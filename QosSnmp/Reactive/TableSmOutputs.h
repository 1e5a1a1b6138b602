// The outputs of a table Sm (see TableSm.h).
//
//  - MibTableOutput<Table>: rows of a MIB table of a model entity, written through rowIs() and
//    rowDel(), the one way a pipeline writes its rows. Until the event-producing scan is
//    complete, rows are not written as they come: they are kept, and once the scan is complete
//    they are sorted by index and written in that order (the last write of an index wins), in a
//    task of its own that yields like the scans do. The input collections are scanned in hash
//    order; a table filled in its own order costs each row a step, not a descent through a tree
//    whose nodes are cold. An event that comes while they are written is written at once and
//    outdates what is kept for its index. A Sm that starts while the table has rows reconciles:
//    once the kept rows are written, a sweep deletes every row that no event of the scan (or
//    since) wrote, resuming at a bookmark when it yields. The output is ready when the sweep is
//    done (at once when the table was empty at start).
//  - StoreOutput: a private local store of the Sm; it starts empty, so it only turns ready.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_set>
#include <vector>

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
  using Args = typename Table::EntryType::ArgsTuple;

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
  // The output's task (writes the kept rows, sweeps); null in synchronous mode and once ready.
  Dovo::Task* task() const noexcept { return task_.get(); }

  // Rows kept until the event-producing scan is complete, not written yet.
  size_t rowsKept() const noexcept { return kept_.size() - written_; }
  // The scan is complete and the kept rows are being written.
  bool writingKept() const noexcept { return stage_ == Stage::writing; }

  // <Out>SeenIs: marks a key written since the event-producing scan began (the sweep keeps it).
  void seenIs(const Index& index) {
    if (reconciling_ && stage_ != Stage::keeping) {
      seen_.insert(Key{index, true});
    }
  }

  // Writes the row at `index` made of `args` (the entry's arguments after the index): marks the
  // key, deletes a row that holds other arguments (rows are immutable: another status object
  // gets a fresh row), and creates the row unless it is there already. Kept for later while the
  // event-producing scan runs.
  template <typename... A>
  void rowIs(const Index& index, const A&... args) {
    if (stage_ == Stage::keeping) {
      kept_.push_back({index, Args(args...)});
      return;
    }
    seenIs(index);
    outdate(index);
    table_.replace(index, args...);
  }
  // Deletes the row at `index`, if any, and marks the key. Kept for later the same way.
  void rowDel(const Index& index) {
    if (stage_ == Stage::keeping) {
      kept_.push_back({index, std::nullopt});
      return;
    }
    seenIs(index);
    outdate(index);
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
    if (!writeKept() || (reconciling_ && !sweep())) {
      return;  // continues in the output's task
    }
    reconciling_ = false;
    seen_.clear();
    kept_ = std::vector<Kept>();  // its memory too
    written_ = 0;
    if (task_) {
      task_->cancel();
      task_ = nullptr;
    }
    root_.outputState().outputReadyIs(index_, true);
  }

 private:
  enum class Stage : U8 { keeping, writing, direct };
  struct Kept {
    Index index;
    std::optional<Args> args;  // nothing: deleted
    bool outdated = false;     // an event since wrote the index
  };

  // Kept rows in index order, and an index among them.
  struct KeptLess {
    bool operator()(const Kept& a, const Kept& b) const { return (a.index <=> b.index) < 0; }
    bool operator()(const Kept& k, const Index& i) const { return (k.index <=> i) < 0; }
    bool operator()(const Index& i, const Kept& k) const { return (i <=> k.index) < 0; }
  };

  // Moves the work into the output's task (asynchronous mode); true when already there.
  bool inTask() {
    if (task_ && !task_->taskCurrentlyRunning()) {
      task_->scheduleTask();
      return false;
    }
    return true;
  }
  // Whether the task's run should end here, having done `processed` items.
  bool yieldAfter(size_t processed) {
    if (!task_ || !task_->taskShouldYield()) {
      return false;
    }
    task_->taskWorkCountInc(processed);
    task_->scheduleTask();
    return true;
  }

  // Writes the kept rows in index order; false when it yielded (or moved into its task).
  bool writeKept() {
    if (stage_ == Stage::direct) {
      return true;
    }
    if (!inTask()) {
      return false;
    }
    if (stage_ == Stage::keeping) {
      if (!sortKept()) {
        return false;
      }
      stage_ = Stage::writing;
    }
    size_t processed = 0;
    while (written_ < kept_.size()) {
      Kept& row = kept_[written_++];
      const bool last = written_ == kept_.size() || kept_[written_].index != row.index;
      if (last && !row.outdated) {
        if (row.args) {
          // The arguments move into the row: the status objects are not touched again.
          std::apply([&](auto&... a) { table_.replace(row.index, std::move(a)...); }, *row.args);
        } else {
          table_.del(row.index);
        }
      }
      if (written_ < kept_.size() && yieldAfter(++processed)) {
        return false;
      }
    }
    stage_ = Stage::direct;
    return true;
  }

  // Sorts the kept rows by index, keeping the order of the writes of one index; false when it
  // yielded. A merge sort that stops and resumes anywhere: blocks of sortBlock rows sorted in
  // place, then runs merged pairwise into spare_, doubling the run each pass, so that a
  // million rows never hold the thread for longer than a slice.
  bool sortKept() {
    static constexpr size_t sortBlock = 256;
    const size_t n = kept_.size();
    size_t processed = 0;
    const KeptLess less;
    if (runWidth_ == 0) {
      while (sortAt_ < n) {
        const size_t end = std::min(sortAt_ + sortBlock, n);
        std::stable_sort(kept_.begin() + static_cast<std::ptrdiff_t>(sortAt_),
                         kept_.begin() + static_cast<std::ptrdiff_t>(end), less);
        processed += end - sortAt_;
        sortAt_ = end;
        if (sortAt_ < n && yieldAfter(processed)) {
          return false;
        }
      }
      runWidth_ = sortBlock;
      sortAt_ = 0;
    }
    while (runWidth_ < n) {
      if (sortAt_ == 0 && spare_.empty()) {
        spare_.reserve(n);
      }
      // Merges [sortAt_, sortAt_ + runWidth_) and the run after it; spare_.size() rows of the
      // pass are placed, so left_ and right_ say how far each run is taken.
      while (sortAt_ < n) {
        const size_t mid = std::min(sortAt_ + runWidth_, n);
        const size_t end = std::min(sortAt_ + 2 * runWidth_, n);
        size_t left = sortAt_ + takenLeft_;
        size_t right = mid + (spare_.size() - sortAt_ - takenLeft_);
        while (left < mid || right < end) {
          const bool fromLeft = right == end || (left < mid && !less(kept_[right], kept_[left]));
          spare_.push_back(std::move(kept_[fromLeft ? left++ : right++]));
          takenLeft_ += fromLeft;
          if (++processed % 64 == 0 && (left < mid || right < end) && yieldAfter(processed)) {
            return false;
          }
        }
        sortAt_ = end;
        takenLeft_ = 0;
      }
      kept_.swap(spare_);
      spare_.clear();
      sortAt_ = 0;
      runWidth_ *= 2;
    }
    spare_ = std::vector<Kept>();
    return true;
  }

  // An event writes `index` while kept rows are written: what is kept for it is outdated.
  void outdate(const Index& index) {
    if (stage_ != Stage::writing) {
      return;
    }
    auto it = std::lower_bound(kept_.begin() + static_cast<std::ptrdiff_t>(written_), kept_.end(),
                               index, KeptLess{});
    for (; it != kept_.end() && it->index == index; ++it) {
      it->outdated = true;
    }
  }

  // Whether an event of the scan, or one since, wrote `index`.
  bool written(const Index& index) const {
    return seen_.contains(Key{index, true}) ||
           std::binary_search(kept_.begin(), kept_.end(), index, KeptLess{});
  }

  // The deletion sweep; false when it yielded (or moved into its task).
  bool sweep() {
    if (!inTask()) {
      return false;
    }
    const auto& map = table_.map();
    auto it = useBookmark_ ? map.lowerBoundIter(bookmark_.k0) : map.begin();
    size_t processed = 0;
    size_t deleted = 0;
    while (it != map.end()) {
      auto current = it++;
      if (!written(current->index())) {
        table_.del(current);
        ++deleted;
      }
      ++processed;
      if (it != map.end() && yieldAfter(processed)) {
        bookmark_ = Key{it->index(), true};
        useBookmark_ = true;
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
    }
    bookmark_ = Key{};
    useBookmark_ = false;
    return true;
  }

  struct KeyHash {
    size_t operator()(const Key& k) const { return k.hash(); }
  };

  Table& table_;
  std::unordered_set<Key, KeyHash> seen_;  // written directly, while reconciling
  std::vector<Kept> kept_;                 // written by the scan; sorted once it is complete
  std::vector<Kept> spare_;                // the merge sort's next pass
  size_t runWidth_ = 0;                    // the sorted runs' length; 0 while blocks are sorted
  size_t sortAt_ = 0;                      // where the sort resumes: block, or run pair
  size_t takenLeft_ = 0;                   // rows of the left run merged so far
  size_t written_ = 0;                     // kept rows written so far
  Stage stage_ = Stage::keeping;
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
