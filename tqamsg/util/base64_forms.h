// The inner loops of Base64: whole groups, three bytes or four characters each, without padding.
//
//     const tqa::Base64Form& form = tqa::bestBase64Form();
//     form.encode(bytes, 2, text);   // 6 bytes become 8 characters
//     form.decode(text, 2, bytes);   // 2, and the 6 bytes again
//
// There is a plain form and, where the processor is known, forms that use its vectors. They differ
// in nothing but speed.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace tqa {

inline constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

struct Base64Form {
    const char* name;

    // Writes 4 * groups characters.
    void (*encode)(const unsigned char* bytes, std::size_t groups, char* text) noexcept;

    // Decodes up to the first group that holds a character outside the alphabet; returns how many
    // groups that were. `bytes` has room for all groups, and what lies behind the decoded ones may
    // be overwritten. It may start where `text` starts.
    std::size_t (*decode)(const char* text, std::size_t groups, char* bytes) noexcept;
};

// The forms that this processor can run, the quickest first and the plain one last.
std::span<const Base64Form> base64Forms() noexcept;

inline const Base64Form& bestBase64Form() noexcept {
    return base64Forms().front();
}

// The plain form's loops, which also finish what is too short for a vector.
void base64EncodePlain(const unsigned char* bytes, std::size_t groups, char* text) noexcept;
std::size_t base64DecodePlain(const char* text, std::size_t groups, char* bytes) noexcept;

}  // namespace tqa
