// The plug-in's feature toggles, read from the platform's toggle file "Snmp.json".
//
// Each accessor asks the toggle service (getToggleState, default on) the first time it is
// called in the process and caches the answer for good: a change of the toggle takes effect
// when the agent restarts. The cache is a function-local static, so concurrent first calls
// are safe and a toggle service that throws leaves it unset (the next call asks again).
//   PolicingConfigSnmp  gates the policing MIB's tables (veloraPolicingMib);
//   IntfPolicingSnmp    gates the interface policer MIB's tables (veloraIfPolicerMib).
#pragma once

namespace QosSnmp {

inline constexpr const char* toggleFile = "Snmp.json";

bool togglePolicingConfigSnmpEnabled();
bool toggleIntfPolicingSnmpEnabled();

}  // namespace QosSnmp
