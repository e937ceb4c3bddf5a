// The parts of the gateway that search texts: envelopes, namespaces, replacements.

#include "tqamsg/soap/converter.h"
#include "tqamsg/soap/envelope.h"
#include "tqamsg/soap/ignore_case.h"
#include "tqamsg/util/strings.h"

#include "fuzz/target.h"
#include "tests/support/messages.h"

#include <memory>

#include <gtest/gtest.h>

// What removeNamespaces() leaves, with searches for one spelling in a copy of lower case.
static std::string plainRemoval(std::string text) {
    std::string lower = toLower(text);
    std::size_t at = 0;
    while ((at = lower.find(" xmlns", at)) != std::string::npos) {
        const std::size_t open = lower.find('"', at);
        const std::size_t close = open == std::string::npos ? open : lower.find('"', open + 1);
        std::size_t end = at + 6;
        if (open != std::string::npos) end = close == std::string::npos ? text.size() : close + 1;
        text.erase(at, end - at);
        lower.erase(at, end - at);
    }
    return text;
}

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
    EXPECT_EQ(std::string(cleaned.c_str()), plainRemoval(text));

    const std::size_t half = text.size() / 2;
    std::string replaced = text;
    srch_repl(replaced, text.substr(half, 2), text.substr(0, 1));
    EXPECT_LE(replaced.size(), text.size());
}
