#include "QosSnmp/IfPolicerMib/IfPolicerMibTableSm.h"

#include "Quill/Assert.h"
#include "Quill/Format.h"

namespace QosSnmp {

namespace Reactive {

namespace {

constexpr const char* storeOutputName = "intfToPolicingStatsCollIntfPolicerInfoStatusCollOutput";
constexpr const char* storeInto =
    "into( intfToPolicingStatsColl[ intfId ].intfPolicerInfoStatusColl[ memId ] )";

std::string collText(const Quill::Ptr<IntfPolicerInfoStatusColl>& coll) {
  return coll ? fmt::format("IntfPolicerInfoStatusColl({} members)",
                            coll->intfPolicerInfoStatusColl().size())
              : std::string("null");
}

}  // namespace

// --- LocalAttrStore ---

Quill::Ptr<IntfPolicerInfoStatusColl> LocalAttrStore::intfToPolicingStatsColl(
    Linko::IntfId intfId) const {
  const Quill::Ptr<IntfPolicerInfoStatusColl>* coll = records_.find(intfId);
  return coll ? *coll : nullptr;
}

Quill::Ptr<IntfPolicerInfoStatusColl> LocalAttrStore::intfToPolicingStatsCollIs(
    Linko::IntfId intfId) {
  if (const Quill::Ptr<IntfPolicerInfoStatusColl>* coll = records_.find(intfId)) {
    return *coll;  // a record always has its collection
  }
  Quill::Ptr<IntfPolicerInfoStatusColl> coll = IntfPolicerInfoStatusCollIs();
  records_.set(intfId, coll);
  return coll;
}

// --- IfPolicerStatsTableSm ---

template <const IfPolicerPipeline& D>
IfPolicerStatsTableSm<D>::IfPolicerStatsTableSm(Quill::Ptr<IfPolicerMib> ifPolicerMib,
                                                Quill::Ptr<Qos::Status const> qosStatus,
                                                Quill::Ptr<Qos::AclHwStatus const> aclHwStatus,
                                                Quill::Ptr<IntfSnmp::IfMib const> ifMib,
                                                const Rivo::SmControl& flumeControl)
    : TableSmBase(D.smClass, "IfPolicerMibTableSm", flumeControl,
                  {"ifMibStream", "ifPolicerStream"}),
      ifPolicerMib_(std::move(ifPolicerMib)),
      qosStatus_(std::move(qosStatus)),
      aclHwStatus_(std::move(aclHwStatus)),
      ifMib_(std::move(ifMib)),
      storeOutput_(*this, storeOutputName) {
  if (ifPolicerMib_) {
    tableOutput_.emplace(*this, D.output, ((*ifPolicerMib_).*D.into)());
  }
  handleInitialized();
}

template <const IfPolicerPipeline& D>
IfPolicerStatsTableSm<D>::~IfPolicerStatsTableSm() = default;

template <const IfPolicerPipeline& D>
void IfPolicerStatsTableSm<D>::assertArgs() const {
  QOSSNMP_ASSERT_SM_ARG(ifPolicerMib());
  QOSSNMP_ASSERT_SM_ARG(qosStatus());
  QOSSNMP_ASSERT_SM_ARG(aclHwStatus());
  QOSSNMP_ASSERT_SM_ARG(ifMib());
}

template <const IfPolicerPipeline& D>
void IfPolicerStatsTableSm<D>::clearLocalStores() {
  store_.intfToPolicingStatsCollDelAll();
}

template <const IfPolicerPipeline& D>
void IfPolicerStatsTableSm<D>::createChildren() {
  qosStatusSm_ = std::make_unique<QosStatusSm>(
      *this, qosStatus_, D.from.childDecl(),
      [this](const auto& key, const auto& status) { eventToIfPolicerStream(key, status); });
  ifMibSm_ = std::make_unique<IfMibSm>(
      *this, ifMib_, D.join,
      [this](const auto& intfId, const auto& ifIndex) { eventToIfMibStream(intfId, ifIndex); });
}

template <const IfPolicerPipeline& D>
void IfPolicerStatsTableSm<D>::eventToIfPolicerStream(
    const Qos::IntfPairKey& intfPairKey, const std::optional<StatusPtr>& intfPolicerInfoStatusOpt) {
  QTRACE(trace(), 7,
         "ifPolicerStream = from( qosStatus.policingStatus.{}[] ): intfPairKey={} "
         "intfPolicerInfoStatusOpt={}",
         D.from.coll, intfPairKey, intfPolicerInfoStatusOpt);
  const Linko::IntfId intfId = intfPairKey.intfId;
  const Linko::IntfId memId = intfPairKey.memberId;
  Quill::Ptr<IntfPolicerInfoStatusColl> coll;  // the interface's, after the event
  if (!intfPolicerInfoStatusOpt) {
    QTRACE(trace(), 7, "{}: deleting k1={}, k2={}", storeInto, intfId, memId);
    coll = store_.intfToPolicingStatsColl(intfId);
    if (coll) {
      coll->intfPolicerInfoStatusCollDel(memId);
      if (coll->intfPolicerInfoStatusColl().empty()) {
        store_.intfToPolicingStatsCollDel(intfId);
        coll = nullptr;
      }
    }
  } else {
    QTRACE(trace(), 7, "{}: inserting k1={}, k2={}, value={}", storeInto, intfId, memId,
           *intfPolicerInfoStatusOpt);
    coll = store_.intfToPolicingStatsCollIs(intfId);
    coll->intfPolicerInfoStatusCollIs(memId, *intfPolicerInfoStatusOpt);
  }
  const U32* ifIndex = ifMib_->ifIndexByIntfId().find(intfId);
  if (!ifIndex) {
    QTRACE(trace(), 6, "filter( ifIndexOpt ) failed, terminating pipeline");
    return;
  }
  intoTable(*ifIndex, coll);
}

template <const IfPolicerPipeline& D>
void IfPolicerStatsTableSm<D>::eventToIfMibStream(Linko::IntfId intfId,
                                                  const std::optional<U32>& ifIndexOpt) {
  QTRACE(trace(), 7, "ifMibStream = from( ifMib.ifIndexByIntfId[] ): intfId={} ifIndexOpt={}",
         intfId, ifIndexOpt);
  if (!ifIndexOpt) {
    // A row written under the interface's earlier ifIndex stays: no event names that index.
    QTRACE(trace(), 6, "filter( ifIndexOpt ) failed, terminating pipeline");
    return;
  }
  intoTable(*ifIndexOpt, store_.intfToPolicingStatsColl(intfId));
}

template <const IfPolicerPipeline& D>
void IfPolicerStatsTableSm<D>::intoTable(U32 ifIndex,
                                         const Quill::Ptr<IntfPolicerInfoStatusColl>& coll) {
  if (!coll) {
    QTRACE(trace(), 7, "into( ifPolicerMib.{}[ ( *ifIndexOpt ) ] ): deleting k1={}", D.table,
           ifIndex);
    tableOutput_->rowDel(ifIndex);
    return;
  }
  QTRACE(trace(), 7, "into( ifPolicerMib.{}[ ( *ifIndexOpt ) ] ): inserting k1={}, value={}",
         D.table, ifIndex, fmt::format("({}, {}, {})", ifIndex, collText(coll), aclHwStatus_));
  tableOutput_->rowIs(ifIndex, coll, aclHwStatus_);
}

template class IfPolicerStatsTableSm<ifPolicerInPipeline>;
template class IfPolicerStatsTableSm<ifPolicerOutPipeline>;

}  // namespace Reactive

}  // namespace QosSnmp
