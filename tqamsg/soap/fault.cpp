#include "tqamsg/soap/fault.h"

namespace {

// Kept: "detail" has no prefix in either version.
std::string detailElement(const std::string& detail) {
    return detail.empty() ? std::string() : "<detail>\n" + detail + "</detail>\n";
}

// The names of the codes that differ between the versions, behind those that do not.
std::string codeName(std::string common, TQASoapFault::Code code, const char* client,
                     const char* server) {
    if (!common.empty()) return common;
    return code == TQASoapFault::Client ? client : code == TQASoapFault::Server ? server : "";
}

}  // namespace

TQASoapFault::TQASoapFault(const std::string& namespaceUri, Code faultCode,
                           const std::string& faultReason)
    : TQASoapEnvelope(namespaceUri), code(faultCode), reason(faultReason) {}

TQASoapFault::~TQASoapFault() = default;

std::string TQASoapFault::faultCodeToString(Code faultCode) const {
    return faultCode == VersionMismatch  ? "VersionMismatch"
           : faultCode == MustUnderstand ? "MustUnderstand"
                                         : "";
}

TQASoapFault* TQASoapFault::createSoapFault(SoapVersion version, Code code,
                                            const std::string& reason) {
    switch (version) {
        case SOAP_11:
            return new TQASoapFault11(code, reason);
        case SOAP_12:
            return new TQASoapFault12(code, reason);
    }
    return nullptr;
}

TQASoapFault11::TQASoapFault11(Code faultCode, const std::string& faultReason)
    : TQASoapFault(tqa::soapUriOf(SOAP_11), faultCode, faultReason) {}

TQASoapFault11::~TQASoapFault11() = default;

char* TQASoapFault11::toText() {
    body = "<soap:Fault>\n<faultcode>soap:" + faultCodeToString(code) +
           "</faultcode>\n<faultstring>" + reason + "</faultstring>\n" + detailElement(detail) +
           "</soap:Fault>\n";
    return assembly();
}

std::string TQASoapFault11::faultCodeToString(Code faultCode) const {
    return codeName(TQASoapFault::faultCodeToString(faultCode), faultCode, "Client", "Server");
}

TQASoapFault12::TQASoapFault12(Code faultCode, const std::string& faultReason)
    : TQASoapFault(tqa::soapUriOf(SOAP_12), faultCode, faultReason) {}

TQASoapFault12::~TQASoapFault12() = default;

char* TQASoapFault12::toText() {
    body = "<soap:Fault>\n<soap:Code>\n<soap:Value>soap:" + faultCodeToString(code) +
           "</soap:Value>\n</soap:Code>\n<soap:Reason>\n<soap:Text>" + reason +
           "</soap:Text>\n</soap:Reason>\n" + detailElement(detail) + "</soap:Fault>\n";
    return assembly();
}

std::string TQASoapFault12::faultCodeToString(Code faultCode) const {
    return codeName(TQASoapFault::faultCodeToString(faultCode), faultCode, "Sender", "Receiver");
}
