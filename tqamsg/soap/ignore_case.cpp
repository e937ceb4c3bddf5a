#include "tqamsg/soap/ignore_case.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

using tqa::IgnoreCaseString;

constexpr std::size_t npos = std::string_view::npos;

bool matchesAt(std::string_view text, std::size_t at, std::string_view needle) {
    return ignorecase_traits::compare(text.data() + at, needle.data(), needle.size()) == 0;
}

std::size_t findEachPlace(std::string_view text, std::string_view needle, std::size_t from) {
    for (std::size_t at = from; text.size() - at >= needle.size(); ++at)
        if (matchesAt(text, at, needle)) return at;
    return npos;
}

#if defined(__SSE2__)

// Looks for a character, in either case, in sixteen places at once.
class CharacterFilter {
  public:
    explicit CharacterFilter(char c)
        : fold_(_mm_set1_epi8(tqa::toLowerCase(c) == tqa::toUpperCase(c) ? 0 : 'a' - 'A')),
          folded_(_mm_set1_epi8(tqa::toLowerCase(c))) {}

    __m128i in(const char* at) const {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
        return _mm_cmpeq_epi8(_mm_or_si128(block, fold_), folded_);
    }

  private:
    __m128i fold_;    // the bit in which the two cases of a letter differ
    __m128i folded_;  // what both give with it
};

// The places where first and last character of a needle match.
class CandidateFilter {
  public:
    static constexpr std::size_t kBlock = 16;

    explicit CandidateFilter(std::string_view needle)
        : first_(needle.front()), last_(needle.back()), toLast_(needle.size() - 1) {}

    __m128i in(const char* at) const {
        return _mm_and_si128(first_.in(at), last_.in(at + toLast_));
    }

    // Whether four blocks hold none.
    bool absentFrom4(const char* at) const {
        const __m128i front = _mm_or_si128(in(at), in(at + kBlock));
        const __m128i back = _mm_or_si128(in(at + 2 * kBlock), in(at + 3 * kBlock));
        return _mm_movemask_epi8(_mm_or_si128(front, back)) == 0;
    }

  private:
    CharacterFilter first_;
    CharacterFilter last_;
    std::size_t toLast_;
};

std::size_t findShort(std::string_view text, std::string_view needle, std::size_t from) {
    constexpr std::size_t kBlock = CandidateFilter::kBlock;
    const std::size_t end = text.size() - needle.size() + 1;
    if (end - from < kBlock) return findEachPlace(text, needle, from);
    const CandidateFilter candidates(needle);
    for (std::size_t at = from;; at = std::min(at + kBlock, end - kBlock)) {
        while (end - at > 4 * kBlock && candidates.absentFrom4(text.data() + at)) at += 4 * kBlock;
        at = std::min(at, end - kBlock);
        auto places = static_cast<unsigned>(_mm_movemask_epi8(candidates.in(text.data() + at)));
        for (; places != 0; places &= places - 1) {
            const std::size_t hit = at + static_cast<std::size_t>(std::countr_zero(places));
            if (matchesAt(text, hit, needle)) return hit;
        }
        if (at == end - kBlock) return npos;
    }
}

#else

std::size_t findShort(std::string_view text, std::string_view needle, std::size_t from) {
    return findEachPlace(text, needle, from);
}

#endif

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
