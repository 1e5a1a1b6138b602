#include "TableSms.h"

#include <malloc.h>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include "QosSnmp/IfPolicerMib/IfPolicerMib.h"
#include "QosSnmp/IfPolicerMib/IfPolicerMibTableSm.h"
#include "QosSnmp/PolicingMib/PolicingMib.h"
#include "QosSnmp/PolicingMib/PolicingMibTableSm.h"

namespace Agent {

namespace {

// The asynchronous control record of every Sm: the agent's scheduler, one priority for all.
Rivo::SmControl controlOn(const Quill::Ptr<Dovo::TaskScheduler>& scheduler) {
  Rivo::SmControl control;
  control.scheduler = scheduler;
  control.priority = 1;
  control.synchronousMode = 2;
  return control;
}

}  // namespace

TableSms::TableSms(Quill::Ptr<Dovo::TaskScheduler> scheduler) : scheduler_(std::move(scheduler)) {}

TableSms::~TableSms() {
  stop();
}

void TableSms::start(const StateSim::StatusSource& source, const PolicingModels& models) {
  started_ = std::chrono::steady_clock::now();
  const Rivo::SmControl control = controlOn(scheduler_);
  const auto& policingMib = models.policingMib();
  watch(QosSnmp::policingProfileTableSmFactory(policingMib, source.qosStatus(), control));
  watch(QosSnmp::policerInstanceTableSmFactory(policingMib, source.qosStatus(), control));
  const auto& ifPolicerMib = models.ifPolicerMib();
  watch(QosSnmp::ifPolicerInStatsTableSmFactory(ifPolicerMib, source.qosStatus(),
                                                source.aclHwStatus(), source.ifMib(), control));
  watch(QosSnmp::ifPolicerOutStatsTableSmFactory(ifPolicerMib, source.qosStatus(),
                                                 source.aclHwStatus(), source.ifMib(), control));
}

void TableSms::watch(Quill::Ptr<QosSnmp::Reactive::TableSmBase> sm) {
  auto watched = std::make_unique<Watched>();
  Watched* w = watched.get();
  w->sm = std::move(sm);
  auto report = [this, w] {
    if (!w->logged && w->sm->ready()) {
      w->logged = true;
      std::chrono::duration<double> after = std::chrono::steady_clock::now() - started_;
      snmp_log(LOG_INFO, "qossnmpd: %s ready after %.3f s\n", w->sm->smClass().c_str(),
               after.count());
      if (ready()) {
        malloc_trim(0);  // what the scans kept on the way is freed: give it back to the system
      }
    }
  };
  w->subscription = w->sm->readinessChanges().subscribe(report);
  sms_.push_back(std::move(watched));
  report();
}

bool TableSms::ready() const {
  for (const auto& w : sms_) {
    if (!w->sm->ready()) {
      return false;
    }
  }
  return true;
}

void TableSms::stop() {
  sms_.clear();
}

}  // namespace Agent
