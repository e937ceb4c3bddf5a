// `tqamsg soap-request`: the message that a SOAP request asks for.

#include "tools/explain.h"
#include "tools/input.h"
#include "tools/output.h"
#include "tools/soap.h"
#include "tools/verbs.h"

#include <cstdio>

namespace tool {

namespace {

Exit soapRequest(const Arguments& arguments) {
    const std::string file = arguments.text("FILE");
    const std::string soap = readAll(file);
    if (arguments.has("--explain")) std::fputs(explainRequest(soap).c_str(), stderr);
    const Message message = messageOfSoap(soap, file);
    writeOutput(inForm(*message, arguments.has("--binary") ? Form::Binary : Form::Xml));
    return kOk;
}

}  // namespace

Verb soapRequestVerb() {
    return {
        "soap-request",
        "turn a SOAP request into a message",
        "Writes the message that a SOAP 1.1 or 1.2 request asks for. For a request that cannot be "
        "converted the fault that its client would get is written, and the exit status is 3.\n\n"
        "With --explain standard error tells which rule found what, and where: the envelope and "
        "its prefix, the header block, the operation, the declaration of its namespace, the "
        "operator and the version. The last line before a fault says what was looked for in vain.",
        {
            flag("--binary", "write the message in binary form, not as XML"),
            flag("--explain", "tell on standard error which rule found what"),
            operand("FILE", Takes::File, "the SOAP request"),
        },
        {{"tqamsg soap-request --explain request.soap", "why this operator?"}},
        soapRequest,
    };
}

}  // namespace tool
