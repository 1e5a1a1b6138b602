// The interface policer statistics table Sms: they keep the ingress (IfPolicerInStatsTableSm)
// and egress (IfPolicerOutStatsTableSm) tables of QosSnmp::IfPolicerMib equal to the per-member
// policer status of the QoS agent, one row per interface that has an ifIndex and at least one
// member with policer status.
//
// One pipeline on the table Sm runtime (TableSm.h), declared twice, with two input streams
// joined on the interface:
//   ifPolicerStream = from( qosStatus.policingStatus.intfPolicer[] )    (Out: intfPolicerOutput)
//     into( intfToPolicingStatsColl[ intfId ].intfPolicerInfoStatusColl[ memId ] )
//   ifMibStream = from( ifMib.ifIndexByIntfId[] ), joined on the interface, filter( ifIndexOpt )
//     into( ifPolicerMib.ifPolicerInStatsTable[ ( *ifIndexOpt ) ] )
// The policer status is published per (interface, member); the Sm groups the members of an
// interface in a collection of its private local store, and the row under the interface's
// ifIndex points at that collection, so a member added or removed shows in the row at once
// without rewriting it. An interface that loses or changes its ifIndex leaves its row under the
// old ifIndex as it is: no later event names that index; the sweep of a later start removes it.
// aclHwStatus is not watched: every row reads it. Trace facility "IfPolicerMibTableSm" unless
// the control record names another.
//
// The agent-side owner creates them through the exported factories; the plug-in never does.
#pragma once

#include <optional>

#include "IntfSnmp/IfMib.h"
#include "Linko/IntfId.h"
#include "Mox/WatchedMap.h"
#include "QosSnmp/IfPolicerMib/IfPolicerMib.h"
#include "QosSnmp/Reactive/TableSm.h"
#include "QosSnmp/PolicingMib/PolicingStatusInput.h"
#include "QosSnmp/Reactive/TableSmOutputs.h"
#include "Qos/AclHwStatus.h"
#include "Qos/PolicingStatus.h"
#include "Qos/Status.h"

namespace QosSnmp {

namespace Reactive {

// The declaration of an interface policer pipeline: its two inputs and its output table.
struct IfPolicerPipeline {
  using PolicerMap = Qos::PolicingStatus::IntfPolicerColl;
  using IfMibInput = CollChildSm<IntfSnmp::IfMib, IntfSnmp::IfMib::IfIndexByIntfIdColl>::Decl;

  const char* smClass;                   // "IfPolicerInStatsTableSm"
  PolicingStatusInput<PolicerMap> from;  // the ifPolicerStream
  IfMibInput join;                       // the ifMibStream, joined on the interface
  MibTable<IfPolicerStatsTableEntry>& (IfPolicerMib::*into)() noexcept;  // the output table
  const char* table;                                                     // "ifPolicerInStatsTable"
  const char* output;  // "ifPolicerMibIfPolicerInStatsTableOutput"
};

// The streams of every interface policer pipeline, in this order.
inline constexpr StreamIndex ifMibStream{0};
inline constexpr StreamIndex ifPolicerStream{1};

// The ifMibStream's input, the same for both directions but for the child's class.
constexpr IfPolicerPipeline::IfMibInput ifIndexJoin(const char* childClass) {
  return {.childClass = childClass,
          .taskNumber = TaskNumber{1},
          .stream = ifMibStream,
          .collOf = &IntfSnmp::IfMib::ifIndexByIntfId,
          .collName = "ifIndexByIntfId"};
}

inline constexpr IfPolicerPipeline ifPolicerInPipeline{
    .smClass = "IfPolicerInStatsTableSm",
    .from = {.childClass = "QosStatusSm0",
             .nestedClass = "PolicingStatusSm1",
             .taskNumber = TaskNumber{0},
             .stream = ifPolicerStream,
             .collOf = &Qos::PolicingStatus::intfPolicer,
             .coll = "intfPolicer"},
    .join = ifIndexJoin("IfMibSm2"),
    .into = &IfPolicerMib::ifPolicerInStatsTableColl,
    .table = "ifPolicerInStatsTable",
    .output = "ifPolicerMibIfPolicerInStatsTableOutput",
};

inline constexpr IfPolicerPipeline ifPolicerOutPipeline{
    .smClass = "IfPolicerOutStatsTableSm",
    .from = {.childClass = "QosStatusSm3",
             .nestedClass = "PolicingStatusSm4",
             .taskNumber = TaskNumber{0},
             .stream = ifPolicerStream,
             .collOf = &Qos::PolicingStatus::intfPolicerOutput,
             .coll = "intfPolicerOutput"},
    .join = ifIndexJoin("IfMibSm5"),
    .into = &IfPolicerMib::ifPolicerOutStatsTableColl,
    .table = "ifPolicerOutStatsTable",
    .output = "ifPolicerMibIfPolicerOutStatsTableOutput",
};

// The Sm's private store: per interface, the collection of its members' policer status. A
// record lives from the first member status of an interface to the removal of its last one.
// Records are kept in the order of the maps of interfaces (Linko::intfOrderSeed), the order the
// policer status is scanned in: the records of a scan are made one after another, in sequence.
class LocalAttrStore {
 public:
  // The interface's collection, or null.
  Quill::Ptr<IntfPolicerInfoStatusColl> intfToPolicingStatsColl(Linko::IntfId intfId) const;
  // Finds or creates the interface's record and gives it a collection if it has none.
  Quill::Ptr<IntfPolicerInfoStatusColl> intfToPolicingStatsCollIs(Linko::IntfId intfId);
  void intfToPolicingStatsCollDel(Linko::IntfId intfId) { records_.del(intfId); }
  void intfToPolicingStatsCollDelAll() { records_.clear(); }
  size_t size() const noexcept { return records_.size(); }

 private:
  Mox::WatchedMap<Linko::IntfId, Quill::Ptr<IntfPolicerInfoStatusColl>, Linko::intfOrderSeed>
      records_;
};

// The table Sm of the pipeline declared by D.
template <const IfPolicerPipeline& D>
class IfPolicerStatsTableSm : public TableSmBase {
 public:
  using PolicerMap = IfPolicerPipeline::PolicerMap;
  using Table = MibTable<IfPolicerStatsTableEntry>;
  using QosStatusSm = QosStatusChildSm<PolicerMap>;
  using IfMibSm = CollChildSm<IntfSnmp::IfMib, IntfSnmp::IfMib::IfIndexByIntfIdColl>;
  static_assert(D.from.stream.value == ifPolicerStream.value &&
                    D.join.stream.value == ifMibStream.value,
                "each input feeds its own stream");
  static_assert(D.from.taskNumber.value != D.join.taskNumber.value, "one scan task per input");
  using StatusPtr = Quill::Ptr<Qos::IntfPolicerInfoStatus const>;

  IfPolicerStatsTableSm(Quill::Ptr<IfPolicerMib> ifPolicerMib,
                        Quill::Ptr<Qos::Status const> qosStatus,
                        Quill::Ptr<Qos::AclHwStatus const> aclHwStatus,
                        Quill::Ptr<IntfSnmp::IfMib const> ifMib,
                        const Rivo::SmControl& flumeControl);
  ~IfPolicerStatsTableSm() override;

  const Quill::Ptr<IfPolicerMib>& ifPolicerMib() const noexcept { return ifPolicerMib_; }
  const Quill::Ptr<Qos::Status const>& qosStatus() const noexcept { return qosStatus_; }
  const Quill::Ptr<Qos::AclHwStatus const>& aclHwStatus() const noexcept { return aclHwStatus_; }
  const Quill::Ptr<IntfSnmp::IfMib const>& ifMib() const noexcept { return ifMib_; }
  const LocalAttrStore& localAttrStore() const noexcept { return store_; }
  const MibTableOutput<Table>& output() const { return *tableOutput_; }
  const QosStatusSm* qosStatusSm() const { return qosStatusSm_.get(); }
  const IfMibSm* ifMibSm() const { return ifMibSm_.get(); }

  // The two pipeline entries.
  void eventToIfPolicerStream(const Qos::IntfPairKey& intfPairKey,
                              const std::optional<StatusPtr>& intfPolicerInfoStatusOpt);
  void eventToIfMibStream(Linko::IntfId intfId, const std::optional<U32>& ifIndexOpt);

 protected:
  void assertArgs() const override;
  void clearLocalStores() override;
  void createChildren() override;

 private:
  // The output stage: the row for `ifIndex` shows the interface's collection `coll`, or goes
  // when it has none.
  void intoTable(U32 ifIndex, const Quill::Ptr<IntfPolicerInfoStatusColl>& coll);

  Quill::Ptr<IfPolicerMib> ifPolicerMib_;
  Quill::Ptr<Qos::Status const> qosStatus_;
  Quill::Ptr<Qos::AclHwStatus const> aclHwStatus_;
  Quill::Ptr<IntfSnmp::IfMib const> ifMib_;
  LocalAttrStore store_;
  StoreOutput storeOutput_;
  std::optional<MibTableOutput<Table>> tableOutput_;
  std::unique_ptr<QosStatusSm> qosStatusSm_;
  std::unique_ptr<IfMibSm> ifMibSm_;
};

}  // namespace Reactive

class IfPolicerInStatsTableSm
    : public Reactive::IfPolicerStatsTableSm<Reactive::ifPolicerInPipeline> {
  using IfPolicerStatsTableSm::IfPolicerStatsTableSm;
};
class IfPolicerOutStatsTableSm
    : public Reactive::IfPolicerStatsTableSm<Reactive::ifPolicerOutPipeline> {
  using IfPolicerStatsTableSm::IfPolicerStatsTableSm;
};

// The platform's names of the children and output keys.
namespace FlumeCode::IfPolicerInStatsTableSm {
using QosStatusSm0 = ::QosSnmp::IfPolicerInStatsTableSm::QosStatusSm;
using PolicingStatusSm1 = Reactive::CollScan<::QosSnmp::IfPolicerInStatsTableSm::PolicerMap>;
using IfMibSm2 = ::QosSnmp::IfPolicerInStatsTableSm::IfMibSm;
using IfPolicerMibIfPolicerInStatsTableOutputKeyType = Reactive::OutputKey<U32>;
}  // namespace FlumeCode::IfPolicerInStatsTableSm
namespace FlumeCode::IfPolicerOutStatsTableSm {
using QosStatusSm3 = ::QosSnmp::IfPolicerOutStatsTableSm::QosStatusSm;
using PolicingStatusSm4 = Reactive::CollScan<::QosSnmp::IfPolicerOutStatsTableSm::PolicerMap>;
using IfMibSm5 = ::QosSnmp::IfPolicerOutStatsTableSm::IfMibSm;
using IfPolicerMibIfPolicerOutStatsTableOutputKeyType = Reactive::OutputKey<U32>;
}  // namespace FlumeCode::IfPolicerOutStatsTableSm

// The exported factories: factory(ifPolicerMib, qosStatus, aclHwStatus, ifMib, flumeControl).
inline constexpr Factory<IfPolicerInStatsTableSm> ifPolicerInStatsTableSmFactory;
inline constexpr Factory<IfPolicerOutStatsTableSm> ifPolicerOutStatsTableSmFactory;

}  // namespace QosSnmp
