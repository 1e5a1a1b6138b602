// The input every policing pipeline starts from: one collection of the QoS agent's policing
// status,
//   from( qosStatus.policingStatus.<coll>[] )
// watched by a top-level child on qosStatus ("QosStatusSm0") that keeps a nested scan of the
// collection of the current Qos::PolicingStatus ("PolicingStatusSm1"). Replacing the policing
// status withdraws the old collection's keys and delivers the new one's (AttrChildSm).
#pragma once

#include "Qos/PolicingStatus.h"
#include "Qos/Status.h"
#include "QosSnmp/Reactive/TableSmInputs.h"

namespace QosSnmp::Reactive {

template <typename Map>
using QosStatusChildSm = AttrChildSm<Qos::Status, Qos::PolicingStatus, Map>;

// A pipeline's declaration of such an input.
template <typename Map>
struct PolicingStatusInput {
  const char* childClass;   // "QosStatusSm0"
  const char* nestedClass;  // "PolicingStatusSm1"
  TaskNumber taskNumber;
  StreamIndex stream;
  const Map& (Qos::PolicingStatus::*collOf)() const noexcept;  // &Qos::PolicingStatus::profile
  const char* coll;                                            // "profile"

  constexpr typename QosStatusChildSm<Map>::Decl childDecl() const {
    return {.childClass = childClass,
            .nestedClass = nestedClass,
            .taskNumber = taskNumber,
            .stream = stream,
            .attr = Qos::Status::policingStatusAttr,
            .nestedOf = &Qos::Status::policingStatus,
            .collOf = collOf,
            .collName = coll};
  }
};

}  // namespace QosSnmp::Reactive
