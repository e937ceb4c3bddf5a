// A message as JSON. What the plain members of an element cannot say is said by "bytes", "padding",
// "length" and "rest", so that no byte is lost.

#include "tools/element.h"
#include "tools/hex.h"
#include "tools/json_form.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

namespace tool {

using tqa::ElementView;
using tqa::Kind;

namespace {

using nlohmann::json;

bool isUtf8(std::string_view text) {
    try {
        static_cast<void>(json(text).dump());
        return true;
    } catch (const json::type_error&) {
        return false;
    }
}

// The value as JSON if it says the whole payload, else nothing.
std::string textMember(ElementView element) {
    const std::string_view text = element.text();
    const bool isAll = text.size() + 1 == element.bytes().size();
    return isAll && isUtf8(text) ? json(text).dump() : "";
}

std::string base64Member(ElementView element) {
    const std::string_view bytes = element.bytes();
    if (bytes.empty() || bytes.back() != '\0') return {};
    return json(shownValue(element)).dump();
}

template <class Number>
std::string numberMember(ElementView element) {
    Number number = 0;
    if (element.length() != sizeof number || !element.number(&number)) return {};
    if (!std::isfinite(static_cast<double>(number))) return {};
    return json(number).dump();
}

std::string valueMember(ElementView element) {
    switch (element.kind()) {
        case Kind::Untyped:
        case Kind::String:
        case Kind::Time:
        case Kind::Unparsed:
            return textMember(element);
        case Kind::Base64:
            return base64Member(element);
        case Kind::Int:
            return numberMember<std::int32_t>(element);
        case Kind::LongLong: {
            // Many readers of JSON keep 53 bits of a number.
            const std::string digits = numberMember<std::int64_t>(element);
            return digits.empty() ? "" : '"' + digits + '"';
        }
        case Kind::Double:
            return numberMember<double>(element);
        default:
            return {};
    }
}

void appendMember(std::string& out, const char* name, std::string_view text) {
    if (out.back() != '{') out += ',';
    ((out += '"') += name) += "\":";
    out += text;
}

void appendHexMember(std::string& out, const char* name, std::string_view bytes) {
    appendMember(out, name, '"' + hexDigits(bytes) + '"');
}

std::string_view between(const char* begin, const char* end) {
    return {begin, static_cast<std::size_t>(end - begin)};
}

// The bytes of the element that are neither header nor payload.
std::string unusedBytes(ElementView element) {
    const char* const header = element.begin() + tqa::payloadOffset(0, Kind::Untyped);
    const char* const payload = element.payload();
    std::string unused(between(header, payload));
    if (!element.isContainer()) unused += between(payload + element.bytes().size(), element.end());
    return unused;
}

void appendPadding(std::string& out, ElementView element) {
    const std::string unused = unusedBytes(element);
    if (unused.find_first_not_of('\0') != std::string::npos)
        appendHexMember(out, "padding", unused);
}

// What stands behind a container's last child.
std::string_view restOf(ElementView container) {
    const char* end = container.childrenBegin();
    for (ElementView child = container.firstChild(); child; child = child.next(container.end()))
        end = child.end();
    return between(end, container.end());
}

void appendContainer(std::string& out, ElementView element) {
    if (element.length() != element.size() - tqa::kEmptyElementSize)
        appendMember(out, "length", std::to_string(element.length()));
    const std::string_view rest = restOf(element);
    if (!rest.empty()) appendHexMember(out, "rest", rest);
    appendMember(out, "children", "[");
}

void appendElement(std::string& out, ElementView element) {
    out += '{';
    appendJsonElement(out, element);
    appendPadding(out, element);
    if (element.isContainer()) {
        appendContainer(out, element);
    } else {
        out += '}';
    }
}

void startLine(std::string& out, int depth) {
    constexpr int kDeepestIndent = 40;
    out += '\n';
    out.append(static_cast<std::size_t>(std::min(depth + 1, kDeepestIndent)), ' ');
}

// The elements below the root's "{...", closed as the walk leaves them.
void appendTree(std::string& out, ElementView root) {
    // The containers that are still open.
    std::vector<int> open;
    const auto closeTo = [&](int depth) {
        while (!open.empty() && open.back() >= depth) {
            out += "]}";
            open.pop_back();
        }
    };
    for (Walk walk(root); walk; walk.next()) {
        closeTo(walk.depth());
        if (out.back() == '}') out += ',';
        startLine(out, walk.depth());
        appendElement(out, walk.element());
        if (walk.element().isContainer()) open.push_back(walk.depth());
    }
    closeTo(0);
}

}  // namespace

std::string jsonString(std::string_view text) {
    return json(text).dump(-1, ' ', false, json::error_handler_t::replace);
}

void appendJsonElement(std::string& out, ElementView element) {
    appendMember(out, "name", json(nameOf(element.id())).dump());
    if (element.ns() != 0) {
        const std::string ns = namespaceOf(element.ns());
        appendMember(out, "ns", NSIDTextMap.contains(element.ns()) ? '"' + ns + '"' : ns);
    }
    const std::string kind = nameOf(element.kind());
    appendMember(out, "kind", kindNamed(kind) ? '"' + kind + '"' : kind);
    if (element.isContainer() || element.length() == 0) return;
    const std::string value = valueMember(element);
    if (value.empty()) {
        appendHexMember(out, "bytes", element.bytes());
    } else {
        appendMember(out, "value", value);
    }
}

std::string writeJson(TQAMessage& message) {
    const std::string bytes = bytesOf(message);
    std::string out = "{";
    appendMember(out, "tqamsg", std::to_string(kJsonVersion));
    appendMember(out, "root", "");
    appendTree(
        out, tqa::ElementView::find(bytes.data() + tqa::kRootOffset, bytes.data() + bytes.size()));
    return out += "}\n";
}

}  // namespace tool
