#include "QosSnmp/PolicingMib.h"

namespace QosSnmp {

Mox::AllocationTracker PolicingMib::memAllocationTracker_("QosSnmp::PolicingMib");

Quill::Ptr<PolicingMib> policingMibFactory(Quill::String name) {
  return Quill::make<PolicingMib>(std::move(name));
}

Quill::Ptr<PolicingMib> PolicingMibIs(Quill::String name) {
  return policingMibFactory(std::move(name));
}

}  // namespace QosSnmp
