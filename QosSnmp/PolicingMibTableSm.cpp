#include "QosSnmp/PolicingMibTableSm.h"

#include "QosSnmp/IndexText.h"
#include "Quill/Assert.h"
#include "Quill/Format.h"

namespace QosSnmp {

namespace Flume {

template <typename D>
PolicingTableSm<D>::PolicingTableSm(Quill::Ptr<PolicingMib> policingMib,
                                    Quill::Ptr<Qos::Status const> qosStatus,
                                    const Rivo::SmControl& flumeControl)
    : TableSmBase(D::smClass, "PolicingMibTableSm", flumeControl, {D::stream}),
      policingMib_(std::move(policingMib)),
      qosStatus_(std::move(qosStatus)) {
  if (policingMib_) {
    output_ = std::make_unique<MibTableOutput<Table>>(*this, D::output, D::tableOf(*policingMib_));
    outputAdd(*output_);
  }
  handleInitialized();
}

template <typename D>
PolicingTableSm<D>::~PolicingTableSm() = default;

template <typename D>
void PolicingTableSm<D>::assertArgs() const {
  QOSSNMP_ASSERT_SM_ARG(policingMib());
  QOSSNMP_ASSERT_SM_ARG(qosStatus());
}

template <typename D>
void PolicingTableSm<D>::createChildren() {
  typename QosStatusSm::Decl decl{
      .childClass = D::childClass,
      .nestedClass = D::nestedClass,
      .taskNumber = TaskNumber{0},
      .stream = StreamIndex{0},
      .attr = Qos::Status::policingStatusAttr,
      .nestedOf = [](const Qos::Status& s) { return s.policingStatus(); },
      .collOf = [](const Qos::PolicingStatus& s) -> const Map& { return D::collOf(s); },
      .collName = D::coll,
  };
  qosStatusSm_ = std::make_unique<QosStatusSm>(
      *this, qosStatus_, std::move(decl),
      [this](const InterfacePolicing::PolicerName& name, const std::optional<ValuePtr>& value) {
        eventToStream(name, value);
      });
  childAdd(qosStatusSm_.get());
}

template <typename D>
void PolicingTableSm<D>::eventToStream(const InterfacePolicing::PolicerName& name,
                                       const std::optional<ValuePtr>& valueOpt) {
  QTRACE(trace(), 7, "{} = from( qosStatus.policingStatus.{}[] ): {}={} {}={}", D::stream, D::coll,
         D::keyName, name, D::valueName, valueOpt);
  typename D::Index tableIndex(Snmp::String(name.str()));
  if (!valueOpt) {
    QTRACE(trace(), 7, "into( policingMib.{}[ tableIndex ] ): deleting k1={}", D::table,
           indexText(tableIndex));
    output_->rowDel(tableIndex);
    return;
  }
  QTRACE(trace(), 7, "into( policingMib.{}[ tableIndex ] ): inserting k1={}, value={}", D::table,
         indexText(tableIndex), fmt::format("({}, {})", indexText(tableIndex), *valueOpt));
  output_->rowIs(tableIndex, *valueOpt);
}

template class PolicingTableSm<PolicingProfileDecl>;
template class PolicingTableSm<PolicerInstanceDecl>;

}  // namespace Flume

Quill::Ptr<PolicingProfileTableSm> policingProfileTableSmFactory(
    Quill::Ptr<PolicingMib> policingMib, Quill::Ptr<Qos::Status const> qosStatus,
    const Rivo::SmControl& flumeControl) {
  return Quill::make<PolicingProfileTableSm>(std::move(policingMib), std::move(qosStatus),
                                             flumeControl);
}

Quill::Ptr<PolicerInstanceTableSm> policerInstanceTableSmFactory(
    Quill::Ptr<PolicingMib> policingMib, Quill::Ptr<Qos::Status const> qosStatus,
    const Rivo::SmControl& flumeControl) {
  return Quill::make<PolicerInstanceTableSm>(std::move(policingMib), std::move(qosStatus),
                                             flumeControl);
}

}  // namespace QosSnmp
