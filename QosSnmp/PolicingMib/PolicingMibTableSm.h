// The policing profile and policer instance table Sms: they keep the two tables of
// QosSnmp::PolicingMib equal to the QoS agent's policing status, one row per policer profile
// (PolicingProfileTableSm) and per policer instance (PolicerInstanceTableSm), keyed by name.
//
// Each is a declaration (PolicingPipeline, below) of one pipeline on the table Sm runtime
// (TableSm.h):
//   <stream> = from( qosStatus.policingStatus.<coll>[] )
//     into( policingMib.<table>[ indexOf( key ) ] )
// Every key of the input collection yields one row; a row whose status object is replaced is
// deleted and created again (never re-pointed). PolicingTableSm<declaration> is the whole
// machine: a table of another entity fed from a policing status collection is one more
// declaration. Trace facility "PolicingMibTableSm" unless the control record names another.
//
// The agent-side owner creates them through the exported factories; the plug-in never does.
#pragma once

#include <optional>

#include "InterfacePolicing/PolicerName.h"
#include "QosSnmp/SnmpTables/IndexText.h"
#include "QosSnmp/PolicingMib/PolicingMib.h"
#include "QosSnmp/PolicingMib/PolicingStatusInput.h"
#include "QosSnmp/Reactive/TableSm.h"
#include "QosSnmp/Reactive/TableSmOutputs.h"
#include "Quill/Format.h"

namespace QosSnmp {

namespace Reactive {

// The declaration of a pipeline from a policing status collection (Map) into a table of Entry
// rows of the entity Mib.
template <typename MapT, typename MibT, typename EntryT>
struct PolicingPipeline {
  using Map = MapT;
  using Mib = MibT;
  using Entry = EntryT;
  using Key = typename Map::key_type;
  using Index = typename Entry::IndexType;

  const char* smClass;            // "PolicingProfileTableSm"
  const char* stream;             // "profileStream"
  PolicingStatusInput<Map> from;  // the input: its child, task, stream and collection
  const char* keyName;            // the key and value in traces: "profileName", "profileOpt"
  const char* valueName;          //
  Index (*indexOf)(const Key&);   // the key mapping: the row's index for a key
  MibTable<Entry>& (Mib::*into)() noexcept;  // the output table: &PolicingMib::...TableColl
  const char* table;                         // "policingProfileTable"
  const char* output;                        // "policingMibPolicingProfileTableOutput"
};

// The table index of a policing status object's name.
template <typename Index>
Index nameIndex(const InterfacePolicing::PolicerName& name) {
  return Index(Snmp::String(name.str()));
}

inline constexpr PolicingPipeline<Qos::PolicingStatus::ProfileColl, PolicingMib,
                                  PolicingProfileTableEntry>
    policingProfilePipeline{
        .smClass = "PolicingProfileTableSm",
        .stream = "profileStream",
        .from = {.childClass = "QosStatusSm0",
                 .nestedClass = "PolicingStatusSm1",
                 .taskNumber = TaskNumber{0},
                 .stream = StreamIndex{0},
                 .collOf = &Qos::PolicingStatus::profile,
                 .coll = "profile"},
        .keyName = "profileName",
        .valueName = "profileOpt",
        .indexOf = nameIndex<PolicingProfileTableIndex>,
        .into = &PolicingMib::policingProfileTableColl,
        .table = "policingProfileTable",
        .output = "policingMibPolicingProfileTableOutput",
    };

inline constexpr PolicingPipeline<Qos::PolicingStatus::PolicerInstanceColl, PolicingMib,
                                  PolicerInstanceTableEntry>
    policerInstancePipeline{
        .smClass = "PolicerInstanceTableSm",
        .stream = "policerInstanceStream",
        .from = {.childClass = "QosStatusSm2",
                 .nestedClass = "PolicingStatusSm3",
                 .taskNumber = TaskNumber{0},
                 .stream = StreamIndex{0},
                 .collOf = &Qos::PolicingStatus::policerInstance,
                 .coll = "policerInstance"},
        .keyName = "policerName",
        .valueName = "policerInstanceOpt",
        .indexOf = nameIndex<PolicerInstanceTableIndex>,
        .into = &PolicingMib::policerInstanceTableColl,
        .table = "policerInstanceTable",
        .output = "policingMibPolicerInstanceTableOutput",
    };

// The table Sm of the pipeline declared by D.
template <const auto& D>
class PolicingTableSm : public TableSmBase {
 public:
  using Decl = std::remove_cvref_t<decltype(D)>;
  using Map = typename Decl::Map;
  using Mib = typename Decl::Mib;
  using Table = MibTable<typename Decl::Entry>;
  using Value = typename Map::mapped_type;
  using QosStatusSm = QosStatusChildSm<Map>;
  static_assert(D.from.stream.value == 0, "the pipeline has one stream");

  PolicingTableSm(Quill::Ptr<Mib> policingMib, Quill::Ptr<Qos::Status const> qosStatus,
                  const Rivo::SmControl& flumeControl)
      : TableSmBase(D.smClass, "PolicingMibTableSm", flumeControl, {D.stream}),
        policingMib_(std::move(policingMib)),
        qosStatus_(std::move(qosStatus)) {
    if (policingMib_) {
      output_.emplace(*this, D.output, ((*policingMib_).*D.into)());
    }
    handleInitialized();
  }

  const Quill::Ptr<Mib>& policingMib() const noexcept { return policingMib_; }
  const Quill::Ptr<Qos::Status const>& qosStatus() const noexcept { return qosStatus_; }
  const MibTableOutput<Table>& output() const { return *output_; }
  const QosStatusSm* qosStatusSm() const { return qosStatusSm_.get(); }

  // The pipeline: one event per key of the input collection.
  void eventToStream(const typename Decl::Key& key, const std::optional<Value>& valueOpt) {
    QTRACE(trace(), 7, "{} = from( qosStatus.policingStatus.{}[] ): {}={} {}={}", D.stream,
           D.from.coll, D.keyName, key, D.valueName, valueOpt);
    const typename Decl::Index tableIndex = D.indexOf(key);
    if (!valueOpt) {
      QTRACE(trace(), 7, "into( policingMib.{}[ tableIndex ] ): deleting k1={}", D.table,
             indexText(tableIndex));
      output_->rowDel(tableIndex);
      return;
    }
    QTRACE(trace(), 7, "into( policingMib.{}[ tableIndex ] ): inserting k1={}, value={}", D.table,
           indexText(tableIndex), fmt::format("({}, {})", indexText(tableIndex), *valueOpt));
    output_->rowIs(tableIndex, *valueOpt);
  }

 protected:
  void assertArgs() const override {
    QOSSNMP_ASSERT_SM_ARG(policingMib());
    QOSSNMP_ASSERT_SM_ARG(qosStatus());
  }
  void createChildren() override {
    qosStatusSm_ = std::make_unique<QosStatusSm>(
        *this, qosStatus_, D.from.childDecl(),
        [this](const auto& key, const auto& value) { eventToStream(key, value); });
  }

 private:
  Quill::Ptr<Mib> policingMib_;
  Quill::Ptr<Qos::Status const> qosStatus_;
  std::optional<MibTableOutput<Table>> output_;
  std::unique_ptr<QosStatusSm> qosStatusSm_;
};

}  // namespace Reactive

// The two machines under their own names.
class PolicingProfileTableSm : public Reactive::PolicingTableSm<Reactive::policingProfilePipeline> {
  using PolicingTableSm::PolicingTableSm;
};
class PolicerInstanceTableSm : public Reactive::PolicingTableSm<Reactive::policerInstancePipeline> {
  using PolicingTableSm::PolicingTableSm;
};

// The platform's names of the children and output keys.
namespace FlumeCode::PolicingProfileTableSm {
using QosStatusSm0 = ::QosSnmp::PolicingProfileTableSm::QosStatusSm;
using PolicingStatusSm1 = Reactive::CollScan<::QosSnmp::PolicingProfileTableSm::Map>;
using PolicingMibPolicingProfileTableOutputKeyType = Reactive::OutputKey<PolicingProfileTableIndex>;
}  // namespace FlumeCode::PolicingProfileTableSm
namespace FlumeCode::PolicerInstanceTableSm {
using QosStatusSm2 = ::QosSnmp::PolicerInstanceTableSm::QosStatusSm;
using PolicingStatusSm3 = Reactive::CollScan<::QosSnmp::PolicerInstanceTableSm::Map>;
using PolicingMibPolicerInstanceTableOutputKeyType = Reactive::OutputKey<PolicerInstanceTableIndex>;
}  // namespace FlumeCode::PolicerInstanceTableSm

// The exported factories: factory(policingMib, qosStatus, flumeControl).
inline constexpr Factory<PolicingProfileTableSm> policingProfileTableSmFactory;
inline constexpr Factory<PolicerInstanceTableSm> policerInstanceTableSmFactory;

}  // namespace QosSnmp
