// SOAP requests: a packet whose reply goes back, or a fault that prints.

#include "tqamsg/msg/auto_destroy.h"
#include "tqamsg/msg/message_factory.h"
#include "tqamsg/soap/converter.h"

#include "fuzz/target.h"
#include "tests/support/messages.h"

#include <memory>

#include <gtest/gtest.h>

TQA_TARGET(soap_request) {
    const tqa_test::Block soap(std::string(input) + '\0');
    TQASoapConverter converter;
    const auto_destroy<TQAMessage> request(TQAMsgFactory::createNew());
    if (converter.soapToTqamsg(soap.data(), **request) != 0) {
        ASSERT_NE(converter.getFault(), nullptr);
        ASSERT_NE(tqa::CText(converter.getFault()->toText()), nullptr);
        return;
    }
    ASSERT_EQ(converter.getFault(), nullptr);
    ASSERT_NE(tqa::CText(request->toText(nullptr, true, "u/")), nullptr);
    const auto_destroy<TQAMessage> reply(request->genReply("vem"));
    for (const SoapVersion version : {SOAP_11, SOAP_12, static_cast<SoapVersion>(3)}) {
        TQASoapEnvelope* out = nullptr;
        const int status = converter.tqamsgToSoap(**reply, version, out);
        const std::unique_ptr<TQASoapEnvelope> envelope(out);
        ASSERT_EQ(status == 0, out != nullptr);
        if (out != nullptr) {
            ASSERT_NE(tqa::CText(out->toText()), nullptr);
        }
    }
}
