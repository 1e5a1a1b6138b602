// The policing profile and policer instance table Sms: they keep the two tables of
// QosSnmp::PolicingMib equal to the QoS agent's policing status, one row per policer profile
// (PolicingProfileTableSm) and per policer instance (PolicerInstanceTableSm), keyed by name.
//
// Both are one pipeline on the table Sm runtime (TableSm.h), declared twice:
//   profileStream = from( qosStatus.policingStatus.profile[] )
//     into( policingMib.policingProfileTable[ tableIndex ] )
//   policerInstanceStream = from( qosStatus.policingStatus.policerInstance[] )
//     into( policingMib.policerInstanceTable[ tableIndex ] )
// Every key of the input collection yields one row; a row whose status object is replaced is
// deleted and created again (never re-pointed). Trace facility "PolicingMibTableSm" unless the
// control record names another.
//
// The agent-side owner creates them through the exported factories; the plug-in never does.
#pragma once

#include "InterfacePolicing/PolicerInstance.h"
#include "InterfacePolicing/PolicerName.h"
#include "InterfacePolicing/PolicerProfile.h"
#include "QosSnmp/PolicingMib.h"
#include "QosSnmp/TableSm.h"
#include "QosSnmp/TableSmInputs.h"
#include "QosSnmp/TableSmOutputs.h"
#include "Qos/PolicingStatus.h"
#include "Qos/Status.h"

namespace QosSnmp {

namespace Flume {

// What tells the two policing pipelines apart.
struct PolicingProfileDecl {
  static constexpr const char* smClass = "PolicingProfileTableSm";
  static constexpr const char* stream = "profileStream";
  static constexpr const char* coll = "profile";
  static constexpr const char* keyName = "profileName";
  static constexpr const char* valueName = "profileOpt";
  static constexpr const char* table = "policingProfileTable";
  static constexpr const char* output = "policingMibPolicingProfileTableOutput";
  static constexpr const char* childClass = "QosStatusSm0";
  static constexpr const char* nestedClass = "PolicingStatusSm1";
  using Value = InterfacePolicing::PolicerProfile;
  using Index = PolicingProfileTableIndex;
  static const auto& collOf(const Qos::PolicingStatus& s) { return s.profile(); }
  static auto& tableOf(PolicingMib& mib) { return mib.policingProfileTableColl(); }
};

struct PolicerInstanceDecl {
  static constexpr const char* smClass = "PolicerInstanceTableSm";
  static constexpr const char* stream = "policerInstanceStream";
  static constexpr const char* coll = "policerInstance";
  static constexpr const char* keyName = "policerName";
  static constexpr const char* valueName = "policerInstanceOpt";
  static constexpr const char* table = "policerInstanceTable";
  static constexpr const char* output = "policingMibPolicerInstanceTableOutput";
  static constexpr const char* childClass = "QosStatusSm2";
  static constexpr const char* nestedClass = "PolicingStatusSm3";
  using Value = InterfacePolicing::PolicerInstance;
  using Index = PolicerInstanceTableIndex;
  static const auto& collOf(const Qos::PolicingStatus& s) { return s.policerInstance(); }
  static auto& tableOf(PolicingMib& mib) { return mib.policerInstanceTableColl(); }
};

// The policing table Sm of declaration D.
template <typename D>
class PolicingTableSm : public TableSmBase {
 public:
  using Map = std::remove_cvref_t<decltype(D::collOf(std::declval<const Qos::PolicingStatus&>()))>;
  using Table = std::remove_cvref_t<decltype(D::tableOf(std::declval<PolicingMib&>()))>;
  using ValuePtr = Quill::Ptr<typename D::Value const>;
  using QosStatusSm = AttrChildSm<Qos::Status, Qos::PolicingStatus, Map>;

  PolicingTableSm(Quill::Ptr<PolicingMib> policingMib, Quill::Ptr<Qos::Status const> qosStatus,
                  const Rivo::SmControl& flumeControl);
  ~PolicingTableSm() override;

  const Quill::Ptr<PolicingMib>& policingMib() const noexcept { return policingMib_; }
  const Quill::Ptr<Qos::Status const>& qosStatus() const noexcept { return qosStatus_; }
  const MibTableOutput<Table>& output() const { return *output_; }
  const QosStatusSm* qosStatusSm() const { return qosStatusSm_.get(); }

  // The pipeline: one event per key of the input collection.
  void eventToStream(const InterfacePolicing::PolicerName& name,
                     const std::optional<ValuePtr>& valueOpt);

 protected:
  void assertArgs() const override;
  void createChildren() override;

 private:
  Quill::Ptr<PolicingMib> policingMib_;
  Quill::Ptr<Qos::Status const> qosStatus_;
  std::unique_ptr<MibTableOutput<Table>> output_;
  std::unique_ptr<QosStatusSm> qosStatusSm_;
};

}  // namespace Flume

// The two machines under their own names.
class PolicingProfileTableSm : public Flume::PolicingTableSm<Flume::PolicingProfileDecl> {
  using PolicingTableSm::PolicingTableSm;
};
class PolicerInstanceTableSm : public Flume::PolicingTableSm<Flume::PolicerInstanceDecl> {
  using PolicingTableSm::PolicingTableSm;
};

namespace FlumeCode::PolicingProfileTableSm {
using QosStatusSm0 = ::QosSnmp::PolicingProfileTableSm::QosStatusSm;
using PolicingStatusSm1 = Flume::CollScan<::QosSnmp::PolicingProfileTableSm::Map>;
using PolicingMibPolicingProfileTableOutputKeyType = Flume::OutputKey<PolicingProfileTableIndex>;
}  // namespace FlumeCode::PolicingProfileTableSm
namespace FlumeCode::PolicerInstanceTableSm {
using QosStatusSm2 = ::QosSnmp::PolicerInstanceTableSm::QosStatusSm;
using PolicingStatusSm3 = Flume::CollScan<::QosSnmp::PolicerInstanceTableSm::Map>;
using PolicingMibPolicerInstanceTableOutputKeyType = Flume::OutputKey<PolicerInstanceTableIndex>;
}  // namespace FlumeCode::PolicerInstanceTableSm

Quill::Ptr<PolicingProfileTableSm> policingProfileTableSmFactory(
    Quill::Ptr<PolicingMib> policingMib, Quill::Ptr<Qos::Status const> qosStatus,
    const Rivo::SmControl& flumeControl);
Quill::Ptr<PolicerInstanceTableSm> policerInstanceTableSmFactory(
    Quill::Ptr<PolicingMib> policingMib, Quill::Ptr<Qos::Status const> qosStatus,
    const Rivo::SmControl& flumeControl);

}  // namespace QosSnmp
