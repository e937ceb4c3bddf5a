// Typed values, attributes and subtrees through the binary iterator.

#include "tqamsg/binary/binary.h"
#include "tqamsg/binary/binary_iterator.h"
#include "tqamsg/binary/element_at.h"
#include "tqamsg/binary/saved_position.h"
#include "tqamsg/binary/values.h"
#include "tqamsg/util/time_text.h"

#include <limits>

using tqa::Kind;

namespace {

constexpr std::size_t kTimeTextSize = 25;

}  // namespace

// --- writers by id ------------------------------------------------------------------------------

// Replaces the value of the child (or of the current element for id 0), or appends the child.
int TQABinaryIterator::put(int id, Kind kind, const void* data, std::size_t length) {
    if (length > std::numeric_limits<std::int32_t>::max()) return -1;
    if (validateInternals() != 0 || path.empty()) return -1;
    TQABinary* binary = getBinaryMessage();
    const int word = static_cast<int>(tqa::kindWord(kind));
    const int size = static_cast<int>(length);
    int status = 0;
    if (seek(id) == 0) {
        status = binary->insertValue(path, word, data, size);
        if (id != 0) seekUp();
    } else {
        status = binary->insertID(path, id, word, data, size);
        if (status == 0) seekUp();
    }
    noteContent();
    return status;
}

// Puts `len` bytes and the one behind them, which texts end in.
int TQABinaryIterator::putTerminated(int id, Kind kind, const char* data, int len) {
    if (data == nullptr || len < 0) return -1;
    return put(id, kind, data, static_cast<std::size_t>(len) + 1);
}

int TQABinaryIterator::putValue(int value, int id) {
    return put(id, Kind::Int, &value, sizeof value);
}

int TQABinaryIterator::putValueLongLong(long long value, int id) {
    return put(id, Kind::LongLong, &value, sizeof value);
}

int TQABinaryIterator::putValueDouble(double value, int id) {
    return put(id, Kind::Double, &value, sizeof value);
}

int TQABinaryIterator::putValue(const char* data, int len, int id) {
    return putTerminated(id, Kind::String, data, len);
}

int TQABinaryIterator::putValue(const std::string& value, int id) {
    return put(id, Kind::String, value.c_str(), value.size() + 1);
}

int TQABinaryIterator::putValueBase64(const char* data, int len, int id) {
    return putTerminated(id, Kind::Base64, data, len);
}

int TQABinaryIterator::putValueBase64(const std::string& value, int id) {
    return put(id, Kind::Base64, value.c_str(), value.size() + 1);
}

int TQABinaryIterator::putValueTime(long value, int id) {
    char text[kTimeTextSize];
    time2str(value, text);
    // A time that can't be written must not replace one that was.
    if (*text == '\0') return -1;
    return put(id, Kind::Time, text, std::strlen(text) + 1);
}

int TQABinaryIterator::putValueXML(const std::string& value, int id) {
    return put(id, Kind::Unparsed, value.c_str(), value.size() + 1);
}

// --- readers by id ------------------------------------------------------------------------------

// Reads the child (or the current element for id 0) and comes back.
template <class Value>
int TQABinaryIterator::get(int id, int (*read)(tqa::ElementView, Value*), Value* value) {
    if (seek(id) != 0) return -1;
    const tqa::ElementView element = current();
    const int status = element ? read(element, value) : -1;
    // Kept: an element without payload keeps the iterator.
    if (status == tqa::kNoPayload) return -1;
    if (id != 0) seekUp();
    return status;
}

int TQABinaryIterator::getValue(int* value, int id) {
    return get(id, tqa::readInt, value);
}

int TQABinaryIterator::getValueLongLong(long long* value, int id) {
    return get(id, tqa::readLongLong, value);
}

int TQABinaryIterator::getValueDouble(double* value, int id) {
    return get(id, tqa::readDouble, value);
}

int TQABinaryIterator::getValueTime(long* value, int id) {
    return get(id, tqa::readTime, value);
}

int TQABinaryIterator::getValue(std::string* value, int id) {
    return get(id, tqa::readString, value);
}

int TQABinaryIterator::getValueBase64(std::string* value, int id) {
    return get(id, tqa::readBase64, value);
}

int TQABinaryIterator::getValueXML(std::string* value, int id) {
    return get(id, tqa::readXml, value);
}

// --- attributes ---------------------------------------------------------------------------------

int TQABinaryIterator::getAttr(std::string* value, int id) {
    return get(id, tqa::readAttributeText, value);
}

int TQABinaryIterator::getAttr(int* value, int id) {
    return getValue(value, id);
}

int TQABinaryIterator::getAttrTime(long* value, int id) {
    return getValueTime(value, id);
}

int TQABinaryIterator::putAttr(const std::string& value, int id) {
    return putValue(value, id);
}

int TQABinaryIterator::putAttr(int value, int id) {
    return putValue(value, id);
}

int TQABinaryIterator::putAttrTime(long value, int id) {
    return putValueTime(value, id);
}

// --- by name ------------------------------------------------------------------------------------

template <class Get>
int TQABinaryIterator::getAt(const std::string& name, Get get) {
    tqa::SavedPosition start(path, name);
    const std::int32_t stampBefore = stamp;
    if (seek(name) != 0) return -1;
    const int status = get();
    start.restore();
    // What was expanded on the way may have moved the element to come back to.
    if (stamp != stampBefore) invalidate();
    return status;
}

template <class Put>
int TQABinaryIterator::putAt(const std::string& name, Put put) {
    const bool isNew = seek(name) != 0;
    if (isNew && newChild(name, std::string()) != 0) return -1;
    const int status = put();
    // A failed write leaves nothing behind. Kept: otherwise exactly one step up, however long the
    // path was.
    if (isNew && status != 0) {
        deleteFromChild();
    } else {
        seekUp();
    }
    return status;
}

int TQABinaryIterator::getValueBase64(std::string* value, const std::string& name) {
    return getAt(name, [&] { return getValueBase64(value, 0); });
}

int TQABinaryIterator::getValue(std::string* value, const std::string& name) {
    return getAt(name, [&] { return getValue(value, 0); });
}

int TQABinaryIterator::getValue(int* value, const std::string& name) {
    return getAt(name, [&] { return getValue(value, 0); });
}

int TQABinaryIterator::getValueLongLong(long long* value, const std::string& name) {
    return getAt(name, [&] { return getValueLongLong(value, 0); });
}

int TQABinaryIterator::getValueDouble(double* value, const std::string& name) {
    return getAt(name, [&] { return getValueDouble(value, 0); });
}

int TQABinaryIterator::getValueTime(long* value, const std::string& name) {
    return getAt(name, [&] { return getValueTime(value, 0); });
}

int TQABinaryIterator::putValueBase64(const std::string& value, const std::string& name) {
    return putAt(name, [&] { return putValueBase64(value, 0); });
}

int TQABinaryIterator::putValue(const std::string& value, const std::string& name) {
    return putAt(name, [&] { return putValue(value, 0); });
}

int TQABinaryIterator::putValueLongLong(long long value, const std::string& name) {
    return putAt(name, [&] { return putValueLongLong(value, 0); });
}

int TQABinaryIterator::putValueDouble(double value, const std::string& name) {
    return putAt(name, [&] { return putValueDouble(value, 0); });
}

int TQABinaryIterator::putValue(int value, const std::string& name) {
    return putAt(name, [&] { return putValue(value, 0); });
}

int TQABinaryIterator::putValueTime(long value, const std::string& name) {
    return putAt(name, [&] { return putValueTime(value, 0); });
}

// --- subtrees -----------------------------------------------------------------------------------

int TQABinaryIterator::decode(char** bytes, int* len) {
    return message->decode(bytes, len, nullptr);
}

int TQABinaryIterator::decodeFromChild(char** bytes, int* len) {
    return message->decode(bytes, len, this);
}

int TQABinaryIterator::encodeToChild(char* bytes, int len) {
    return validateInternals() == 0 ? message->encode(bytes, len, this) : -1;
}

char* TQABinaryIterator::toTextFromChild() {
    return message->toText(this, false, std::string());
}

int TQABinaryIterator::fromTextToChild(char* text) {
    return validateInternals() == 0 ? message->fromText(text, this) : -1;
}

int TQABinaryIterator::deleteFromChild() {
    if (validateInternals() != 0) return -1;
    const int status = getBinaryMessage()->deleteID(path);
    noteContent();
    return status;
}
