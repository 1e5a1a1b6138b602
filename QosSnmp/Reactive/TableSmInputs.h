// The inputs of a table Sm (see TableSm.h): the scan of a watched collection and the two kinds
// of top-level child that own such scans.
//
//  - CollScan<Map>: scans one Mox::WatchedMap, bookmarked and yielding, and forwards every key
//    it handles (in a scan, or from the collection's change notification) as an event
//    (key, value or nothing). Its doDeleteAll sends "nothing" for every key.
//  - CollChildSm<Entity, Map>: a top-level child whose entity holds the watched collection
//    itself (IfMibSm2 on ifMib.ifIndexByIntfId).
//  - AttrChildSm<Entity, Nested, Map>: a top-level child whose entity holds, in an attribute,
//    the nested entity whose collection is watched (QosStatusSm0 on qosStatus.policingStatus,
//    with the nested PolicingStatusSm1 on its profile collection). A change of the attribute
//    withdraws everything the old nested entity delivered and scans the new one.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "Mox/WatchedMap.h"
#include "QosSnmp/Reactive/TableSm.h"
#include "Quill/Assert.h"

namespace QosSnmp::Reactive {

// The 23-bit version of a watched collection: bits 8 to 30 of its header word.
inline U32 collVersion(U32 header) noexcept {
  return (header >> 8) & 0x7fffff;
}

template <typename Map>
class CollScan : public Rivo::Gen::InputStateMachine {
 public:
  using Key = typename Map::key_type;
  using Value = typename Map::mapped_type;
  using Deliver = std::function<void(const Key&, const std::optional<Value>&)>;

  // label: the child's class name ("PolicingStatusSm1"); collName: the collection's attribute
  // name ("profile"); owner: the top-level child whose task runs the scan.
  CollScan(TableSmBase& root, TopChildSm& owner, const Map& map, std::string label,
           std::string collName, Deliver deliver)
      : root_(root),
        owner_(owner),
        map_(map),
        label_(std::move(label)),
        collName_(std::move(collName)),
        deliver_(std::move(deliver)) {
    hasNotificationActiveIs(true);
    // Subscribed from here on: every later change of the collection is seen, so a deletion
    // pass that runs before the first scan step finds the version it expects.
    version_ = collVersion(map_.header());
  }

  InputScanState inputScanState() const noexcept { return state_; }
  U32 version() const noexcept { return version_; }
  // Where a yielded scan resumes; empty unless the scan is in progress.
  const std::optional<Key>& bookmark() const noexcept { return bookmark_; }
  const std::string& label() const noexcept { return label_; }

  void hasNotificationActiveIs(bool active) override {
    Rivo::Gen::InputStateMachine::hasNotificationActiveIs(active);
    if (!active) {
      subscription_.reset();
    } else if (!subscribed_) {
      subscription_ = map_.changes().subscribe([this](const Key& key) { handleReactor(key); });
    }
    subscribed_ = active;
  }

  // One run of the scan (traced as doInputScan0). Adds the keys handled to `handled`; true when the
  // scan is complete, false when it yielded at a bookmark.
  bool scanStep(size_t& handled) {
    if (!hasNotificationActive() || state_ == InputScanState::scanComplete) {
      return true;
    }
    if (state_ == InputScanState::scanCompleteInitial && !root_.initialScanDone()) {
      return true;
    }
    QTRACE(root_.trace(), 9, "{}::doInputScan0", label_);
    auto it = state_ == InputScanState::scanInProgress ? map_.resumeAt(*bookmark_) : map_.begin();
    if (!root_.initialScanDone() && !root_.trace().enabled(8)) {
      it = map_.end();  // the first pass has no work per key but its trace: it is done
    }
    size_t count = 0;
    while (it != map_.end()) {
      const Key key = it->first;
      const Value* value = &it->second;  // stays: an event never edits its input collection
      ++it;
      handle(key, value);
      ++count;
      if (it != map_.end() && owner_.shouldYield()) {
        QTRACE(root_.trace(), 8, "{} {} yielding after {} iterations ({} total items)", "", label_,
               count, map_.size());
        state_ = InputScanState::scanInProgress;
        bookmark_ = it->first;
        version_ = collVersion(map_.header());
        handled += count;
        return false;
      }
    }
    handled += count;
    version_ = collVersion(map_.header());
    const std::string done = root_.initialScanDone() ? label_ : label_ + " initial";
    state_ = root_.initialScanDone() ? InputScanState::scanComplete
                                     : InputScanState::scanCompleteInitial;
    bookmark_.reset();
    QTRACE(root_.trace(), 9, "{} scan complete. Processed {} children. ", done, count);
    return true;
  }

  // handle<Coll>N: forwards the key and its current value (or nothing) as an event, once the
  // initial scan is done. A scan passes the value it holds; a notification looks it up.
  void handle(const Key& key, const Value* value) {
    if (!hasNotificationActive()) {
      return;
    }
    QTRACE(root_.trace(), 8, "k: {}", key);
    version_ = collVersion(map_.header());
    if (!root_.initialScanDone()) {
      return;  // the first scan pass only builds the children: events start with the second
    }
    std::optional<Value> valueOpt;
    if (value && present(*value)) {
      valueOpt = *value;
    }
    deliver_(key, valueOpt);
  }

  // handle<Coll>NReactor: handle() for a change notification, marked as in a reactor.
  void handleReactor(const Key& key) {
    Rivo::Gen::InReactor inReactor(*this);
    handle(key, map_.find(key));
  }

  // Withdraws every event delivered: "nothing" for every key the collection still holds.
  void doDeleteAll() {
    QTRACE(root_.trace(), 9, "{}::doDeleteAll", label_);
    if (!root_.initialScanDone()) {
      return;  // nothing was delivered yet
    }
    if (collVersion(map_.header()) != version_) {
      missedNotifications(collName_);
    }
    for (auto it = map_.begin(); it != map_.end(); ++it) {
      deliver_(it->first, std::nullopt);
    }
  }

 private:
  template <typename V>
  static bool present(const V& v) {
    if constexpr (requires { v.get(); }) {
      return static_cast<bool>(v);
    } else {
      return true;
    }
  }

  TableSmBase& root_;
  TopChildSm& owner_;
  const Map& map_;
  std::string label_;
  std::string collName_;
  Deliver deliver_;
  InputScanState state_ = InputScanState::scanNotStarted;
  std::optional<Key> bookmark_;
  U32 version_ = 0;
  bool subscribed_ = false;
  typename Quill::Publisher<Key>::Subscription subscription_;
};

// A top-level child watching a collection of its own entity.
template <typename Entity, typename Map>
class CollChildSm : public TopChildSm {
 public:
  using Deliver = typename CollScan<Map>::Deliver;

  // What a pipeline declares of the child: from( entity.<collName>[] ).
  struct Decl {
    const char* childClass;  // "IfMibSm2"
    TaskNumber taskNumber;
    StreamIndex stream;
    const Map& (Entity::*collOf)() const noexcept;  // the watched collection
    const char* collName;                           // "ifIndexByIntfId"
  };

  CollChildSm(TableSmBase& root, Quill::Ptr<Entity const> entity, const Decl& decl, Deliver deliver)
      : TopChildSm(root, decl.childClass, decl.taskNumber, decl.stream),
        entity_(std::move(entity)) {
    QOSSNMP_ASSERT_CHILD_ARG(entity_);
    scan_.emplace(root, *this, ((*entity_).*decl.collOf)(), decl.childClass, decl.collName,
                  std::move(deliver));
    hasNotificationActiveIs(true);
    startScan();
  }

  void hasNotificationActiveIs(bool active) override {
    TopChildSm::hasNotificationActiveIs(active);
    if (scan_) {
      scan_->hasNotificationActiveIs(active);
    }
  }
  void doDeleteAll() override { scan_->doDeleteAll(); }

 protected:
  bool scanStream(size_t& handled) override {
    if (inputScanState() != InputScanState::scanComplete) {
      QTRACE(root_.trace(), 9, " scan complete: {} resumed: {} scan: {}",
             scan_->inputScanState() == InputScanState::scanComplete,
             scan_->inputScanState() == InputScanState::scanInProgress,
             static_cast<int>(scan_->inputScanState()));
    }
    return scan_->scanStep(handled);
  }

 private:
  Quill::Ptr<Entity const> entity_;
  std::optional<CollScan<Map>> scan_;
};

// A top-level child watching an attribute of its entity that holds the nested entity whose
// collection is watched.
template <typename Entity, typename Nested, typename Map>
class AttrChildSm : public TopChildSm {
 public:
  using Deliver = typename CollScan<Map>::Deliver;

  // What a pipeline declares of the child: from( entity.<attr>.<collName>[] ).
  struct Decl {
    const char* childClass;   // "QosStatusSm0"
    const char* nestedClass;  // "PolicingStatusSm1"
    TaskNumber taskNumber;
    StreamIndex stream;
    U32 attr;                                                              // the nested entity's id
    const Quill::Ptr<Nested const>& (Entity::*nestedOf)() const noexcept;  // reads it
    const Map& (Nested::*collOf)() const noexcept;  // the nested entity's watched collection
    const char* collName;                           // "profile"
  };

  AttrChildSm(TableSmBase& root, Quill::Ptr<Entity const> entity, const Decl& decl, Deliver deliver)
      : TopChildSm(root, decl.childClass, decl.taskNumber, decl.stream),
        entity_(std::move(entity)),
        decl_(decl),
        deliver_(std::move(deliver)) {
    QOSSNMP_ASSERT_CHILD_ARG(entity_);
    hasNotificationActiveIs(true);
    startScan();
  }

  // The nested child's scan, or null while the attribute is null.
  const CollScan<Map>* nested() const { return nested_ ? &*nested_ : nullptr; }

  void hasNotificationActiveIs(bool active) override {
    TopChildSm::hasNotificationActiveIs(active);
    if (!active) {
      subscription_.reset();
    } else {
      subscription_ = entity_->changes().subscribe([this](U32 attr) {
        if (attr == decl_.attr) {
          handleNestedChange();
        }
      });
    }
  }

  void doDeleteAll() override {
    if (nested_) {
      nested_->doDeleteAll();
    }
  }

 protected:
  bool scanStream(size_t& handled) override {
    refreshNested();
    return nested_ ? nested_->scanStep(handled) : true;
  }

 private:
  // handle<Attr>0: the attribute changed; withdraw the old nested entity's events and scan the
  // new one at once, to its end (a reactor never yields). So the output holds the new entity's
  // rows when the change returns, and the new child's version is the collection's: the entity
  // may be replaced again before the scheduler next runs.
  void handleNestedChange() {
    Rivo::Gen::InReactor inReactor(*this);
    if (refreshNested() && nested_) {
      size_t handled = 0;
      nested_->scanStep(handled);
    }
  }

  // Creates, replaces or deletes the nested child to match the attribute; true on a change.
  bool refreshNested() {
    Quill::Ptr<Nested const> current = ((*entity_).*decl_.nestedOf)();
    if (current == nestedEntity_) {
      return false;
    }
    if (nested_) {
      nested_->hasNotificationActiveIs(false);
      nested_->doDeleteAll();
      nested_.reset();
    }
    nestedEntity_ = current;
    if (nestedEntity_) {
      nested_.emplace(root_, *this, ((*nestedEntity_).*decl_.collOf)(), decl_.nestedClass,
                      decl_.collName, deliver_);
    }
    return true;
  }

  Quill::Ptr<Entity const> entity_;
  Decl decl_;
  Deliver deliver_;
  Quill::Ptr<Nested const> nestedEntity_;
  std::optional<CollScan<Map>> nested_;
  Quill::Publisher<U32>::Subscription subscription_;
};

}  // namespace QosSnmp::Reactive
