// Packets kept as files: tests/data/messages/README.md says what is in them.

#include "tqamsg/binary/binary.h"
#include "tqamsg/msg/auto_destroy.h"
#include "tqamsg/msg/message_factory.h"

#include "tests/support/golden.h"
#include "tests/support/guarded_text.h"
#include "tests/support/messages.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using tqa_test::allGolden;
using tqa_test::bytes;
using tqa_test::Golden;
using tqa_test::hex;
using tqa_test::load;
using tqa_test::Message;
using tqa_test::parse;
using tqa_test::text;

std::string withoutBlankLines(std::string text) {
    const auto bothBreaks = [](char a, char b) { return a == '\n' && b == '\n'; };
    text.erase(std::unique(text.begin(), text.end(), bothBreaks), text.end());
    return text;
}

TEST(RoundTrip, EveryCaseIsThere) {
    EXPECT_EQ(allGolden().size(), 15U);
}

TEST(RoundTrip, TextBecomesTheseBytes) {
    for (const Golden& each : allGolden()) {
        if (each.xml.empty()) continue;
        const Message m = tqa_test::emptyMessage();
        EXPECT_EQ(m->fromText(tqa_test::GuardedText(each.xml).data(), nullptr), 0) << each.name;
        EXPECT_EQ(hex(m), hex(each.encoded)) << each.name;
    }
}

TEST(RoundTrip, BytesComeBackAsTheyWent) {
    for (const Golden& each : allGolden()) {
        EXPECT_EQ(hex(load(each.encoded)), hex(each.encoded)) << each.name;
    }
}

TEST(RoundTrip, BytesPrintThisText) {
    for (const Golden& each : allGolden()) {
        EXPECT_EQ(text(load(each.encoded)), each.printed) << each.name;
    }
}

// Attributes print in reverse and come back in their order after a second trip. Kept: a raw element
// takes the line break before it along, and prints one of its own, so it gains one at each trip.
TEST(RoundTrip, WhatWasPrintedReadsBack) {
    for (const Golden& each : allGolden()) {
        const std::string once = text(parse(each.printed));
        const std::string twice = text(parse(once));
        EXPECT_EQ(withoutBlankLines(twice), withoutBlankLines(each.printed)) << each.name;
    }
}

TEST(RoundTrip, RawElementsGainALineBreakAtEachTrip) {
    std::string printed = text(parse("<data><zz/></data>"));
    EXPECT_EQ(printed, "<data>\n<zz/>\n</data>\n");
    printed = text(parse(printed));
    EXPECT_EQ(printed, "<data>\n\n<zz/>\n</data>\n");
    printed = text(parse(printed));
    EXPECT_EQ(printed, "<data>\n\n\n<zz/>\n</data>\n");
}

TEST(RoundTrip, BytesAreFramedWithTheirLastByte) {
    for (const Golden& each : allGolden()) {
        const auto size = static_cast<int>(each.encoded.size());
        const std::string stream = each.encoded + each.encoded;
        for (int there = 0; there <= 2 * size; ++there) {
            // A copy of its own size shows the sanitizer what is read behind it.
            const std::vector<char> cut(stream.begin(), stream.begin() + there);
            ASSERT_EQ(TQAMessage::isComplete(cut.data(), there), there < size ? 0 : size)
                << each.name << ' ' << there;
        }
    }
}

TEST(RoundTrip, TheRegistryLoadsBytesAndText) {
    for (const Golden& each : allGolden()) {
        std::string encoded = each.encoded;
        EXPECT_EQ(TQAMsgFactory::kindOf(encoded.data()), "TQABinary") << each.name;
        const auto_destroy<TQAMessage> loaded(
            TQAMessage::Factory->newMessage(encoded.data(), static_cast<int>(encoded.size())));
        ASSERT_NE(*loaded, nullptr) << each.name;
        EXPECT_EQ(text(**loaded), each.printed) << each.name;

        std::string printed = each.printed;
        const auto size = static_cast<int>(printed.size());
        const int framed = TQAMessage::isComplete(printed.c_str(), size + 1);
        EXPECT_EQ(framed, size + 1) << each.name;
        const auto_destroy<TQAMessage> read(
            TQAMessage::Factory->newMessage(printed.data(), framed));
        ASSERT_NE(*read, nullptr) << each.name;
    }
}

TEST(RoundTrip, EveryElementIsAMessageOfItsOwn) {
    for (const Golden& each : allGolden()) {
        const Message m = load(each.encoded);
        const tqa_test::Cursor it = tqa_test::cursor(m);
        const std::string root = text(it);
        EXPECT_EQ(bytes(it), bytes(m));
        // Whatever is printed of the parts stands in the whole.
        for (int status = it->firstChild(); status == 0; status = it->nextSibling()) {
            const std::string part = bytes(it);
            const std::string printed = text(load(part));
            EXPECT_EQ(printed, text(it));
            EXPECT_NE(root.find(printed), std::string::npos) << each.name;
        }
    }
}

}  // namespace
