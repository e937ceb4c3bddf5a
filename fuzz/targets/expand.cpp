// Raw children, as a received message holds them and as putValueXML() stores them, under both
// flags.

#include "tqamsg/vocabulary/word_ids.h"

#include "fuzz/support.h"
#include "fuzz/target.h"
#include "tests/support/usage.h"

#include <gtest/gtest.h>

using namespace tqa_test;

static int expandAt(const Message& m, const std::string& path, std::uint32_t flags) {
    TQABinaryIterator::Policy = flags;
    const Cursor it = cursorAt(m, path);
    TQABinaryIterator::Policy = 0;
    const int status = it->parseUnknown();
    // What has been expanded is not expanded again.
    if (status == 0 && flags == TQABinaryIterator::kRawMustParse) {
        const std::string once = bytes(m);
        EXPECT_EQ(it->parseUnknown(), 0);
        EXPECT_EQ(bytes(m), once);
    }
    expectTravels(m);
    return status;
}

TQA_TARGET(expand) {
    const auto [m, encoded, script] = tqa_fuzz::split(input);
    if (m != nullptr) expand(m);

    // The input as what a raw child holds, between others.
    const std::string raw = tqa_test::element(0, tqa::Kind::Unparsed, std::string(input) + '\0');
    const bool isMessage = tryLoad(std::string(input) + '\0') != nullptr;
    const std::string whole = message(
        container(tqa::Tag_packet, container(tqa::Tag_data, intElement(tqa::Tag_id, 7) + raw + raw +
                                                                intElement(tqa::Tag_uid, 8)) +
                                       intElement(tqa::Tag_veid, 9)));
    for (const std::uint32_t flags : {0U, 1U, 2U, 3U}) {
        const Message holder = load(whole);
        const int status = expandAt(holder, "data", flags);
        EXPECT_EQ(status == 0 || (flags & TQABinaryIterator::kRawMustParse) != 0, true);
        int number = 0;
        EXPECT_EQ(cursor(holder)->getValue(&number, "data/id"), 0);
        EXPECT_EQ(number, 7);
        EXPECT_EQ(cursor(holder)->getValue(&number, "veid"), 0);
        EXPECT_EQ(number, 9);
        if (!isMessage) {
            EXPECT_EQ(bytes(holder), whole);
        }
    }
}
