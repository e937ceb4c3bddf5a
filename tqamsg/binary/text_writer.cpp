#include "tqamsg/binary/text_writer.h"

#include "tqamsg/util/base64.h"
#include "tqamsg/util/number_text.h"
#include "tqamsg/vocabulary/lookup.h"

namespace tqa {

namespace {

std::string_view escapeOf(char c) {
    switch (c) {
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '&':
            return "&amp;";
        default:
            return {};
    }
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
    std::size_t plain = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string_view escape = escapeOf(text[i]);
        if (escape.empty()) continue;
        out.append(text.substr(plain, i - plain));
        out.append(escape);
        plain = i + 1;
    }
    out.append(text.substr(plain));
}

bool TextWriter::write(ElementView element) {
    if (printsAsAttribute(element)) {
        writeAttribute(element);
    } else {
        writeElement(element, kGivenPrefix);
    }
    const char* at = open_.empty() ? nullptr : open_.top().begin + kEmptyElementSize;
    while (!open_.empty() && !failed_) {
        const Open parent = open_.top();
        const ElementView child = ElementView::find(at, parent.end);
        if (!child) {
            open_.pop();
            writeEndTag(ElementView::find(parent.begin, parent.end), parent.prefix);
            at = parent.end;
            continue;
        }
        at = child.end();
        if (printsAsAttribute(child)) continue;
        const int ns = ElementView::find(parent.begin, parent.end).ns();
        const std::size_t depth = open_.size();
        writeElement(child, namespaceWord(ns).empty() ? parent.prefix : static_cast<Prefix>(ns));
        if (open_.size() > depth) at = child.childrenBegin();
    }
    return !failed_ && !out_.failed();
}

// Prints an element; of a container with children the start tag only, which opens it.
void TextWriter::writeElement(ElementView element, Prefix prefix) {
    if (element.kind() == Kind::Unparsed) {
        writeValue(element);
        if (element.length() != 0) out_.append('\n');
        return;
    }
    out_.append('<');
    writeTagName(element, prefix);
    writeDeclaration(element);
    if (element.length() == 0) {
        out_.append("/>\n");
    } else if (element.isContainer()) {
        writeAttributesOf(element);
        out_.append(">\n");
        open(element, prefix);
    } else {
        out_.append('>');
        writeValue(element);
        writeEndTag(element, prefix);
    }
}

void TextWriter::open(ElementView container, Prefix prefix) {
    if (!open_.push({container.begin(), container.end(), prefix})) failed_ = true;
}

// Kept: attributes print in the reverse of their order in the message.
void TextWriter::writeAttributesOf(ElementView container) {
    const char* end = container.end();
    for (ElementView child = container.firstChild(); child; child = child.next(end)) {
        if (printsAsAttribute(child) && !attributes_.push(child)) failed_ = true;
    }
    for (; !attributes_.empty(); attributes_.pop()) writeAttribute(attributes_.top());
}

// Kept: attribute values are escaped by their kind's rule only, so a quote in one ends it early.
void TextWriter::writeAttribute(ElementView attribute) {
    out_.append(' ');
    out_.append(wordOf(attribute));
    out_.append("=\"");
    writeValue(attribute);
    out_.append('"');
}

// Elements without payload, containers (as header attributes) and unknown kinds have no value; a
// number that is cut short has none either.
void TextWriter::writeValue(ElementView element) {
    if (element.length() == 0) return;
    switch (element.kind()) {
        case Kind::Untyped:
        case Kind::Time:
        case Kind::Unparsed:
            out_.append(element.text());
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

void TextWriter::writeEndTag(ElementView element, Prefix prefix) {
    out_.append("</");
    writeTagName(element, prefix);
    out_.append(">\n");
}

void TextWriter::writeTagName(ElementView element, Prefix prefix) {
    const std::string_view text = prefix == kGivenPrefix ? prefix_ : namespaceWord(prefix);
    if (namespaces_ && !text.empty()) {
        out_.append(text);
        out_.append(':');
    }
    out_.append(wordOf(element));
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

std::string_view TextWriter::namespaceOf(ElementView element) const {
    return namespaces_ ? namespaceWord(element.ns()) : std::string_view();
}

// Kept: an unknown id beside a known namespace prints with an empty word.
std::string_view TextWriter::wordOf(ElementView element) const {
    const std::string_view word =
        printsAsAttribute(element) ? attributeWord(element.id()) : tagWord(element.id());
    return word.empty() && namespaceOf(element).empty() ? "INVALID_TAG" : word;
}

}  // namespace tqa
