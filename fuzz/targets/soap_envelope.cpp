// The parts of the gateway that search texts: envelopes, namespaces, replacements.

#include "tqamsg/soap/converter.h"
#include "tqamsg/soap/envelope.h"
#include "tqamsg/soap/ignore_case.h"

#include "fuzz/target.h"
#include "tests/support/messages.h"

#include <memory>

#include <gtest/gtest.h>

TQA_TARGET(soap_envelope) {
    const tqa_test::Block soap(std::string(input) + '\0');
    const std::string text = soap.data();
    const std::unique_ptr<TQASoapEnvelope> envelope(TQASoapEnvelope::fromText(soap.data()));
    if (envelope != nullptr) {
        // Parts of the text as they stand.
        for (const std::string* part : {&envelope->uri, &envelope->header, &envelope->body}) {
            EXPECT_NE(text.find(*part), std::string::npos);
        }
        EXPECT_NE(tqa::CText(envelope->toText()), nullptr);
    }

    tqa::IgnoreCaseString cleaned(text.c_str());
    EXPECT_EQ(TQASoapConverter::removeNamespaces(cleaned), -1);
    EXPECT_EQ(cleaned.find(" xmlns"), tqa::IgnoreCaseString::npos);
    EXPECT_LE(cleaned.size(), text.size());

    const std::size_t half = text.size() / 2;
    std::string replaced = text;
    srch_repl(replaced, text.substr(half, 2), text.substr(0, 1));
    EXPECT_LE(replaced.size(), text.size());
}
