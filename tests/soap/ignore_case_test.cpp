#include "tqamsg/soap/ignore_case.h"

#include <cctype>
#include <memory>
#include <random>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

using tqa::findIgnoreCase;
using tqa::IgnoreCaseString;

constexpr std::size_t npos = std::string::npos;

// What the C library says about a byte.
int upper(int byte) {
    return static_cast<char>(std::toupper(byte));
}

// Texts of few different bytes, so that needles occur and nearly occur.
class RandomText {
  public:
    std::string operator()(std::size_t maxLength) {
        std::string text(random_() % (maxLength + 1), ' ');
        for (char& c : text) c = "abABx<\xe9\xc9"[random_() % 8];
        return text;
    }
    std::size_t below(std::size_t limit) { return random_() % limit; }

  private:
    std::mt19937 random_{20060307};
};

IgnoreCaseString noCase(const std::string& text) {
    return {text.data(), text.size()};
}

TEST(IgnoreCaseTest, CharactersAreComparedByTheirUpperCaseForms) {
    for (int a = 0; a < 256; ++a)
        for (int b = 0; b < 256; ++b) {
            const char first = static_cast<char>(a);
            const char second = static_cast<char>(b);
            ASSERT_EQ(upper(a) == upper(b), ignorecase_traits::eq(first, second)) << a << " " << b;
            ASSERT_EQ(upper(a) < upper(b), ignorecase_traits::lt(first, second)) << a << " " << b;
        }
}

TEST(IgnoreCaseTest, RunsCompareAtTheirFirstDifference) {
    EXPECT_EQ(0, ignorecase_traits::compare("abc", "ABC", 3));
    EXPECT_EQ(-1, ignorecase_traits::compare("abX", "ABy", 3));
    EXPECT_EQ(1, ignorecase_traits::compare("abY", "ABx", 3));
    EXPECT_EQ(-1, ignorecase_traits::compare("aZ", "ba", 2));
    EXPECT_EQ(-1, ignorecase_traits::compare("a\xe9", "a1", 2));
    EXPECT_EQ(0, ignorecase_traits::compare("abc", "abd", 2));
    EXPECT_EQ(0, ignorecase_traits::compare("a", "b", 0));
}

TEST(IgnoreCaseTest, ACharacterIsFoundInEitherCase) {
    const char text[] = "xyzZY";
    EXPECT_EQ(text + 1, ignorecase_traits::find(text, 5, 'Y'));
    EXPECT_EQ(text + 2, ignorecase_traits::find(text, 5, 'z'));
    EXPECT_EQ(nullptr, ignorecase_traits::find(text, 5, 'a'));
    EXPECT_EQ(nullptr, ignorecase_traits::find(text, 1, 'y'));
}

TEST(IgnoreCaseTest, TheOtherTraitsAreTheOrdinaryOnes) {
    EXPECT_EQ(3u, ignorecase_traits::length("abc"));
    EXPECT_EQ(std::char_traits<char>::eof(), ignorecase_traits::eof());
    char copy[3] = "..";
    EXPECT_STREQ("aB", ignorecase_traits::copy(copy, "aB", 2));
}

TEST(IgnoreCaseTest, StringsSearchAndCompareInEitherCase) {
    const IgnoreCaseString text = "<SOAP:Body><soap:body>";
    EXPECT_EQ(1u, text.find("soap:BODY"));
    EXPECT_EQ(12u, text.rfind("soap:BODY"));
    EXPECT_EQ(npos, text.find("header"));
    EXPECT_EQ(IgnoreCaseString("packet"), IgnoreCaseString("PACKET"));
    EXPECT_LT(IgnoreCaseString("A"), IgnoreCaseString("b"));
}

TEST(IgnoreCaseTest, TheFastSearchFindsWhatTheStringsOwnFinds) {
    RandomText random;
    for (int round = 0; round < 20000; ++round) {
        const std::string text = random(60);
        const std::string needle = random(5);
        const std::size_t from = random.below(63);
        ASSERT_EQ(noCase(text).find(noCase(needle), from), findIgnoreCase(text, needle, from))
            << text << " " << needle << " " << from;
    }
}

TEST(IgnoreCaseTest, LongTextsAndNeedlesAreSearchedTheSame) {
    RandomText random;
    for (int round = 0; round < 2000; ++round) {
        // A needle cut from the text, perhaps damaged in its last byte.
        const std::string text = random(1500) + random(200) + random(200);
        const std::size_t from = random.below(text.size() + 1);
        const std::size_t start = random.below(text.size() + 1);
        std::string needle = text.substr(start, random.below(300));
        if (!needle.empty() && random.below(2) == 0) needle.back() = 'b';
        ASSERT_EQ(noCase(text).find(noCase(needle), from), findIgnoreCase(text, needle, from))
            << start << " " << needle.size() << " " << from;
    }
}

// The text stands in an allocation of exactly its size, so that a read beyond it is seen.
TEST(IgnoreCaseTest, EveryPlaceOfATextIsSearched) {
    const std::string_view needle = "<aB@{z0-:Header>x<aB@{z0-:Header>y";
    for (std::size_t length = 1; length <= needle.size(); ++length)
        for (std::size_t size = length; size < 150; ++size) {
            const std::string_view wanted = needle.substr(0, length);
            const auto exact = std::make_unique<char[]>(size);
            const std::string_view text(exact.get(), size);
            for (std::size_t at = 0; at + length <= size; at += 1 + at % 7) {
                // Bytes that differ from those of the needle in the bit of the case only.
                for (std::size_t i = 0; i < size; ++i) exact[i] = "`[\x1a\x10"[i % 4];
                toUpper(noCase(std::string(wanted))).copy(exact.get() + at, length);
                ASSERT_EQ(at, findIgnoreCase(text, wanted)) << length << " in " << size;
                ASSERT_EQ(at, findIgnoreCase(text, wanted, at)) << length << " in " << size;
                ASSERT_EQ(npos, findIgnoreCase(text, wanted, at + 1)) << length << " in " << size;
            }
        }
}

TEST(IgnoreCaseTest, AnEmptyNeedleIsFoundUpToTheEnd) {
    EXPECT_EQ(0u, findIgnoreCase("", ""));
    EXPECT_EQ(3u, findIgnoreCase("abc", "", 3));
    EXPECT_EQ(npos, findIgnoreCase("abc", "", 4));
    EXPECT_EQ(npos, findIgnoreCase("", "a"));
    EXPECT_EQ(npos, findIgnoreCase("abc", "a", 4));
}

// A needle that a byte interrupts at any place is none.
TEST(IgnoreCaseTest, AnInterruptedNeedleIsNotFound) {
    for (const std::string& needle : {"a" + std::string(99, 'b'), std::string(99, 'a') + "b"}) {
        for (std::size_t at = 1; at < needle.size(); ++at) {
            const std::string text = needle.substr(0, at) + "x" + needle.substr(at);
            EXPECT_EQ(findIgnoreCase(text, needle), npos) << at;
            EXPECT_EQ(findIgnoreCase(text + needle, needle), text.size()) << at;
        }
    }
}

// A search that starts over at each near hit does not come back from these.
TEST(IgnoreCaseTest, NearHitsDoNotAddUp) {
    const std::size_t n = 1000000;
    const std::string text(n, 'a');
    EXPECT_EQ(npos, findIgnoreCase(text, std::string(n / 2, 'A') + "b"));
    EXPECT_EQ(npos, findIgnoreCase(text + "b", std::string(60, 'A') + "c"));
    EXPECT_EQ(n / 2, findIgnoreCase(text + "b", std::string(n / 2, 'A') + "B"));
}

// The rule itself: repeated replacing in place.
template <class String>
void replaceOneByOne(String& text, const String& what, const String& with) {
    for (std::size_t p = 0; (p = text.find(what, p)) != String::npos; p += with.size())
        text.replace(p, what.size(), with);
}

TEST(ReplaceTest, GivesWhatReplacingOneByOneGives) {
    RandomText random;
    for (int round = 0; round < 20000; ++round) {
        const std::string text = random(40);
        const std::string what = random(3) + "a";
        const std::string with = random(4);
        std::string exact = text;
        std::string exactWanted = text;
        replaceOneByOne(exactWanted, what, with);
        ASSERT_EQ(npos, srch_repl(exact, what, with));
        ASSERT_EQ(exactWanted, exact) << text << " " << what << " " << with;

        IgnoreCaseString folded = noCase(text);
        IgnoreCaseString foldedWanted = folded;
        replaceOneByOne(foldedWanted, noCase(what), noCase(with));
        ASSERT_EQ(npos, srch_repl(folded, noCase(what), noCase(with)));
        // Byte for byte: == would ignore the case.
        ASSERT_EQ(std::string(foldedWanted.data(), foldedWanted.size()),
                  std::string(folded.data(), folded.size()))
            << text << " " << what << " " << with;
    }
}

TEST(ReplaceTest, ReplacementsAreNotSearchedAgain) {
    std::string text = "packet_header packet_header";
    srch_repl(text, "packet_header", "packet");
    EXPECT_EQ("packet packet", text);
    srch_repl(text, "packet", "packet_packet");
    EXPECT_EQ("packet_packet packet_packet", text);
}

TEST(ReplaceTest, AnEmptySearchTextChangesNothing) {
    std::string text = "abc";
    EXPECT_EQ(npos, srch_repl(text, "", "x"));
    EXPECT_EQ("abc", text);
    IgnoreCaseString folded = "abc";
    EXPECT_EQ(npos, srch_repl(folded, "", "x"));
    EXPECT_EQ("abc", folded);
}

TEST(ReplaceTest, ATextMayReplaceInItself) {
    std::string text = "aba";
    srch_repl(text, text, text);
    EXPECT_EQ("aba", text);
    srch_repl(text, "b", text);
    EXPECT_EQ("aabaa", text);
}

TEST(ReplaceTest, ManyReplacementsAreOnePass) {
    std::string text;
    IgnoreCaseString folded;
    for (int i = 0; i < 200000; ++i) {
        text += "<packet";
        folded += "<PACKET";
    }
    srch_repl(text, "<packet", "<packet_header");
    srch_repl(folded, "<packet", "<packet_header");
    EXPECT_EQ(200000u * 14, text.size());
    EXPECT_EQ(200000u * 14, folded.size());
}

TEST(CaseTest, EveryByteIsMappedAsInTheCLocale) {
    for (int byte = 0; byte < 256; ++byte) {
        const IgnoreCaseString text(1, static_cast<char>(byte));
        EXPECT_EQ(static_cast<char>(std::toupper(byte)), toUpper(text)[0]) << byte;
        EXPECT_EQ(static_cast<char>(std::tolower(byte)), toLower(text)[0]) << byte;
        EXPECT_EQ(static_cast<char>(byte), text[0]);
    }
}

}  // namespace
