// What the SOAP gateway finds in a request or a reply, told step by step.
#pragma once

#include "tqamsg/tqamsg.h"

#include <string>

namespace tool {

// One step a line. The steps end where the conversion does.
std::string explainRequest(const std::string& soap);
std::string explainResponse(TQAMessage& reply);

}  // namespace tool
