// Acl::Ecn: the ECN field an ACL or class map rule matches on. Zero means "no ECN value set";
// the other values name which code points of the two-bit IP ECN field the rule accepts.
#pragma once

#include <array>
#include <string_view>

#include "Mox/Enum.h"
#include "Quill/IntTypes.h"

namespace Acl {

enum class Ecn : U8 {
  ecnDontCare_ = 0,  // no ECN value set
  ecnAnyEct_ = 1,    // ECT(0), ECT(1) or CE
  ecnNotEct_ = 2,    // not ECN-capable
  ecnCe_ = 3,        // congestion experienced
  ecnEct_ = 4,       // ECT(0) or ECT(1)
};

}  // namespace Acl

template <>
struct Mox::EnumNames<Acl::Ecn> {
  static constexpr std::string_view typeName = "Acl::Ecn";
  static constexpr std::array<std::string_view, 5> names = {"ecnDontCare_", "ecnAnyEct_",
                                                            "ecnNotEct_", "ecnCe_", "ecnEct_"};
};
