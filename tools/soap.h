// The gateway's conversions, for the verbs that use them.
#pragma once

#include "tools/message.h"

#include <string>

namespace tool {

SoapVersion soapVersionNamed(const std::string& name);

// The message of a SOAP request. When it cannot be converted, what the client would get is written
// to standard output and Failure(kMalformed) thrown; `file` is named in it. The same for replies.
Message messageOfSoap(const std::string& soap, const std::string& file);

// The text of the response or fault that a reply becomes; its data is deleted on the way.
std::string soapResponseTo(TQAMessage& reply, SoapVersion version, const std::string& file);

}  // namespace tool
