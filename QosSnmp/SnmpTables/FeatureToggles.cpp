#include "QosSnmp/SnmpTables/FeatureToggles.h"

#include "Toggle.h"

namespace QosSnmp {

bool togglePolicingConfigSnmpEnabled() {
  static const bool state = getToggleState("PolicingConfigSnmp", toggleFile, true);
  return state;
}

bool toggleIntfPolicingSnmpEnabled() {
  static const bool state = getToggleState("IntfPolicingSnmp", toggleFile, true);
  return state;
}

}  // namespace QosSnmp
