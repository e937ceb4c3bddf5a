// `tqamsg show`: the tree, one element a line.

#include "tools/verb.h"

#include <algorithm>
#include <iostream>

namespace tool {

namespace {

using tqa::ElementView;
using tqa::Kind;

const char* nameOf(Kind kind) {
    switch (kind) {
        case Kind::Untyped:
            return "Untyped";
        case Kind::Int:
            return "Int";
        case Kind::String:
            return "String";
        case Kind::LongLong:
            return "LongLong";
        case Kind::Double:
            return "Double";
        case Kind::Base64:
            return "Base64";
        case Kind::Time:
            return "Time";
        case Kind::Container:
            return "Container";
        case Kind::Unparsed:
            return "Unparsed";
    }
    return "unknown kind";
}

// The word of an element; "@" marks header attributes.
std::string wordOf(TQABinaryIterator& it) {
    const auto attribute = IDAttrMap.find(it.curID());
    if (attribute != IDAttrMap.end()) return "@" + attribute->second;
    const std::string word = it.curName();
    return word.empty() ? "-" : word;
}

// Texts may hold anything; what would move the cursor or ring the bell is written out.
std::string quoted(std::string_view text) {
    static const char* const digits = "0123456789abcdef";
    std::string out = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n') {
            out += "\\n";
        } else if (c == '"' || c == '\\') {
            (out += '\\') += c;
        } else if (byte < 0x20 || byte == 0x7F) {
            ((out += "\\x") += digits[byte >> 4]) += digits[byte & 0xF];
        } else {
            out += c;
        }
    }
    return out += '"';
}

std::string valueOf(TQABinaryIterator& it, ElementView element) {
    if (element.length() == 0 || element.isContainer()) return {};
    std::string text;
    switch (element.kind()) {
        case Kind::Base64:
            return it.getValueBase64(&text, 0) == 0 ? Base64::encode(text) : text;
        case Kind::Int:
        case Kind::LongLong:
        case Kind::Double:
            return it.getValue(&text, 0) == 0 ? text : "(cut short)";
        default:
            return quoted(element.text());
    }
}

void showLine(TQABinaryIterator& it, int depth) {
    constexpr int kDeepestIndent = 40;
    const ElementView element = tqa::elementOf(it);
    std::cout << std::string(static_cast<std::size_t>(2 * std::min(depth, kDeepestIndent)), ' ')
              << wordOf(it) << " #" << it.curID() << ' ' << nameOf(element.kind());
    const auto ns = NSIDTextMap.find(element.ns());
    if (ns != NSIDTextMap.end()) std::cout << " ns=" << ns->second;
    const std::string value = valueOf(it, element);
    if (!value.empty()) std::cout << ' ' << value;
    std::cout << '\n';
}

void show(TQAMessage& message) {
    const Iterator cursor(message.newIterator());
    auto& it = dynamic_cast<TQABinaryIterator&>(*cursor);
    int depth = 0;
    for (;;) {
        showLine(it, depth);
        if (it.firstChild() == 0) {
            ++depth;
            continue;
        }
        while (it.nextSibling() != 0) {
            if (depth == 0) return;
            it.seekUp();
            --depth;
        }
    }
}

}  // namespace

void addShow(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("show", "Show the tree: name, id, kind and value");
    const auto file = std::make_shared<std::string>();
    verb->add_option("FILE", *file, "message in XML or binary form")->required();
    verb->callback(
        [file] { forEachMessage(*file, [](const Message& message, Form) { show(*message); }); });
}

}  // namespace tool
