// Trimming, letter case and truth of byte strings. White space and case are those of the C locale
// the process runs in, byte by byte; bytes from 0x80 up are safe.
#pragma once

#include "tqamsg/export.h"

#include <string>
#include <string_view>

// Trims s in place: moves s to its first character that is no white space (isspace), writes a
// terminator after the last one, and returns the new s.
TQA_API char* strip_spaces(char*& s);

// Erases blanks, tabs and line feeds from both ends; returns s.
// Kept: a carriage return is no white space here, other than in the form above.
TQA_API std::string& strip_spaces(std::string& s);

// Erases the trailing characters that are in set; returns s.
TQA_API std::string& chomp(std::string& s, const char* set);

TQA_API std::string toLower(const std::string& text);
TQA_API std::string toUpper(const std::string& text);

// The text with every byte passed through F, for any string of char.
template <int (*F)(int), class String = std::string>
String toCase(const String& text) {
    String result = text;
    for (char& c : result) c = static_cast<char>(F(static_cast<unsigned char>(c)));
    return result;
}

namespace tqa {

// What a text says where a boolean is read: "", "0" and "false" are false, all others are true.
constexpr bool isTrue(std::string_view text) {
    return !text.empty() && text != "0" && text != "false";
}

}  // namespace tqa
