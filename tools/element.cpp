#include "tools/element.h"

#include "tools/hex.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace tool {

using tqa::ElementView;
using tqa::Kind;

namespace {

struct KindRow {
    Kind kind;
    std::string_view name;
};

constexpr KindRow kKinds[] = {
    {Kind::Untyped, "Untyped"},   {Kind::Int, "Int"},
    {Kind::String, "String"},     {Kind::LongLong, "LongLong"},
    {Kind::Double, "Double"},     {Kind::Base64, "Base64"},
    {Kind::Time, "Time"},         {Kind::Container, "Container"},
    {Kind::Unparsed, "Unparsed"},
};

template <class Number>
std::optional<Number> numberIn(std::string_view text) {
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && !text.empty() ? std::optional(number) : std::nullopt;
}

template <class Number>
std::string bytesOfNumber(Number number) {
    std::string bytes(sizeof number, '\0');
    tqa::store(bytes.data(), number);
    return bytes;
}

template <class Number>
std::optional<std::string> numberPayload(std::string_view text) {
    const auto number = numberIn<Number>(text);
    return number ? std::optional(bytesOfNumber(*number)) : std::nullopt;
}

std::string timeText(const std::string& text) {
    const auto seconds = numberIn<std::int64_t>(text);
    if (!seconds) return text;
    char buffer[32];
    return time2str(*seconds, buffer);
}

std::optional<std::string> timePayload(const std::string& text) {
    std::string time = timeText(text);
    if (str2time(time.c_str()) == -1) return std::nullopt;
    return time += '\0';
}

std::optional<std::string> base64Payload(const std::string& text) {
    std::string bytes;
    if (Base64::decode(text, &bytes) != 0) return std::nullopt;
    return bytes += '\0';
}

// How many bytes at the front of the text are one printable character, in UTF-8; 0 for a control
// character (also U+0080 to U+009F, which terminals obey) and for what is no UTF-8.
std::size_t printableLength(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    if (first < 0x80) return first >= 0x20 && first != 0x7F ? 1 : 0;
    if (first < 0xC2 || first > 0xF4) return 0;
    const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (text.size() < length) return 0;
    for (const char c : text.substr(1, length - 1))
        if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) return 0;
    const bool isControl = first == 0xC2 && static_cast<unsigned char>(text[1]) < 0xA0;
    return isControl ? 0 : length;
}

// Calls `use` with each printable character, and with each byte that is none.
template <class Use>
void eachCharacter(std::string_view text, Use use) {
    while (!text.empty()) {
        const std::size_t length = printableLength(text);
        use(text.substr(0, std::max<std::size_t>(length, 1)), length > 0);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
}

std::string_view base64Bytes(ElementView element) {
    const std::string_view bytes = element.bytes();
    return bytes.substr(0, bytes.size() - std::min<std::size_t>(bytes.size(), 1));
}

std::string numberText(ElementView element) {
    std::int32_t number = 0;
    std::int64_t large = 0;
    double real = 0;
    if (element.kind() == Kind::Int && element.number(&number)) return intToStr(number);
    if (element.kind() == Kind::LongLong && element.number(&large)) return longlongToStr(large);
    if (element.kind() == Kind::Double && element.number(&real)) return doubleToStr(real);
    return "(cut short)";
}

}  // namespace

std::string nameOf(int id) {
    const auto attribute = IDAttrMap.find(id);
    if (attribute != IDAttrMap.end()) return "@" + attribute->second;
    const auto tag = IDTextMap.find(id);
    return tag != IDTextMap.end() ? tag->second : "#" + std::to_string(id);
}

std::optional<int> idNamed(std::string_view name) {
    if (name.starts_with('#')) return numberIn<int>(name.substr(1));
    const bool isAttribute = name.starts_with('@');
    const auto& words = isAttribute ? AttrIDMap : TextIDMap;
    const auto found = words.find(std::string(name.substr(isAttribute ? 1 : 0)));
    return found != words.end() ? std::optional(found->second) : std::nullopt;
}

std::string nameOf(Kind kind) {
    for (const KindRow& row : kKinds)
        if (row.kind == kind) return std::string(row.name);
    return std::to_string(static_cast<int>(kind));
}

std::optional<Kind> kindNamed(std::string_view name) {
    const auto equals = [name](const KindRow& row) {
        return std::equal(
            name.begin(), name.end(), row.name.begin(), row.name.end(),
            [](char a, char b) { return tqa::toLowerCase(a) == tqa::toLowerCase(b); });
    };
    const auto* const row = std::find_if(std::begin(kKinds), std::end(kKinds), equals);
    return row != std::end(kKinds) ? std::optional(row->kind) : std::nullopt;
}

std::string namespaceOf(int ns) {
    const auto word = NSIDTextMap.find(ns);
    return word != NSIDTextMap.end() ? word->second : std::to_string(ns);
}

std::string inQuotes(std::string_view text) {
    std::string out = "\"";
    eachCharacter(text, [&out](std::string_view character, bool isPrintable) {
        const char c = character.front();
        if (c == '\n') {
            out += "\\n";
        } else if (!isPrintable) {
            (out += "\\x") += hexDigits(character);
        } else {
            if (c == '"' || c == '\\') out += '\\';
            out += character;
        }
    });
    return out += '"';
}

std::string forTerminal(std::string_view text) {
    std::string out;
    eachCharacter(text, [&out](std::string_view character, bool isPrintable) {
        const bool isBlank = character == "\n" || character == "\t";
        if (isPrintable || isBlank) {
            out += character;
        } else {
            (out += "\\x") += hexDigits(character);
        }
    });
    return out;
}

std::string shownValue(ElementView element) {
    if (element.length() == 0 || element.isContainer()) return {};
    switch (element.kind()) {
        case Kind::Base64:
            return Base64::encode(std::string(base64Bytes(element)));
        case Kind::Int:
        case Kind::LongLong:
        case Kind::Double:
            return numberText(element);
        default:
            return inQuotes(element.text());
    }
}

std::string rawValue(ElementView element) {
    if (element.length() == 0 || element.isContainer()) return {};
    switch (element.kind()) {
        case Kind::Base64:
            return std::string(base64Bytes(element));
        case Kind::Int:
        case Kind::LongLong:
        case Kind::Double:
            return numberText(element);
        default:
            return std::string(element.text());
    }
}

std::string xmlValue(ElementView element) {
    std::string value = rawValue(element);
    switch (element.kind()) {
        case Kind::String:
            return TQABinary::escape(value.c_str());
        case Kind::Base64:
            return Base64::encode(value);
        case Kind::Unparsed:
            return value.substr(std::min(value.find_first_not_of(" \t\r\n"), value.size()));
        default:
            return value;
    }
}

std::optional<std::string> payloadOf(Kind kind, const std::string& text) {
    switch (kind) {
        case Kind::Int:
            return numberPayload<std::int32_t>(text);
        case Kind::LongLong:
            return numberPayload<std::int64_t>(text);
        case Kind::Double:
            return numberPayload<double>(text);
        case Kind::Base64:
            return base64Payload(text);
        case Kind::Time:
            return timePayload(text);
        case Kind::Container:
            return std::nullopt;
        default:
            return text + '\0';
    }
}

void Walk::next(bool below) {
    if (const ElementView child = below ? element_.firstChild() : ElementView()) {
        around_.push_back(element_);
        element_ = child;
        return;
    }
    while (!around_.empty()) {
        element_ = element_.next(around_.back().end());
        if (element_) return;
        element_ = around_.back();
        around_.pop_back();
    }
    element_ = ElementView();
}

}  // namespace tool
