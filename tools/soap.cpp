// `tqamsg soap-request` and `tqamsg soap-response`: the conversions of the SOAP gateway.

#include "tools/verb.h"

namespace tool {

namespace {

void writeEnvelope(TQASoapEnvelope& envelope) {
    const Bytes text(envelope.toText());
    if (text == nullptr) throw Failure(kInputOutput, "out of memory");
    writeOutput(std::string(text.get()) + '\n');
}

// What a client would get for this failure goes to standard output.
[[noreturn]] void refuse(const TQASoapConverter& converter, const std::string& file) {
    TQASoapFault* fault = converter.getFault();
    if (fault != nullptr) writeEnvelope(*fault);
    throw Failure(kMalformed,
                  nameOf(file) + ": " + (fault == nullptr ? "cannot be converted" : fault->reason));
}

void convertRequest(const std::string& file, Form form) {
    const std::string soap = readInput(file);
    TQASoapConverter converter;
    const Message message(TQAMsgFactory::createNew());
    if (converter.soapToTqamsg(soap.c_str(), *message) != 0) refuse(converter, file);
    writeOutput(inForm(*message, form));
}

void convertResponse(const std::string& file, SoapVersion version) {
    forEachMessage(file, [&](const Message& message, Form) {
        TQASoapConverter converter;
        TQASoapEnvelope* envelope = nullptr;
        if (converter.tqamsgToSoap(*message, version, envelope) != 0) refuse(converter, file);
        const std::unique_ptr<TQASoapEnvelope> owned(envelope);
        writeEnvelope(*owned);
    });
}

}  // namespace

void addSoapRequest(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("soap-request", "Turn a SOAP request into a message");
    const auto file = std::make_shared<std::string>();
    const auto binary = std::make_shared<bool>(false);
    verb->add_flag("--binary", *binary, "write the message in binary form, not as XML");
    verb->add_option("FILE", *file, "SOAP 1.1 or 1.2 request")->required();
    verb->callback([file, binary] { convertRequest(*file, *binary ? Form::Binary : Form::Xml); });
}

void addSoapResponse(CLI::App& app) {
    CLI::App* verb =
        app.add_subcommand("soap-response", "Turn a reply into a SOAP response or fault");
    const auto file = std::make_shared<std::string>();
    const auto version = std::make_shared<std::string>("1.1");
    verb->add_option("--soap", *version, "SOAP version of the response")
        ->check(CLI::IsMember({"1.1", "1.2"}))
        ->capture_default_str();
    verb->add_option("FILE", *file, "the reply in XML or binary form")->required();
    verb->callback(
        [file, version] { convertResponse(*file, *version == "1.2" ? SOAP_12 : SOAP_11); });
}

}  // namespace tool
