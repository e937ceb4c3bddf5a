#include "tqamsg/binary/text_reader.h"

#include "tqamsg/binary/binary.h"
#include "tqamsg/binary/layout.h"
#include "tqamsg/util/small_stack.h"
#include "tqamsg/vocabulary/keyed_lookup.h"
#include "tqamsg/vocabulary/lookup.h"

#include <limits>

namespace tqa {

namespace {

constexpr int kFirstRoom = 4096;
constexpr std::int32_t kNowhere = -1;

// The id of a tag name; of the part after its first colon when the whole is no word.
int tagIdOf(std::string_view name, WordKey key) {
    if (const int id = tagId(name, key)) return id;
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? 0 : tagId(name.substr(colon + 1));
}

bool isBlank(std::string_view text) {
    return text.find_first_not_of(" \t\n\r") == std::string_view::npos;
}

}  // namespace

// Where the elements go that are stored. The record itself is the stack of those whose end has not
// come: as long as an element is open its fields say which one is around it and where its name
// stands in the text, so nesting costs no memory of its own.
class TextReader::Stored {
  public:
    Stored(std::string_view text, TQABinaryInternals& record) : text_(text), record_(record) {}
    Stored(const Stored&) = delete;
    Stored& operator=(const Stored&) = delete;
    ~Stored() {
        if (begun_.offset != kNowhere && hasAttributes()) endElement(begun_.offset);
        while (isOpen()) end();
    }

    // An element begins inside the innermost open one. It is empty, ends with its text, or stays
    // open for its children.
    bool begin(int id, std::string_view name) {
        char* element = append(kEmptyElementSize);
        if (element == nullptr) return false;
        begun_ = {record_.used - kEmptyElementSize, name};
        writeEmptyElement(element, id, kindWord(Kind::Untyped));
        return true;
    }
    bool attribute(std::string_view name, std::string_view value) {
        // Names with a colon are namespace declarations and the like.
        const int id = attributeId(name);
        if (id == 0) return name.find(':') != std::string_view::npos;
        return appendText(id, Kind::Untyped, value);
    }
    bool empty() { return settled(); }
    bool text(std::string_view text) {
        // Beside attributes only blank text may stand.
        if (hasAttributes()) {
            if (!isBlank(text)) return false;
            endElement(begun_.offset);
        } else if (!setText(text)) {
            return false;
        }
        return settled();
    }
    bool children() {
        writeOpenElement(
            record_.buf + begun_.offset,
            {open_.offset, static_cast<std::uint32_t>(begun_.name.data() - text_.data()),
             static_cast<std::uint16_t>(begun_.name.size())});
        open_ = begun_;
        return settled();
    }

    bool isOpen() const { return open_.offset != kNowhere; }
    bool mayStayOpen() const { return true; }
    std::string_view openName() const { return open_.name; }
    void end() {
        const std::int32_t around = readOpenElement(record_.buf + open_.offset).around;
        endElement(open_.offset);
        open_.offset = around;
        if (!isOpen()) return;
        const OpenElement outer = readOpenElement(record_.buf + around);
        open_.name = {text_.data() + outer.nameAt, outer.nameLength};
    }

    // A raw element, with its text, inside the innermost open one.
    bool raw(std::string_view text) { return appendText(0, Kind::Unparsed, text); }

  private:
    struct Element {
        std::int32_t offset = kNowhere;
        std::string_view name;
    };

    // It is known what the element that began is.
    bool settled() {
        begun_.offset = kNowhere;
        return true;
    }
    bool hasAttributes() const { return record_.used - begun_.offset > kEmptyElementSize; }

    void endElement(std::int32_t offset) const {
        writeClosedElement(record_.buf + offset, record_.used - offset - kEmptyElementSize);
    }

    // Room for an element or a part of one, every byte of which is then written.
    char* append(std::int64_t size) {
        return record_.expand(size) == nullptr ? nullptr : record_.append(static_cast<int>(size));
    }
    bool appendText(int id, Kind kind, std::string_view text) {
        const std::int64_t size = elementSize(static_cast<std::int64_t>(text.size()) + 1);
        char* element = append(size);
        if (element == nullptr) return false;
        writeTextElement(element, id, kind, text);
        return true;
    }
    bool setText(std::string_view text) {
        const std::int64_t size = elementSize(static_cast<std::int64_t>(text.size()) + 1);
        if (append(size - kEmptyElementSize) == nullptr) return false;
        char* element = record_.buf + begun_.offset;
        writeTextElement(element, load<std::int32_t>(element), Kind::Untyped, text);
        return true;
    }

    std::string_view text_;
    TQABinaryInternals& record_;
    Element begun_;
    Element open_;
};

// Elements that are only stepped over, in which any name will do.
class TextReader::Skipped {
  public:
    explicit Skipped(bool mustEnd) : mustEnd_(mustEnd) {}

    void begin(std::string_view name) { begun_ = name; }
    bool attribute(std::string_view, std::string_view) { return true; }
    bool empty() {
        wasEmpty_ = open_.empty();
        return true;
    }
    bool text(std::string_view) { return true; }
    bool children() { return open_.push(begun_); }

    bool isOpen() const { return !open_.empty(); }
    bool mayStayOpen() const { return !mustEnd_ || open_.size() > 1; }
    std::string_view openName() const { return open_.top(); }
    void end() { open_.pop(); }

    // Whether the outermost element is an empty tag.
    bool wasEmpty() const { return wasEmpty_; }

  private:
    bool mustEnd_;
    bool wasEmpty_ = false;
    std::string_view begun_;
    SmallStack<std::string_view, 16> open_;
};

[[gnu::flatten]] bool TextReader::read(bool skip) {
    if (text_.size() > std::numeric_limits<std::uint32_t>::max()) return false;
    if (skip) {
        Skipped sink(false);
        return readTag(sink) && readOpen(sink);
    }
    Stored sink(text_, record_);
    return readTag(sink) && readOpen(sink);
}

// Reads on until every open element has ended.
template <class Sink>
bool TextReader::readOpen(Sink& sink) {
    while (sink.isOpen()) {
        switch (scan_.takeEnd(sink.openName(), sink.mayStayOpen())) {
            case Inside::End:
                sink.end();
                break;
            case Inside::Child:
                if (!readTag(sink)) return false;
                break;
            default:
                return false;
        }
    }
    return true;
}

// Reads a tag with what may stand before it; an end tag is left to whoever waits for it. Of an
// element with children only the start tag is read, and it stays open.
template <class Sink>
bool TextReader::readTag(Sink& sink) {
    const char* start = scan_.position();
    if (!scan_.skipProlog()) return false;
    if (scan_.atAnyEndTag()) return true;
    const std::string_view name = scan_.takeName();
    return !name.empty() && begin(sink, name, start);
}

bool TextReader::begin(Skipped& sink, std::string_view name, const char*) {
    sink.begin(name);
    return readElement(sink, name);
}

bool TextReader::begin(Stored& sink, std::string_view name, const char* start) {
    if (const int id = tagIdOf(name, scan_.keyOfName(name)))
        return sink.begin(id, name) && readElement(sink, name);
    if ((policy_ & TQABinary::kRefuseUnknown) != 0) return false;
    Skipped skipped(true);
    skipped.begin(name);
    if (!readElement(skipped, name) || !readOpen(skipped)) return false;
    if (!skipped.wasEmpty() && (policy_ & TQABinary::kDropUnknown) != 0) return true;
    return sink.raw({start, static_cast<std::size_t>(scan_.position() - start)});
}

// Reads what stands behind the name of a start tag: attributes, and the content if it is text.
template <class Sink>
bool TextReader::readElement(Sink& sink, std::string_view name) {
    if (!scan_.accept('>')) {
        scan_.skipSpace();
        if (scan_.accept('/')) return scan_.accept('>') && sink.empty();
        while (!scan_.accept('>')) {
            std::string_view attribute;
            std::string_view value;
            if (!scan_.takeAttribute(&attribute, &value) || !sink.attribute(attribute, value)) {
                return false;
            }
            scan_.skipSpace();
        }
    }
    std::string_view text;
    switch (scan_.takeText(name, &text)) {
        case Inside::Text:
            return sink.text(text);
        case Inside::Child:
            return sink.children();
        default:
            return false;
    }
}

bool beginMessage(TQABinaryInternals& record) {
    record.clear();
    if (record.expand(kFirstRoom) == nullptr) return false;
    writeMessageHeader(record.append(kMessageHeaderSize));
    return true;
}

bool readMessage(std::string_view text, TQABinaryInternals& record, std::uint32_t policy) {
    // An element takes as much room as its text or half as much again.
    record.expect(static_cast<std::int64_t>(text.size() + text.size() / 2));
    return beginMessage(record) && TextReader(text, record, policy).read(false) &&
           record.used > kMessageHeaderSize;
}

}  // namespace tqa
