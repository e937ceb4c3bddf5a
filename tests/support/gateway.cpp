#include "tests/support/gateway.h"

#include "tqamsg/msg/auto_destroy.h"
#include "tqamsg/msg/message.h"
#include "tqamsg/msg/message_factory.h"
#include "tqamsg/soap/converter.h"
#include "tqamsg/util/c_text.h"

#include <cstdlib>
#include <memory>

#include <gtest/gtest.h>

namespace tqa_test {

namespace {

std::string taken(char* text) {
    const tqa::CText owner(text);
    EXPECT_NE(nullptr, text);
    return owner ? owner.get() : "";
}

// What is to be read off a converter whose conversion gave -1.
Outcome failure(const TQASoapConverter& converter, int status) {
    EXPECT_EQ(-1, status);
    TQASoapFault* const fault = converter.getFault();
    if (fault == nullptr) return {false, "", "no fault"};
    return {false, taken(fault->toText()),
            "soap:" + fault->faultCodeToString(fault->code) + ": " + fault->reason};
}

}  // namespace

std::string request(const std::string& body, const std::string& header) {
    return "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\">" +
           (header.empty() ? "" : "<s:Header>" + header + "</s:Header>") + "<s:Body>" + body +
           "</s:Body></s:Envelope>";
}

Outcome convert(const std::string& soap) {
    TQASoapConverter converter;
    const auto_destroy<TQAMessage> message(TQAMsgFactory::createNew());
    const int status = converter.soapToTqamsg(soap.c_str(), **message);
    if (status != 0) return failure(converter, status);
    EXPECT_EQ(nullptr, converter.getFault());
    return {true, taken(message->toText(nullptr, false, "")), ""};
}

Outcome answer(const std::string& reply, int version) {
    TQASoapConverter converter;
    const auto_destroy<TQAMessage> message(TQAMsgFactory::createNew());
    std::string text = reply;
    EXPECT_EQ(0, message->fromText(text.data(), nullptr)) << reply;
    TQASoapEnvelope* out = nullptr;
    const int status = converter.tqamsgToSoap(**message, static_cast<SoapVersion>(version), out);
    const std::unique_ptr<TQASoapEnvelope> envelope(out);
    EXPECT_EQ(status == 0, out != nullptr);
    if (status != 0) return failure(converter, status);
    EXPECT_EQ(nullptr, converter.getFault());
    return {true, taken(envelope->toText()), ""};
}

std::string converted(const std::string& soap) {
    const Outcome outcome = convert(soap);
    return outcome.succeeded ? outcome.text : outcome.fault;
}

std::string answered(const std::string& reply, int version) {
    const Outcome outcome = answer(reply, version);
    return outcome.succeeded ? outcome.text : outcome.fault;
}

}  // namespace tqa_test
