// The small language in which the tests speak of binary messages.
//
//     const Message m = parse("<packet><data><vem/></data></packet>");
//     cursorAt(m, "data/vem")->putValue(5, tqa::Tag_veid);
//     EXPECT_EQ(text(m), "<packet>\n<data>\n<vem>\n<veid>5</veid>\n</vem>\n</data>\n</packet>\n");
//
// What goes wrong while a test prepares its messages fails the test.
#pragma once

#include "tqamsg/binary/binary.h"
#include "tqamsg/binary/binary_iterator.h"
#include "tqamsg/binary/layout.h"
#include "tqamsg/util/c_text.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace tqa_test {

// --- owners -------------------------------------------------------------------------------------

struct DestroyMessage {
    void operator()(TQAMessage* message) const { message->destroy(); }
};

using Message = std::unique_ptr<TQABinary, DestroyMessage>;
using Cursor = std::unique_ptr<TQABinaryIterator>;

// Writable bytes in a heap block of exactly their number, so that the sanitizers see every read
// behind them.
class Block {
  public:
    explicit Block(std::string_view bytes);

    char* data() const { return bytes_.get(); }
    int size() const { return size_; }

  private:
    tqa::CText bytes_;
    int size_;
};

// --- making messages ----------------------------------------------------------------------------

Message emptyMessage();                  // never held content
Message create(const char* root);        // {root}, 24 bytes
Message create(int rootId);              // for ids without a word
Message parse(std::string_view xml);     // with the flags in TQABinary::Policy
Message load(std::string_view encoded);  // bytes, or text with its zero byte
Message copyOf(const Message& message);  // shares the content

// --- looking at them ----------------------------------------------------------------------------

// The exported bytes, and those of the element on which the iterator stands; empty on failure.
std::string bytes(TQAMessage& message);
std::string bytes(TQAMessageIterator& at);
inline std::string bytes(const Message& message) {
    return bytes(*message);
}
inline std::string bytes(const Cursor& at) {
    return bytes(*at);
}

// The printed text, likewise; "(no text)" on failure.
std::string text(TQAMessage& message);
std::string text(TQAMessageIterator& at);
inline std::string text(const Message& message) {
    return text(*message);
}
inline std::string text(const Cursor& at) {
    return text(*at);
}

// Bytes in rows of eight: "98BADCFE 00000000\n". Messages and elements start on rows of their own.
std::string hex(std::string_view bytes);
inline std::string hex(const Message& message) {
    return hex(bytes(message));
}

// Every element as id:kind, ".ns" if it has one, and "=payload" or its children:
// "1398:50(103:1=05000000 1002:0.246=)". What hex() shows without the padding.
std::string tree(std::string_view encoded);
inline std::string tree(const Message& message) {
    return tree(bytes(message));
}
inline std::string tree(const Cursor& at) {
    return tree(bytes(at));
}

// --- iterators ----------------------------------------------------------------------------------

Cursor cursor(TQABinary& message);
inline Cursor cursor(const Message& message) {
    return cursor(*message);
}
// On the element that a path of words leads to.
Cursor cursorAt(TQABinary& message, const std::string& path);
inline Cursor cursorAt(const Message& message, const std::string& path) {
    return cursorAt(*message, path);
}
// A second iterator on the same element.
Cursor copyOf(const Cursor& at);

// --- bytes by hand ------------------------------------------------------------------------------

// Hex digits, with blanks and line breaks between them, to bytes.
std::string fromHex(std::string_view digits);

// A message and its elements, with zero padding. Nothing is checked, so lengths can be made to lie.
std::string message(std::string_view root);
std::string element(int id, tqa::Kind kind, std::string_view payload = {}, int ns = 0);
std::string container(int id, std::string_view children = {}, int ns = 0);
std::string stringElement(int id, std::string_view text);  // adds the zero byte
std::string intElement(int id, std::int32_t value);

// The bytes of a number in host order.
template <class T>
std::string number(T value) {
    std::string bytes(sizeof value, '\0');
    tqa::store(bytes.data(), value);
    return bytes;
}

// An element that is `levels` containers inside each other, the innermost around `children`.
std::string nested(int id, int levels, std::string_view children = {});

}  // namespace tqa_test
