#include "tqamsg/binary/values.h"

#include "tqamsg/util/base64.h"
#include "tqamsg/util/number_text.h"
#include "tqamsg/util/strings.h"
#include "tqamsg/util/time_text.h"

#include <exception>

namespace tqa {

namespace {

bool isText(Kind kind) {
    return kind == Kind::Untyped || kind == Kind::String;
}

int assign(std::string* to, std::string_view text) {
    try {
        to->assign(text);
        return 0;
    } catch (const std::exception&) {
        return -1;
    }
}

// Copies a number of the width stored into the caller's type.
template <class Stored, class Value>
int readNumber(ElementView element, Value* value) {
    Stored stored;
    if (!element.number(&stored)) return -1;
    *value = stored;
    return 0;
}

template <class Stored>
int printNumber(ElementView element, std::string* text, char* (*write)(char*, Stored)) {
    Stored stored;
    if (readNumber<Stored>(element, &stored) != 0) return -1;
    char buffer[kDoubleTextMax];
    return assign(text, {buffer, static_cast<std::size_t>(write(buffer, stored) - buffer)});
}

char* writeInt(char* out, std::int32_t value) {
    return writeInteger(out, value);
}

char* writeLong(char* out, std::int64_t value) {
    return writeInteger(out, value);
}

char* writeReal(char* out, double value) {
    return writeDouble(out, value);
}

}  // namespace

int convertToInt(ElementView element, int* value) {
    if (!isText(element.kind())) return -1;
    // A zero byte is no digit, so the text need not be cut off there.
    *value = static_cast<int>(textToLong(element.bytes()));
    return 0;
}

int convertToLongLong(ElementView element, long long* value) {
    switch (element.kind()) {
        case Kind::Int:
            return readNumber<std::int32_t>(element, value);
        case Kind::Untyped:
        case Kind::String:
            return scanLongLong(element.text(), value) - 1;
        default:
            return -1;
    }
}

int readDouble(ElementView element, double* value) {
    if (element.length() == 0) return kNoPayload;
    if (element.kind() == Kind::Double) return readNumber<double>(element, value);
    return isText(element.kind()) ? scanDouble(element.text(), value) - 1 : -1;
}

int readTime(ElementView element, long* value) {
    if (element.length() == 0) return kNoPayload;
    if (!isText(element.kind()) && element.kind() != Kind::Time) return -1;
    const long time = textToTime(element.text());
    if (time == -1) return -1;
    *value = time;
    return 0;
}

int copyText(ElementView element, std::string* value) {
    return assign(value, element.text());
}

int convertToString(ElementView element, std::string* value) {
    switch (element.kind()) {
        case Kind::Untyped:
            value->clear();
            return 0;
        case Kind::String:
            return kNoPayload;
        case Kind::Int:
            return printNumber<std::int32_t>(element, value, writeInt);
        case Kind::LongLong:
            return printNumber<std::int64_t>(element, value, writeLong);
        case Kind::Double:
            return printNumber<double>(element, value, writeReal);
        default:
            return -1;
    }
}

int readBool(ElementView element, bool* value) {
    std::string text;
    const int status = readString(element, &text);
    if (status == 0) *value = isTrue(text);
    return status;
}

int readBase64(ElementView element, std::string* value) {
    const std::string_view stored = element.bytes();
    switch (element.kind()) {
        case Kind::Base64:
            // One byte behind the caller's bytes is stored too.
            return stored.empty() ? -1 : assign(value, stored.substr(0, stored.size() - 1));
        case Kind::Untyped: {
            const std::string_view text = element.text();
            return Base64::decode(text.data(), static_cast<int>(text.size()), value);
        }
        default:
            return -1;
    }
}

int readXml(ElementView element, std::string* value) {
    if (element.length() == 0) return kNoPayload;
    return element.kind() == Kind::Unparsed ? assign(value, element.text()) : -1;
}

int readAttributeText(ElementView element, std::string* value) {
    const int status = assign(value, element.text());
    return isText(element.kind()) ? status : -1;
}

}  // namespace tqa
