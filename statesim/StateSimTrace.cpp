#include "StateSimTrace.h"

namespace StateSim {

Quill::TraceHandle& trace() {
  static Quill::TraceHandle handle("StateSim");
  return handle;
}

}  // namespace StateSim
