// Texts under each policy, beside the same rules written down plainly.

#include "tqamsg/binary/verify.h"

#include "fuzz/target.h"
#include "tests/support/plain_text.h"
#include "tests/support/usage.h"

#include <gtest/gtest.h>

using namespace tqa_test;

static void readUnder(std::uint32_t policy, const std::string& xml) {
    TQABinary::Policy = policy;
    const Message m = emptyMessage();
    TQABinary::Policy = 0;
    const Block writable(xml + '\0');
    const bool done = m->fromText(writable.data(), nullptr) == 0;
    ASSERT_EQ(std::string_view(writable.data(), xml.size()), xml);
    const std::string encoded = bytes(m);
    const auto size = static_cast<int>(encoded.size());
    ASSERT_EQ(plainRead(xml, policy), done ? std::optional(encoded) : std::nullopt);
    // What was read before a fault is sound too.
    if (!encoded.empty()) {
        ASSERT_EQ(tqa::verify(encoded.data(), size, nullptr), 0);
    }
    expectTravels(m);
}

TQA_TARGET(parse) {
    for (const std::uint32_t policy : {0U, 1U, 2U, 3U}) readUnder(policy, std::string(input));
}
