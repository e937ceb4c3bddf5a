// Bytes as hexadecimal text: rows of sixteen, written for people; read with any white space between
// the digits, and comments from "#" to the end of the line.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tool {

// Rows of sixteen bytes, and an empty line behind the last.
std::string writeHex(std::string_view bytes);

// Digits without blanks.
std::string hexDigits(std::string_view bytes);

// The bytes, or nothing and in *at the place of the first character that does not belong there.
std::optional<std::string> readHex(std::string_view text, std::size_t* at);

}  // namespace tool
