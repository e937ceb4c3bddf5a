// The first steps of reading texts as the C library's scanners read them: bounded by a view and
// untouched by locales. What is read is taken off the front of the view.
#pragma once

#include <charconv>
#include <limits>
#include <string_view>
#include <system_error>

namespace tqa {

// White space and digits of the C locale.
constexpr bool isSpace(char c) noexcept {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

constexpr void skipSpace(std::string_view& text) noexcept {
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
}

constexpr bool takeChar(std::string_view& text, char c) noexcept {
    if (text.empty() || text.front() != c) return false;
    text.remove_prefix(1);
    return true;
}

// Takes white space, a sign and digits, as strtoll does with base 10: the value saturates. False
// and *value untouched when there are no digits.
inline bool takeInteger(std::string_view& text, long long* value) noexcept {
    skipSpace(text);
    const bool negative = takeChar(text, '-');
    if (!negative) takeChar(text, '+');
    if (text.empty() || !isDigit(text.front())) return false;

    // The sign is read again with the digits, so that the smallest number fits.
    const char* const begin = negative ? text.data() - 1 : text.data();
    const char* const end = text.data() + text.size();
    using Limits = std::numeric_limits<long long>;
    const auto [stop, error] = std::from_chars(begin, end, *value);
    if (error == std::errc::result_out_of_range) *value = negative ? Limits::min() : Limits::max();
    text.remove_prefix(static_cast<std::size_t>(stop - text.data()));
    return true;
}

}  // namespace tqa
