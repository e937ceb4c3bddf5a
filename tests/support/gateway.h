// Requests and replies through a converter, with every outcome as one text.
#pragma once

#include <string>

namespace tqa_test {

// A SOAP 1.1 request with these texts inside its body and (unless empty) its header.
std::string request(const std::string& body, const std::string& header = "");

// What a conversion gives: the message as XML or the answer's text after success, the fault's text
// after a failure; and the fault in short.
struct Outcome {
    bool succeeded = false;
    std::string text;
    std::string fault;  // "soap:Client: Version mismatch", "no fault"; "" after success
};

Outcome convert(const std::string& soap);
// The reply is given as XML.
Outcome answer(const std::string& reply, int version);

// The message or the answer; the fault in short after a failure.
std::string converted(const std::string& soap);
std::string answered(const std::string& reply, int version);

}  // namespace tqa_test
