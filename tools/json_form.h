// The JSON form of a message (docs/json.md): it gives the same bytes back.
#pragma once

#include "tools/message.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace tool {

// The version of the form, in its first member.
inline constexpr int kJsonVersion = 1;

// What is wrong with a JSON text, and where: a byte's position or a JSON pointer (RFC 6901).
class JsonFault : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The JSON text of a message, one element a line.
std::string writeJson(TQAMessage& message);

// The bytes of the message that a JSON text describes. Throws JsonFault.
std::string readJson(std::string_view text);

// A JSON string of the text; bytes that are no UTF-8 become U+FFFD.
std::string jsonString(std::string_view text);

// Adds the members "name", "ns", "kind" and "value" (or "bytes") of an element, without braces.
void appendJsonElement(std::string& out, tqa::ElementView element);

}  // namespace tool
