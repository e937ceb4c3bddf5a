// How the kind that has a quicker way to reply to its messages takes part in genReply().
#pragma once

#include "tqamsg/msg/fwd.h"

#include <string>

namespace tqa {

// Makes the reply that genReply() makes through the interfaces of messages and iterators, to the
// last byte; null when that is the way to go, and nothing was changed. May throw std::bad_alloc.
using QuickReply = TQAMessage* (*)(TQAMessage& request, const std::string& replier);

extern const QuickReply quickReply;

}  // namespace tqa
