// The choice of the form, and the forms for x86-64. The vector code follows W. Mula and D. Lemire,
// "Faster Base64 Encoding and Decoding Using AVX2 Instructions" (ACM TWEB 12, 2018).
#include "tqamsg/util/base64_forms.h"

#if defined(__x86_64__)
#include <immintrin.h>

namespace {

// Tables of 16 bytes, looked up by the shuffle instructions. Both 128-bit halves of a register use
// the same one.
using Table = signed char[16];

// Encoding: where the bytes b0 b1 b2 of each group go, so that every 16-bit half of "b1 b0 b2 b1"
// holds two of the four values.
alignas(16) constexpr Table kSpread = {1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10};

// What to add to a value to get its character, by class: 0 for a to z, 1 to 10 for the digits, 11
// for "+", 12 for "/", 13 for A to Z.
constexpr signed char kDigit = '0' - 52;
alignas(16) constexpr Table kToCharacter = {'a' - 26, kDigit, kDigit, kDigit, kDigit, kDigit,
                                            kDigit,   kDigit, kDigit, kDigit, kDigit, '+' - 62,
                                            '/' - 63, 'A',    0,      0};

// Decoding: a character belongs to the alphabet if its two halves share no bit in these tables.
alignas(16) constexpr Table kBadLow = {0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,
                                       0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A};
alignas(16) constexpr Table kBadHigh = {0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08,
                                        0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10};

// What to add to a character to get its value, by upper half; one less for "/".
alignas(16) constexpr Table kToValue = {0, 16, 19, 4, -65, -65, -71, -71};

// Where the three bytes of each group lie after the values were joined; -1 gives zero.
alignas(16) constexpr Table kGather = {2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1};

[[gnu::target("ssse3")]] inline __m128i load(const Table& table) {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(table));
}

[[gnu::target("ssse3")]] inline __m128i loadAt(const void* p) {
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

// Four groups: 12 of the 16 bytes that are read become 16 characters.
[[gnu::target("ssse3")]] inline __m128i encode4(__m128i bytes) {
    bytes = _mm_shuffle_epi8(bytes, load(kSpread));
    const __m128i even = _mm_mulhi_epu16(_mm_and_si128(bytes, _mm_set1_epi32(0x0fc0fc00)),
                                         _mm_set1_epi32(0x04000040));
    const __m128i odd = _mm_mullo_epi16(_mm_and_si128(bytes, _mm_set1_epi32(0x003f03f0)),
                                        _mm_set1_epi32(0x01000010));
    const __m128i values = _mm_or_si128(even, odd);
    const __m128i upperCase =
        _mm_and_si128(_mm_cmpgt_epi8(_mm_set1_epi8(26), values), _mm_set1_epi8(13));
    const __m128i kind = _mm_or_si128(_mm_subs_epu8(values, _mm_set1_epi8(51)), upperCase);
    return _mm_add_epi8(values, _mm_shuffle_epi8(load(kToCharacter), kind));
}

[[gnu::target("ssse3")]] void encodeSsse3(const unsigned char* bytes, std::size_t groups,
                                          char* text) noexcept {
    for (; groups >= 6; groups -= 4, bytes += 12, text += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(text), encode4(loadAt(bytes)));
    tqa::base64EncodePlain(bytes, groups, text);
}

// Four groups: 16 characters become 12 bytes and 4 zero bytes; false when one is not in the
// alphabet.
[[gnu::target("ssse3")]] inline bool decode4(__m128i text, __m128i& bytes) {
    const __m128i half = _mm_set1_epi8(15);
    const __m128i high = _mm_and_si128(_mm_srli_epi32(text, 4), half);
    const __m128i bad = _mm_and_si128(_mm_shuffle_epi8(load(kBadLow), _mm_and_si128(text, half)),
                                      _mm_shuffle_epi8(load(kBadHigh), high));
    if (_mm_movemask_epi8(_mm_cmpgt_epi8(bad, _mm_setzero_si128())) != 0) return false;
    const __m128i kind = _mm_add_epi8(high, _mm_cmpeq_epi8(text, _mm_set1_epi8('/')));
    const __m128i values = _mm_add_epi8(text, _mm_shuffle_epi8(load(kToValue), kind));
    const __m128i pairs = _mm_maddubs_epi16(values, _mm_set1_epi32(0x01400140));
    const __m128i joined = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
    bytes = _mm_shuffle_epi8(joined, load(kGather));
    return true;
}

[[gnu::target("ssse3")]] std::size_t decodeSsse3(const char* text, std::size_t groups,
                                                 char* bytes) noexcept {
    std::size_t done = 0;
    __m128i made;
    for (; groups - done >= 6 && decode4(loadAt(text + 4 * done), made); done += 4)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes + 3 * done), made);
    return done + tqa::base64DecodePlain(text + 4 * done, groups - done, bytes + 3 * done);
}

// The same with eight groups.

[[gnu::target("avx2")]] inline __m256i loadTwice(const Table& table) {
    return _mm256_broadcastsi128_si256(load(table));
}

[[gnu::target("avx2")]] inline __m256i encode8(__m256i bytes) {
    bytes = _mm256_shuffle_epi8(bytes, loadTwice(kSpread));
    const __m256i even = _mm256_mulhi_epu16(_mm256_and_si256(bytes, _mm256_set1_epi32(0x0fc0fc00)),
                                            _mm256_set1_epi32(0x04000040));
    const __m256i odd = _mm256_mullo_epi16(_mm256_and_si256(bytes, _mm256_set1_epi32(0x003f03f0)),
                                           _mm256_set1_epi32(0x01000010));
    const __m256i values = _mm256_or_si256(even, odd);
    const __m256i upperCase =
        _mm256_and_si256(_mm256_cmpgt_epi8(_mm256_set1_epi8(26), values), _mm256_set1_epi8(13));
    const __m256i kind = _mm256_or_si256(_mm256_subs_epu8(values, _mm256_set1_epi8(51)), upperCase);
    return _mm256_add_epi8(values, _mm256_shuffle_epi8(loadTwice(kToCharacter), kind));
}

[[gnu::target("avx2")]] void encodeAvx2(const unsigned char* bytes, std::size_t groups,
                                        char* text) noexcept {
    for (; groups >= 10; groups -= 8, bytes += 24, text += 32) {
        const __m256i both =
            _mm256_inserti128_si256(_mm256_castsi128_si256(loadAt(bytes)), loadAt(bytes + 12), 1);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(text), encode8(both));
    }
    encodeSsse3(bytes, groups, text);
}

[[gnu::target("avx2")]] inline bool decode8(__m256i text, __m256i& bytes) {
    const __m256i half = _mm256_set1_epi8(15);
    const __m256i high = _mm256_and_si256(_mm256_srli_epi32(text, 4), half);
    const __m256i badLow = _mm256_shuffle_epi8(loadTwice(kBadLow), _mm256_and_si256(text, half));
    if (!_mm256_testz_si256(badLow, _mm256_shuffle_epi8(loadTwice(kBadHigh), high))) return false;
    const __m256i kind = _mm256_add_epi8(high, _mm256_cmpeq_epi8(text, _mm256_set1_epi8('/')));
    const __m256i values = _mm256_add_epi8(text, _mm256_shuffle_epi8(loadTwice(kToValue), kind));
    const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
    const __m256i joined = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    bytes = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(joined, loadTwice(kGather)),
                                        _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
    return true;
}

[[gnu::target("avx2")]] std::size_t decodeAvx2(const char* text, std::size_t groups,
                                               char* bytes) noexcept {
    std::size_t done = 0;
    __m256i made;
    for (; groups - done >= 11; done += 8) {
        if (!decode8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + 4 * done)), made))
            break;
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(bytes + 3 * done), made);
    }
    return done + decodeSsse3(text + 4 * done, groups - done, bytes + 3 * done);
}

constexpr tqa::Base64Form kForms[] = {
    {"avx2", encodeAvx2, decodeAvx2},
    {"ssse3", encodeSsse3, decodeSsse3},
    {"plain", tqa::base64EncodePlain, tqa::base64DecodePlain},
};

}  // namespace

std::span<const tqa::Base64Form> tqa::base64Forms() noexcept {
    const std::size_t best = __builtin_cpu_supports("avx2")    ? 0
                             : __builtin_cpu_supports("ssse3") ? 1
                                                               : 2;
    return std::span(kForms).subspan(best);
}

#else

namespace {

constexpr tqa::Base64Form kForms[] = {
    {"plain", tqa::base64EncodePlain, tqa::base64DecodePlain},
};

}  // namespace

std::span<const tqa::Base64Form> tqa::base64Forms() noexcept {
    return kForms;
}

#endif
