// Searches in text that is read once, front to back.
#pragma once

#include "tqamsg/vocabulary/word_table.h"

#include <array>
#include <bit>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tqa {

// Sixteen bytes of text at once. The masks have a bit for each byte, the first byte the lowest.
class PlainTextBlock {
  public:
    static constexpr std::ptrdiff_t kSize = 16;

    // Sixteen bytes must be readable.
    explicit PlainTextBlock(const char* at) noexcept { std::memcpy(bytes_.data(), at, kSize); }

    unsigned where(char c) const noexcept {
        return mask([&](std::size_t i) { return bytes_[i] == c; });
    }

    // Blanks, control characters and zero bytes.
    unsigned whereBlank() const noexcept {
        return mask([&](std::size_t i) { return static_cast<unsigned char>(bytes_[i]) <= ' '; });
    }
    unsigned whereSame(const PlainTextBlock& other) const noexcept {
        return mask([&](std::size_t i) { return bytes_[i] == other.bytes_[i]; });
    }

    // The key of the word that the first n <= 16 bytes are.
    WordKey key(std::size_t n) const noexcept { return keyOf({bytes_.data(), n}); }

  private:
    template <class Test>
    static unsigned mask(Test test) noexcept {
        unsigned found = 0;
        for (unsigned i = 0; i < kSize; ++i) found |= static_cast<unsigned>(test(i)) << i;
        return found;
    }

    std::array<char, kSize> bytes_;
};

#if defined(__SSE2__)

// The same with vectors, which every x86-64 has.
class VectorTextBlock {
  public:
    static constexpr std::ptrdiff_t kSize = 16;

    explicit VectorTextBlock(const char* at) noexcept
        : bytes_(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at))) {}

    unsigned where(char c) const noexcept { return mask(_mm_cmpeq_epi8(bytes_, _mm_set1_epi8(c))); }
    unsigned whereBlank() const noexcept {
        return mask(_mm_cmpeq_epi8(_mm_min_epu8(bytes_, _mm_set1_epi8(' ')), bytes_));
    }
    unsigned whereSame(VectorTextBlock other) const noexcept {
        return mask(_mm_cmpeq_epi8(bytes_, other.bytes_));
    }

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

using TextBlock = VectorTextBlock;

#else

using TextBlock = PlainTextBlock;

#endif

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
