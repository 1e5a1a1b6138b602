#include "Snmp/TableCounters.h"

#include "Quill/Assert.h"

namespace Snmp {

void TableCounters::orderedIterCntrsInc(U32 type, U64 n) {
  QUILL_ASSERT(type < orderedIterTypes);
  orderedIter_[type] += n;
}

U64 TableCounters::orderedIterCntr(U32 type) const {
  QUILL_ASSERT(type < orderedIterTypes);
  return orderedIter_[type];
}

}  // namespace Snmp
