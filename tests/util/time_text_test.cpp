#include "tqamsg/util/time_text.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

// Sets the process's time zone for as long as it lives.
class ZoneScope {
  public:
    explicit ZoneScope(const char* zone) {
        if (const char* old = std::getenv("TZ")) saved = std::make_unique<std::string>(old);
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ZoneScope() {
        if (saved)
            setenv("TZ", saved->c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    ZoneScope(const ZoneScope&) = delete;
    ZoneScope& operator=(const ZoneScope&) = delete;

  private:
    std::unique_ptr<std::string> saved;
};

std::string written(time_t t) {
    char room[26];
    std::memset(room, '#', sizeof room);
    EXPECT_EQ(time2str(t, room), room);
    EXPECT_EQ(room[25], '#');
    return room;
}

// The first and last second that can be written.
constexpr time_t kFirst = -93692592000;
constexpr time_t kLast = 253402300799;

TEST(Time2Str, WritesUtc) {
    const struct {
        time_t time;
        const char* text;
    } table[] = {
        {0, "1970-01-01T00:00:00+0000"},
        {-1, "1969-12-31T23:59:59+0000"},
        {1118124550, "2005-06-07T06:09:10+0000"},
        {951782399, "2000-02-28T23:59:59+0000"},
        {951782400, "2000-02-29T00:00:00+0000"},
        {4107542399, "2100-02-28T23:59:59+0000"},
        {4107542400, "2100-03-01T00:00:00+0000"},
        {2147483647, "2038-01-19T03:14:07+0000"},
        {2147483648, "2038-01-19T03:14:08+0000"},
        {-62135596800, "0001-01-01T00:00:00+0000"},
        {-62167219200, "0000-01-01T00:00:00+0000"},
        {-62167219201, "-001-12-31T23:59:59+0000"},
        {kFirst, "-999-01-01T00:00:00+0000"},
        {kLast, "9999-12-31T23:59:59+0000"},
    };
    for (const auto& [time, text] : table) {
        EXPECT_EQ(written(time), text);
        EXPECT_EQ(str2time(text), time) << text;
    }
}

TEST(Time2Str, IsEmptyWhenTheYearDoesNotFit) {
    for (const time_t time : {kFirst - 1, kLast + 1, std::numeric_limits<time_t>::min(),
                              std::numeric_limits<time_t>::max()})
        EXPECT_EQ(written(time), "");
}

TEST(Time2Str, AgreesWithTheCLibrary) {
    std::mt19937_64 random(1970);
    std::uniform_int_distribution<time_t> times(kFirst, kLast);
    for (int i = 0; i < 50000; ++i) {
        const time_t time = times(random);
        struct tm utc = {};
        ASSERT_NE(gmtime_r(&time, &utc), nullptr);
        char expected[128];
        std::snprintf(expected, sizeof expected, "%04d-%02d-%02dT%02d:%02d:%02d+0000",
                      utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min,
                      utc.tm_sec);
        ASSERT_EQ(written(time), expected);
        ASSERT_EQ(str2time(expected), time) << expected;
    }
}

TEST(Str2Time, ComesBackInEveryZone) {
    std::mt19937_64 random(24);
    // Zones with odd offsets, with daylight saving, and with offsets that changed over the years.
    for (const char* zone :
         {"UTC0", "EAST-3", "WEST8", "ODD-5:45", "EST5EDT,M3.2.0,M11.1.0", "Europe/London",
          "Africa/Monrovia", "Pacific/Apia", "Asia/Kathmandu"}) {
        const ZoneScope scope(zone);
        std::uniform_int_distribution<time_t> recent(-3000000000, 5000000000);
        std::uniform_int_distribution<time_t> any(kFirst, kLast);
        for (int i = 0; i < 2000; ++i) {
            const time_t time = i % 2 == 0 ? recent(random) : any(random);
            ASSERT_EQ(str2time(written(time).c_str()), time) << zone;
        }
    }
}

TEST(Str2Time, ReadsTheZone) {
    const time_t utc = str2time("2005-06-07T06:09:10+0000");
    EXPECT_EQ(utc, 1118124550);
    EXPECT_EQ(str2time("2005-06-07T08:09:10+0200"), utc);
    EXPECT_EQ(str2time("2005-06-07T00:39:10-0530"), utc);
    EXPECT_EQ(str2time("2005-06-07T06:09:10-0000"), utc);
    EXPECT_EQ(str2time("2005-06-07T06:14:10+05:30"), utc);
    EXPECT_EQ(str2time("2005-06-07T06:09:10+9"), utc - 9 * 60);
}

TEST(Str2Time, RefusesWhatIsNotWhole) {
    for (const char* text :
         {"", " ", "2005", "2005-06-07", "2005-06-07T08:09", "2005-06-07T08:09:10",
          "2005-06-07T08:09:10Z", "2005-06-07T08:09:10+", "2005-06-07T08:09:10-",
          "2005-06-07 08:09:10+0000", "2005-06-07t08:09:10+0000", "2005 -06-07T08:09:10+0000",
          "2005/06/07T08:09:10+0000", "2005-06-07T08.09.10+0000", "x2005-06-07T08:09:10+0000",
          "2005-06-07T08:09:10.5+0000", "2005-06-07T08:09:+0000", "+-2005-06-07T08:09:10+0000",
          "2005-06-07T08 :09:10+0000"})
        EXPECT_EQ(str2time(text), -1) << text;
    EXPECT_EQ(str2time(nullptr), -1);
}

TEST(Str2Time, AllowsBlanksSignsAndWhateverFollows) {
    const time_t expected = str2time("2005-06-07T08:09:10+0000");
    for (const char* text :
         {" 2005-06-07T08:09:10+0000", "\n\t2005-06-07T08:09:10+0000",
          "2005- 06-\t07T 08: 09:\n10 +0000", "+2005-+6-+7T+8:+9:+10+0000", "2005-6-7T8:9:10+0",
          "2005-06-07T08:09:10 0000", "02005-006-007T008:009:010+00000",
          "2005-06-07T08:09:10+0000 and more", "2005-06-07T08:09:10+0000Z"})
        EXPECT_EQ(str2time(text), expected) << text;
}

TEST(Str2Time, NormalisesFieldsOutOfRange) {
    const struct {
        const char* text;
        const char* same;
    } table[] = {
        {"2005-13-01T00:00:00+0000", "2006-01-01T00:00:00+0000"},
        {"2005-00-01T00:00:00+0000", "2004-12-01T00:00:00+0000"},
        {"2005--1-01T00:00:00+0000", "2004-11-01T00:00:00+0000"},
        {"2005-25-01T00:00:00+0000", "2007-01-01T00:00:00+0000"},
        {"2005-02-30T00:00:00+0000", "2005-03-02T00:00:00+0000"},
        {"2004-02-30T00:00:00+0000", "2004-03-01T00:00:00+0000"},
        {"2005-03-00T00:00:00+0000", "2005-02-28T00:00:00+0000"},
        {"2005-01-01T24:00:00+0000", "2005-01-02T00:00:00+0000"},
        {"2005-01-01T00:-1:00+0000", "2004-12-31T23:59:00+0000"},
        {"2005-01-01T00:00:86400+0000", "2005-01-02T00:00:00+0000"},
        {"2005-01-01T00:00:00+0160", "2004-12-31T22:00:00+0000"},
        {"2005-01-01T00:00:00-9999", "2005-01-05T04:39:00+0000"},
    };
    for (const auto& [text, same] : table) EXPECT_EQ(str2time(text), str2time(same)) << text;
}

// The numbers as sscanf reads them, made a time by the C library's UTC calendar.
time_t plainTextToTime(const char* text) {
    int year, month, day, hour, minute, second, zone;
    if (std::sscanf(text, "%d-%d-%dT%d:%d:%d%d", &year, &month, &day, &hour, &minute, &second,
                    &zone) != 7)
        return -1;
    struct tm utc = {};
    utc.tm_year = year - 1900;
    utc.tm_mon = month - 1;
    utc.tm_mday = day;
    utc.tm_hour = hour - zone / 100;
    utc.tm_min = minute - zone % 100;
    utc.tm_sec = second;
    return timegm(&utc);
}

TEST(Str2Time, AgreesWithSscanfAndTimegmOnDamagedTexts) {
    constexpr std::string_view kAlphabet = "0123456789+-T: x";
    std::mt19937 random(7);
    int accepted = 0;
    for (int i = 0; i < 50000; ++i) {
        std::string text = "2005-06-07T08:09:10+0200";
        for (auto damages = random() % 4; damages > 0; --damages) {
            const std::size_t at = random() % text.size();
            const char c = kAlphabet[random() % kAlphabet.size()];
            switch (random() % 3) {
                case 0:
                    text[at] = c;
                    break;
                case 1:
                    text.insert(at, 1, c);
                    break;
                default:
                    text.erase(at, 1);
            }
        }
        const time_t expected = plainTextToTime(text.c_str());
        accepted += expected != -1 ? 1 : 0;
        ASSERT_EQ(str2time(text.c_str()), expected) << text;
    }
    EXPECT_GT(accepted, 10000);
}

TEST(Str2Time, TakesTheLowBitsOfNumbersTooBigForAnInt) {
    const time_t expected = str2time("2005-06-07T08:09:10+0000");
    for (const char* text : {"4294969301-06-07T08:09:10+0000",             // 2^32 + 2005
                             "2005-06-07T08:09:10+4294967296",             // 2^32
                             "2005-06-07T08:09:10-99999999999999999999"})  // saturates at -2^63
        EXPECT_EQ(str2time(text), expected) << text;
    EXPECT_EQ(plainTextToTime("4294969301-06-07T08:09:10+0000"), expected);
    EXPECT_EQ(plainTextToTime("2005-06-07T08:09:10-99999999999999999999"), expected);
}

TEST(Str2Time, ComputesTheMostExtremeNumbers) {
    EXPECT_EQ(str2time("2147483647-12-31T23:59:59+0000"), 67767976233532799);
    EXPECT_EQ(str2time("-2147483648-01-01T00:00:00+0000"), -67768100567971200);
    // Every number at its limit: the sum is linear, so it can be checked by hand.
    const time_t year0 = str2time("0-1-0T0:0:0+0");
    EXPECT_EQ(str2time("0-1-2147483647T2147483647:2147483647:2147483647+0"),
              year0 + 2147483647LL * (86400 + 3600 + 60 + 1));
    EXPECT_EQ(str2time("0-1--2147483648T-2147483648:-2147483648:-2147483648+0"),
              year0 - 2147483648LL * (86400 + 3600 + 60 + 1));
    EXPECT_EQ(str2time("0-2147483647-1T0:0:0+0"), str2time("178956970-7-1T0:0:0+0"));
    EXPECT_EQ(str2time("0--2147483648-1T0:0:0+0"), str2time("-178956971-4-1T0:0:0+0"));
}

TEST(TextToTime, ReadsNoFurtherThanItsText) {
    const std::string_view whole = "2005-06-07T08:09:10+0200";
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const auto exact = std::make_unique<char[]>(size);
        whole.copy(exact.get(), size);
        const std::string text(whole.substr(0, size));
        EXPECT_EQ(tqa::textToTime({exact.get(), size}), plainTextToTime(text.c_str())) << text;
    }
    EXPECT_EQ(tqa::textToTime({}), -1);
}

TEST(TimezoneOffset, IsWhatTheLocalClockLacksToUtc) {
    const struct {
        const char* zone;
        long offset;
    } table[] = {{"UTC0", 0}, {"EAST-3", -10800}, {"WEST5", 18000}, {"ODD-5:45", -20700}};
    for (const auto& [zone, offset] : table) {
        const ZoneScope scope(zone);
        EXPECT_EQ(timezoneOffset(), offset) << zone;
    }
}

TEST(TimezoneOffset, LeavesDaylightSavingAside) {
    // Whatever the season: daylight saving is in force in one of the two zones.
    for (const char* zone : {"EST5EDT,M3.2.0,M11.1.0", "EST5EDT,M11.1.0,M3.2.0"}) {
        const ZoneScope scope(zone);
        EXPECT_EQ(timezoneOffset(), 18000) << zone;
    }
}

}  // namespace
