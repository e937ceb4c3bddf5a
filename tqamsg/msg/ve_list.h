// What TQAMessageIterator::getVEList() is made of, for the access list.
#pragma once

#include "tqamsg/msg/fwd.h"

namespace tqa {

// getVEList() with a result of its own, kNoMemory, for a list that could not be read to its end
// because memory ran out.
inline constexpr int kNoMemory = -3;
int readVEList(TQAMessageIterator& it, IDRangeArray& out, bool checkAccess);

}  // namespace tqa
