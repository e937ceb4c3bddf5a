// Numbers as texts and back. The decimal point is always ".", whatever the locale.
#pragma once

#include "tqamsg/export.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

TQA_API std::string intToStr(int value);
TQA_API std::string longToStr(long value);
TQA_API std::string ulongToStr(unsigned long value);
TQA_API std::string longlongToStr(long long value);
TQA_API std::string doubleToStr(double value);  // six decimals: 0.5 is "0.500000"

namespace tqa {

// The text of a printf format, printed in the C locale.
TQA_API std::string formatText(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace tqa

// The text of one value, for which the format must be made; of any length. Behind the five above.
template <class T>
std::string toStr(const char* format, T value) {
    return tqa::formatText(format, value);
}

// For texts that need not end in a zero byte; a zero byte inside one ends it.
namespace tqa {

// Like strtol, base 10: leading white space and a sign are taken, what follows the digits is
// ignored, 0 when there are none, LONG_MAX or LONG_MIN when they are too many.
long readLong(std::string_view text) noexcept;

// The number that a text begins with, when that has a few digits and nothing else; -1 otherwise.
inline long long fewDigits(std::string_view text) noexcept {
    constexpr std::size_t kFew = 18;
    long long value = 0;
    std::size_t digits = 0;
    for (; digits < text.size() && digits < kFew; ++digits) {
        const unsigned digit = static_cast<unsigned char>(text[digits]) - unsigned{'0'};
        if (digit > 9) break;
        value = value * 10 + static_cast<long long>(digit);
    }
    return digits > 0 && digits < kFew ? value : -1;
}

// readLong(), quicker for the texts of fewDigits().
inline long textToLong(std::string_view text) noexcept {
    const long long value = fewDigits(text);
    return value >= 0 ? static_cast<long>(value) : readLong(text);
}

// Like sscanf "%lld" and "%lf": 1 and *value set, 0 when the text does not begin with a number, -1
// when it is empty or blank. *value is untouched unless the result is 1.
int scanLongLong(std::string_view text, long long* value) noexcept;
int scanDouble(std::string_view text, double* value) noexcept;

// The texts of longlongToStr and doubleToStr, without a terminator; they return the end.
inline constexpr std::size_t kIntegerTextMax = 20;  // "-9223372036854775808"
inline constexpr std::size_t kDoubleTextMax = 317;  // "-", 309 digits, ".", 6 digits
// Up to kIntegerTextMax bytes at `out` are written, whatever the length of the text.
inline char* writeInteger(char* out, long long value) noexcept;
char* writeDouble(char* out, double value) noexcept;

inline constexpr long long kEightDigits = 100'000'000;

// The eight digits of a number, leading zeros too, each in a byte and the first in the lowest one,
// without a branch. Each step splits every field in two by multiplying with a reciprocal that is
// exact in its range.
inline std::uint64_t eightDigits(std::uint32_t value) noexcept {
    const std::uint64_t high = value / 10'000;
    const std::uint64_t fours = high | (value - high * 10'000) << 32;
    const std::uint64_t hundreds = (fours * 10'486 >> 20) & 0x7F'0000'007F;
    const std::uint64_t pairs = hundreds | (fours - 100 * hundreds) << 16;
    const std::uint64_t tens = (pairs * 103 >> 10) & 0x000F'000F'000F'000F;
    return tens | (pairs - 10 * tens) << 8;
}

// Writes eight digits but for the first `leading`, and gives their end.
inline char* writeDigits(char* out, std::uint64_t digits, int leading) noexcept {
    const std::uint64_t text = (digits | 0x3030'3030'3030'3030) >> 8 * leading;
    std::memcpy(out, &text, sizeof text);
    return out + 8 - leading;
}

inline char* writeUpToEightDigits(char* out, std::uint32_t value) noexcept {
    const std::uint64_t digits = eightDigits(value);
    // The last digit stays even when it is a zero.
    return writeDigits(out, digits, std::countr_zero(digits | std::uint64_t{1} << 56) / 8);
}

char* writeLongInteger(char* out, long long value) noexcept;

inline char* writeInteger(char* out, long long value) noexcept {
    if constexpr (std::endian::native == std::endian::little) {
        if (value >= 0 && value < kEightDigits) {
            return writeUpToEightDigits(out, static_cast<std::uint32_t>(value));
        }
        if (value >= 0 && value < kEightDigits * kEightDigits) {
            out = writeUpToEightDigits(out, static_cast<std::uint32_t>(value / kEightDigits));
            const auto low = static_cast<std::uint32_t>(value % kEightDigits);
            return writeDigits(out, eightDigits(low), 0);
        }
    }
    return writeLongInteger(out, value);
}

}  // namespace tqa
