// Searches in text that is read once, front to back.
#pragma once

#include "tqamsg/vocabulary/word_table.h"

#include <bit>
#include <cstring>
#include <emmintrin.h>

namespace tqa {

// Sixteen bytes of text at once. The masks have a bit for each byte, the first byte the lowest.
class TextBlock {
  public:
    static constexpr std::ptrdiff_t kSize = 16;

    // Sixteen bytes must be readable.
    explicit TextBlock(const char* at) noexcept
        : bytes_(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at))) {}

    unsigned where(char c) const noexcept { return mask(_mm_cmpeq_epi8(bytes_, _mm_set1_epi8(c))); }

    // Blanks, control characters and zero bytes.
    unsigned whereBlank() const noexcept {
        return mask(_mm_cmpeq_epi8(_mm_min_epu8(bytes_, _mm_set1_epi8(' ')), bytes_));
    }
    unsigned whereSame(TextBlock other) const noexcept {
        return mask(_mm_cmpeq_epi8(bytes_, other.bytes_));
    }

    // The key of the word that the first n <= 16 bytes are.
    WordKey key(std::size_t n) const noexcept {
        alignas(16) static constexpr char kOnes[32] = {-1, -1, -1, -1, -1, -1, -1, -1,
                                                       -1, -1, -1, -1, -1, -1, -1, -1};
        const __m128i keep = _mm_loadu_si128(reinterpret_cast<const __m128i*>(kOnes + 16 - n));
        const __m128i word = _mm_and_si128(bytes_, keep);
        return {static_cast<std::uint64_t>(_mm_cvtsi128_si64(word)),
                static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(word, word)))};
    }

  private:
    static unsigned mask(__m128i equal) noexcept {
        return static_cast<unsigned>(_mm_movemask_epi8(equal));
    }

    __m128i bytes_;
};

// The first `c` from `from` on, or `end`. Most finds are near, so the first bytes are looked at
// here, sixteen at a time; the C library takes over where it is faster.
inline const char* findByte(const char* from, const char* end, char c) noexcept {
    for (int i = 0; i < 4 && end - from >= TextBlock::kSize; ++i, from += TextBlock::kSize) {
        const unsigned found = TextBlock(from).where(c);
        if (found != 0) return from + std::countr_zero(found);
    }
    if (from == end) return end;
    const void* found = std::memchr(from, c, static_cast<std::size_t>(end - from));
    return found == nullptr ? end : static_cast<const char*>(found);
}

}  // namespace tqa
