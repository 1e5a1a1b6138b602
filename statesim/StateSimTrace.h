// The status source's trace facility "StateSim": state files applied at 1, rows and policing
// status keys inserted and deleted at 7.
#pragma once

#include "Quill/Trace.h"

namespace StateSim {

Quill::TraceHandle& trace();

}  // namespace StateSim
