// The runtime of the reactive table state machines ("table Sms"), written once for all of them.
//
// A table Sm keeps an output table of a MIB entity equal to what its input collections say. It
// is a pipeline: input streams (watched status collections) -> per-key events -> output rows.
// The runtime does everything but the events themselves:
//
//  - TableSmBase, the root: trace handle, synchronous or asynchronous mode, the scan state of
//    its input streams (InputSmScanState) and the readiness of its outputs (OutputState), the
//    switch from the initial scan to event-driven operation (handleInitialScanDone), and
//    delete-all. A concrete Sm derives from it, creates its top-level children and outputs, and
//    implements the events (eventTo<Stream>).
//  - Top-level children (AttrChildSm, CollChildSm): one per input entity argument. Each owns a
//    scan task (asynchronous mode) and the scan of its stream; an AttrChildSm watches an
//    attribute of its entity that holds a nested entity and keeps a nested CollScan on it.
//  - CollScan: the bookmarked, yielding scan of one watched collection, and the reactor that
//    forwards each changed key of the collection as an event.
//  - MibTableOutput: an output into a MIB table: it fills the table in index order after the
//    scan, and reconciles by mark and sweep, removing rows no input produced (rows left from
//    before the Sm started); StoreOutput: an output into a private local store, which needs
//    neither.
//
// Life of a Sm: the constructor subscribes and scans every input once; that first pass only
// builds the children (events are dropped while initialScanDone is false; a collection's scan,
// which has no children to build, walks its keys only when they are traced). When every
// stream's scan is complete, initialScanDone is set and every input is scanned again: this
// second pass produces the output rows, which each MIB table output keeps and, once the pass is
// complete, writes in index order. Then it sweeps the rows no event wrote if a reconciliation
// is pending, and the output is ready. From then on every change notification of an input
// produces its events, and its rows, at once.
//
// In asynchronous mode (the default) scans and sweeps run in tasks of a Dovo::TaskScheduler and
// yield whenever the scheduler says so (Dovo::Task::taskShouldYield), leaving a bookmark; in
// synchronous mode everything runs inline and the Sm is ready when its constructor returns.
// Everything runs on the agent's one thread; nothing here takes locks.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include <fmt/format.h>

#include "Dovo/Task.h"
#include "Dovo/TaskScheduler.h"
#include "Quill/Assert.h"
#include "Quill/Object.h"
#include "Quill/Ptr.h"
#include "Quill/Publisher.h"
#include "Quill/Trace.h"
#include "Rivo/InputStateMachine.h"
#include "Rivo/SmControl.h"

namespace QosSnmp::Reactive {

// Progress of the scan of one watched collection.
enum class InputScanState : U8 {
  scanNotStarted = 0,       // the next scan starts at the collection's beginning
  scanInProgress = 1,       // a scan yielded; it resumes at the bookmark
  scanComplete = 2,         // finished after initialScanDone; never repeated
  scanCompleteInitial = 3,  // finished before initialScanDone; repeated once it is set
};

// Scan progress of a Sm's input streams: one flag per stream, true once that stream's scan has
// completed, and `idle`. Each setter publishes a change, which wakes the root.
class InputSmScanState : public Quill::Object {
 public:
  explicit InputSmScanState(std::vector<std::string> streams);
  size_t streams() const noexcept { return names_.size(); }
  const std::string& streamName(size_t stream) const { return names_.at(stream); }
  bool streamScan(size_t stream) const { return scans_.at(stream); }
  void streamScanIs(size_t stream, bool scan);
  bool idle() const noexcept { return idle_; }
  void idleIs(bool idle);
  Quill::Publisher<>& changes() const noexcept { return changes_; }

 private:
  std::vector<std::string> names_;
  std::vector<bool> scans_;
  bool idle_ = false;
  mutable Quill::Publisher<> changes_;
};

// Readiness of a Sm's outputs: one flag per output and `ready`, set once all are.
class OutputState : public Quill::Object {
 public:
  explicit OutputState(size_t outputs) : outputReady_(outputs, false) {}
  bool outputReady(size_t output) const { return outputReady_.at(output); }
  void outputReadyIs(size_t output, bool ready);
  bool ready() const noexcept { return ready_; }
  Quill::Publisher<>& changes() const noexcept { return changes_; }

 private:
  void handleReady();
  std::vector<bool> outputReady_;
  bool ready_ = false;
  mutable Quill::Publisher<> changes_;
};

class TableSmBase;

// One output of a Sm; adds itself to the root's outputs.
class OutputBase {
 public:
  OutputBase(TableSmBase& root, std::string name);
  virtual ~OutputBase() = default;
  OutputBase(const OutputBase&) = delete;
  OutputBase& operator=(const OutputBase&) = delete;

  const std::string& name() const noexcept { return name_; }
  // handleInitialized: creates the reconciliation task and decides whether to reconcile.
  virtual void initialize() = 0;
  // handle<Out>InputReady: called whenever the scan state changes; reconciles once the
  // event-producing scan is complete, then marks the output ready.
  virtual void handleInputReady() = 0;

 protected:
  // The step every output takes first when the scan state changes: once the first pass of every
  // input is complete it starts the second, event-producing pass (handleInitialScanDone). True
  // once that pass is complete and the output is not ready yet (traced as the runtime's steps).
  bool advanceToEventScan();
  TableSmBase& root_;
  std::string name_;
  size_t index_ = 0;  // position in the root's outputs
  friend class TableSmBase;
};

// Asserts that a Sm's pointer argument `arg` (an accessor call) is set: no argument of a table Sm
// is optional.
#define QOSSNMP_ASSERT_SM_ARG(arg) \
  QUILL_ASSERT(arg && "Pointer SM args cannot be null unless they are marked Optional")
// The same of a top-level child's entity.
#define QOSSNMP_ASSERT_CHILD_ARG(entity) \
  QUILL_ASSERT(entity &&                 \
               "Sm args can only be null if marked as Optional in the SM type declaration")

// A child's scan task number (N of "InputScanTask<N>") and the stream it feeds (its position in
// the Sm's stream names): two numbers of their own types, so that a child declared with the two
// swapped does not compile.
struct TaskNumber {
  unsigned value;
};
struct StreamIndex {
  size_t value;
};
static_assert(!std::is_convertible_v<TaskNumber, StreamIndex> &&
              !std::is_convertible_v<StreamIndex, TaskNumber> &&
              !std::is_convertible_v<size_t, TaskNumber> &&
              !std::is_convertible_v<size_t, StreamIndex>);

// A top-level child Sm: watches one argument entity, owns the scan task of its stream. Adds
// itself to the root's children.
class TopChildSm : public Rivo::Gen::InputStateMachine {
 public:
  // childClass: "QosStatusSm0".
  TopChildSm(TableSmBase& root, std::string childClass, TaskNumber taskNumber, StreamIndex stream);
  ~TopChildSm() override;

  const std::string& childClass() const noexcept { return childClass_; }
  InputScanState inputScanState() const noexcept { return state_; }
  // Starts (or resumes) the scan: schedules the task, or runs the scan inline without one.
  void startScan();
  // Withdraws every event this child delivered.
  virtual void doDeleteAll() = 0;
  // True while the scan task runs this child's scan.
  bool inTask() const;
  // Whether a scan running now should stop: inside the task, when the scheduler says so; never
  // inside a reactor, which runs its scan to the end.
  bool shouldYield() const;
  // A scan of this child's stream is scheduled or under way.
  bool scanPending() const noexcept { return scanPending_; }
  Dovo::Task* task() const noexcept { return task_.get(); }

 protected:
  // One run of the stream's scan; adds the keys handled to `handled`. True when complete.
  virtual bool scanStream(size_t& handled) = 0;
  // One run of the scan (traced as doInputScan0): entry rules, the scan, and the completion of
  // the stream. True when complete.
  bool runScan(size_t& handled);
  // Creates the scan task (asynchronous mode only).
  void doInitializeTask();
  std::string label() const;
  TableSmBase& root_;

 private:
  void taskDispatch();
  std::string childClass_;
  unsigned taskNumber_;
  size_t stream_;
  void scanPendingIs(bool pending);
  InputScanState state_ = InputScanState::scanNotStarted;
  bool scanPending_ = false;
  Quill::Ptr<Dovo::Task> task_;
};

// A Sm's trace: every line it writes starts with the Sm's class ("PolicingProfileTableSm: ").
class SmTrace {
 public:
  SmTrace(const Quill::TraceHandle& handle, const std::string& smClass) noexcept
      : handle_(handle), smClass_(smClass) {}
  bool enabled(int level) const noexcept { return handle_.enabled(level); }
  template <typename... A>
  void write(int level, fmt::format_string<A...> format, A&&... args) const {
    handle_.emit(level, fmt::format("{}: {}", smClass_,
                                    fmt::vformat(format, fmt::make_format_args(args...))));
  }

 private:
  const Quill::TraceHandle& handle_;
  const std::string& smClass_;
};

// The root of a table Sm.
class TableSmBase : public Quill::Object {
 public:
  ~TableSmBase() override;

  const std::string& smClass() const noexcept { return smClass_; }
  const Rivo::SmControl& flumeControl() const noexcept { return flumeControl_; }
  SmTrace trace() const noexcept { return {trace_, smClass_}; }
  bool synchronous() const noexcept { return synchronous_; }
  bool initialScanDone() const noexcept { return initialScanDone_; }
  bool initialized() const noexcept { return initialized_; }
  // Every output is ready: the output tables hold what the inputs say.
  bool ready() const noexcept { return outputState_ && outputState_->ready(); }
  // Ready, and no input scan is scheduled or under way.
  bool idle() const noexcept {
    return ready() && (synchronous_ || (inputSmScanState_ && inputSmScanState_->idle()));
  }
  // Published when ready() or idle() changes.
  Quill::Publisher<>& readinessChanges() const noexcept { return readinessChanges_; }

  InputSmScanState& inputSmScanState() const { return *inputSmScanState_; }
  OutputState& outputState() const { return *outputState_; }
  Dovo::TaskScheduler& scheduler() const { return *scheduler_; }

  void handleInitialScanDone();
  // Brings inputSmScanState's idle up to date: the initial scan is done and no child has a scan
  // scheduled or under way. Called by the children when their scans start and end.
  void idleCheck();
  // Withdraws every output row the inputs produced (the top-level children's doDeleteAll).
  void doDeleteAll();

 protected:
  // smClass: "PolicingProfileTableSm"; family: the default trace facility
  // ("PolicingMibTableSm"); streams: the input streams' names ("profileStream").
  TableSmBase(std::string smClass, const std::string& family, const Rivo::SmControl& flumeControl,
              std::vector<std::string> streams);

  // Runs once, from the derived constructor once its arguments are stored.
  void handleInitialized();
  // Asserts the non-optional pointer arguments.
  virtual void assertArgs() const = 0;
  // Empties the local stores, if any ("create local SMs"): they start empty.
  virtual void clearLocalStores() {}
  // Creates the top-level children ("create non-public arg SMs"), which start their scans.
  virtual void createChildren() = 0;

 private:
  friend class OutputBase;
  friend class TopChildSm;
  void outputAdd(OutputBase& output);
  void childAdd(TopChildSm* child);

  void inputSmScanStateDispatch();
  void readinessCheck();

  std::string smClass_;
  Rivo::SmControl flumeControl_;
  Quill::TraceHandle trace_;  // the family's facility, or the control record's
  Quill::Ptr<Dovo::TaskScheduler> scheduler_;
  std::vector<std::string> streamNames_;
  Quill::Ptr<InputSmScanState> inputSmScanState_;
  Quill::Ptr<OutputState> outputState_;
  std::vector<OutputBase*> outputs_;
  std::vector<TopChildSm*> children_;
  Quill::Publisher<>::Subscription scanStateSubscription_;
  Quill::Publisher<>::Subscription outputStateSubscription_;
  mutable Quill::Publisher<> readinessChanges_;
  // The class default of every table Sm: asynchronous unless the control record says otherwise.
  static constexpr bool defaultSynchronous = false;
  bool synchronous_ = defaultSynchronous;
  bool initialScanDone_ = false;
  bool initialized_ = false;
  bool wasReady_ = false;
  bool wasIdle_ = false;
};

// Raises the formatted assertion failure of a deletion pass whose collection changed unseen.
[[noreturn]] void missedNotifications(const std::string& collName);

}  // namespace QosSnmp::Reactive
