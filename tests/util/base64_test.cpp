#include "tqamsg/util/base64.h"

#include "tests/util/out_of_memory.h"

#include <climits>
#include <memory>
#include <optional>
#include <ostream>
#include <random>
#include <string>
#include <string_view>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

struct Pair {
    std::string bytes;
    std::string text;
};

std::ostream& operator<<(std::ostream& out, const Pair& pair) {
    return out << '"' << pair.text << '"';
}

class Base64Pairs : public testing::TestWithParam<Pair> {};

TEST_P(Base64Pairs, EncodeAndDecode) {
    const auto& [bytes, text] = GetParam();
    EXPECT_EQ(Base64::encode(bytes), text);
    EXPECT_EQ(Base64::decode(text), bytes);
    std::string out = "untouched";
    EXPECT_EQ(Base64::decode(text, &out), 0);
    EXPECT_EQ(out, bytes);
    EXPECT_EQ(tqa::base64Length(bytes.size()), text.size());
}

INSTANTIATE_TEST_SUITE_P(Table, Base64Pairs,
                         testing::Values(Pair{"", ""}, Pair{"A", "QQ=="}, Pair{"AB", "QUI="},
                                         Pair{"ABC", "QUJD"}, Pair{"ABCD", "QUJDRA=="},
                                         Pair{"foobar", "Zm9vYmFy"}, Pair{"\0"s, "AA=="},
                                         Pair{"\0\0\0"s, "AAAA"}, Pair{"\xff\xff\xff", "////"},
                                         Pair{"\xfb\xef\xbe", "++++"}, Pair{"\xff", "/w=="},
                                         Pair{"\xff\xff", "//8="}));

TEST(Base64, EveryByteValueComesBack) {
    std::string bytes;
    for (int c = 0; c < 256; ++c) bytes += static_cast<char>(c);
    EXPECT_EQ(Base64::decode(Base64::encode(bytes)), bytes);
}

TEST(Base64, RandomBytesOfEveryLengthComeBack) {
    std::mt19937 random(64);
    for (std::size_t size = 0; size < 300; ++size) {
        std::string bytes(size, '\0');
        for (char& c : bytes) c = static_cast<char>(random());
        const std::string text = Base64::encode(bytes);
        ASSERT_EQ(text.size(), (size + 2) / 3 * 4);
        ASSERT_EQ(text.find_first_of("\r\n"), std::string::npos);
        ASSERT_EQ(Base64::decode(text), bytes);
    }
}

struct DecodeCase {
    std::string text;
    int result;
    std::string bytes;
};

std::ostream& operator<<(std::ostream& out, const DecodeCase& c) {
    return out << testing::PrintToString(c.text);
}

class Base64Decode : public testing::TestWithParam<DecodeCase> {};

// The text stands in an allocation of exactly its size, so that a read beyond it is seen.
TEST_P(Base64Decode, FollowsTheTable) {
    const auto& [text, result, bytes] = GetParam();
    const auto exact = std::make_unique<char[]>(text.size());
    text.copy(exact.get(), text.size());
    std::string out = "untouched";
    EXPECT_EQ(Base64::decode(exact.get(), static_cast<int>(text.size()), &out), result);
    EXPECT_EQ(out, result == 0 ? bytes : "untouched");
    EXPECT_EQ(Base64::decode(text), result == 0 ? bytes : "");
}

INSTANTIATE_TEST_SUITE_P(Padding, Base64Decode,
                         testing::Values(DecodeCase{"QQ", 0, "A"}, DecodeCase{"QQ=", 0, "A"},
                                         DecodeCase{"QUI", 0, "AB"}, DecodeCase{"QQ==QQ==", 0, "A"},
                                         DecodeCase{"QQ=!", 0, "A"}, DecodeCase{"QQ==!!", 0, "A"},
                                         DecodeCase{"QUI=\n", 0, "AB"},
                                         DecodeCase{"QUJD=XYZ", -1, ""}, DecodeCase{"=", -1, ""},
                                         DecodeCase{"====", -1, ""}, DecodeCase{"Q=", -1, ""},
                                         DecodeCase{"Q===", -1, ""}, DecodeCase{"QUJDQ=", -1, ""}));

INSTANTIATE_TEST_SUITE_P(InvalidCharacters, Base64Decode,
                         testing::Values(DecodeCase{"Q", -1, ""}, DecodeCase{"QUJDQ", -1, ""},
                                         DecodeCase{"!UJD", -1, ""}, DecodeCase{"Q!JD", -1, ""},
                                         DecodeCase{"QU!D", -1, ""}, DecodeCase{"QUJ!", -1, ""},
                                         DecodeCase{"QU JD", -1, ""}, DecodeCase{"QU\nJD", -1, ""},
                                         DecodeCase{"QUJD\n", -1, ""},
                                         DecodeCase{"QUJD\0"s, -1, ""},
                                         DecodeCase{"QU\0D"s, -1, ""},
                                         DecodeCase{"QU\xc3\xa4", -1, ""},
                                         DecodeCase{"-_-_", -1, ""}));

INSTANTIATE_TEST_SUITE_P(
    LineBreaks, Base64Decode,
    testing::Values(
        DecodeCase{"QU\r\nJD", 0, "ABC"}, DecodeCase{"\r\nQUJD\r\n", 0, "ABC"},
        DecodeCase{"Q\rU\nJ\r\nD", 0, "ABC"}, DecodeCase{"\r", 0, ""}, DecodeCase{"\n\r\n", 0, ""},
        DecodeCase{"QUJD\r\nQUJD", 0, "ABCABC"}, DecodeCase{"QQ\r\n==", 0, "A"},
        DecodeCase{"QUI\r\n=", 0, "AB"}, DecodeCase{"QQ\r\n", 0, "A"}, DecodeCase{"QUI\r", 0, "AB"},
        DecodeCase{"QQ=\r\n!", 0, "A"},
        // A lone character is dropped, but only behind the line breaks that select this.
        DecodeCase{"QUJD\r\nQ", 0, "ABC"}, DecodeCase{"Q\r", 0, ""},
        DecodeCase{"QUJD\r\n!", -1, ""}, DecodeCase{"Q\r=", -1, ""},
        DecodeCase{"QU\r\nJ D", -1, ""}, DecodeCase{"QUJD\r\n=", -1, ""},
        DecodeCase{"QU\r\0JD"s, -1, ""}));

// The rule itself: character by character, line breaks left out when there is a carriage return.
// Nothing when the text is invalid.
std::optional<std::string> decodedPlainly(const std::string& text) {
    const bool lines = text.find('\r') != std::string::npos;
    std::string bytes;
    unsigned int previous = 0;
    int place = 0;
    for (const char c : text) {
        if (lines && (c == '\r' || c == '\n')) continue;
        if (place >= 2 && c == '=') return bytes;
        const unsigned int index = getIndex(c);
        if (index == 255) return std::nullopt;
        if (place > 0) bytes += static_cast<char>(previous << 2 * place | index >> (6 - 2 * place));
        previous = index;
        place = (place + 1) % 4;
    }
    return place == 1 && !lines ? std::nullopt : std::optional(bytes);
}

// Mostly of the alphabet, with line breaks now and then, or with none, or with many.
std::string randomText(std::mt19937& random) {
    const auto rarity = 1u << random() % 8;
    std::string text(random() % 300, 'A');
    for (char& c : text) {
        c = "Ab9+/zZ0"[random() % 8];
        if (random() % rarity == 0) c = "\r\n\n\n"[random() % 4];
        if (random() % 500 == 0) c = "=! \xff"[random() % 4];
    }
    return text;
}

TEST(Base64, RandomTextsAreDecodedAsByTheRule) {
    std::mt19937 random(65);
    int valid = 0;
    for (int round = 0; round < 30000; ++round) {
        const std::string text = randomText(random);
        const auto wanted = decodedPlainly(text);
        std::string out = "untouched";
        ASSERT_EQ(wanted ? 0 : -1, Base64::decode(text, &out)) << testing::PrintToString(text);
        ASSERT_EQ(wanted.value_or("untouched"), out) << testing::PrintToString(text);
        valid += wanted ? 1 : 0;
    }
    EXPECT_GT(valid, 1000);
    EXPECT_LT(valid, 29000);
}

TEST(Base64, CarriageReturnBeyondTheLengthDoesNotCount) {
    std::string out;
    EXPECT_EQ(Base64::decode("QU\nJD\r", 5, &out), -1);
    EXPECT_EQ(Base64::decode("QU\nJD\r", 6, &out), 0);
    EXPECT_EQ(out, "ABC");
}

TEST(Base64, OnlyTheGivenLengthIsDecoded) {
    std::string out;
    EXPECT_EQ(Base64::decode("QUJDQUJD", 4, &out), 0);
    EXPECT_EQ(out, "ABC");
    EXPECT_EQ(Base64::decode("QUJDQUJD", 5, &out), -1);
    EXPECT_EQ(out, "ABC");
}

TEST(Base64, NoTextDecodesToNoBytes) {
    std::string out = "old";
    EXPECT_EQ(Base64::decode(nullptr, 0, &out), 0);
    EXPECT_EQ(out, "");
    EXPECT_EQ(Base64::decode("QUJD", -1, &out), 0);
    EXPECT_EQ(out, "");
    char buffer[2] = {'x', 'x'};
    testing::internal::CaptureStderr();
    EXPECT_EQ(Base64::decode(nullptr, 0, buffer, 1), buffer);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Size mismatch: size 1, 1 not output\n\n");
    EXPECT_EQ((std::string_view{buffer, 2}), "\0x"s);
}

TEST(Base64, DecodesATextIntoItself) {
    std::string text = "QUJD";
    EXPECT_EQ(Base64::decode(text, &text), 0);
    EXPECT_EQ(text, "ABC");
    text = "QU\r\nJD";
    EXPECT_EQ(Base64::decode(text, &text), 0);
    EXPECT_EQ(text, "ABC");
}

// Exit status 0 when the failure is told and the output is as it was.
[[noreturn]] void decodeWithoutMemory() {
    const std::string text(1 << 25, 'A');
    std::string out = "untouched";
    tqa_test::starve();
    _exit(Base64::decode(text, &out) == -1 && out == "untouched" ? 0 : 2);
}

TEST(Base64DeathTest, FailsWhenMemoryEnds) {
    if (!TQA_CAN_STARVE) GTEST_SKIP() << "not under a sanitizer";
    EXPECT_EXIT(decodeWithoutMemory(), testing::ExitedWithCode(0), "");
}

TEST(Base64, EncodesBesideTheRoomItNeedsNothing) {
    for (const std::string_view data : {"", "A", "AB", "ABC", "ABCD"}) {
        std::string room(tqa::base64Length(data.size()) + 1, '#');
        char* const end = tqa::base64Encode(data.data(), data.size(), room.data());
        EXPECT_EQ(end, room.data() + room.size() - 1);
        EXPECT_EQ(room, Base64::encode(std::string(data)) + '#');
    }
    char nothing = '#';
    EXPECT_EQ(tqa::base64Encode(nullptr, 0, &nothing), &nothing);
}

TEST(Base64, IndexIsThePlaceInTheAlphabet) {
    constexpr std::string_view kAlphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (int c = CHAR_MIN; c <= CHAR_MAX; ++c) {
        const std::size_t place = kAlphabet.find(static_cast<char>(c));
        const int expected = place == std::string_view::npos ? 255 : static_cast<int>(place);
        EXPECT_EQ(getIndex(static_cast<char>(c)), expected) << c;
    }
}

struct BufferCase {
    std::string text;
    int size;
    std::string bytes;
    std::string warnings;
};

std::ostream& operator<<(std::ostream& out, const BufferCase& c) {
    return out << testing::PrintToString(c.text) << " into " << c.size;
}

class Base64Buffer : public testing::TestWithParam<BufferCase> {};

TEST_P(Base64Buffer, IsFilledExactlyAndWarnsOnStandardError) {
    const auto& [text, size, bytes, warnings] = GetParam();
    const auto exact = std::make_unique<char[]>(text.size());
    text.copy(exact.get(), text.size());
    std::string out(bytes.size(), '#');
    testing::internal::CaptureStderr();
    EXPECT_EQ(Base64::decode(exact.get(), static_cast<int>(text.size()), out.data(), size),
              out.data());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), warnings);
    EXPECT_EQ(out, bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Table, Base64Buffer,
    testing::Values(
        BufferCase{"QUJD", 3, "ABC", "Size mismatch: resived 4, processed 3.\nQUJD\n"},
        BufferCase{"QUJD", 5, "ABC\0\0"s,
                   "Size mismatch: resived 4, processed 3.\nQUJD\n"
                   "Size mismatch: size 5, 2 not output\nQUJD\n"},
        BufferCase{"QUJD", 2, "AB", "Size mismatch: resived 4, processed 2.\nQUJD\n"},
        BufferCase{"QUJD", 1, "A", "Size mismatch: resived 4, processed 1.\nQUJD\n"},
        BufferCase{"QUJD", 0, "", "Size mismatch: resived 4, processed 0.\nQUJD\n"},
        BufferCase{"QUJD", -1, "", "Size mismatch: resived 4, processed 0.\nQUJD\n"},
        BufferCase{"QUJDRA==", 4, "ABCD", "Size mismatch: resived 8, processed 5.\nQUJDRA==\n"},
        BufferCase{"QQ==", 2, "A\0"s,
                   "Size mismatch: resived 4, processed 2.\nQQ==\n"
                   "Size mismatch: size 2, 1 not output\nQQ==\n"},
        BufferCase{"QUI=", 3, "AB\0"s,
                   "Size mismatch: resived 4, processed 3.\nQUI=\n"
                   "Size mismatch: size 3, 1 not output\nQUI=\n"},
        BufferCase{"", 2, "\0\0"s, "Size mismatch: size 2, 2 not output\n\n"},
        BufferCase{"", 0, "", ""},
        // Meaningless bytes, but always the same ones: each bad character counts as 255.
        BufferCase{"!!!!", 3, "\xff\xff\xff", "Size mismatch: resived 4, processed 3.\n!!!!\n"},
        // The terminator is taken for the character that is missing.
        BufferCase{"Q", 2, "C\0"s, "Size mismatch: size 2, 1 not output\nQ\n"}));

// The rule itself for a text of whole groups: as many bytes as there is room for.
TEST(Base64, LongTextsFillABufferOfEverySize) {
    std::string bytes(150, '\0');
    std::mt19937 random(66);
    for (char& c : bytes) c = static_cast<char>(random());
    const std::string text = Base64::encode(bytes);
    for (std::size_t size = 0; size <= bytes.size(); ++size) {
        std::string out(size + 1, '#');
        testing::internal::CaptureStderr();
        Base64::decode(text.data(), static_cast<int>(text.size()), out.data(),
                       static_cast<int>(size));
        // The last character that was looked at completed the last byte.
        const std::size_t processed = size == 0 ? 0 : size + (size - 1) / 3;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "Size mismatch: resived 200, processed " +
                                                              std::to_string(processed) + ".\n" +
                                                              text + "\n");
        EXPECT_EQ(out, bytes.substr(0, size) + '#');
    }
}

TEST(Base64, ANegativeLengthOrSizeIsNone) {
    std::string out(3, '#');
    testing::internal::CaptureStderr();
    Base64::decode("QUJD", -1, out.data(), 3);
    Base64::decode("QUJD", 4, out.data(), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Size mismatch: size 3, 3 not output\n\n"
              "Size mismatch: resived 4, processed 0.\nQUJD\n");
    EXPECT_EQ(out, std::string(3, '\0'));
}

TEST(Base64, BufferWarningShowsTheGivenLengthOnly) {
    char out[3];
    testing::internal::CaptureStderr();
    Base64::decode("QUJDsecret", 4, out, 3);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Size mismatch: resived 4, processed 3.\nQUJD\n");
}

}  // namespace
