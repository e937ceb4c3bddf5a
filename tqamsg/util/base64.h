// Base64 texts with the standard alphabet and "=" padding (RFC 4648, section 4).
//
//     Base64::encode("ABC")                    "QUJD", never broken into lines
//     Base64::decode("QUJD", &bytes)           0 and "ABC"
//     Base64::decode("QU\r\nJD", &bytes)       0 and "ABC": a carriage return permits line breaks
//     Base64::decode("QU\nJD", &bytes)         -1, bytes untouched: line feeds alone do not
#pragma once

#include "tqamsg/export.h"

#include <cstddef>
#include <string>

class TQA_API Base64 {
  public:
    static std::string encode(const std::string& data);

    // The decoded bytes; the empty string when the text is invalid.
    static std::string decode(const std::string& text);

    // 0 and *out set; -1 and *out untouched when a character does not belong where it stands or
    // memory runs out. Decoding ends at a "=" in the third or fourth place of a group, and whatever
    // follows it is ignored. text may be null when len is 0.
    static int decode(const std::string& text, std::string* out);
    static int decode(const char* text, int len, std::string* out);

    // Fills exactly outSize bytes of out and returns out. Nothing is validated: a character outside
    // the alphabet gives a meaningless byte and missing bytes become 0. A text that was not used up
    // or did not suffice is reported on standard error only.
    static char* decode(const char* text, int len, char* out, int outSize);
};

// The value 0 to 63 of a character of the alphabet, 255 for any other.
TQA_API unsigned char getIndex(char c);

namespace tqa {

// The length of the text that so many bytes become.
constexpr std::size_t base64Length(std::size_t bytes) noexcept {
    return bytes / 3 * 4 + (bytes % 3 == 0 ? 0 : 4);
}

// Writes the base64Length(bytes) characters at out, without a terminator; returns their end.
char* base64Encode(const void* data, std::size_t bytes, char* out) noexcept;

}  // namespace tqa
