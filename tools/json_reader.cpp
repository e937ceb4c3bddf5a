// A message from its JSON form.

#include "tools/element.h"
#include "tools/hex.h"
#include "tools/json_form.h"

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <nlohmann/json.hpp>
#include <vector>

namespace tool {

using tqa::Kind;

namespace {

using nlohmann::json;

// Says what is wrong with a member; Builder adds where.
[[noreturn]] void refuse(const std::string& what) {
    throw JsonFault(what);
}

// The member of an object, or `otherwise`. Not json::value(), whose copy recurses as deep as what a
// stranger wrote.
const json& memberOf(const json& object, const char* name, const json& otherwise) {
    const auto member = object.find(name);
    return member != object.end() ? *member : otherwise;
}

std::string textOf(const json& value, const char* member) {
    if (!value.is_string()) refuse(std::string("\"") + member + "\" is no string");
    return value.get<std::string>();
}

std::int64_t numberOf(const json& value, const char* member, std::int64_t most) {
    if (!value.is_number_integer() || value.get<std::int64_t>() < 0 ||
        value.get<std::int64_t>() > most) {
        refuse(std::string("\"") + member + "\" is no number from 0 to " + std::to_string(most));
    }
    return value.get<std::int64_t>();
}

std::string hexOf(const json& value, const char* member) {
    std::size_t at = 0;
    auto bytes = readHex(textOf(value, member), &at);
    if (!bytes) refuse(std::string("\"") + member + "\" is no hexadecimal text");
    return *std::move(bytes);
}

int idOf(const json& element) {
    if (!element.contains("name")) refuse("an element without \"name\"");
    const std::string name = textOf(element["name"], "name");
    const auto id = idNamed(name);
    if (!id) refuse(inQuotes(name) + " is no word of the vocabulary");
    return *id;
}

constexpr std::int64_t kMost16 = std::numeric_limits<std::uint16_t>::max();

int namespaceOf(const json& element) {
    static const json none = 0;
    const json& ns = memberOf(element, "ns", none);
    if (!ns.is_string()) return static_cast<int>(numberOf(ns, "ns", kMost16));
    const auto found = TextNSIDMap.find(ns.get<std::string>());
    if (found == TextNSIDMap.end()) refuse(ns.dump() + " is no namespace");
    return found->second;
}

Kind kindOf(const json& element) {
    static const json none;
    const json& kind = memberOf(element, "kind", none);
    if (!kind.is_string()) return static_cast<Kind>(numberOf(kind, "kind", kMost16));
    const auto named = kindNamed(kind.get<std::string>());
    if (!named) refuse(kind.dump() + " is no kind");
    return *named;
}

// A value as the text that payloadOf() takes.
std::string valueText(const json& value, Kind kind) {
    const bool isInteger = kind == Kind::Int || kind == Kind::LongLong;
    if (isInteger && value.is_number_integer()) return value.dump();
    if (kind == Kind::Double && value.is_number()) return json(value.get<double>()).dump();
    if (kind == Kind::Int || kind == Kind::Double) refuse("\"value\" is no number");
    return textOf(value, "value");
}

std::string payloadIn(const json& element, Kind kind) {
    if (element.contains("bytes")) return hexOf(element["bytes"], "bytes");
    if (!element.contains("value")) return {};
    const std::string text = valueText(element["value"], kind);
    // A time is taken as it stands: what is in the message need not be one.
    auto payload = payloadOf(kind == Kind::Time ? Kind::String : kind, text);
    if (!payload) refuse("\"value\" does not fit the kind");
    return *std::move(payload);
}

void checkMembers(const json& object, std::initializer_list<const char*> known) {
    for (const auto& member : object.items()) {
        const bool isKnown = std::find(known.begin(), known.end(), member.key()) != known.end();
        if (!isKnown) refuse(inQuotes(member.key()) + " is no member of the form");
    }
}

// Puts the message together from front to back; the lengths of containers are set when they end.
class Builder {
  public:
    std::string build(const json& document) {
        checkDocument(document);
        bytes_.resize(tqa::kMessageHeaderSize);
        tqa::writeMessageHeader(bytes_.data());
        try {
            begin(document["root"]);
            while (!open_.empty()) step();
        } catch (const JsonFault& fault) {
            throw JsonFault(pointer() + ": " + fault.what());
        }
        return std::move(bytes_);
    }

  private:
    // A container whose children are being built.
    struct Open {
        const json* element;
        std::size_t at;    // in the bytes
        std::size_t next;  // child
    };

    static void checkDocument(const json& document) {
        static const json none;
        if (!document.is_object() || memberOf(document, "tqamsg", none) != json(kJsonVersion)) {
            refuse("/: \"tqamsg\" is not " + std::to_string(kJsonVersion));
        }
        checkMembers(document, {"tqamsg", "root"});
        if (!document.contains("root")) refuse("/: no \"root\"");
    }

    std::string pointer() const {
        std::string path = "/root";
        for (const Open& open : open_) {
            // The child in hand is the one before the next.
            if (open.next > 0) path += "/children/" + std::to_string(open.next - 1);
        }
        return path;
    }

    void begin(const json& element) {
        if (!element.is_object()) refuse("an element is an object");
        checkMembers(element, {"name", "ns", "kind", "value", "bytes", "padding", "length", "rest",
                               "children"});
        const Kind kind = kindOf(element);
        if (kind == Kind::Container) {
            beginContainer(element);
        } else {
            addValue(element, kind);
        }
    }

    void beginContainer(const json& element) {
        const std::size_t at = bytes_.size();
        bytes_.resize(at + tqa::kEmptyElementSize);
        tqa::writeEmptyElement(bytes_.data() + at, idOf(element),
                               tqa::kindWord(Kind::Container, namespaceOf(element)));
        if (element.contains("children") && !element["children"].is_array())
            refuse("\"children\" is no array");
        if (element.contains("padding")) {
            const std::string unused = hexOf(element["padding"], "padding");
            const std::size_t gap = tqa::kEmptyElementSize - tqa::payloadOffset(0, Kind::Untyped);
            if (unused.size() != gap) refuse("\"padding\" has another length");
            bytes_.replace(at + tqa::kEmptyElementSize - gap, gap, unused);
        }
        open_.push_back({&element, at, 0});
    }

    void addValue(const json& element, Kind kind) {
        if (element.contains("children")) refuse("\"children\" in an element that is no Container");
        const std::string payload = payloadIn(element, kind);
        checkRoom(payload.size());
        const auto length = static_cast<int>(payload.size());
        const std::size_t at = bytes_.size();
        bytes_.resize(at + static_cast<std::size_t>(tqa::elementSize(length)));
        char* const start = bytes_.data() + at;
        tqa::writeElementHeader(start, idOf(element), tqa::kindWord(kind, namespaceOf(element)),
                                length);
        tqa::writePayload(start, kind, payload.data(), length);
        if (element.contains("padding"))
            setPadding(start, length, hexOf(element["padding"], "padding"));
    }

    // The bytes of a value's element that are neither header nor payload.
    static void setPadding(char* start, int length, const std::string& unused) {
        const tqa::ElementView element =
            tqa::ElementView::find(start, start + tqa::elementSize(length));
        const auto gap = static_cast<std::size_t>(element.payload() - start) -
                         tqa::payloadOffset(0, Kind::Untyped);
        char* const behind = start + (element.bytes().end() - start);
        const auto tail = static_cast<std::size_t>(element.end() - behind);
        if (unused.size() != gap + tail) refuse("\"padding\" has another length");
        unused.copy(start + tqa::payloadOffset(0, Kind::Untyped), gap);
        unused.copy(behind, tail, gap);
    }

    // The next child of the innermost container, or its end.
    void step() {
        Open& open = open_.back();
        const auto children = open.element->find("children");
        if (children == open.element->end() || open.next == children->size()) {
            open.next = 0;
            end(open);
            open_.pop_back();
        } else {
            begin((*children)[open.next++]);
        }
    }

    void end(const Open& open) {
        const json& element = *open.element;
        if (element.contains("rest")) bytes_ += hexOf(element["rest"], "rest");
        checkRoom(0);
        const auto room =
            static_cast<std::int64_t>(bytes_.size() - open.at) - tqa::kEmptyElementSize;
        std::int64_t length = room;
        if (element.contains("length"))
            length = numberOf(element["length"], "length", tqa::kMaxCapacity);
        if (tqa::elementSize(length) != room + tqa::kEmptyElementSize)
            refuse("\"length\" does not fit the children");
        tqa::writeLength(bytes_.data() + open.at, static_cast<int>(length));
    }

    void checkRoom(std::size_t more) const {
        const auto size = static_cast<std::int64_t>(bytes_.size());
        if (size + tqa::elementSize(static_cast<std::int64_t>(more)) > tqa::kMaxCapacity)
            refuse("the message is too long");
    }

    std::string bytes_;
    std::vector<Open> open_;
};

}  // namespace

std::string readJson(std::string_view text) {
    json document;
    try {
        document = json::parse(text);
    } catch (const json::parse_error& error) {
        throw JsonFault("byte " + std::to_string(error.byte) + ": no JSON");
    } catch (const json::out_of_range&) {
        throw JsonFault("a number that is too large");
    }
    return Builder().build(document);
}

}  // namespace tool
