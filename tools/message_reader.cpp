#include "tools/message_reader.h"

#include "tools/hex.h"
#include "tools/json_form.h"
#include "tools/path.h"
#include "tools/verb.h"

#include <algorithm>
#include <utility>

namespace tool {

namespace {

// Texts are tried in windows of this size, which doubles while they do not fit: what follows a text
// must not be looked at with each text before it.
constexpr std::size_t kWindow = 1 << 14;

constexpr std::string_view kBlank(" \t\r\n\0", 5);

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// Finds the brace that ends a JSON object, however the text comes in pieces.
class ObjectEnd {
  public:
    // The length of the object, or 0 when the text, which has grown since, does not hold its end.
    std::size_t find(std::string_view text) {
        while (at_ < text.size()) {
            step(text[at_++]);
            if (depth_ == 0) return at_;
        }
        return 0;
    }

  private:
    void step(char c) {
        if (isEscaped_) {
            isEscaped_ = false;
        } else if (isInString_) {
            isEscaped_ = c == '\\';
            isInString_ = c != '"';
        } else if (c == '"') {
            isInString_ = true;
        } else if (c == '{' || c == '[') {
            ++depth_;
        } else if (c == '}' || c == ']') {
            --depth_;
        }
    }

    std::size_t at_ = 0;
    std::size_t depth_ = 0;
    bool isInString_ = false;
    bool isEscaped_ = false;
};

// What stands first in the root, as a message; null when nothing does.
Message firstChildOf(TQAMessage& message) {
    const Iterator it(message.newIterator());
    if (it->firstChild() != 0) return nullptr;
    return messageOf(bytesOf(message, it.get()));
}

}  // namespace

bool MessageReader::next() {
    message_.reset();
    if (skipBlanks()) {
        if (hadOne_) return false;
        refuse(0, "no message");
    }
    offset_ = input_.offset();
    read();
    hadOne_ = true;
    return true;
}

// Also over the zero bytes behind texts. True at the end of the input.
bool MessageReader::skipBlanks() {
    for (;;) {
        const std::string_view rest = input_.rest();
        const std::size_t blanks = std::min(rest.find_first_not_of(kBlank), rest.size());
        input_.consume(blanks);
        if (input_.size() > 0) return false;
        if (!input_.more()) return true;
    }
}

Form MessageReader::detect() {
    input_.fill(4);
    if (TQABinary::isOfTheKind(input_.data()) != 0) return isHex_ ? Form::Hex : Form::Binary;
    const char first = *input_.data();
    if (first == '{') return Form::Json;
    return !isHex_ && (first == '#' || isHexDigit(first)) ? Form::Hex : Form::Xml;
}

void MessageReader::read() {
    form_ = detect();
    if (form_ == Form::Hex && !isHex_) {
        readHexText();
    } else if (form_ == Form::Hex || form_ == Form::Binary) {
        readBinary();
    } else if (form_ == Form::Json) {
        readJsonObject();
    } else {
        readText();
    }
}

void MessageReader::readBinary() {
    constexpr const char* kDamaged = "a binary message that is cut short or damaged";
    input_.fill(tqa::kRootOffset + tqa::kEmptyElementSize);
    const std::int64_t whole =
        tqa::announcedMessageSize(input_.data(), static_cast<std::int64_t>(input_.size()));
    if (whole <= 0 || whole > tqa::kMaxCapacity) refuse(0, kDamaged);
    const auto size = static_cast<std::size_t>(whole);
    input_.fill(size);
    Message message = input_.size() < size ? nullptr : messageOf({input_.data(), size});
    if (message == nullptr) refuse(0, kDamaged);
    accept(std::move(message), size);
}

void MessageReader::readText() {
    std::size_t searched = 0;
    for (std::size_t window = kWindow;; window *= 2) {
        // A text ends with its zero byte, or with the input.
        std::size_t zero = std::string_view::npos;
        do {
            const std::string_view seen = input_.rest().substr(0, window);
            zero = seen.find('\0', searched);
            searched = seen.size();
        } while (zero == std::string_view::npos && input_.size() < window && input_.more());
        const std::size_t limit = std::min({zero, input_.size(), window});
        const bool isEnd = input_.isAtEnd() && limit == input_.size();
        if (tryText(limit, isEnd || zero != std::string_view::npos)) return;
    }
}

// Reads a text from the first `limit` bytes. False if more of them might help.
bool MessageReader::tryText(std::size_t limit, bool isWhole) {
    // Below an element, because the reader tells how far it came only there.
    const Message frame = newMessage();
    if (frame->create("packet") != 0) throw Failure(kInputOutput, "out of memory");
    char* const start = input_.data();
    char* end = start;
    const char behind = std::exchange(start[limit], '\0');
    BinaryPath way = wayToRoot(rootOf(*frame));
    const int status = binaryOf(*frame).fromText(end, way, false);
    start[limit] = behind;
    const auto length = static_cast<std::size_t>(end - start);
    if (!isWhole && (status != 0 || length == limit)) return false;
    Message message = status == 0 ? firstChildOf(*frame) : nullptr;
    if (message == nullptr) refuse(length, "text that is no message");
    accept(std::move(message), length);
    return true;
}

void MessageReader::readJsonObject() {
    ObjectEnd objectEnd;
    std::size_t length = 0;
    while ((length = objectEnd.find(input_.rest())) == 0 && input_.more()) {
    }
    if (length == 0) length = input_.size();
    try {
        Message message = messageOf(readJson(input_.rest().substr(0, length)));
        if (message == nullptr) refuse(0, "JSON that makes no message");
        accept(std::move(message), length);
    } catch (const JsonFault& fault) {
        refuse(0, fault.what());
    }
}

void MessageReader::readHexText() {
    while (input_.more()) {
    }
    std::size_t at = 0;
    auto bytes = readHex(input_.rest(), &at);
    if (!bytes) refuse(at, "neither a message nor hexadecimal text");
    input_.replace(*std::move(bytes));
    isHex_ = true;
    offset_ = 0;
    if (TQABinary::isOfTheKind(input_.rest().data()) == 0) refuse(0, "no message in these bytes");
    readBinary();
}

void MessageReader::accept(Message message, std::size_t length) {
    message_ = std::move(message);
    input_.consume(length);
}

std::string MessageReader::placeOf(std::int64_t offset) const {
    return input_.name() + ": offset " + std::to_string(offset);
}

void MessageReader::refuse(std::size_t at, const std::string& what) const {
    const std::int64_t offset = input_.offset() + static_cast<std::int64_t>(at);
    throw Failure(kMalformed, placeOf(offset) + ": " + what);
}

void forEachMessage(const std::string& file, const UseMessage& use) {
    MessageReader reader(file);
    while (reader.next()) use(reader.message(), reader.form());
}

}  // namespace tool
