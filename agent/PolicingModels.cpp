#include "PolicingModels.h"

#include "Quill/Assert.h"

namespace Agent {

PolicingModels::PolicingModels(Quill::Ptr<Cordb::Dir> root)
    : root_(std::move(root)),
      policingMib_(QosSnmp::policingMibFactory("policingMib")),
      ifPolicerMib_(QosSnmp::ifPolicerMibFactory("ifPolicerMib")) {
  QUILL_ASSERT(root_);
  root_->mount(QosSnmp::PolicingMib::mountPath, policingMib_);
  root_->mount(QosSnmp::IfPolicerMib::mountPath, ifPolicerMib_);
}

PolicingModels::~PolicingModels() {
  root_->unmount(QosSnmp::IfPolicerMib::mountPath);
  root_->unmount(QosSnmp::PolicingMib::mountPath);
}

}  // namespace Agent
