// Replies of the agent, as bytes or text, on their way to SOAP.

#include "tqamsg/soap/converter.h"

#include "fuzz/support.h"
#include "fuzz/target.h"

#include <memory>

#include <gtest/gtest.h>

TQA_TARGET(soap_response) {
    const auto [m, encoded, script] = tqa_fuzz::split(input);
    if (m == nullptr) return;
    for (const int version : {0, 1, 2, 3}) {
        const tqa_test::Message reply = tqa_test::copyOf(m);
        TQASoapConverter converter;
        TQASoapEnvelope* out = nullptr;
        const int status = converter.tqamsgToSoap(*reply, static_cast<SoapVersion>(version), out);
        const std::unique_ptr<TQASoapEnvelope> envelope(out);
        ASSERT_EQ(status == 0, out != nullptr);
        if (out != nullptr) {
            EXPECT_NE(tqa::CText(out->toText()), nullptr);
            EXPECT_EQ(converter.getFault(), nullptr);
        } else if (converter.getFault() != nullptr) {
            EXPECT_NE(tqa::CText(converter.getFault()->toText()), nullptr);
        }
    }
}
