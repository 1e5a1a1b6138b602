// Qos::HwStatus: the QoS capabilities of the switch's hardware, as the QoS agent publishes
// them. Read by the SNMP model to tell in which unit control-plane rates are programmed.
#pragma once

#include "Quill/Object.h"

namespace Qos {

class HwStatus : public Quill::Object {
 public:
  HwStatus(bool coppBpsSupported, bool coppKbpsSupported)
      : coppBpsSupported_(coppBpsSupported), coppKbpsSupported_(coppKbpsSupported) {}

  // Control-plane rates are programmed in bits per second.
  bool coppBpsSupported() const noexcept { return coppBpsSupported_; }
  void coppBpsSupportedIs(bool s) noexcept { coppBpsSupported_ = s; }
  // Control-plane rates are programmed in kilobits per second.
  bool coppKbpsSupported() const noexcept { return coppKbpsSupported_; }
  void coppKbpsSupportedIs(bool s) noexcept { coppKbpsSupported_ = s; }

 private:
  bool coppBpsSupported_;
  bool coppKbpsSupported_;
};

}  // namespace Qos
