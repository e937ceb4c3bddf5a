#include "tqamsg/vocabulary/word_table.h"

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

using tqa::WordTable;

constexpr WordTable kOne(std::array<std::string_view, 1>{"only"}, 1);
constexpr WordTable kTwo(std::array<std::string_view, 2>{"ab", "ba"}, -1);

// One text of each length up to 40, none of which is made of repeated bytes.
constexpr std::string_view kLongText = "abcdefghijklmnopqrstuvwxyz0123456789ABCD";
constexpr auto kPrefixes = [] {
    std::array<std::string_view, kLongText.size()> words = {};
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = kLongText.substr(0, i + 1);
    return words;
}();
constexpr WordTable kByLength(kPrefixes, 500);

TEST(WordTable, FindsItsWordsByTheirPlaces) {
    EXPECT_EQ(kOne.id("only"), 1);
    EXPECT_EQ(kTwo.id("ab"), -1);
    EXPECT_EQ(kOne.id("onlx"), 0);
    EXPECT_EQ(kTwo.id("aa"), 0);
}

TEST(WordTable, FindsWordsOfEveryLength) {
    for (std::size_t i = 0; i < kPrefixes.size(); ++i) {
        EXPECT_EQ(kByLength.id(kPrefixes[i]), static_cast<int>(500 + i));
        EXPECT_EQ(kByLength.word(static_cast<int>(500 + i)), kPrefixes[i]);
    }
}

// Enough words that some must give way to others.
TEST(WordTable, ManyWordsThatNoCompilerKnowsAreFound) {
    std::array<std::string, 300> texts;
    std::array<std::string_view, 300> words;
    for (std::size_t i = 0; i < texts.size(); ++i)
        words[i] = texts[i] = std::string(i % 30, '_') + std::to_string(i);
    const WordTable table(words, 500);
    for (std::size_t i = 0; i < words.size(); ++i) {
        EXPECT_EQ(table.id(words[i]), static_cast<int>(500 + i));
        EXPECT_EQ(table.word(static_cast<int>(500 + i)), words[i]);
    }
    EXPECT_EQ(table.id("300"), 0);
}

// The compiler refuses such tables with these texts.
TEST(WordTable, AWordThatStandsTwiceMakesNoTable) {
    const std::array<std::string_view, 3> twice = {"aa", "b", "aa"};
    EXPECT_THROW((WordTable(twice, 1)), const char*);
    std::array<std::string_view, 20> often;
    often.fill("aa");
    EXPECT_THROW((WordTable(often, 1)), const char*);
}

TEST(WordTable, ReadsNothingOutsideTheWord) {
    const std::string text(kLongText);
    for (std::size_t size = 0; size <= text.size(); ++size) {
        const auto exact = std::make_unique<char[]>(size);
        text.copy(exact.get(), size);
        EXPECT_EQ(kByLength.id({exact.get(), size}), size == 0 ? 0 : static_cast<int>(499 + size));
    }
}

TEST(WordTable, ADifferenceInAnyPlaceIsSeen) {
    for (const std::string_view word : kPrefixes) {
        for (std::size_t at = 0; at < word.size(); ++at) {
            std::string other(word);
            other[at] = '#';
            EXPECT_EQ(kByLength.id(other), 0) << other;
        }
    }
}

TEST(WordTable, SameBytesSeesADifferenceInAnyPlace) {
    for (std::size_t size = 1; size <= kLongText.size(); ++size) {
        const std::string a(kLongText.substr(0, size));
        EXPECT_TRUE(tqa::sameBytes(a.data(), kLongText.data(), size)) << size;
        for (std::size_t at = 0; at < size; ++at) {
            std::string b = a;
            b[at] = static_cast<char>(b[at] ^ 1);
            EXPECT_FALSE(tqa::sameBytes(a.data(), b.data(), size)) << size << " at " << at;
        }
    }
}

TEST(WordTable, OtherIdentifiersHaveNoWord) {
    EXPECT_EQ(kByLength.word(499), "");
    EXPECT_EQ(kByLength.word(540), "");
    EXPECT_EQ(kOne.word(0), "");
    EXPECT_EQ(kOne.word(2), "");
    EXPECT_EQ(kOne.word(-2147483647 - 1), "");
    EXPECT_EQ(kOne.word(2147483647), "");
}

}  // namespace
