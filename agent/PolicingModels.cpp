#include "PolicingModels.h"

#include "Quill/Assert.h"

namespace Agent {

PolicingModels::PolicingModels(Quill::Ptr<Cordb::Dir> root)
    : root_(std::move(root)),
      policingMib_(QosSnmp::policingMibFactory("policingMib")),
      ifPolicerMib_(QosSnmp::ifPolicerMibFactory("ifPolicerMib")) {
  QUILL_ASSERT(root_);
  root_->mount(policingMibPath, policingMib_);
  root_->mount(ifPolicerMibPath, ifPolicerMib_);
}

PolicingModels::~PolicingModels() {
  root_->unmount(ifPolicerMibPath);
  root_->unmount(policingMibPath);
}

}  // namespace Agent
