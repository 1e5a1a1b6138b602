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

#include <unordered_map>

#include "IntfSnmp/IfMib.h"
#include "QosSnmp/IfPolicerMib.h"
#include "QosSnmp/TableSm.h"
#include "QosSnmp/TableSmInputs.h"
#include "QosSnmp/TableSmOutputs.h"
#include "Qos/AclHwStatus.h"
#include "Qos/PolicingStatus.h"
#include "Qos/Status.h"

namespace QosSnmp {

namespace Flume {

// What tells the ingress and egress pipelines apart.
struct IfPolicerInDecl {
  static constexpr const char* smClass = "IfPolicerInStatsTableSm";
  static constexpr const char* coll = "intfPolicer";
  static constexpr const char* table = "ifPolicerInStatsTable";
  static constexpr const char* output = "ifPolicerMibIfPolicerInStatsTableOutput";
  static constexpr const char* qosStatusChild = "QosStatusSm0";
  static constexpr const char* policingStatusChild = "PolicingStatusSm1";
  static constexpr const char* ifMibChild = "IfMibSm2";
  static const auto& collOf(const Qos::PolicingStatus& s) { return s.intfPolicer(); }
  static auto& tableOf(IfPolicerMib& mib) { return mib.ifPolicerInStatsTableColl(); }
};

struct IfPolicerOutDecl {
  static constexpr const char* smClass = "IfPolicerOutStatsTableSm";
  static constexpr const char* coll = "intfPolicerOutput";
  static constexpr const char* table = "ifPolicerOutStatsTable";
  static constexpr const char* output = "ifPolicerMibIfPolicerOutStatsTableOutput";
  static constexpr const char* qosStatusChild = "QosStatusSm3";
  static constexpr const char* policingStatusChild = "PolicingStatusSm4";
  static constexpr const char* ifMibChild = "IfMibSm5";
  static const auto& collOf(const Qos::PolicingStatus& s) { return s.intfPolicerOutput(); }
  static auto& tableOf(IfPolicerMib& mib) { return mib.ifPolicerOutStatsTableColl(); }
};

// The Sm's private store: per interface, the collection of its members' policer status. A
// record lives from the first member status of an interface to the removal of its last one.
class LocalAttrStore {
 public:
  // The interface's collection, or null.
  Quill::Ptr<IntfPolicerInfoStatusColl> intfToPolicingStatsColl(Linko::IntfId intfId) const;
  // Finds or creates the interface's record and gives it a collection if it has none.
  Quill::Ptr<IntfPolicerInfoStatusColl> intfToPolicingStatsCollIs(Linko::IntfId intfId);
  void intfToPolicingStatsCollDel(Linko::IntfId intfId);
  void intfToPolicingStatsCollDelAll() { records_.clear(); }
  size_t size() const noexcept { return records_.size(); }

 private:
  struct Hash {
    size_t operator()(Linko::IntfId id) const noexcept { return id.hash(); }
  };
  std::unordered_map<Linko::IntfId, Quill::Ptr<IntfPolicerInfoStatusColl>, Hash> records_;
};

template <typename D>
class IfPolicerStatsTableSm : public TableSmBase {
 public:
  using PolicerMap =
      std::remove_cvref_t<decltype(D::collOf(std::declval<const Qos::PolicingStatus&>()))>;
  using IfIndexMap = IntfSnmp::IfMib::IfIndexByIntfIdColl;
  using Table = MibTable<IfPolicerStatsTableEntry>;
  using QosStatusSm = AttrChildSm<Qos::Status, Qos::PolicingStatus, PolicerMap>;
  using IfMibSm = CollChildSm<IntfSnmp::IfMib, IfIndexMap>;
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
  void createLocalStores() override;
  void createChildren() override;

 private:
  // The output stage: the row for `ifIndex` shows the interface's collection, or goes.
  void intoTable(U32 ifIndex, Linko::IntfId intfId);

  Quill::Ptr<IfPolicerMib> ifPolicerMib_;
  Quill::Ptr<Qos::Status const> qosStatus_;
  Quill::Ptr<Qos::AclHwStatus const> aclHwStatus_;
  Quill::Ptr<IntfSnmp::IfMib const> ifMib_;
  LocalAttrStore store_;
  StoreOutput storeOutput_;
  std::unique_ptr<MibTableOutput<Table>> tableOutput_;
  std::unique_ptr<QosStatusSm> qosStatusSm_;
  std::unique_ptr<IfMibSm> ifMibSm_;
};

}  // namespace Flume

class IfPolicerInStatsTableSm : public Flume::IfPolicerStatsTableSm<Flume::IfPolicerInDecl> {
  using IfPolicerStatsTableSm::IfPolicerStatsTableSm;
};
class IfPolicerOutStatsTableSm : public Flume::IfPolicerStatsTableSm<Flume::IfPolicerOutDecl> {
  using IfPolicerStatsTableSm::IfPolicerStatsTableSm;
};

namespace FlumeCode::IfPolicerInStatsTableSm {
using QosStatusSm0 = ::QosSnmp::IfPolicerInStatsTableSm::QosStatusSm;
using PolicingStatusSm1 = Flume::CollScan<::QosSnmp::IfPolicerInStatsTableSm::PolicerMap>;
using IfMibSm2 = ::QosSnmp::IfPolicerInStatsTableSm::IfMibSm;
using IfPolicerMibIfPolicerInStatsTableOutputKeyType = Flume::OutputKey<U32>;
}  // namespace FlumeCode::IfPolicerInStatsTableSm
namespace FlumeCode::IfPolicerOutStatsTableSm {
using QosStatusSm3 = ::QosSnmp::IfPolicerOutStatsTableSm::QosStatusSm;
using PolicingStatusSm4 = Flume::CollScan<::QosSnmp::IfPolicerOutStatsTableSm::PolicerMap>;
using IfMibSm5 = ::QosSnmp::IfPolicerOutStatsTableSm::IfMibSm;
using IfPolicerMibIfPolicerOutStatsTableOutputKeyType = Flume::OutputKey<U32>;
}  // namespace FlumeCode::IfPolicerOutStatsTableSm

Quill::Ptr<IfPolicerInStatsTableSm> ifPolicerInStatsTableSmFactory(
    Quill::Ptr<IfPolicerMib> ifPolicerMib, Quill::Ptr<Qos::Status const> qosStatus,
    Quill::Ptr<Qos::AclHwStatus const> aclHwStatus, Quill::Ptr<IntfSnmp::IfMib const> ifMib,
    const Rivo::SmControl& flumeControl);
Quill::Ptr<IfPolicerOutStatsTableSm> ifPolicerOutStatsTableSmFactory(
    Quill::Ptr<IfPolicerMib> ifPolicerMib, Quill::Ptr<Qos::Status const> qosStatus,
    Quill::Ptr<Qos::AclHwStatus const> aclHwStatus, Quill::Ptr<IntfSnmp::IfMib const> ifMib,
    const Rivo::SmControl& flumeControl);

}  // namespace QosSnmp
