#include "tqamsg/binary/text_writer.h"

#include "tqamsg/binary/text_search.h"
#include "tqamsg/util/base64.h"
#include "tqamsg/util/number_text.h"
#include "tqamsg/vocabulary/keyed_lookup.h"
#include "tqamsg/vocabulary/lookup.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace tqa {

namespace {

constexpr KeyedWord kInvalidTag = {"INVALID_TAG", keyOf("INVALID_TAG")};

std::string_view escapeOf(char c) {
    switch (c) {
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        default:
            return "&amp;";
    }
}

bool isEscaped(char c) {
    return c == '<' || c == '>' || c == '&';
}

// The first character from `from` on that is escaped, or `end`.
const char* findEscaped(const char* from, const char* end) {
    for (; end - from >= TextBlock::kSize; from += TextBlock::kSize) {
        const TextBlock block(from);
        const unsigned found = block.where('<') | block.where('>') | block.where('&');
        if (found != 0) return from + std::countr_zero(found);
    }
    while (from != end && !isEscaped(*from)) ++from;
    return from;
}

// Where `text` ends that is written so: a word of at most kKeyLength characters, or a short text
// that lies in sixteen readable bytes.
char* copyBlock(const void* block, std::size_t n, char* to) {
    std::memcpy(to, block, TextBuffer::kBlock);
    return to + n;
}

// Writes a value of a few characters and gives its end; null for all others. kShortValue bytes can
// be written, and the bytes up to `readable` can be read.
constexpr std::size_t kShortValue = 32;

char* writeShortText(ElementView element, const char* readable, char* to) {
    const char* const start = element.payload();
    if (element.length() > TextBlock::kSize || readable - start < TextBlock::kSize) return nullptr;
    const TextBlock block(start);
    const unsigned size = block.where('\0') | 1U << element.length();
    if (element.kind() == Kind::String) {
        const unsigned escaped = block.where('<') | block.where('>') | block.where('&');
        // Below the lowest bit of `size` are those of the text.
        if ((escaped & (size - 1) & ~size) != 0) return nullptr;
    }
    return copyBlock(start, static_cast<std::size_t>(std::countr_zero(size)), to);
}

char* writeShortValue(ElementView element, const char* readable, char* to) {
    const Kind kind = element.kind();
    if (kind == Kind::Int) {
        std::int32_t value = 0;
        return element.number(&value) ? writeInteger(to, value) : nullptr;
    }
    if (kind == Kind::Untyped || kind == Kind::String || kind == Kind::Time) {
        return writeShortText(element, readable, to);
    }
    std::int64_t value = 0;
    return kind == Kind::LongLong && element.number(&value) ? writeInteger(to, value) : nullptr;
}

// The first child of an element that prints as its attribute; empty when there is none.
[[gnu::always_inline]] inline ElementView firstAttribute(ElementView container) {
    const char* const end = container.end();
    ElementView child = container.firstChild();
    while (child && !printsAsAttribute(child)) child = child.next(end);
    return child;
}

void appendInteger(long long value, TextBuffer& out) {
    char* at = out.grow(kIntegerTextMax);
    if (at != nullptr) out.commit(static_cast<std::size_t>(writeInteger(at, value) - at));
}

void appendDouble(double value, TextBuffer& out) {
    char* at = out.grow(kDoubleTextMax);
    if (at != nullptr) out.commit(static_cast<std::size_t>(writeDouble(at, value) - at));
}

void appendBase64(std::string_view bytes, TextBuffer& out) {
    char* at = out.grow(base64Length(bytes.size()));
    if (at == nullptr) return;
    out.commit(static_cast<std::size_t>(base64Encode(bytes.data(), bytes.size(), at) - at));
}

}  // namespace

void appendEscaped(std::string_view text, TextBuffer& out) {
    const char* at = text.data();
    const char* end = at + text.size();
    for (;;) {
        const char* stop = findEscaped(at, end);
        out.append({at, static_cast<std::size_t>(stop - at)});
        if (stop == end) return;
        out.append(escapeOf(*stop));
        at = stop + 1;
    }
}

// What most elements come through is part of the loop of write(): as calls it took a fifth longer.

[[gnu::always_inline]] inline bool TextWriter::writeShortEnd(const KeyedWord& word) {
    if (word.word.empty() || word.word.size() > kKeyLength) return false;
    char* const start = out_.grow(kKeyLength + sizeof "</>");
    if (start == nullptr) return false;
    char* at = std::copy_n("</", 2, start);
    at = copyBlock(&word.key, word.word.size(), at);
    at = std::copy_n(">\n", 2, at);
    out_.commit(static_cast<std::size_t>(at - start));
    return true;
}

[[gnu::always_inline]] inline void TextWriter::writeEnd(ElementView element, Prefix prefix) {
    if (!namespaces_ && writeShortEnd(keyedTagWord(element.id()))) return;
    out_.append("</");
    writeTagName(tagNameOf(element, prefix));
    out_.append(">\n");
}

// The quick way of writeElement(), for most elements: those without prefix and attributes that have
// a short name and, if they have one, a short value are written in one go. Null, with nothing
// written, for all others.
[[gnu::always_inline]] inline const char* TextWriter::writeShort(ElementView element,
                                                                 Prefix prefix) {
    const KeyedWord word = keyedTagWord(element.id());
    const std::size_t size = word.word.size();
    if (namespaces_ || size == 0 || size > kKeyLength) return nullptr;
    char* const start = out_.grow(2 * kKeyLength + kShortValue + sizeof "<></>");
    if (start == nullptr) return nullptr;
    *start = '<';
    char* at = copyBlock(&word.key, size, start + 1);
    const char* behind = element.end();
    if (element.isContainer() && element.length() > 0) {
        if (firstAttribute(element)) return nullptr;
        at = std::copy_n(">\n", 2, at);
        if (!open_.push({element.begin(), element.end(), prefix})) failed_ = true;
        behind = element.childrenBegin();
    } else if (element.length() > 0) {
        *at = '>';
        at = writeShortValue(element, readable_, at + 1);
        if (at == nullptr) return nullptr;
        at = std::copy_n("</", 2, at);
        at = copyBlock(&word.key, size, at);
        at = std::copy_n(">\n", 2, at);
    } else {
        if (element.kind() == Kind::Unparsed) return nullptr;
        at = std::copy_n("/>\n", 3, at);
    }
    out_.commit(static_cast<std::size_t>(at - start));
    return behind;
}

bool TextWriter::write(ElementView element) {
    readable_ = element.end();
    if (printsAsAttribute(element)) {
        writeAttribute(element);
        return !failed_ && !out_.failed();
    }
    const char* at = writeElement(element, kGivenPrefix);
    while (!open_.empty() && !failed_) {
        const Open parent = open_.top();
        const Prefix prefix = prefixBelow(parent);
        const std::size_t depth = open_.size();
        ElementView child = ElementView::find(at, parent.end);
        while (child && open_.size() == depth) {
            if (printsAsAttribute(child)) {
                at = child.end();
            } else {
                const char* const behind = writeShort(child, prefix);
                at = behind != nullptr ? behind : writeElement(child, prefix);
            }
            child = ElementView::find(at, parent.end);
        }
        if (open_.size() != depth) continue;
        open_.pop();
        writeEnd(ElementView::find(parent.begin, parent.end), parent.prefix);
        at = parent.end;
    }
    return !failed_ && !out_.failed();
}

// Prints an element and gives its end; of a container with children only the start tag, which
// opens it, and gives where they begin.
const char* TextWriter::writeElement(ElementView element, Prefix prefix) {
    if (element.kind() == Kind::Unparsed) {
        writeValue(element);
        if (element.length() != 0) out_.append('\n');
        return element.end();
    }
    const TagName name = tagNameOf(element, prefix);
    out_.append('<');
    writeTagName(name);
    if (namespaces_) writeDeclaration(element);
    if (element.length() == 0) {
        out_.append("/>\n");
        return element.end();
    }
    if (!element.isContainer()) {
        out_.append('>');
        writeValue(element);
        writeEnd(element, prefix);
        return element.end();
    }
    if (const ElementView first = firstAttribute(element)) writeAttributes(first, element.end());
    out_.append(">\n");
    if (!open_.push({element.begin(), element.end(), prefix})) failed_ = true;
    return element.childrenBegin();
}

// Kept: attributes print in the reverse of their order in the message.
void TextWriter::writeAttributes(ElementView first, const char* end) {
    for (ElementView child = first; child; child = child.next(end)) {
        if (printsAsAttribute(child) && !attributes_.push(child)) failed_ = true;
    }
    for (; !attributes_.empty(); attributes_.pop()) writeAttribute(attributes_.top());
}

// Kept: attribute values are escaped by their kind's rule only, so a quote in one ends it early.
void TextWriter::writeAttribute(ElementView attribute) {
    const std::string_view word = attributeWord(attribute.id());
    out_.append(' ');
    out_.append(word.empty() && namespaceOf(attribute).empty() ? kInvalidTag.word : word);
    out_.append("=\"");
    writeValue(attribute);
    out_.append('"');
}

// Kept: containers have no value as header attributes. Elements without payload and unknown kinds
// have no value; a number that is cut short has none either.
void TextWriter::writeValue(ElementView element) {
    if (element.length() == 0) return;
    switch (element.kind()) {
        case Kind::Untyped:
        case Kind::Time:
        case Kind::Unparsed:
            writeText(element);
            break;
        case Kind::String:
            appendEscaped(element.text(), out_);
            break;
        case Kind::Base64: {
            const std::string_view stored = element.bytes();
            appendBase64(stored.substr(0, stored.size() - 1), out_);
            break;
        }
        case Kind::Int: {
            std::int32_t value = 0;
            if (element.number(&value)) appendInteger(value, out_);
            break;
        }
        case Kind::LongLong: {
            std::int64_t value = 0;
            if (element.number(&value)) appendInteger(value, out_);
            break;
        }
        case Kind::Double: {
            double value = 0;
            if (element.number(&value)) appendDouble(value, out_);
            break;
        }
        case Kind::Container:
            break;
    }
}

// Most texts are short: one look at sixteen bytes finds their end and copies them.
void TextWriter::writeText(ElementView element) {
    const char* start = element.payload();
    if (element.length() <= TextBlock::kSize && readable_ - start >= TextBlock::kSize) {
        const unsigned end = TextBlock(start).where('\0') | 1U << element.length();
        out_.appendBlock(start, static_cast<std::size_t>(std::countr_zero(end)));
    } else {
        out_.append(element.text());
    }
}

void TextWriter::writeTagName(const TagName& name) {
    if (!name.prefix.empty()) {
        out_.append(name.prefix);
        out_.append(':');
    }
    const std::string_view word = name.word.word;
    if (word.size() <= kKeyLength) {
        out_.appendBlock(&name.word.key, word.size());
    } else {
        out_.append(word);
    }
}

void TextWriter::writeDeclaration(ElementView element) {
    const std::string_view word = namespaceOf(element);
    if (word.empty()) return;
    out_.append(" xmlns:");
    out_.append(word);
    out_.append("=\"");
    out_.append(base_);
    out_.append(word);
    out_.append('"');
}

TextWriter::Prefix TextWriter::prefixBelow(const Open& container) const {
    if (!namespaces_) return kGivenPrefix;
    const int ns = ElementView::find(container.begin, container.end).ns();
    return namespaceWord(ns).empty() ? container.prefix : static_cast<Prefix>(ns);
}

std::string_view TextWriter::namespaceOf(ElementView element) const {
    return namespaces_ ? namespaceWord(element.ns()) : std::string_view();
}

// Kept: an unknown id beside a known namespace prints with an empty word.
TextWriter::TagName TextWriter::tagNameOf(ElementView element, Prefix prefix) const {
    TagName name = {{}, keyedTagWord(element.id())};
    if (name.word.word.empty() && namespaceOf(element).empty()) name.word = kInvalidTag;
    if (namespaces_) name.prefix = prefix == kGivenPrefix ? prefix_ : namespaceWord(prefix);
    return name;
}

}  // namespace tqa
