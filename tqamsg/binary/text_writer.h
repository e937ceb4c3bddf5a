// Elements as XML text, in one forward pass and without recursion.
//
// The text form: one element a line, no indentation, the header attributes of an element inside
// its start tag. An element that declares a namespace is itself printed with the prefix that it
// received; its descendants carry the new one. docs/format.md lists the rules.
#pragma once

#include "tqamsg/binary/layout.h"
#include "tqamsg/util/c_text.h"
#include "tqamsg/util/small_stack.h"
#include "tqamsg/vocabulary/word_table.h"

#include <cstdint>
#include <string_view>

namespace tqa {

// Whether an element prints inside its parent's start tag.
inline bool printsAsAttribute(ElementView element) {
    return element.id() < kFirstElementId && element.kind() != Kind::Unparsed;
}

// Appends the text with "<", ">" and "&" replaced.
void appendEscaped(std::string_view text, TextBuffer& out);

class TextWriter {
  public:
    // Appends to `out`, which shows in the end whether memory ran out. `base` and `prefix` must
    // outlive the writer; `prefix` goes on the tags of the elements printed first.
    TextWriter(TextBuffer& out, bool namespaces, std::string_view base, std::string_view prefix)
        : out_(out), namespaces_(namespaces), base_(base), prefix_(prefix) {}

    // Prints one element with all below it. False when memory ran out.
    bool write(ElementView element);

  private:
    // The prefix on an element's tags: the namespace id of the nearest element around it that has
    // one, or kGivenPrefix.
    using Prefix = std::uint16_t;
    static constexpr Prefix kGivenPrefix = 0;

    // A container whose children are being printed, and the prefix that it received.
    struct Open {
        const char* begin;
        const char* end;
        Prefix prefix;
    };

    // What stands in an element's tags.
    struct TagName {
        std::string_view prefix;
        KeyedWord word;
    };

    const char* writeShort(ElementView element, Prefix prefix);
    const char* writeElement(ElementView element, Prefix prefix);
    void writeAttribute(ElementView attribute);
    void writeAttributes(ElementView first, const char* end);
    void writeValue(ElementView element);
    void writeText(ElementView element);
    void writeEnd(ElementView element, Prefix prefix);
    bool writeShortEnd(const KeyedWord& word);
    void writeTagName(const TagName& name);
    void writeDeclaration(ElementView element);
    Prefix prefixBelow(const Open& container) const;
    TagName tagNameOf(ElementView element, Prefix prefix) const;
    std::string_view namespaceOf(ElementView element) const;

    TextBuffer& out_;
    bool namespaces_;
    std::string_view base_;
    std::string_view prefix_;
    const char* readable_ = nullptr;  // the end of the bytes that may be read
    bool failed_ = false;
    SmallStack<Open, 32> open_;
    SmallStack<ElementView, 16> attributes_;
};

}  // namespace tqa
