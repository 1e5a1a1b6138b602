#include "QosSnmp/Reactive/TableSm.h"

#include "QosSnmp/Reactive/TableSmOutputs.h"

#include "Quill/Assert.h"

namespace QosSnmp::Reactive {

// --- InputSmScanState, OutputState ---

InputSmScanState::InputSmScanState(std::vector<std::string> streams)
    : names_(std::move(streams)), scans_(names_.size(), false) {}

void InputSmScanState::streamScanIs(size_t stream, bool scan) {
  if (scans_.at(stream) != scan) {
    scans_[stream] = scan;
    changes_.publish();
  }
}

void InputSmScanState::idleIs(bool idle) {
  if (idle_ != idle) {
    idle_ = idle;
    changes_.publish();
  }
}

void OutputState::outputReadyIs(size_t output, bool ready) {
  if (outputReady_.at(output) == ready) {
    return;
  }
  outputReady_[output] = ready;
  changes_.publish();
  handleReady();
}

void OutputState::handleReady() {
  bool all = true;
  for (bool r : outputReady_) {
    all = all && r;
  }
  if (all != ready_) {
    ready_ = all;
    changes_.publish();
  }
}

// --- TopChildSm ---

TopChildSm::TopChildSm(TableSmBase& root, std::string childClass, TaskNumber taskNumber,
                       StreamIndex stream)
    : root_(root),
      childClass_(std::move(childClass)),
      taskNumber_(taskNumber.value),
      stream_(stream.value) {
  root_.childAdd(this);
  doInitializeTask();
}

TopChildSm::~TopChildSm() {
  if (task_) {
    task_->cancel();
  }
}

void TopChildSm::doInitializeTask() {
  if (root_.synchronous() || task_) {
    return;
  }
  std::string name =
      fmt::format("QosSnmp::{}-{}InputScanTask{}", root_.smClass(), childClass_, taskNumber_);
  task_ = root_.scheduler().taskIs(std::move(name), root_.flumeControl().priority,
                                   [this] { taskDispatch(); });
}

bool TopChildSm::inTask() const {
  return task_ && task_->taskCurrentlyRunning();
}

bool TopChildSm::shouldYield() const {
  return !inReactor() && inTask() && task_->taskShouldYield();
}

void TopChildSm::scanPendingIs(bool pending) {
  if (scanPending_ != pending) {
    scanPending_ = pending;
    root_.idleCheck();
  }
}

std::string TopChildSm::label() const {
  return root_.initialScanDone() ? childClass_ : childClass_ + " initial";
}

void TopChildSm::startScan() {
  if (!hasNotificationActive()) {
    return;
  }
  if (!root_.synchronous() && task_) {
    task_->scheduleTask();
    scanPendingIs(true);
    return;
  }
  size_t handled = 0;
  runScan(handled);
}

void TopChildSm::taskDispatch() {
  Quill::Ptr<Dovo::Task> task = task_;  // the scan may drop the task when it completes
  size_t handled = 0;
  if (!runScan(handled) && task == task_) {
    task->taskWorkCountInc(handled);
    task->taskWorkPendingIs(true);
    task->scheduleTask();
  } else if (task) {
    task->taskWorkCountInc(handled);
    task->taskWorkPendingIs(false);
  }
}

bool TopChildSm::runScan(size_t& handled) {
  if (!hasNotificationActive() || state_ == InputScanState::scanComplete ||
      (state_ == InputScanState::scanCompleteInitial && !root_.initialScanDone())) {
    scanPendingIs(false);
    return true;
  }
  QTRACE(root_.trace(), 9, "{}::doInputScan0", childClass_);
  if (!scanStream(handled)) {
    state_ = InputScanState::scanInProgress;
    return false;
  }
  const std::string done = label();
  if (root_.initialScanDone()) {
    state_ = InputScanState::scanComplete;
    if (task_) {
      task_->cancel();  // the scan task is not needed any more
      task_ = nullptr;
    }
  } else {
    state_ = InputScanState::scanCompleteInitial;
  }
  scanPendingIs(false);
  // Publishing the stream's completion may start the next pass (pending again, or run inline in
  // synchronous mode).
  root_.inputSmScanState().streamScanIs(stream_, true);
  QTRACE(root_.trace(), 9, "{} scan, and parent scan, complete.", done);
  return true;
}

// --- TableSmBase ---

TableSmBase::TableSmBase(std::string smClass, const std::string& family,
                         const Rivo::SmControl& flumeControl, std::vector<std::string> streams)
    : smClass_(std::move(smClass)),
      flumeControl_(flumeControl),
      trace_(flumeControl_.traceName.empty() ? family : flumeControl_.traceName),
      streamNames_(std::move(streams)) {}

TableSmBase::~TableSmBase() = default;

void TableSmBase::outputAdd(OutputBase& output) {
  output.index_ = outputs_.size();
  outputs_.push_back(&output);
}

void TableSmBase::childAdd(TopChildSm* child) {
  children_.push_back(child);
}

void TableSmBase::handleInitialized() {
  if (initialized_) {
    return;
  }
  QTRACE(trace(), 8, "handleInitialized");
  synchronous_ = flumeControl_.synchronous(defaultSynchronous);
  inputSmScanState_ = Quill::make<InputSmScanState>(streamNames_);
  scanStateSubscription_ =
      inputSmScanState_->changes().subscribe([this] { inputSmScanStateDispatch(); });
  outputState_ = Quill::make<OutputState>(outputs_.size());
  outputStateSubscription_ = outputState_->changes().subscribe([this] { readinessCheck(); });
  if (!synchronous_) {
    scheduler_ = flumeControl_.scheduler ? flumeControl_.scheduler
                                         : Dovo::TaskSchedulerRoot::findOrCreateScheduler();
  }
  assertArgs();
  for (OutputBase* output : outputs_) {
    output->initialize();
  }
  QTRACE(trace(), 9, "create local SMs");
  clearLocalStores();
  QTRACE(trace(), 9, "create non-public arg SMs");
  createChildren();
  QTRACE(trace(), 9, "initialized");
  initialized_ = true;
  // In synchronous mode the scans have already run; let the outputs finish now.
  inputSmScanStateDispatch();
}

void TableSmBase::inputSmScanStateDispatch() {
  handleInitialScanDone();
  for (OutputBase* output : outputs_) {
    output->handleInputReady();
  }
  readinessCheck();
}

void TableSmBase::handleInitialScanDone() {
  if (initialScanDone_ || !initialized_) {
    return;  // handleInitialized runs it once the children exist
  }
  for (size_t s = 0; s < inputSmScanState_->streams(); ++s) {
    if (!inputSmScanState_->streamScan(s)) {
      QTRACE(trace(), 9, " {} scan is false", inputSmScanState_->streamName(s));
      return;
    }
  }
  if (children_.size() < streamNames_.size()) {
    QTRACE(trace(), 9, "Initial scan yielding for child SM {}.", smClass_);
    return;
  }
  QTRACE(trace(), 9, "Initial scan done for child SMs. Now scanning with events triggered.");
  initialScanDone_ = true;
  for (size_t s = 0; s < inputSmScanState_->streams(); ++s) {
    inputSmScanState_->streamScanIs(s, false);
  }
  for (TopChildSm* child : children_) {
    if (child->hasNotificationActive()) {
      child->startScan();
    }
  }
  idleCheck();
  for (OutputBase* output : outputs_) {
    output->handleInputReady();
  }
}

void TableSmBase::idleCheck() {
  if (!inputSmScanState_) {
    return;
  }
  bool scanning = false;
  for (const TopChildSm* child : children_) {
    scanning = scanning || child->scanPending();
  }
  inputSmScanState_->idleIs(initialScanDone_ && !scanning);
}

void TableSmBase::readinessCheck() {
  bool isReady = ready();
  bool isIdle = idle();
  if (isReady != wasReady_ || isIdle != wasIdle_) {
    wasReady_ = isReady;
    wasIdle_ = isIdle;
    QTRACE(trace(), 9, "ready: {} idle: {}", isReady, isIdle);
    readinessChanges_.publish();
  }
}

void TableSmBase::doDeleteAll() {
  QTRACE(trace(), 9, "doDeleteAll");
  for (TopChildSm* child : children_) {
    child->doDeleteAll();
  }
}

// --- OutputBase, StoreOutput (declared in TableSmOutputs.h) ---

OutputBase::OutputBase(TableSmBase& root, std::string name) : root_(root), name_(std::move(name)) {
  root_.outputAdd(*this);
}

bool OutputBase::advanceToEventScan() {
  if (!root_.initialized()) {
    return false;
  }
  QTRACE(root_.trace(), 9, "handle{}InputReady", name_);
  if (root_.outputState().outputReady(index_)) {
    QTRACE(root_.trace(), 9, " already ready, not reconciling.");
    return false;
  }
  for (size_t s = 0; s < root_.inputSmScanState().streams(); ++s) {
    if (!root_.inputSmScanState().streamScan(s)) {
      return false;  // the event-producing scan has not finished
    }
  }
  if (!root_.initialScanDone()) {
    root_.handleInitialScanDone();
    return false;
  }
  QTRACE(root_.trace(), 9, "Input scans for {} complete", name_);
  return true;
}

void StoreOutput::handleInputReady() {
  if (advanceToEventScan()) {
    root_.outputState().outputReadyIs(index_, true);
  }
}

[[noreturn]] void missedNotifications(const std::string& collName) {
  std::string text = fmt::format(
      "We missed notifications that happened to {} before the enclosing entity got deleted",
      collName);
  Quill::assertionFailed(text.c_str(), __FILE__, __LINE__, __func__);
}

}  // namespace QosSnmp::Reactive
