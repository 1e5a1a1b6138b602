// Qos::ServicePolicyKey: names the policy map a service policy applies: the policy map's name,
// its map type and the direction it is applied in. A plain value.
#pragma once

#include "Qos/Types.h"
#include "Quill/String.h"

namespace Qos {

struct ServicePolicyKey {
  Mox::String policyMapName;
  MapType mapType{};
  Direction direction{};

  friend bool operator==(const ServicePolicyKey&, const ServicePolicyKey&) = default;
};

}  // namespace Qos
