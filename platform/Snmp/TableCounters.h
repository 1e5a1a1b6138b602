// Snmp::TableCounters: per-table event counters of the agent's table iterators. Iterator
// callbacks count what they did with orderedIterCntrsInc(type, n); the agent reports them.
// Types 0-5 are the ordered-iteration events (hint missed, hint matched, walk from the first
// row, next with no loop context, next past the last row, next to a further row).
#pragma once

#include <array>

#include "Quill/IntTypes.h"

namespace Snmp {

class TableCounters {
 public:
  static constexpr U32 orderedIterTypes = 6;

  // REQUIRES: type < orderedIterTypes.
  void orderedIterCntrsInc(U32 type, U64 n);
  U64 orderedIterCntr(U32 type) const;

 private:
  std::array<U64, orderedIterTypes> orderedIter_{};
};

}  // namespace Snmp
