#include "tqamsg/util/time_text.h"

#include "tqamsg/util/scan.h"

#include <chrono>

namespace {

using std::chrono::days;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::sys_seconds;
using std::chrono::year;
using std::chrono::year_month_day;

// The times whose year takes four characters.
constexpr sys_seconds kFirstWritten = sys_days(year(-999) / 1 / 1);
constexpr sys_seconds kEndWritten = sys_days(year(10000) / 1 / 1);

// Writes exactly that many digits, and then the given character; returns the end.
char* put(char* out, unsigned int number, int digits, char follow) {
    for (int i = digits - 1; i >= 0; --i, number /= 10)
        out[i] = static_cast<char>('0' + number % 10);
    out[digits] = follow;
    return out + digits + 1;
}

// As "%04d-".
char* putYear(char* out, int number) {
    if (number >= 0) return put(out, static_cast<unsigned int>(number), 4, '-');
    *out = '-';
    return put(out + 1, static_cast<unsigned int>(-number), 3, '-');
}

constexpr long long floorDivide(long long a, long long b) {
    return a / b - (a % b < 0 ? 1 : 0);
}

// The day, counted from 1970, on which a month begins; months are counted from January of year 0.
// The calendar repeats after 400 years, and the library's own year does not reach far enough.
long long firstDayOfMonth(long long month) {
    constexpr long long kCycleMonths = 4800;
    constexpr long long kCycleDays = 146097;
    const long long cycle = floorDivide(month, kCycleMonths);
    const auto inCycle = static_cast<unsigned int>(month - cycle * kCycleMonths);
    const sys_days first =
        year(static_cast<int>(inCycle / 12)) / std::chrono::month(inCycle % 12 + 1) / 1;
    return cycle * kCycleDays + first.time_since_epoch().count();
}

// One "%d" of sscanf. Kept: a number too big for an int is cut to its low bits.
bool takeInt(std::string_view& text, long long* value) {
    if (!tqa::takeInteger(text, value)) return false;
    *value = static_cast<int>(*value);
    return true;
}

}  // namespace

long timezoneOffset() {
    const time_t now = std::time(nullptr);
    struct tm utc = {};
    if (now == -1 || gmtime_r(&now, &utc) == nullptr) return 0;
    utc.tm_isdst = 0;
    const time_t readAsLocal = std::mktime(&utc);
    return readAsLocal == -1 ? 0 : readAsLocal - now;
}

time_t str2time(const char* text) {
    return text == nullptr ? -1 : tqa::textToTime(text);
}

char* time2str(time_t t, char* buf) {
    *buf = '\0';
    const sys_seconds time{seconds(t)};
    if (time < kFirstWritten || time >= kEndWritten) return buf;

    const sys_days day = std::chrono::floor<days>(time);
    const year_month_day date(day);
    const auto second = static_cast<unsigned int>((time - day).count());
    char* at = putYear(buf, static_cast<int>(date.year()));
    at = put(at, static_cast<unsigned int>(date.month()), 2, '-');
    at = put(at, static_cast<unsigned int>(date.day()), 2, 'T');
    at = put(at, second / 3600, 2, ':');
    at = put(at, second / 60 % 60, 2, ':');
    at = put(at, second % 60, 2, '+');
    put(at, 0, 4, '\0');
    return buf;
}

time_t tqa::textToTime(std::string_view text) noexcept {
    enum { kYear, kMonth, kDay, kHour, kMinute, kSecond, kZone, kFields };
    constexpr std::string_view kSeparators = "--T::";

    long long field[kFields] = {};
    for (std::size_t i = 0; i < kFields; ++i) {
        if (!takeInt(text, &field[i])) return -1;
        if (i < kSeparators.size() && !takeChar(text, kSeparators[i])) return -1;
    }
    // The zone keeps its sign in both halves: -0530 adds 5 hours and 30 minutes.
    const long long hour = field[kHour] - field[kZone] / 100;
    const long long minute = field[kMinute] - field[kZone] % 100;
    const long long day = firstDayOfMonth(field[kYear] * 12 + field[kMonth] - 1) + field[kDay] - 1;
    return ((day * 24 + hour) * 60 + minute) * 60 + field[kSecond];
}
