#include "tools/soap.h"

#include "tools/input.h"
#include "tools/output.h"
#include "tools/verb.h"

namespace tool {

namespace {

std::string textOf(TQASoapEnvelope& envelope) {
    const Bytes text(envelope.toText());
    if (text == nullptr) throw Failure(kInputOutput, "out of memory");
    return std::string(text.get()) + '\n';
}

[[noreturn]] void refuse(const TQASoapConverter& converter, const std::string& file) {
    TQASoapFault* fault = converter.getFault();
    if (fault != nullptr) writeOutput(textOf(*fault));
    throw Failure(kMalformed,
                  nameOf(file) + ": " + (fault == nullptr ? "cannot be converted" : fault->reason));
}

}  // namespace

SoapVersion soapVersionNamed(const std::string& name) {
    return name == "1.2" ? SOAP_12 : SOAP_11;
}

Message messageOfSoap(const std::string& soap, const std::string& file) {
    TQASoapConverter converter;
    Message message = newMessage();
    if (converter.soapToTqamsg(soap.c_str(), *message) != 0) refuse(converter, file);
    return message;
}

std::string soapResponseTo(TQAMessage& reply, SoapVersion version, const std::string& file) {
    TQASoapConverter converter;
    TQASoapEnvelope* envelope = nullptr;
    if (converter.tqamsgToSoap(reply, version, envelope) != 0) refuse(converter, file);
    const std::unique_ptr<TQASoapEnvelope> owned(envelope);
    return textOf(*owned);
}

}  // namespace tool
