// The binary kind's quicker way to reply, see tqamsg/msg/quick_reply.h.
#pragma once

#include "tqamsg/msg/fwd.h"

#include <string>

namespace tqa {

TQAMessage* replyToBinary(TQAMessage& request, const std::string& replier);

}  // namespace tqa
