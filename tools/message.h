// A message in the tool's hands, and its forms.
#pragma once

#include "tqamsg/tqamsg.h"

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

namespace tool {

struct DestroyMessage {
    void operator()(TQAMessage* message) const { message->destroy(); }
};
using Message = std::unique_ptr<TQAMessage, DestroyMessage>;
using Iterator = std::unique_ptr<TQAMessageIterator>;

// What the library hands out from malloc.
struct FreeBytes {
    void operator()(char* bytes) const { std::free(bytes); }
};
using Bytes = std::unique_ptr<char, FreeBytes>;

enum class Form { Xml, Binary, Json, Hex, Soap };

// "xml", "bin", "json", "hex", "soap".
const char* shortNameOf(Form form);
std::optional<Form> formNamed(const std::string& shortName);
// "XML text", "a binary message", ...
const char* describe(Form form);

// An empty message. Throws Failure(kInputOutput) when memory runs out.
Message newMessage();

// The message that these bytes are; null when they are none.
Message messageOf(const std::string& bytes);

// A view of the root that lasts until the message changes.
tqa::ElementView rootOf(TQAMessage& message);

// The message in the tool's kind, for edits by path.
TQABinary& binaryOf(TQAMessage& message);

// The bytes of the message, or of the element on which the iterator stands as a message of its own.
std::string bytesOf(TQAMessage& message, TQAMessageIterator* from = nullptr);
std::string inForm(TQAMessage& message, Form form);

}  // namespace tool
