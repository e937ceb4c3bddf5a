#include "tqamsg/soap/ignore_case.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace {

using tqa::IgnoreCaseString;

constexpr std::size_t npos = std::string_view::npos;

// The position of the first `c` in [from, to), else `to`.
std::size_t findByte(std::string_view text, char c, std::size_t from, std::size_t to) {
    const void* const hit = std::memchr(text.data() + from, c, to - from);
    return hit == nullptr ? to
                          : static_cast<std::size_t>(static_cast<const char*>(hit) - text.data());
}

// The position of the first `letter`, in either case, in [from, to), else `to`. It goes block by
// block, so that a case which does not occur is never looked for in all of the text.
std::size_t findLetter(std::string_view text, char letter, std::size_t from, std::size_t to) {
    constexpr std::size_t kBlock = 256;
    const char lower = tqa::toLowerCase(letter);
    const char upper = tqa::toUpperCase(letter);
    if (lower == upper) return findByte(text, letter, from, to);
    while (from < to) {
        const std::size_t end = to - from > kBlock ? from + kBlock : to;
        const std::size_t hit = findByte(text, upper, from, findByte(text, lower, from, end));
        if (hit < end) return hit;
        from = end;
    }
    return to;
}

std::size_t findShort(std::string_view text, std::string_view needle, std::size_t from) {
    const std::size_t end = text.size() - needle.size() + 1;
    for (std::size_t at = from; at < end; ++at) {
        at = findLetter(text, needle[0], at, end);
        if (at < end && ignorecase_traits::compare(text.data() + at + 1, needle.data() + 1,
                                                   needle.size() - 1) == 0)
            return at;
    }
    return npos;
}

// For each prefix of the needle the length of its longest proper border (Knuth, Morris, Pratt).
std::vector<std::size_t> bordersOf(std::string_view needle) {
    std::vector<std::size_t> borders(needle.size(), 0);
    for (std::size_t i = 1, border = 0; i < needle.size(); ++i) {
        while (border > 0 && !ignorecase_traits::eq(needle[i], needle[border]))
            border = borders[border - 1];
        if (ignorecase_traits::eq(needle[i], needle[border])) ++border;
        borders[i] = border;
    }
    return borders;
}

std::size_t findLong(std::string_view text, std::string_view needle, std::size_t from) {
    const std::vector<std::size_t> borders = bordersOf(needle);
    std::size_t matched = 0;
    for (std::size_t i = from; i < text.size(); ++i) {
        while (matched > 0 && !ignorecase_traits::eq(text[i], needle[matched]))
            matched = borders[matched - 1];
        if (ignorecase_traits::eq(text[i], needle[matched])) ++matched;
        if (matched == needle.size()) return i + 1 - matched;
    }
    return npos;
}

// Up to this length, comparing the whole needle at every candidate is linear by a small factor. A
// request chooses its own prefix, so needles can be as long as half a request.
constexpr std::size_t kShortNeedle = 64;

std::size_t findExact(std::string_view text, std::string_view needle, std::size_t from) {
    const void* const hit =
        memmem(text.data() + from, text.size() - from, needle.data(), needle.size());
    return hit == nullptr ? npos
                          : static_cast<std::size_t>(static_cast<const char*>(hit) - text.data());
}

template <class String>
std::string_view viewOf(const String& text) {
    return {text.data(), text.size()};
}

template <class String, class Find>
std::size_t replaceEach(String& text, const String& what, const String& with, Find find) {
    if (what.empty()) return npos;
    std::size_t hit = find(viewOf(text), viewOf(what), 0);
    if (hit == npos) return npos;
    String result;
    result.reserve(text.size());
    std::size_t copied = 0;
    for (; hit != npos; hit = find(viewOf(text), viewOf(what), copied)) {
        result.append(text, copied, hit - copied).append(with);
        copied = hit + what.size();
    }
    result.append(text, copied);
    text = std::move(result);
    return npos;
}

template <class F>
IgnoreCaseString mapped(const IgnoreCaseString& text, F toCaseOf) {
    IgnoreCaseString result(text);
    std::transform(result.begin(), result.end(), result.begin(), toCaseOf);
    return result;
}

}  // namespace

std::size_t tqa::findIgnoreCase(std::string_view text, std::string_view needle, std::size_t from) {
    if (from > text.size() || needle.size() > text.size() - from) return npos;
    if (needle.empty()) return from;
    return needle.size() <= kShortNeedle ? findShort(text, needle, from)
                                         : findLong(text, needle, from);
}

std::size_t srch_repl(IgnoreCaseString& text, const IgnoreCaseString& what,
                      const IgnoreCaseString& with) {
    return replaceEach(text, what, with, tqa::findIgnoreCase);
}

std::size_t srch_repl(std::string& text, const std::string& what, const std::string& with) {
    return replaceEach(text, what, with, findExact);
}

IgnoreCaseString toLower(const IgnoreCaseString& text) {
    return mapped(text, tqa::toLowerCase);
}

IgnoreCaseString toUpper(const IgnoreCaseString& text) {
    return mapped(text, tqa::toUpperCase);
}
