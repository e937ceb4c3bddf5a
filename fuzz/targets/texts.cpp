// Texts of numbers, times, versions and addresses, beside what the C library makes of them.

#include "tqamsg/util/ip_text.h"
#include "tqamsg/util/number_text.h"
#include "tqamsg/util/strings.h"
#include "tqamsg/util/time_text.h"
#include "tqamsg/util/version_text.h"

#include "fuzz/target.h"
#include "tests/support/messages.h"

#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

static void numbers(std::string_view exact, const char* text) {
    EXPECT_EQ(tqa::textToLong(exact), std::strtol(text, nullptr, 10));
    long long wide = 42;
    long long expected = 42;
    EXPECT_EQ(tqa::scanLongLong(exact, &wide), std::sscanf(text, "%lld", &expected));
    EXPECT_EQ(wide, expected);
    double real = 42;
    double expectedReal = 42;
    EXPECT_EQ(tqa::scanDouble(exact, &real), std::sscanf(text, "%lf", &expectedReal));
    EXPECT_EQ(std::memcmp(&real, &expectedReal, sizeof real), 0) << real << ' ' << expectedReal;
}

// Any eight bytes as numbers.
static void printed(std::string_view input) {
    char eight[8] = {};
    std::memcpy(eight, input.data(), std::min(input.size(), sizeof eight));
    char expected[400];
    const auto real = tqa::load<double>(eight);
    std::snprintf(expected, sizeof expected, "%lf", real);
    EXPECT_EQ(doubleToStr(real), expected);
    const auto wide = tqa::load<long long>(eight);
    std::snprintf(expected, sizeof expected, "%lld", wide);
    EXPECT_EQ(longlongToStr(wide), expected);
    EXPECT_EQ(tqa::textToLong(expected), wide);

    char time[25];
    time2str(wide, time);
    if (*time != '\0' && wide != -1) {
        EXPECT_EQ(str2time(time), wide);
    }
    const auto narrow = tqa::load<unsigned int>(eight);
    unsigned int address = 0;
    EXPECT_EQ(strToIp(ipToStr(narrow), &address), 0);
    EXPECT_EQ(address, narrow);
    char version[tqa::kVersionTextMax];
    tqa::versionToText(static_cast<int>(narrow), version);
}

// Without the zone, which mktime() of a day far away would put elsewhere.
static void times(std::string_view exact, const char* text) {
    int field[7];
    const int count = std::sscanf(text, "%d-%d-%dT%d:%d:%d%d", &field[0], &field[1], &field[2],
                                  &field[3], &field[4], &field[5], &field[6]);
    const time_t found = tqa::textToTime(exact);
    EXPECT_EQ(found, str2time(text));
    if (count != 7) {
        EXPECT_EQ(found, -1);
        return;
    }
    for (const int each : field) {
        if (each < -9999 || each > 9999) return;
    }
    std::tm fields = {};
    fields.tm_year = field[0] - 1900;
    fields.tm_mon = field[1] - 1;
    fields.tm_mday = field[2];
    fields.tm_hour = field[3] - field[6] / 100;
    fields.tm_min = field[4] - field[6] % 100;
    fields.tm_sec = field[5];
    EXPECT_EQ(found, timegm(&fields)) << text;
}

static void addresses(const std::string& text) {
    in_addr expected = {};
    unsigned int address = 42;
    const bool reads = inet_aton(text.c_str(), &expected) != 0;
    EXPECT_EQ(strToIp(text, &address), reads ? 0 : -1);
    EXPECT_EQ(address, reads ? ntohl(expected.s_addr) : 0);
}

static void strings(const std::string& text) {
    std::string trimmed = text;
    strip_spaces(trimmed);
    const std::size_t first = text.find_first_not_of(" \n\t");
    const std::size_t last = text.find_last_not_of(" \n\t");
    EXPECT_EQ(trimmed, first == std::string::npos ? "" : text.substr(first, last - first + 1));
    const tqa_test::Block block(text + '\0');
    char* at = block.data();
    strip_spaces(at);
    std::string chomped = text;
    chomp(chomped, "\r\n");
    EXPECT_EQ(chomped, text.substr(0, text.find_last_not_of("\r\n") + 1));
    EXPECT_EQ(toLower(toUpper(text)), toLower(text));
}

TQA_TARGET(texts) {
    // The text that ends at its length, and at its first zero byte.
    const tqa_test::Block exact(input);
    const std::string text(input.substr(0, input.find('\0')));
    const std::string_view view(exact.data(), input.size());
    numbers(view, text.c_str());
    times(view, text.c_str());
    tqa::textToVersion(view);
    addresses(text);
    strings(text);
    printed(input);
}
