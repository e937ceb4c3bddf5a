// Typed values, attributes and subtrees through the binary iterator.

#include "tqamsg/binary/iterator_steps.h"
#include "tqamsg/binary/saved_position.h"
#include "tqamsg/binary/values.h"
#include "tqamsg/util/time_text.h"
#include "tqamsg/vocabulary/lookup.h"

#include <limits>

using tqa::Kind;

namespace {

constexpr std::size_t kTimeTextSize = 25;

// The length of the time's text with its zero byte; 0 for a time that can't be written, which must
// not replace one that was.
std::size_t writeTime(long value, char* text) {
    time2str(value, text);
    return *text == '\0' ? 0 : std::strlen(text) + 1;
}

}  // namespace

// --- writers by id ------------------------------------------------------------------------------

// Replaces the value of the child (or of the current element for id 0), or appends the child.
[[gnu::always_inline]] inline int TQABinaryIterator::put(int id, Kind kind, const void* data,
                                                         std::size_t length) {
    return putQuickly(id, kind, data, length) ? 0 : putTheLongWay(id, kind, data, length);
}

int TQABinaryIterator::putTheLongWay(int id, Kind kind, const void* data, std::size_t length) {
    if (length > std::numeric_limits<std::int32_t>::max()) return -1;
    if (validateInternals() != 0 || path.empty()) return -1;
    const bool wasKnown = isPathKnown();
    const int word = static_cast<int>(tqa::kindWord(kind));
    const int size = static_cast<int>(length);
    int status = 0;
    if (seek(id) == 0) {
        status = binary().insertValue(path, word, data, size);
        if (id != 0) seekUp();
    } else {
        status = binary().insertID(path, id, word, data, size);
        if (status == 0) seekUp();
    }
    noteEdit(wasKnown);
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
    const std::size_t length = writeTime(value, text);
    return length == 0 ? -1 : put(id, Kind::Time, text, length);
}

int TQABinaryIterator::putValueXML(const std::string& value, int id) {
    return put(id, Kind::Unparsed, value.c_str(), value.size() + 1);
}

// --- readers by id ------------------------------------------------------------------------------

// Reads the child (or the current element for id 0) without going there.
template <auto read, class Value>
[[gnu::always_inline]] inline int TQABinaryIterator::get(int id, Value* value) {
    const tqa::ElementView element = reachOn(id);
    if (!element || element.length() == 0) return getTheLongWay<read>(id, value);
    return read(element, value);
}

template <auto read, class Value>
[[gnu::noinline]] int TQABinaryIterator::getTheLongWay(int id, Value* value) {
    const tqa::ElementView element = reach(id);
    if (!element) return -1;
    const int status = read(element, value);
    if (status != tqa::kNoPayload) return status;
    // Kept: an element without payload keeps the iterator.
    if (id != 0) enter(element);
    return -1;
}

int TQABinaryIterator::getValue(int* value, int id) {
    return get<tqa::readInt>(id, value);
}

int TQABinaryIterator::getValueLongLong(long long* value, int id) {
    return get<tqa::readLongLong>(id, value);
}

int TQABinaryIterator::getValueDouble(double* value, int id) {
    return get<tqa::readDouble>(id, value);
}

int TQABinaryIterator::getValueTime(long* value, int id) {
    return get<tqa::readTime>(id, value);
}

int TQABinaryIterator::getValue(std::string* value, int id) {
    return get<tqa::readString>(id, value);
}

int TQABinaryIterator::getValueBase64(std::string* value, int id) {
    return get<tqa::readBase64>(id, value);
}

int TQABinaryIterator::getValueXML(std::string* value, int id) {
    return get<tqa::readXml>(id, value);
}

// --- attributes ---------------------------------------------------------------------------------

int TQABinaryIterator::getAttr(std::string* value, int id) {
    return get<tqa::readAttributeText>(id, value);
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

// One word leads to a child like its id does. What is more than a word goes the long way, and so
// does a word as long as raw children are to be expanded on it.
template <auto read, class Value>
int TQABinaryIterator::getByName(const std::string& name, Value* value) {
    const int id = tqa::tagId(name);
    if (id == 0 || (policy & kExpandRaw) != 0) return getByPath<read>(name, value);
    const tqa::ElementView element = reach(id);
    const int status = element ? read(element, value) : -1;
    return status == tqa::kNoPayload ? -1 : status;
}

template <auto read, class Value>
int TQABinaryIterator::getByPath(const std::string& name, Value* value) {
    tqa::SavedPosition start(path, name);
    const std::int32_t stampBefore = stamp;
    if (seek(name) != 0) return -1;
    const int status = get<read>(0, value);
    start.restore();
    // What was expanded on the way may have moved the element to come back to.
    if (stamp != stampBefore) invalidate();
    return status;
}

int TQABinaryIterator::putByName(const std::string& name, Kind kind, const void* data,
                                 std::size_t length) {
    const int id = tqa::tagId(name);
    return id != 0 && putQuickly(id, kind, data, length) ? 0 : putByPath(name, kind, data, length);
}

int TQABinaryIterator::putByPath(const std::string& name, Kind kind, const void* data,
                                 std::size_t length) {
    const bool isNew = seek(name) != 0;
    if (isNew && newChild(name, std::string()) != 0) return -1;
    const int status = put(0, kind, data, length);
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
    return getByName<tqa::readBase64>(name, value);
}

int TQABinaryIterator::getValue(std::string* value, const std::string& name) {
    return getByName<tqa::readString>(name, value);
}

int TQABinaryIterator::getValue(int* value, const std::string& name) {
    return getByName<tqa::readInt>(name, value);
}

int TQABinaryIterator::getValueLongLong(long long* value, const std::string& name) {
    return getByName<tqa::readLongLong>(name, value);
}

int TQABinaryIterator::getValueDouble(double* value, const std::string& name) {
    return getByName<tqa::readDouble>(name, value);
}

int TQABinaryIterator::getValueTime(long* value, const std::string& name) {
    return getByName<tqa::readTime>(name, value);
}

int TQABinaryIterator::putValueBase64(const std::string& value, const std::string& name) {
    return putByName(name, Kind::Base64, value.c_str(), value.size() + 1);
}

int TQABinaryIterator::putValue(const std::string& value, const std::string& name) {
    return putByName(name, Kind::String, value.c_str(), value.size() + 1);
}

int TQABinaryIterator::putValueLongLong(long long value, const std::string& name) {
    return putByName(name, Kind::LongLong, &value, sizeof value);
}

int TQABinaryIterator::putValueDouble(double value, const std::string& name) {
    return putByName(name, Kind::Double, &value, sizeof value);
}

int TQABinaryIterator::putValue(int value, const std::string& name) {
    return putByName(name, Kind::Int, &value, sizeof value);
}

int TQABinaryIterator::putValueTime(long value, const std::string& name) {
    char text[kTimeTextSize];
    const std::size_t length = writeTime(value, text);
    return length == 0 ? -1 : putByName(name, Kind::Time, text, length);
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
    return validateInternals() == 0 ? binary().deleteID(path) : -1;
}
