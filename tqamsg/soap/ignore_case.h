// Text in which letters match in either case. The SOAP gateway searches requests with it, so that
// element names, prefixes and the word "xmlns" are found however a client spells them.
//
//     tqa::IgnoreCaseString text("<SOAP-ENV:Body>");
//     text.find("soap-env:body");  // 1
//
// Case is that of the C locale: only a to z and A to Z are letters.
#pragma once

#include "tqamsg/export.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace tqa {

constexpr char toUpperCase(char c) noexcept {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

constexpr char toLowerCase(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace tqa

// std::char_traits<char>, but two characters are equal when their upper-case forms are.
struct TQA_API ignorecase_traits : std::char_traits<char> {
    static constexpr bool eq(const char& a, const char& b) noexcept {
        return tqa::toUpperCase(a) == tqa::toUpperCase(b);
    }

    // Kept: as chars, so that bytes from 0x80 up come before the others where char is signed.
    static constexpr bool lt(const char& a, const char& b) noexcept {
        return tqa::toUpperCase(a) < tqa::toUpperCase(b);
    }

    static constexpr int compare(const char* p, const char* q, std::size_t n) noexcept {
        for (std::size_t i = 0; i < n; ++i)
            if (!eq(p[i], q[i])) return lt(p[i], q[i]) ? -1 : 1;
        return 0;
    }

    static constexpr const char* find(const char* p, std::size_t n, const char& c) noexcept {
        for (std::size_t i = 0; i < n; ++i)
            if (eq(p[i], c)) return p + i;
        return nullptr;
    }
};

namespace tqa {

using IgnoreCaseString = std::basic_string<char, ignorecase_traits>;

// IgnoreCaseString's find() on any text, in linear time for every text and needle.
std::size_t findIgnoreCase(std::string_view text, std::string_view needle, std::size_t from = 0);

}  // namespace tqa

// Replaces every occurrence of `what`, from left to right; what was put in is not searched again.
// An empty `what` changes nothing. The result is always the not-found position.
TQA_API std::size_t srch_repl(tqa::IgnoreCaseString& text, const tqa::IgnoreCaseString& what,
                              const tqa::IgnoreCaseString& with);
TQA_API std::size_t srch_repl(std::string& text, const std::string& what, const std::string& with);

TQA_API tqa::IgnoreCaseString toLower(const tqa::IgnoreCaseString& text);
TQA_API tqa::IgnoreCaseString toUpper(const tqa::IgnoreCaseString& text);
