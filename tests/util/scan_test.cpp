#include "tqamsg/util/scan.h"

#include <cctype>
#include <climits>
#include <string_view>

#include <gtest/gtest.h>

namespace {

using tqa::skipSpace;
using tqa::takeChar;
using tqa::takeInteger;

TEST(Scan, KnowsTheWhiteSpaceAndDigitsOfTheCLocale) {
    for (int c = 0; c < 256; ++c) {
        EXPECT_EQ(tqa::isSpace(static_cast<char>(c)), std::isspace(c) != 0) << c;
        EXPECT_EQ(tqa::isDigit(static_cast<char>(c)), std::isdigit(c) != 0) << c;
    }
}

TEST(Scan, SkipsToTheFirstOtherCharacterOrTheEnd) {
    std::string_view text = " \t\r\n\v\fx ";
    skipSpace(text);
    EXPECT_EQ(text, "x ");
    text.remove_prefix(1);
    skipSpace(text);
    EXPECT_TRUE(text.empty());
    skipSpace(text);
    EXPECT_TRUE(text.empty());
}

TEST(Scan, TakesACharacterOnlyWhenItIsThere) {
    std::string_view text = "ab";
    EXPECT_FALSE(takeChar(text, 'b'));
    EXPECT_TRUE(takeChar(text, 'a'));
    EXPECT_TRUE(takeChar(text, 'b'));
    EXPECT_FALSE(takeChar(text, 'b'));
}

TEST(Scan, TakesAnIntegerAndLeavesTheRest) {
    const struct {
        std::string_view text;
        long long value;
        std::string_view rest;
    } table[] = {
        {"12abc", 12, "abc"},
        {" \n-7-8", -7, "-8"},
        {"+005", 5, ""},
        {"9223372036854775807", LLONG_MAX, ""},
        {"-9223372036854775808", LLONG_MIN, ""},
        {"9223372036854775808;", LLONG_MAX, ";"},
        {"-99999999999999999999999 ", LLONG_MIN, " "},
    };
    for (const auto& [text, expected, rest] : table) {
        std::string_view left = text;
        long long value = 0;
        EXPECT_TRUE(takeInteger(left, &value)) << text;
        EXPECT_EQ(value, expected) << text;
        EXPECT_EQ(left, rest) << text;
    }
}

TEST(Scan, LeavesTheValueWhenThereIsNoInteger) {
    for (const std::string_view text : {"", " ", "x", "-", "+", "+-5", "-+5", "--5", "- 5", ".5"}) {
        std::string_view left = text;
        long long value = 77;
        EXPECT_FALSE(takeInteger(left, &value)) << text;
        EXPECT_EQ(value, 77) << text;
    }
}

}  // namespace
