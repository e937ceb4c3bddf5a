#include "tqamsg/util/number_text.h"

#include "tqamsg/util/scan.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <limits>
#include <locale.h>
#include <optional>
#include <system_error>

namespace {

// The calling thread prints and reads as in the C locale while this lives.
class CLocaleScope {
  public:
    CLocaleScope() : saved(uselocale(cLocale())) {}
    ~CLocaleScope() { uselocale(saved); }
    CLocaleScope(const CLocaleScope&) = delete;
    CLocaleScope& operator=(const CLocaleScope&) = delete;

  private:
    static locale_t cLocale() {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
        return locale;
    }

    locale_t saved;
};

std::string formatList(const char* format, va_list arguments) {
    const CLocaleScope scope;
    va_list again;
    va_copy(again, arguments);
    char text[32];
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    std::string result(text, static_cast<std::size_t>(std::clamp<int>(length, 0, sizeof text - 1)));
    if (length >= static_cast<int>(sizeof text)) {
        result.resize(static_cast<std::size_t>(length));
        std::vsnprintf(result.data(), result.size() + 1, format, again);
    }
    va_end(again);
    return result;
}

}  // namespace

std::string tqa::formatText(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string result = formatList(format, arguments);
    va_end(arguments);
    return result;
}

std::string intToStr(int value) {
    return toStr("%d", value);
}

std::string longToStr(long value) {
    return toStr("%ld", value);
}

std::string ulongToStr(unsigned long value) {
    return toStr("%lu", value);
}

std::string longlongToStr(long long value) {
    return toStr("%lld", value);
}

std::string doubleToStr(double value) {
    return toStr("%lf", value);
}

namespace tqa {
namespace {

// True where sscanf meets the end of its input.
bool atEnd(std::string_view text) {
    return text.empty() || text.front() == '\0';
}

// The word is of lower-case letters.
bool startsWithIgnoringCase(std::string_view text, std::string_view word) {
    return text.size() >= word.size() &&
           std::equal(word.begin(), word.end(), text.begin(),
                      [](char expected, char c) { return (c | 0x20) == expected; });
}

// "nan" and "inf". Kept: "inf" is no number when an "i" follows that does not begin "inity", since
// scanf puts back one character only.
std::optional<double> readSpecial(std::string_view text) {
    if (startsWithIgnoringCase(text, "nan")) return std::numeric_limits<double>::quiet_NaN();
    if (!startsWithIgnoringCase(text, "inf")) return std::nullopt;
    if (startsWithIgnoringCase(text.substr(3), "i") && !startsWithIgnoringCase(text, "infinity"))
        return std::nullopt;
    return std::numeric_limits<double>::infinity();
}

// Whether a number too big or too small for a double is too big: where its first digit other than
// zero stands, as a power of the base, and its exponent decide. Only such a number is given, so
// being some digits off is no matter.
bool isTooBig(std::string_view number, std::chars_format format) {
    const bool hex = format == std::chars_format::hex;
    long long power = 0;
    bool significant = false;
    bool fraction = false;
    for (; !number.empty() && (number.front() | 0x20) != (hex ? 'p' : 'e');
         number.remove_prefix(1)) {
        const char c = number.front();
        if (c == '.') {
            fraction = true;
            continue;
        }
        significant = significant || c != '0';
        if (significant && !fraction) ++power;
        if (!significant && fraction) --power;
    }
    long long exponent = 0;
    if (!number.empty()) {
        number.remove_prefix(1);
        takeInteger(number, &exponent);
    }
    constexpr long long kBound = 1LL << 61;
    return power * (hex ? 4 : 1) + std::clamp(exponent, -kBound, kBound) > 0;
}

// Digits with a point and an exponent, as far as they reach.
std::optional<double> readDigits(std::string_view text, std::chars_format format) {
    double value = 0;
    const auto [stop, error] =
        std::from_chars(text.data(), text.data() + text.size(), value, format);
    if (error == std::errc()) return value;
    if (error != std::errc::result_out_of_range) return std::nullopt;
    text = text.substr(0, static_cast<std::size_t>(stop - text.data()));
    return isTooBig(text, format) ? std::numeric_limits<double>::infinity() : 0.0;
}

bool isHexDigit(char c) {
    return isDigit(c) || ((c | 0x20) >= 'a' && (c | 0x20) <= 'f');
}

// What follows "0x". Kept: with a point but no digit the number is the 0 alone, and with neither it
// is none.
std::optional<double> readHex(std::string_view text) {
    if (text.empty() || (text.front() != '.' && !isHexDigit(text.front()))) return std::nullopt;
    return readDigits(text, std::chars_format::hex).value_or(0.0);
}

std::optional<double> readUnsigned(std::string_view text) {
    if (startsWithIgnoringCase(text, "n") || startsWithIgnoringCase(text, "i"))
        return readSpecial(text);
    if (text.empty() || (text.front() != '.' && !isDigit(text.front()))) return std::nullopt;
    if (text.front() == '0' && startsWithIgnoringCase(text.substr(1), "x"))
        return readHex(text.substr(2));
    return readDigits(text, std::chars_format::general);
}

}  // namespace

long readLong(std::string_view text) noexcept {
    static_assert(sizeof(long) == sizeof(long long), "saturation is that of long long");
    long long value = 0;
    takeInteger(text, &value);
    return static_cast<long>(value);
}

int scanLongLong(std::string_view text, long long* value) noexcept {
    if (const long long quick = fewDigits(text); quick >= 0) {
        *value = quick;
        return 1;
    }
    skipSpace(text);
    if (atEnd(text)) return -1;
    return takeInteger(text, value) ? 1 : 0;
}

int scanDouble(std::string_view text, double* value) noexcept {
    skipSpace(text);
    if (atEnd(text)) return -1;
    const bool negative = takeChar(text, '-');
    if (!negative) takeChar(text, '+');
    const std::optional<double> magnitude = readUnsigned(text);
    if (!magnitude) return 0;
    *value = negative ? -*magnitude : *magnitude;
    return 1;
}

char* writeLongInteger(char* out, long long value) noexcept {
    return std::to_chars(out, out + kIntegerTextMax, value).ptr;
}

char* writeDouble(char* out, double value) noexcept {
    return std::to_chars(out, out + kDoubleTextMax, value, std::chars_format::fixed, 6).ptr;
}

}  // namespace tqa
