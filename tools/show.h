// The tree of a message as `tqamsg show` prints it.
#pragma once

#include "tools/message.h"

namespace tool {

void showTree(TQAMessage& message);

}  // namespace tool
