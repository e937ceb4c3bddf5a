#include "tqamsg/util/c_text.h"

#include "tests/util/out_of_memory.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <unistd.h>
#include <utility>

#include <gtest/gtest.h>

namespace {

using tqa::CText;
using tqa::TextBuffer;

static_assert(!std::is_copy_constructible_v<TextBuffer> && !std::is_copy_assignable_v<TextBuffer>);
static_assert(std::is_nothrow_move_constructible_v<TextBuffer>);

std::string_view viewOf(const TextBuffer& text) {
    return {text.data(), text.size()};
}

TEST(TextBuffer, IsEmptyAtFirst) {
    TextBuffer text;
    EXPECT_EQ(text.size(), 0U);
    EXPECT_FALSE(text.failed());
    const CText released(text.release());
    EXPECT_STREQ(released.get(), "");
}

TEST(TextBuffer, GathersCharactersAndTexts) {
    TextBuffer text(3);
    text.append("<a>");
    text.append('x');
    text.append(std::string_view());
    text.append("</a>");
    EXPECT_EQ(viewOf(text), "<a>x</a>");
    const CText released(text.release());
    EXPECT_STREQ(released.get(), "<a>x</a>");
}

TEST(TextBuffer, GrowsAsNeeded) {
    TextBuffer text;
    std::string expected;
    for (int i = 0; i < 3000; ++i) {
        text.append(static_cast<char>('a' + i % 26));
        text.append("some words");
        expected += static_cast<char>('a' + i % 26);
        expected += "some words";
    }
    EXPECT_EQ(viewOf(text), expected);
    const std::string big(1000000, 'b');
    text.append(big);
    expected += big;
    EXPECT_EQ(viewOf(text), expected);
}

TEST(TextBuffer, TakesBytesWrittenInPlace) {
    TextBuffer text;
    text.append("n=");
    char* const at = text.grow(10);
    ASSERT_NE(at, nullptr);
    std::memcpy(at, "42", 2);
    text.commit(2);
    text.append(';');
    EXPECT_EQ(viewOf(text), "n=42;");
    EXPECT_EQ(text.grow(0), text.data() + text.size());
}

TEST(TextBuffer, ReleasedTextBelongsToTheCaller) {
    TextBuffer text;
    text.append("one");
    const CText one(text.release());
    EXPECT_EQ(text.size(), 0U);
    text.append("two");
    const CText two(text.release());
    EXPECT_STREQ(one.get(), "one");
    EXPECT_STREQ(two.get(), "two");
}

TEST(TextBuffer, ReleaseOfAFullBufferFindsRoomForTheTerminator) {
    for (std::size_t size = 60; size < 70; ++size) {
        TextBuffer text;
        text.append(std::string(size, 'x'));
        const CText released(text.release());
        EXPECT_EQ(std::strlen(released.get()), size);
    }
}

TEST(TextBuffer, MovesLeaveAnEmptyBuffer) {
    TextBuffer one;
    one.append("text");
    TextBuffer two(std::move(one));
    EXPECT_EQ(viewOf(two), "text");
    one = TextBuffer();
    one.append("other");
    two = std::move(one);
    EXPECT_EQ(viewOf(two), "other");
    one = TextBuffer();
    EXPECT_EQ(one.size(), 0U);
    one.append('x');
    EXPECT_EQ(viewOf(one), "x");
}

// The room of the buffer that was replaced is gone with it: filled as far as that reached, the new
// one would end far behind its block.
TEST(TextBuffer, AMoveBringsTheRoomOfTheOther) {
    TextBuffer text(std::size_t{1} << 24);
    TextBuffer small;
    small.append('x');
    text = std::move(small);
    text.append(std::string((std::size_t{1} << 24) - 1, 'y'));
    EXPECT_EQ(text.size(), std::size_t{1} << 24);
}

// A size that no allocation can have fails everywhere alike.
TEST(TextBuffer, IgnoresEverythingAfterAFailure) {
    TextBuffer text;
    text.append("lost");
    EXPECT_EQ(text.grow(SIZE_MAX), nullptr);
    EXPECT_TRUE(text.failed());
    text.append('x');
    text.append("more");
    EXPECT_EQ(text.grow(1), nullptr);
    EXPECT_EQ(text.size(), 0U);
    EXPECT_EQ(text.release(), nullptr);
    EXPECT_TRUE(text.failed());
    text = TextBuffer();
    text.append("again");
    EXPECT_EQ(viewOf(text), "again");
}

TEST(TextBuffer, AReserveThatCannotBeIsAFailure) {
    TextBuffer text(SIZE_MAX);
    EXPECT_TRUE(text.failed());
    EXPECT_EQ(text.release(), nullptr);
}

// Exit status 0 when the failure is noticed and nothing comes of it.
[[noreturn]] void appendUntilMemoryEnds() {
    tqa_test::starve();
    TextBuffer text;
    for (long i = 0; i < 1L << 40 && !text.failed(); ++i) text.append("some words");
    text.append('x');
    _exit(text.release() == nullptr && text.size() == 0 ? 0 : 2);
}

TEST(TextBufferDeathTest, FailsWhenTheNextCharacterFindsNoMemory) {
    const auto fill = [] {
        TextBuffer text;
        tqa_test::starve();
        while (!text.failed()) text.append('x');
        text.append('y');
        ::_exit(text.size() == 0 && text.release() == nullptr ? 0 : 1);
    };
    if (!TQA_CAN_STARVE) GTEST_SKIP() << "not under a sanitizer";
    EXPECT_EXIT(fill(), testing::ExitedWithCode(0), "");
}

TEST(TextBufferDeathTest, FailsWhenMemoryEnds) {
    if (!TQA_CAN_STARVE) GTEST_SKIP() << "not under a sanitizer";
    EXPECT_EXIT(appendUntilMemoryEnds(), testing::ExitedWithCode(0), "");
}

}  // namespace
