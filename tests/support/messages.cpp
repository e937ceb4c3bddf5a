#include "tests/support/messages.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

namespace tqa_test {

using tqa::ElementView;
using tqa::Kind;

Block::Block(std::string_view bytes)
    : bytes_(static_cast<char*>(std::malloc(static_cast<std::uint32_t>(bytes.size())))),
      size_(static_cast<int>(bytes.size())) {
    if (!bytes.empty()) std::memcpy(bytes_.get(), bytes.data(), bytes.size());
}

// --- making messages ----------------------------------------------------------------------------

Message emptyMessage() {
    return Message(new TQABinary);
}

Message create(const char* root) {
    Message made = emptyMessage();
    EXPECT_EQ(made->create(root), 0) << root;
    return made;
}

Message create(int rootId) {
    Message made = emptyMessage();
    EXPECT_EQ(made->create(rootId), 0) << rootId;
    return made;
}

Message parse(std::string_view xml) {
    Message made = emptyMessage();
    const Block writable(std::string(xml) + '\0');
    EXPECT_EQ(made->fromText(writable.data(), nullptr), 0) << xml;
    return made;
}

Message load(std::string_view encoded) {
    Message made = emptyMessage();
    const Block block(encoded);
    EXPECT_EQ(made->encode(block.data(), block.size(), nullptr), 0) << hex(encoded);
    return made;
}

Message copyOf(const Message& message) {
    auto* made = dynamic_cast<TQABinary*>(message->copy(false));
    EXPECT_NE(made, nullptr);
    return Message(made);
}

// --- looking at them ----------------------------------------------------------------------------

namespace {

std::string takeBytes(char* exported, int len, int status) {
    const tqa::CText owner(exported);
    return status == 0 ? std::string(exported, static_cast<std::size_t>(len)) : std::string();
}

std::string takeText(char* printed) {
    const tqa::CText owner(printed);
    return printed == nullptr ? "(no text)" : printed;
}

void appendHex(std::string_view bytes, std::string& out) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        out += {kDigits[byte >> 4], kDigits[byte & 15]};
    }
}

void appendTree(ElementView element, std::string& out) {
    out += std::to_string(element.id()) + ':' + std::to_string(static_cast<int>(element.kind()));
    if (element.ns() != 0) out += '.' + std::to_string(element.ns());
    if (!element.isContainer()) {
        out += '=';
        appendHex(element.bytes(), out);
        return;
    }
    const char* separator = "(";
    for (ElementView child = element.firstChild(); child; child = child.next(element.end())) {
        out += separator;
        separator = " ";
        appendTree(child, out);
    }
    out += *separator == '(' ? "()" : ")";
}

}  // namespace

std::string bytes(TQAMessage& message) {
    char* exported = nullptr;
    int len = 0;
    const int status = message.decode(&exported, &len, nullptr);
    return takeBytes(exported, len, status);
}

std::string bytes(TQAMessageIterator& at) {
    char* exported = nullptr;
    int len = 0;
    const int status = at.decodeFromChild(&exported, &len);
    return takeBytes(exported, len, status);
}

std::string text(TQAMessage& message) {
    return takeText(message.toText(nullptr, false, ""));
}

std::string text(TQAMessageIterator& at) {
    return takeText(at.toTextFromChild());
}

std::string hex(std::string_view bytes) {
    std::string out;
    for (std::size_t at = 0; at < bytes.size(); at += 8) {
        const std::string_view row = bytes.substr(at, 8);
        appendHex(row.substr(0, 4), out);
        if (row.size() > 4) out += ' ';
        appendHex(row.substr(std::min<std::size_t>(row.size(), 4)), out);
        out += '\n';
    }
    return out;
}

std::string tree(std::string_view encoded) {
    if (encoded.size() < tqa::kRootOffset) return "(nothing)";
    const char* end = encoded.data() + encoded.size();
    const ElementView root = ElementView::find(encoded.data() + tqa::kRootOffset, end);
    if (!root) return "(no root)";
    std::string out;
    appendTree(root, out);
    return out;
}

// --- iterators ----------------------------------------------------------------------------------

Cursor cursor(TQABinary& message) {
    return std::make_unique<TQABinaryIterator>(&message);
}

Cursor cursorAt(TQABinary& message, const std::string& path) {
    Cursor made = cursor(message);
    EXPECT_EQ(made->seek(path), 0) << path;
    return made;
}

Cursor copyOf(const Cursor& at) {
    return std::make_unique<TQABinaryIterator>(at.get());
}

// --- bytes by hand ------------------------------------------------------------------------------

std::string fromHex(std::string_view digits) {
    std::string packed;
    for (const char c : digits) {
        if (std::isxdigit(static_cast<unsigned char>(c)) != 0) packed += c;
    }
    std::string bytes;
    for (std::size_t at = 0; at + 1 < packed.size(); at += 2) {
        bytes += static_cast<char>(std::stoi(packed.substr(at, 2), nullptr, 16));
    }
    return bytes;
}

std::string message(std::string_view root) {
    return number(tqa::kMagic) + number<std::uint32_t>(0) + std::string(root);
}

std::string element(int id, Kind kind, std::string_view payload, int ns) {
    const auto length = static_cast<int>(payload.size());
    std::string bytes = number(id) + number(tqa::kindWord(kind, ns)) + number(length);
    bytes.resize(static_cast<std::size_t>(tqa::payloadOffset(length, kind)));
    bytes += payload;
    bytes.resize(static_cast<std::size_t>(tqa::elementSize(length)));
    return bytes;
}

std::string container(int id, std::string_view children, int ns) {
    return element(id, Kind::Container, children, ns);
}

std::string stringElement(int id, std::string_view text) {
    return element(id, Kind::String, std::string(text) + '\0');
}

std::string intElement(int id, std::int32_t value) {
    return element(id, Kind::Int, number(value));
}

std::string nested(int id, int levels, std::string_view children) {
    std::string bytes;
    std::size_t inside =
        children.size() + static_cast<std::size_t>(levels) * tqa::kEmptyElementSize;
    bytes.reserve(inside);
    for (int level = 0; level < levels; ++level) {
        inside -= tqa::kEmptyElementSize;
        bytes += number(id) + number(tqa::kindWord(Kind::Container)) +
                 number(static_cast<std::int32_t>(inside)) + std::string(4, '\0');
    }
    return bytes += children;
}

}  // namespace tqa_test
