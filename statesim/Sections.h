// The readers of the state file's sections. Each reads one top-level member into the State,
// validating it and its references to sections read before it; parseState() calls them in
// this order: hardware, interfaces, classMaps, policyMaps, servicePolicies, classCounters,
// ecnCounters, ecnQueues, policerProfiles, policerInstances, interfacePolicers.
#pragma once

#include <string>

#include "State.h"
#include "StateReader.h"

namespace StateSim {

void readHardware(const Reader& r, const Json& value, const std::string& where, State& state);
void readInterfaces(const Reader& r, const Json& value, const std::string& where, State& state);
void readClassMaps(const Reader& r, const Json& value, const std::string& where, State& state);
void readPolicyMaps(const Reader& r, const Json& value, const std::string& where, State& state);
void readServicePolicies(const Reader& r, const Json& value, const std::string& where,
                         State& state);
void readClassCounters(const Reader& r, const Json& value, const std::string& where, State& state);
void readEcnCounters(const Reader& r, const Json& value, const std::string& where, State& state);
void readEcnQueues(const Reader& r, const Json& value, const std::string& where, State& state);
void readPolicerProfiles(const Reader& r, const Json& value, const std::string& where,
                         State& state);
void readPolicerInstances(const Reader& r, const Json& value, const std::string& where,
                          State& state);
void readInterfacePolicers(const Reader& r, const Json& value, const std::string& where,
                           State& state);

// Reads a map id: 1 to maxMapIdLength bytes. `what` is "class map" or "policy map".
Snmp::String readMapId(const JsonObject& object, std::string_view member, std::string_view what);

}  // namespace StateSim
