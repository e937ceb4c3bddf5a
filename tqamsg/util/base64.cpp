#include "tqamsg/util/base64.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr unsigned char kNoIndex = 255;

constexpr std::array<unsigned char, 256> kIndex = [] {
    std::array<unsigned char, 256> index = {};
    index.fill(kNoIndex);
    unsigned char place = 0;
    for (const char c : kAlphabet) index[static_cast<unsigned char>(c)] = place++;
    return index;
}();

unsigned int indexOf(char c) {
    return kIndex[static_cast<unsigned char>(c)];
}

// The byte that the character in place 1, 2 or 3 of a group completes.
char completedByte(int place, unsigned int previous, unsigned int index) {
    switch (place) {
        case 1:
            return static_cast<char>(previous << 2 | (index >> 4 & 3));
        case 2:
            return static_cast<char>(previous << 4 | (index >> 2 & 15));
        default:
            return static_cast<char>(previous << 6 | index);
    }
}

// Decodes groups of four valid characters as long as there are any; returns how many characters.
std::size_t decodeWholeGroups(std::string_view text, char* out) {
    std::size_t at = 0;
    for (; text.size() - at >= 4; at += 4, out += 3) {
        const unsigned int i0 = indexOf(text[at]);
        const unsigned int i1 = indexOf(text[at + 1]);
        const unsigned int i2 = indexOf(text[at + 2]);
        const unsigned int i3 = indexOf(text[at + 3]);
        if ((i0 | i1 | i2 | i3) > 63) break;
        out[0] = static_cast<char>(i0 << 2 | i1 >> 4);
        out[1] = static_cast<char>(i1 << 4 | i2 >> 2);
        out[2] = static_cast<char>(i2 << 6 | i3);
    }
    return at;
}

// Whether a text may end after the first character of a group.
enum class LoneCharacter { kIsDropped, kIsAnError };

// What remains: a group that is short, padded or invalid. Returns the number of bytes, nothing when
// it is invalid.
std::optional<std::size_t> decodeLastGroup(std::string_view text, LoneCharacter lone, char* out) {
    unsigned int previous = 0;
    for (std::size_t place = 0; place < text.size(); ++place) {
        if (place >= 2 && text[place] == '=') return place - 1;
        const unsigned int index = indexOf(text[place]);
        if (index == kNoIndex) return std::nullopt;
        if (place > 0) *out++ = completedByte(static_cast<int>(place), previous, index);
        previous = index;
    }
    if (text.size() == 1 && lone == LoneCharacter::kIsAnError) return std::nullopt;
    return text.empty() ? 0 : text.size() - 1;
}

std::optional<std::string> decodeLine(std::string_view text, LoneCharacter lone) {
    std::string bytes(text.size() / 4 * 3 + 3, '\0');
    const std::size_t whole = decodeWholeGroups(text, bytes.data());
    const std::size_t size = whole / 4 * 3;
    const auto rest = decodeLastGroup(text.substr(whole), lone, bytes.data() + size);
    if (!rest) return std::nullopt;
    bytes.resize(size + *rest);
    return bytes;
}

// Kept: only a carriage return permits line breaks, and with it a lone character at the end is
// dropped instead of refused.
std::optional<std::string> decodeText(std::string_view text) {
    if (text.find('\r') == std::string_view::npos)
        return decodeLine(text, LoneCharacter::kIsAnError);
    std::string joined(text);
    std::erase_if(joined, [](char c) { return c == '\r' || c == '\n'; });
    return decodeLine(joined, LoneCharacter::kIsDropped);
}

int decodeInto(std::string_view text, std::string* out) {
    try {
        auto bytes = decodeText(text);
        if (!bytes) return -1;
        *out = std::move(*bytes);
        return 0;
    } catch (const std::bad_alloc&) {
        return -1;
    }
}

// What came of decoding into a buffer.
struct Filled {
    int size;       // bytes written
    int processed;  // the position of the last character consumed
};

// Nothing is validated: the value of a character outside the alphabet is 255.
Filled decodeUnchecked(std::string_view text, char* out, int outSize) {
    Filled filled = {0, 0};
    unsigned int previous = 0;
    // After a lone character the terminator is taken for the missing one.
    const std::size_t end = text.size() % 4 == 1 ? text.size() + 1 : text.size();
    for (std::size_t at = 0; at < end && filled.size < outSize; ++at) {
        filled.processed = static_cast<int>(at);
        const char c = at < text.size() ? text[at] : '\0';
        const auto place = static_cast<int>(at % 4);
        if (place >= 2 && c == '=') break;
        const unsigned int index = indexOf(c);
        if (place > 0) out[filled.size++] = completedByte(place, previous, index);
        previous = index;
    }
    return filled;
}

}  // namespace

std::string Base64::encode(const std::string& data) {
    std::string text(tqa::base64Length(data.size()), '\0');
    tqa::base64Encode(data.data(), data.size(), text.data());
    return text;
}

std::string Base64::decode(const std::string& text) {
    std::string bytes;
    decode(text, &bytes);
    return bytes;
}

int Base64::decode(const std::string& text, std::string* out) {
    return decodeInto(text, out);
}

int Base64::decode(const char* text, int len, std::string* out) {
    return decodeInto({text, static_cast<std::size_t>(std::max(len, 0))}, out);
}

char* Base64::decode(const char* text, int len, char* out, int outSize) {
    len = std::max(len, 0);
    outSize = std::max(outSize, 0);
    const Filled filled = decodeUnchecked({text, static_cast<std::size_t>(len)}, out, outSize);
    const int missing = outSize - filled.size;
    // Kept: the last character counts as not processed, so a text that fits exactly is reported
    // too.
    if (filled.processed < len)
        std::fprintf(stderr, "Size mismatch: resived %d, processed %d.\n%.*s\n", len,
                     filled.processed, len, text);
    if (missing > 0) {
        std::fprintf(stderr, "Size mismatch: size %d, %d not output\n%.*s\n", outSize, missing, len,
                     text);
        std::memset(out + filled.size, 0, static_cast<std::size_t>(missing));
    }
    return out;
}

unsigned char getIndex(char c) {
    return kIndex[static_cast<unsigned char>(c)];
}

char* tqa::base64Encode(const void* data, std::size_t bytes, char* out) noexcept {
    const auto* in = static_cast<const unsigned char*>(data);
    for (; bytes >= 3; bytes -= 3, in += 3) {
        *out++ = kAlphabet[in[0] >> 2];
        *out++ = kAlphabet[(in[0] << 4 & 63) | in[1] >> 4];
        *out++ = kAlphabet[(in[1] << 2 & 63) | in[2] >> 6];
        *out++ = kAlphabet[in[2] & 63];
    }
    if (bytes == 0) return out;
    const unsigned int second = bytes == 2 ? in[1] : 0;
    *out++ = kAlphabet[in[0] >> 2];
    *out++ = kAlphabet[(in[0] << 4 & 63) | second >> 4];
    *out++ = bytes == 2 ? kAlphabet[second << 2 & 63] : '=';
    *out++ = '=';
    return out;
}
