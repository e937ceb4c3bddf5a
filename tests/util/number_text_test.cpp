#include "tqamsg/util/number_text.h"

#include <bit>
#include <cfloat>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

// A text in an allocation of exactly its size, so that a read beyond it is seen.
class ExactText {
  public:
    explicit ExactText(std::string_view text)
        : bytes(std::make_unique<char[]>(text.size())), size(text.size()) {
        text.copy(bytes.get(), size);
    }
    std::string_view view() const { return {bytes.get(), size}; }

  private:
    std::unique_ptr<char[]> bytes;
    std::size_t size;
};

std::string printed(const char* format, auto value) {
    char text[400];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

const std::vector<long long>& integers() {
    static const std::vector<long long> values = {
        0,     1,       -1,      9,        10,       -10,          99,
        12345, INT_MAX, INT_MIN, LONG_MAX, LONG_MIN, 4294967296LL, 1000000007};
    return values;
}

const std::vector<double>& doubles() {
    static const std::vector<double> values = {0.0,
                                               -0.0,
                                               0.5,
                                               -0.5,
                                               1.0,
                                               -1.0,
                                               3.14159265358979,
                                               0.0000005,
                                               0.0000004,
                                               1e-300,
                                               -1e-300,
                                               1e15,
                                               1e16,
                                               1e22,
                                               1e23,
                                               123456789.123456789,
                                               2.5e-6,
                                               3.5e-6,
                                               0.9999995,
                                               1e100,
                                               1e308,
                                               -1e308,
                                               DBL_MAX,
                                               -DBL_MAX,
                                               DBL_MIN,
                                               DBL_TRUE_MIN,
                                               std::numeric_limits<double>::infinity(),
                                               -std::numeric_limits<double>::infinity(),
                                               std::numeric_limits<double>::quiet_NaN(),
                                               -std::numeric_limits<double>::quiet_NaN()};
    return values;
}

TEST(NumberText, IntegersPrintLikeTheCLibrary) {
    for (const long long value : integers()) {
        const auto asInt = static_cast<int>(value);
        const auto asUnsigned = static_cast<unsigned long>(value);
        EXPECT_EQ(intToStr(asInt), printed("%d", asInt));
        EXPECT_EQ(longToStr(value), printed("%ld", long{value}));
        EXPECT_EQ(ulongToStr(asUnsigned), printed("%lu", asUnsigned));
        EXPECT_EQ(longlongToStr(value), printed("%lld", value));
    }
    EXPECT_EQ(intToStr(-5), "-5");
    EXPECT_EQ(ulongToStr(ULONG_MAX), "18446744073709551615");
}

TEST(NumberText, DoublesPrintWithSixDecimalsAndWhole) {
    EXPECT_EQ(doubleToStr(0.5), "0.500000");
    for (const double value : doubles()) EXPECT_EQ(doubleToStr(value), printed("%lf", value));
    EXPECT_EQ(doubleToStr(-DBL_MAX).size(), tqa::kDoubleTextMax);
}

TEST(NumberText, ToStrPrintsAnyFormatAtAnyLength) {
    EXPECT_EQ(toStr<int>("%04d", 7), "0007");
    EXPECT_EQ(toStr<unsigned int>("%x", 255U), "ff");
    EXPECT_EQ(toStr<double>("%.2f", 2.0), "2.00");
    for (const int width : {30, 31, 32, 33, 500}) {
        const std::string format = '%' + std::to_string(width) + 'd';
        EXPECT_EQ(toStr(format.c_str(), 5),
                  std::string(static_cast<std::size_t>(width) - 1, ' ') + '5');
    }
}

TEST(NumberText, WritersGiveTheSameTextsWithoutATerminator) {
    for (const long long value : integers()) {
        char room[tqa::kIntegerTextMax + 1];
        room[tqa::kIntegerTextMax] = '#';
        EXPECT_EQ(std::string(room, tqa::writeInteger(room, value)), longlongToStr(value));
        EXPECT_EQ(room[tqa::kIntegerTextMax], '#');
    }
    for (const double value : doubles()) {
        char room[tqa::kDoubleTextMax + 1];
        room[tqa::kDoubleTextMax] = '#';
        EXPECT_EQ(std::string(room, tqa::writeDouble(room, value)), doubleToStr(value));
        EXPECT_EQ(room[tqa::kDoubleTextMax], '#');
    }
}

TEST(NumberText, WritersAgreeWithPrintfOnRandomNumbers) {
    std::mt19937_64 random(52);
    for (int i = 0; i < 20000; ++i) {
        const std::uint64_t bits = random();
        char room[tqa::kDoubleTextMax];
        const auto number = std::bit_cast<double>(bits);
        ASSERT_EQ(std::string(room, tqa::writeDouble(room, number)), printed("%lf", number))
            << bits;
        const auto usual = static_cast<double>(static_cast<std::int32_t>(bits)) / 4096;
        ASSERT_EQ(std::string(room, tqa::writeDouble(room, usual)), printed("%lf", usual)) << bits;
        const auto integer = static_cast<long long>(bits) >> (bits % 64);
        ASSERT_EQ(std::string(room, tqa::writeInteger(room, integer)), printed("%lld", integer));
    }
}

// The readers must do what the C library's scanners do with the same text.

bool isSameNumber(double a, double b) {
    if (std::isnan(a) || std::isnan(b))
        return std::isnan(a) && std::isnan(b) && std::signbit(a) == std::signbit(b);
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

void expectLikeStrtol(const std::string& text) {
    EXPECT_EQ(tqa::textToLong(ExactText(text).view()), std::strtol(text.c_str(), nullptr, 10))
        << testing::PrintToString(text);
}

void expectLikeScanfLongLong(const std::string& text) {
    long long expected = 77, value = 77;
    const int result = std::sscanf(text.c_str(), "%lld", &expected);
    EXPECT_EQ(tqa::scanLongLong(ExactText(text).view(), &value), result)
        << testing::PrintToString(text);
    EXPECT_EQ(value, expected) << testing::PrintToString(text);
}

void expectLikeScanfDouble(const std::string& text) {
    double expected = 77, value = 77;
    const int result = std::sscanf(text.c_str(), "%lf", &expected);
    EXPECT_EQ(tqa::scanDouble(ExactText(text).view(), &value), result)
        << testing::PrintToString(text);
    EXPECT_TRUE(isSameNumber(value, expected))
        << testing::PrintToString(text) << ": " << value << " for " << expected;
}

TEST(NumberText, LongsReadAsExpected) {
    EXPECT_EQ(tqa::textToLong("12abc"), 12);
    EXPECT_EQ(tqa::textToLong("abc"), 0);
    EXPECT_EQ(tqa::textToLong(""), 0);
    EXPECT_EQ(tqa::textToLong(std::string_view()), 0);
    EXPECT_EQ(tqa::textToLong("  +7"), 7);
    EXPECT_EQ(tqa::textToLong("99999999999999999999"), LONG_MAX);
    EXPECT_EQ(tqa::textToLong("-99999999999999999999"), LONG_MIN);
    EXPECT_EQ(tqa::textToLong(std::string_view("12345", 2)), 12);
}

TEST(NumberText, ScanResultsAreTheCounts) {
    long long number = 77;
    EXPECT_EQ(tqa::scanLongLong("", &number), -1);
    EXPECT_EQ(tqa::scanLongLong(" \n ", &number), -1);
    EXPECT_EQ(tqa::scanLongLong("x", &number), 0);
    EXPECT_EQ(tqa::scanLongLong("-", &number), 0);
    EXPECT_EQ(number, 77);
    EXPECT_EQ(tqa::scanLongLong(" -5 ", &number), 1);
    EXPECT_EQ(number, -5);

    double real = 77;
    EXPECT_EQ(tqa::scanDouble("", &real), -1);
    EXPECT_EQ(tqa::scanDouble(" \n ", &real), -1);
    EXPECT_EQ(tqa::scanDouble("x", &real), 0);
    EXPECT_EQ(tqa::scanDouble("0x", &real), 0);
    EXPECT_EQ(real, 77);
    EXPECT_EQ(tqa::scanDouble(" -0.25e1 ", &real), 1);
    EXPECT_EQ(real, -2.5);
}

TEST(NumberText, InfIsNoNumberBeforeAnIThatBeginsNoInity) {
    double real = 77;
    for (const char* text : {"infi", "INFI", "-infin", "infinitx", "infix"}) {
        EXPECT_EQ(tqa::scanDouble(text, &real), 0) << text;
        EXPECT_EQ(real, 77) << text;
    }
    for (const char* text : {"inf", "infx", "inf inity", "Infinity", "infinityx"}) {
        EXPECT_EQ(tqa::scanDouble(text, &real), 1) << text;
        EXPECT_EQ(real, std::numeric_limits<double>::infinity()) << text;
        real = 77;
    }
}

TEST(NumberText, HexWithoutDigitsIsZeroBehindAPointOnly) {
    double real = 77;
    for (const char* text : {"0x", "0xg", "0xp1", "-0x"}) {
        EXPECT_EQ(tqa::scanDouble(text, &real), 0) << text;
        EXPECT_EQ(real, 77) << text;
    }
    for (const char* text : {"0x.", "0X.g", "0x.p1"}) {
        EXPECT_EQ(tqa::scanDouble(text, &real), 1) << text;
        EXPECT_EQ(real, 0) << text;
        real = 77;
    }
}

TEST(NumberText, AZeroByteEndsAText) {
    long long number = 77;
    EXPECT_EQ(tqa::scanLongLong(std::string_view("\0 5", 3), &number), -1);
    EXPECT_EQ(tqa::scanLongLong(std::string_view(" \0", 2), &number), -1);
    EXPECT_EQ(tqa::scanLongLong(std::string_view("1\0002", 3), &number), 1);
    EXPECT_EQ(number, 1);
    double real = 77;
    EXPECT_EQ(tqa::scanDouble(std::string_view("\0 5", 3), &real), -1);
    EXPECT_EQ(tqa::scanDouble(std::string_view("1.5\0005", 5), &real), 1);
    EXPECT_EQ(real, 1.5);
    EXPECT_EQ(tqa::scanDouble(std::string_view("inf\0i", 5), &real), 1);
    EXPECT_EQ(tqa::textToLong(std::string_view("1\0002", 3)), 1);
}

TEST(NumberText, IntegersReadLikeTheCLibrary) {
    for (const char* text : {"",
                             " ",
                             "\t\n\v\f\r ",
                             "0",
                             "-0",
                             "+0",
                             "5",
                             "-5",
                             "+5",
                             "- 5",
                             "+-5",
                             "-+5",
                             "--5",
                             "-",
                             "+",
                             " 42",
                             "42 ",
                             "42abc",
                             "abc",
                             "0x10",
                             "010",
                             "1e3",
                             "1.5",
                             ".5",
                             "\xa0\x35",
                             "0000000000000012",
                             "9223372036854775807",
                             "9223372036854775808",
                             "-9223372036854775808",
                             "-9223372036854775809",
                             "18446744073709551616",
                             "99999999999999999999999999999999",
                             "2147483648",
                             "x5",
                             "\b5"}) {
        expectLikeStrtol(text);
        expectLikeScanfLongLong(text);
    }
}

TEST(NumberText, DoublesReadLikeTheCLibrary) {
    for (const char* text : {"",
                             " ",
                             "\t\n\v\f\r ",
                             "0",
                             "-0",
                             "+0",
                             "0.",
                             ".0",
                             ".",
                             "+.",
                             "-.",
                             "+.5",
                             "-.5",
                             "5.",
                             "5.e3",
                             ".e5",
                             ".5e",
                             "1e",
                             "1e+",
                             "1e-",
                             "1e5",
                             "1E5",
                             "1e+5",
                             "1e-5",
                             "1e+-5",
                             "1e5.5",
                             "1.2.3",
                             "1,5",
                             "--5",
                             "+-5",
                             "- 5",
                             "e5",
                             "+e5",
                             "12abc",
                             "1e5x",
                             "00012",
                             "0e0",
                             "0e999999999999999999999",
                             "1e308",
                             "1e309",
                             "-1e309",
                             "1e-323",
                             "1e-324",
                             "-1e-400",
                             "1e99999999999999999999",
                             "1e-99999999999999999999",
                             "1.7976931348623157e308",
                             "1.7976931348623159e308",
                             "4.9406564584124654e-324",
                             "2.4703282292062327e-324",
                             "2.4703282292062328e-324",
                             "2.2250738585072011e-308",
                             "9007199254740993",
                             "9007199254740992.5",
                             "0.1",
                             "123456789012345678901",
                             "inf",
                             "INF",
                             "Inf",
                             "-inf",
                             "+inf",
                             "infinity",
                             "INFINITY",
                             "-Infinity",
                             "in",
                             "i",
                             "infi",
                             "infin",
                             "infinit",
                             "infinitx",
                             "infx",
                             "inf inity",
                             "infinityx",
                             "nan",
                             "NaN",
                             "-nan",
                             "+nan",
                             "na",
                             "n",
                             "nanx",
                             "nan(1)",
                             "nan(",
                             "n an",
                             "x",
                             "0x",
                             "0X",
                             "0xg",
                             "0x.",
                             "0x.g",
                             "0x.p1",
                             "0xp1",
                             "+0x",
                             "-0x.",
                             "0x1",
                             "0X1F",
                             "0xe",
                             "0x1e5",
                             "0x1p",
                             "0x1p+",
                             "0x1p3",
                             "0X1P3",
                             "0x1p-3",
                             "0x1.8p3",
                             "0x.8p1",
                             "0x8.p1",
                             "0x.8",
                             "0x1.8.1",
                             "0x1p3p4",
                             "0x1p1f",
                             "-0x1.8p3",
                             "0x1p1023",
                             "0x1p1024",
                             "0x1p-1074",
                             "0x1p-1075",
                             "0x1.8p-1075",
                             "0x1p-1080",
                             "-0x1p-1080",
                             "0x1p99999999999999999999",
                             "0x1p-99999999999999999999",
                             "0x0p99999999999999999999",
                             "0x1.fffffffffffff8p0",
                             "0x1.fffffffffffff7ffp0",
                             "0x1.00000000000008p0",
                             "0x1.000000000000080001p0",
                             "0x123456789abcdef0123",
                             "0x0.0000000000000000000001p0",
                             "0x1.fffffffffffff8p1023",
                             "0x1.fffffffffffff7p1023",
                             "0 x1",
                             "\x10x1",
                             "1\x0e",
                             "0x 1",
                             "0x-1",
                             "\xa0\x35"})
        expectLikeScanfDouble(text);
}

TEST(NumberText, LongDigitsAndExponentsCancel) {
    for (const int zeros : {300, 308, 309, 310, 320, 330, 400, 2000}) {
        const std::string many(static_cast<std::size_t>(zeros), '0');
        for (const std::string& exponent :
             {""s, "e-"s + std::to_string(zeros), "e-"s + std::to_string(zeros + 400),
              "e-"s + std::to_string(zeros - 300)}) {
            expectLikeScanfDouble('1' + many + exponent);
            expectLikeScanfDouble('1' + many + ".5" + exponent);
            expectLikeScanfDouble("000" + many + exponent);
        }
        for (const std::string& exponent :
             {""s, "e"s + std::to_string(zeros), "e"s + std::to_string(zeros + 400),
              "e"s + std::to_string(zeros - 300)}) {
            expectLikeScanfDouble("0." + many + '1' + exponent);
            expectLikeScanfDouble('.' + many + "9e" + exponent.substr(exponent.empty() ? 0 : 1));
        }
        if (zeros > 400)  // too small although the exponent is positive
            expectLikeScanfDouble("0." + many + "1e" + std::to_string(zeros - 400));
        expectLikeScanfDouble("0x1" + many + "p-" + std::to_string(4 * zeros));
        expectLikeScanfDouble("0x1" + many);
        expectLikeScanfDouble("0x." + many + "1p" + std::to_string(4 * zeros));
        expectLikeScanfDouble("0x." + many + '1');
    }
}

TEST(NumberText, RandomTextsReadLikeTheCLibrary) {
    // Each of the alphabets makes other texts likely.
    const std::string_view alphabets[] = {"0123456789", "0123456789+-.e", "00x.pP123abcdefABCDEF+-",
                                          "iInNfFtTyYaA", "0019+-.eExXpPinfat \t"};
    std::mt19937 random(2006);
    for (int i = 0; i < 60000; ++i) {
        const std::string_view alphabet = alphabets[random() % std::size(alphabets)];
        std::string text;
        for (auto length = random() % 24; length > 0; --length)
            text += alphabet[random() % alphabet.size()];
        if (random() % 8 == 0) text.insert(0, " -");
        if (random() % 8 == 0) text.insert(0, "0x");
        expectLikeStrtol(text);
        expectLikeScanfLongLong(text);
        expectLikeScanfDouble(text);
        if (testing::Test::HasFailure()) FAIL() << "at text " << i;
    }
}

TEST(NumberText, RandomDoublesComeBackFromTheirTexts) {
    std::mt19937_64 random(308);
    for (int i = 0; i < 20000; ++i) {
        const auto number = std::bit_cast<double>(random());
        for (const char* format : {"%.17g", "%a", "%.3e", "%.40g"}) {
            const std::string text = printed(format, number);
            expectLikeScanfDouble(text);
        }
        if (testing::Test::HasFailure()) FAIL() << "at number " << i;
    }
}

TEST(NumberText, TheLocaleDoesNotMatter) {
    const char* const comma[] = {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "fr_FR.UTF-8",
                                 "ru_RU.UTF-8"};
    const char* found = nullptr;
    for (const char* name : comma)
        if (found == nullptr) found = std::setlocale(LC_ALL, name);
    if (found == nullptr) GTEST_SKIP() << "no locale with a decimal comma is installed";

    EXPECT_EQ(printed("%.1f", 0.5), "0,5");
    EXPECT_EQ(doubleToStr(0.5), "0.500000");
    EXPECT_EQ(toStr<double>("%.1f", 0.5), "0.5");
    char room[tqa::kDoubleTextMax];
    EXPECT_EQ(std::string(room, tqa::writeDouble(room, 0.5)), "0.500000");
    double value = 0;
    EXPECT_EQ(tqa::scanDouble("0.5", &value), 1);
    EXPECT_EQ(value, 0.5);
    EXPECT_EQ(printed("%.1f", 0.5), "0,5");
    std::setlocale(LC_ALL, "C");
}

}  // namespace
