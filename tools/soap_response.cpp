// `tqamsg soap-response`: the SOAP response or fault that a reply becomes.

#include "tools/explain.h"
#include "tools/message_reader.h"
#include "tools/output.h"
#include "tools/soap.h"
#include "tools/verbs.h"

#include <cstdio>

namespace tool {

namespace {

Exit soapResponse(const Arguments& arguments) {
    const std::string file = arguments.text("FILE");
    const SoapVersion version = soapVersionNamed(arguments.text("--soap"));
    const bool isExplained = arguments.has("--explain");
    forEachMessage(file, [&](TQAMessage& message, Form) {
        if (isExplained) std::fputs(explainResponse(message).c_str(), stderr);
        writeOutput(soapResponseTo(message, version, file));
    });
    return kOk;
}

}  // namespace

Verb soapResponseVerb() {
    return {
        "soap-response",
        "turn a reply into a SOAP response or fault",
        "Writes the SOAP response that answers a request, or a fault if the reply carries errors. "
        "The reply names the operation in its cookie, as soap-request left it there.\n\n"
        "With --explain standard error tells which rule chose the namespace, whether errors were "
        "found and where, and what the response is made of.",
        {
            choice("--soap", "VERSION", {"1.1", "1.2"}, "SOAP version of the response (1.1)"),
            flag("--explain", "tell on standard error which rule found what"),
            operand("FILE", Takes::File, "the reply, or several in a row"),
        },
        {{"tqamsg soap-response --soap 1.2 reply.bin", "what a SOAP 1.2 client gets"}},
        soapResponse,
    };
}

}  // namespace tool
