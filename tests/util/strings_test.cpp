#include "tqamsg/util/strings.h"

#include <cctype>
#include <cstring>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

struct StripCase {
    const char* text;
    const char* stringForm;
    const char* pointerForm;
};

std::ostream& operator<<(std::ostream& out, const StripCase& c) {
    return out << testing::PrintToString(c.text);
}

class StripSpaces : public testing::TestWithParam<StripCase> {};

TEST_P(StripSpaces, OfAStringTakesBlanksTabsAndLineFeeds) {
    std::string text = GetParam().text;
    EXPECT_EQ(&strip_spaces(text), &text);
    EXPECT_EQ(text, GetParam().stringForm);
}

TEST_P(StripSpaces, OfAPointerTakesAllWhiteSpace) {
    std::string room = GetParam().text;
    char* s = room.data();
    char* const result = strip_spaces(s);
    EXPECT_EQ(result, s);
    EXPECT_STREQ(s, GetParam().pointerForm);
    EXPECT_GE(s, room.data());
    EXPECT_LE(s, room.data() + room.size());
}

INSTANTIATE_TEST_SUITE_P(
    Table, StripSpaces,
    testing::Values(StripCase{"", "", ""}, StripCase{"x", "x", "x"}, StripCase{"    ", "", ""},
                    StripCase{" \t\n ", "", ""}, StripCase{"  a b  ", "a b", "a b"},
                    StripCase{"\n\ta\t\n", "a", "a"}, StripCase{"a ", "a", "a"},
                    StripCase{" a", "a", "a"}, StripCase{"\r x \r", "\r x \r", "x"},
                    StripCase{" \r x \r ", "\r x \r", "x"},
                    StripCase{"\v\fx\f\v", "\v\fx\f\v", "x"},
                    StripCase{" \xa0\xc3\xa4 ", "\xa0\xc3\xa4", "\xa0\xc3\xa4"}));

TEST(StripSpacesString, KeepsEmbeddedZeroBytes) {
    std::string text = " \0 a \0 "s;
    EXPECT_EQ(strip_spaces(text), "\0 a \0"s);
}

TEST(Chomp, ErasesTrailingCharactersOfTheSet) {
    const struct {
        const char* text;
        const char* set;
        const char* expected;
    } table[] = {
        {"line\r\n", "\r\n", "line"},
        {"line\n\n\n", "\n", "line"},
        {"\nline", "\n", "\nline"},
        {"\r\n\r\n", "\r\n", ""},
        {"", "\n", ""},
        {"line\r\n", "\n", "line\r"},
        {"line", "", "line"},
        {"a/b//", "/", "a/b"},
    };
    for (const auto& [text, set, expected] : table) {
        std::string s = text;
        EXPECT_EQ(&chomp(s, set), &s);
        EXPECT_EQ(s, expected) << testing::PrintToString(text);
    }
}

TEST(LetterCase, FoldsEveryByteLikeTheCLibrary) {
    std::string all, lower, upper;
    for (int c = 0; c < 256; ++c) {
        all += static_cast<char>(c);
        lower += static_cast<char>(std::tolower(c));
        upper += static_cast<char>(std::toupper(c));
    }
    EXPECT_EQ(toLower(all), lower);
    EXPECT_EQ(toUpper(all), upper);
}

TEST(LetterCase, FoldsLettersOnly) {
    EXPECT_EQ(toLower("Get_Info-42 \xc3\x84"), "get_info-42 \xc3\x84");
    EXPECT_EQ(toUpper("Get_Info-42 \xc3\xa4"), "GET_INFO-42 \xc3\xa4");
    EXPECT_EQ(toLower(""), "");
    EXPECT_EQ(toLower("A\0B"s), "a\0b"s);
}

int rot13(int c) {
    return std::isupper(c) != 0 ? (c - 'A' + 13) % 26 + 'A' : c;
}

TEST(LetterCase, ToCaseTakesAnyConversionAndAnyStringOfChar) {
    EXPECT_EQ(toCase<rot13>("HELLO"s), "URYYB");
    const std::basic_string<char> text = "x";
    EXPECT_EQ(toCase<::toupper>(text), "X");
}

}  // namespace
