#include "tools/hex.h"

#include <algorithm>

namespace tool {

namespace {

constexpr char kDigits[] = "0123456789abcdef";

int digitOf(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

void appendByte(std::string& out, char c) {
    const auto byte = static_cast<unsigned char>(c);
    (out += kDigits[byte >> 4]) += kDigits[byte & 0xF];
}

}  // namespace

std::string writeHex(std::string_view bytes) {
    constexpr std::size_t kRow = 16;
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i % kRow != 0) out += ' ';
        appendByte(out, bytes[i]);
        if (i % kRow == kRow - 1 || i + 1 == bytes.size()) out += '\n';
    }
    return out += '\n';
}

std::string hexDigits(std::string_view bytes) {
    std::string out;
    for (const char c : bytes) appendByte(out, c);
    return out;
}

std::optional<std::string> readHex(std::string_view text, std::size_t* at) {
    std::string bytes;
    int high = -1;
    std::size_t& i = *at;
    for (i = 0; i < text.size(); ++i) {
        if (isBlank(text[i])) continue;
        if (text[i] == '#') {
            i = std::min(text.find('\n', i), text.size()) - 1;
            continue;
        }
        const int digit = digitOf(text[i]);
        if (digit < 0) return std::nullopt;
        if (high >= 0) bytes += static_cast<char>(high << 4 | digit);
        high = high >= 0 ? -1 : digit;
    }
    return high < 0 ? std::optional(bytes) : std::nullopt;
}

}  // namespace tool
