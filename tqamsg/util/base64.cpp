#include "tqamsg/util/base64.h"

#include "tqamsg/util/base64_forms.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

namespace {

constexpr unsigned char kNoIndex = 255;

constexpr std::array<unsigned char, 256> kIndex = [] {
    std::array<unsigned char, 256> index = {};
    index.fill(kNoIndex);
    unsigned char place = 0;
    for (const char c : tqa::kBase64Alphabet) index[static_cast<unsigned char>(c)] = place++;
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

// The groups that are broken by line breaks, short, padded or invalid.
class SlowGroups {
  public:
    // Takes the next group from the front of the text. Returns how many bytes it gave, fewer than 3
    // at the end of the text, nothing when it is invalid.
    std::optional<std::size_t> decode(std::string_view& text, char* out) {
        char group[4];
        const std::size_t size = take(text, group);
        for (std::size_t place = 0; place < size; ++place) {
            if (place >= 2 && group[place] == '=') return place - 1;
            const unsigned int index = indexOf(group[place]);
            if (index == kNoIndex) return std::nullopt;
            if (place > 0)
                *out++ = completedByte(static_cast<int>(place), indexOf(group[place - 1]), index);
        }
        if (size == 1 && !hasReturn_) return std::nullopt;
        return size == 0 ? 0 : size - 1;
    }

  private:
    // Up to four characters between line breaks.
    std::size_t take(std::string_view& text, char* group) {
        std::size_t size = 0;
        for (; size < 4 && !text.empty(); text.remove_prefix(1))
            if (!isBreak(text)) group[size++] = text.front();
        return size;
    }

    // Kept: only a carriage return, wherever it stands, permits line breaks, and with it a lone
    // character at the end is dropped instead of refused.
    bool isBreak(std::string_view text) {
        const char c = text.front();
        if (c != '\r' && c != '\n') return false;
        hasReturn_ = hasReturn_ || text.find('\r') != std::string_view::npos;
        return hasReturn_;
    }

    bool hasReturn_ = false;  // one was seen, or is known to follow
};

std::optional<std::string> decodeText(std::string_view text) {
    const tqa::Base64Form& form = tqa::bestBase64Form();
    std::string bytes(text.size() / 4 * 3 + 3, '\0');
    char* out = bytes.data();
    SlowGroups slow;
    std::optional<std::size_t> last;
    do {
        const std::size_t whole = form.decode(text.data(), text.size() / 4, out);
        text.remove_prefix(4 * whole);
        out += 3 * whole;
        last = slow.decode(text, out);
        if (!last) return std::nullopt;
        out += *last;
    } while (*last == 3);
    bytes.resize(static_cast<std::size_t>(out - bytes.data()));
    return bytes;
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
    const auto room = static_cast<std::size_t>(outSize);
    const std::size_t whole =
        tqa::bestBase64Form().decode(text.data(), std::min(text.size() / 4, room / 3), out);
    Filled filled = {static_cast<int>(3 * whole),
                     static_cast<int>(4 * whole) - (whole > 0 ? 1 : 0)};
    unsigned int previous = 0;
    // After a lone character the terminator is taken for the missing one.
    const std::size_t end = text.size() % 4 == 1 ? text.size() + 1 : text.size();
    for (std::size_t at = 4 * whole; at < end && filled.size < outSize; ++at) {
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
    const std::size_t whole = bytes / 3;
    bestBase64Form().encode(in, whole, out);
    in += 3 * whole;
    out += 4 * whole;
    const std::size_t rest = bytes % 3;
    if (rest == 0) return out;
    const unsigned int second = rest == 2 ? in[1] : 0;
    *out++ = kBase64Alphabet[in[0] >> 2];
    *out++ = kBase64Alphabet[(in[0] << 4 & 63) | second >> 4];
    *out++ = rest == 2 ? kBase64Alphabet[second << 2 & 63] : '=';
    *out++ = '=';
    return out;
}

void tqa::base64EncodePlain(const unsigned char* bytes, std::size_t groups, char* text) noexcept {
    for (; groups > 0; --groups, bytes += 3, text += 4) {
        text[0] = kBase64Alphabet[bytes[0] >> 2];
        text[1] = kBase64Alphabet[(bytes[0] << 4 & 63) | bytes[1] >> 4];
        text[2] = kBase64Alphabet[(bytes[1] << 2 & 63) | bytes[2] >> 6];
        text[3] = kBase64Alphabet[bytes[2] & 63];
    }
}

std::size_t tqa::base64DecodePlain(const char* text, std::size_t groups, char* bytes) noexcept {
    for (std::size_t done = 0; done < groups; ++done, text += 4, bytes += 3) {
        const unsigned int i0 = indexOf(text[0]);
        const unsigned int i1 = indexOf(text[1]);
        const unsigned int i2 = indexOf(text[2]);
        const unsigned int i3 = indexOf(text[3]);
        if ((i0 | i1 | i2 | i3) > 63) return done;
        bytes[0] = static_cast<char>(i0 << 2 | i1 >> 4);
        bytes[1] = static_cast<char>(i1 << 4 | i2 >> 2);
        bytes[2] = static_cast<char>(i2 << 6 | i3);
    }
    return groups;
}
