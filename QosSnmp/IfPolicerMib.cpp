#include "QosSnmp/IfPolicerMib.h"

namespace QosSnmp {

Mox::AllocationTracker IfPolicerMib::memAllocationTracker_("QosSnmp::IfPolicerMib");

Quill::Ptr<IfPolicerMib> ifPolicerMibFactory(Quill::String name) {
  return Quill::make<IfPolicerMib>(std::move(name));
}

Quill::Ptr<IfPolicerMib> IfPolicerMibIs(Quill::String name) {
  return ifPolicerMibFactory(std::move(name));
}

}  // namespace QosSnmp
