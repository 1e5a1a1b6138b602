// Agent::PolicingModels: the model entities of the plug-in's policing modules, mounted below
// the agent's root where the modules look for them (each entity's mountPath): a
// QosSnmp::PolicingMib and a QosSnmp::IfPolicerMib, both empty.
// The table state machines that fill them are created by their own owner. Destroying the
// object unmounts both. Construct it before the MIB modules start (they assert the entities
// exist) and destroy it after they stop. Single-threaded: the agent's thread.
#pragma once

#include "Cordb/Dir.h"
#include "QosSnmp/IfPolicerMib/IfPolicerMib.h"
#include "QosSnmp/PolicingMib/PolicingMib.h"
#include "Quill/Ptr.h"

namespace Agent {

class PolicingModels {
 public:
  // REQUIRES: root.
  explicit PolicingModels(Quill::Ptr<Cordb::Dir> root);
  ~PolicingModels();
  PolicingModels(const PolicingModels&) = delete;
  PolicingModels& operator=(const PolicingModels&) = delete;

  const Quill::Ptr<QosSnmp::PolicingMib>& policingMib() const noexcept { return policingMib_; }
  const Quill::Ptr<QosSnmp::IfPolicerMib>& ifPolicerMib() const noexcept { return ifPolicerMib_; }

 private:
  Quill::Ptr<Cordb::Dir> root_;
  Quill::Ptr<QosSnmp::PolicingMib> policingMib_;
  Quill::Ptr<QosSnmp::IfPolicerMib> ifPolicerMib_;
};

}  // namespace Agent
