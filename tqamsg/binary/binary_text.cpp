// The XML text of binary messages: where it is made from and where it goes.

#include "tqamsg/binary/binary.h"
#include "tqamsg/binary/binary_iterator.h"
#include "tqamsg/binary/convert_string.h"
#include "tqamsg/binary/element_at.h"
#include "tqamsg/binary/text_reader.h"
#include "tqamsg/binary/text_writer.h"
#include "tqamsg/util/c_text.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <new>

using tqa::ElementView;
using tqa::TextBuffer;

namespace {

// Text takes about as much room as the element, seldom twice as much.
std::size_t roomFor(ElementView element) {
    return 2 * static_cast<std::size_t>(element.size());
}

void writeXmlDeclaration(TextBuffer& out) {
    using Converter = ConvertString<CharToChar<char>, CharToChar<char>>;
    const char* encoding = Converter::name();
    if (encoding == nullptr) return;
    out.append("<?xml version=\"1.0\" encoding=\"");
    out.append(encoding);
    out.append("\"?>");
}

}  // namespace

std::string TQABinary::escape(const char* text) {
    if (text == nullptr) return {};
    TextBuffer out;
    tqa::appendEscaped(text, out);
    if (out.failed()) throw std::bad_alloc();
    return std::string(out.data() == nullptr ? "" : out.data(), out.size());
}

char* TQABinary::toText(TQAMessageIterator* from, bool namespaces, const std::string& base) {
    ElementView element;
    if (saveAndFind(from, &element) != 0 || !element) return nullptr;
    TextBuffer out(roomFor(element));
    if (!namespaces) writeXmlDeclaration(out);
    const bool done = tqa::TextWriter(out, namespaces, base, {}).write(element);
    return done ? out.release() : nullptr;
}

int TQABinary::toText(std::string& out, int& offset, int, int insertAt, bool namespaces,
                      const std::string& prefix, const std::string& base) {
    const ElementView element = tqa::elementAt(internals, offset);
    if (!element) return -1;
    TextBuffer text(roomFor(element));
    if (!tqa::TextWriter(text, namespaces, base, prefix).write(element)) return -1;
    const bool isAttribute = tqa::printsAsAttribute(element);
    const auto end = isAttribute ? static_cast<std::size_t>(insertAt) : out.size();
    try {
        out.insert(std::min(end, out.size()), text.data(), text.size());
    } catch (const std::exception&) {
        return -1;
    }
    offset += element.size();
    return element.id() < tqa::kFirstElementId ? 100 : 1000;
}

int TQABinary::fromText(char* text, TQAMessageIterator* at) {
    if (text == nullptr) return -1;
    if (at == nullptr) return startOver() && tqa::readMessage(text, *internals, policy) ? 0 : -1;

    TQABinaryIterator* parent = iteratorOnThis(at);
    if (parent == nullptr || parent->validateInternals() != 0) return -1;
    std::unique_ptr<TQABinaryInternals> fresh(new (std::nothrow) TQABinaryInternals);
    if (fresh == nullptr || internals->buf == nullptr) return -1;
    if (!tqa::readMessage(text, *fresh, policy)) {
        // Kept: the message is left on what was read before the fault.
        fresh->replace(*internals);
        setAside(internals);
        internals = nullptr;
        takeContent(fresh.release());
        return -1;
    }
    return encode(fresh->buf, fresh->used, at);
}

int TQABinary::fromText(char*& text, BinaryPath& path, bool skip) {
    const ElementView parent = tqa::pathEnd(internals, path);
    const bool holdsValue = parent && !parent.isContainer() &&
                            (parent.kind() != tqa::Kind::Untyped || parent.ns() != 0);
    if (!skip && holdsValue) return -1;

    TQABinaryInternals read;
    if (!tqa::beginMessage(read)) return -1;
    tqa::TextReader reader(text, read, policy);
    const bool done = reader.read(skip);
    text += reader.position() - text;
    if (!done) return -1;
    const ElementView root = tqa::rootOf(&read);
    return root ? appendElement(path, root) : 0;
}
