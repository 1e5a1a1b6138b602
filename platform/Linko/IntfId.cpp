#include "Linko/IntfId.h"

#include <charconv>

#include "Quill/Exception.h"

namespace Linko {

namespace {

constexpr std::string_view ethernetPrefix = "Ethernet";
constexpr std::string_view portChannelPrefix = "Port-Channel";

U32 parseNumber(std::string_view digits, std::string_view name, U32 max) {
  U32 n = 0;
  auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), n);
  if (digits.empty() || ec != std::errc() || end != digits.data() + digits.size() || n == 0 ||
      n >= max) {
    throw Quill::RangeException("'" + std::string(name) + "' is not an interface name");
  }
  return n;
}

}  // namespace

IntfId IntfId::ethernet(U32 port) {
  if (port == 0 || port >= portChannelBase) {
    throw Quill::RangeException("Linko::IntfId: Ethernet port " + std::to_string(port) +
                                " out of range");
  }
  return IntfId(port);
}

IntfId IntfId::portChannel(U32 number) {
  if (number == 0 || number >= portChannelBase) {
    throw Quill::RangeException("Linko::IntfId: Port-Channel " + std::to_string(number) +
                                " out of range");
  }
  return IntfId(portChannelBase + number);
}

IntfId IntfId::fromName(std::string_view name) {
  if (name.starts_with(portChannelPrefix)) {
    return portChannel(parseNumber(name.substr(portChannelPrefix.size()), name, portChannelBase));
  }
  if (name.starts_with(ethernetPrefix)) {
    return ethernet(parseNumber(name.substr(ethernetPrefix.size()), name, portChannelBase));
  }
  throw Quill::RangeException("'" + std::string(name) + "' is not an interface name");
}

std::string IntfId::name() const {
  if (value_ == 0) {
    return "";
  }
  if (value_ >= portChannelBase) {
    return std::string(portChannelPrefix) + std::to_string(value_ - portChannelBase);
  }
  return std::string(ethernetPrefix) + std::to_string(value_);
}

}  // namespace Linko
