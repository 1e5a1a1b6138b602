// Agent::TableSms: the agent-side owner of the plug-in's table state machines.
//
// start() creates the policing profile and policer instance Sms (and the interface policer
// statistics Sms) through the plug-in's exported factories, each with an asynchronous
// Rivo::SmControl on the agent's task scheduler, over the model entities (PolicingModels) and
// the status objects of the status source. It logs one line when each Sm is
// ready ("qossnmpd: PolicingProfileTableSm ready after 0.42 s"), so that users and tests see
// when the tables are complete; once all are, it gives the heap their scans freed back to the
// system (malloc_trim). stop() destroys them (the rows stay in the entities); call it
// before the MIB modules are unregistered. Single-threaded: the agent's thread.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "Dovo/TaskScheduler.h"
#include "PolicingModels.h"
#include "QosSnmp/Reactive/TableSm.h"
#include "Quill/Ptr.h"
#include "Quill/Publisher.h"
#include "StatusSource.h"

namespace Agent {

class TableSms {
 public:
  explicit TableSms(Quill::Ptr<Dovo::TaskScheduler> scheduler);
  ~TableSms();
  TableSms(const TableSms&) = delete;
  TableSms& operator=(const TableSms&) = delete;

  // Creates the Sms over the status source's objects and the mounted model entities.
  void start(const StateSim::StatusSource& source, const PolicingModels& models);
  void stop();
  // Every Sm is ready.
  bool ready() const;

 private:
  struct Watched {
    Quill::Ptr<QosSnmp::Reactive::TableSmBase> sm;
    Quill::Publisher<>::Subscription subscription;
    bool logged = false;
  };
  // Keeps `sm` and logs once when it is ready.
  void watch(Quill::Ptr<QosSnmp::Reactive::TableSmBase> sm);

  Quill::Ptr<Dovo::TaskScheduler> scheduler_;
  std::chrono::steady_clock::time_point started_;
  std::vector<std::unique_ptr<Watched>> sms_;
};

}  // namespace Agent
