#include "tqamsg/msg/message_iterator.h"

#include "tqamsg/msg/message.h"
#include "tqamsg/util/strings.h"

#include <memory>

TQAMessageIterator::~TQAMessageIterator() = default;

TQAMessage* TQAMessageIterator::getMessage() {
    return message;
}

int TQAMessageIterator::seekRoot() {
    return seek("/");
}

char* TQAMessageIterator::toText() {
    return message->toText(nullptr, false, "");
}

int TQAMessageIterator::decode(char** buf, int* len) {
    return message->decode(buf, len, nullptr);
}

int TQAMessageIterator::validateInternals() {
    if (message == nullptr) return -1;
    if (message->multiReference()) {
        if (message->hardcopy() != 0) return -1;
        invalidate();
    }
    return 0;
}

// --- presence -----------------------------------------------------------------------------------

int TQAMessageIterator::seekPresence(int id) {
    if (seek(id) != 0) return -1;
    seekUp();
    return 0;
}

int TQAMessageIterator::seekPresence(const std::string& name) {
    std::unique_ptr<TQAMessageIterator> probe(newIterator());
    return probe != nullptr && probe->seek(name) == 0 ? 0 : -1;
}

int TQAMessageIterator::putChild(int id, int ns) {
    if (seek(id) != 0 && newChild(id, ns) != 0) return -1;
    seekUp();
    return 0;
}

int TQAMessageIterator::putChild(const std::string& name, const std::string& ns) {
    if (seek(name) != 0 && newChild(name, ns) != 0) return -1;
    seekUp();
    return 0;
}

// --- booleans -----------------------------------------------------------------------------------

int TQAMessageIterator::getValue(bool* value, const std::string& name) {
    std::string text;
    const int status = getValue(&text, name);
    if (status == 0) *value = tqa::isTrue(text);
    return status;
}

int TQAMessageIterator::getValue(bool* value, int id) {
    if (id == 0) return getValue(value, "");
    std::string text;
    const int status = getValue(&text, id);
    if (status == 0) *value = tqa::isTrue(text);
    return status;
}

// --- by id, for kinds without vocabulary ids ----------------------------------------------------
// Such a kind still answers for id 0, the current element, through its operations by name.

int TQAMessageIterator::seek(int) {
    return -1;
}

int TQAMessageIterator::newChild(int, int) {
    return -1;
}

int TQAMessageIterator::firstChild(int) {
    return -1;
}

int TQAMessageIterator::nextSibling(int) {
    return -1;
}

int TQAMessageIterator::putValueBase64(const char*, int, int) {
    return -1;
}

int TQAMessageIterator::putValue(const char*, int, int) {
    return -1;
}

int TQAMessageIterator::getValueBase64(std::string* value, int id) {
    return id == 0 ? getValueBase64(value, "") : -1;
}

int TQAMessageIterator::getValue(std::string* value, int id) {
    return id == 0 ? getValue(value, "") : -1;
}

int TQAMessageIterator::getValue(int* value, int id) {
    return id == 0 ? getValue(value, "") : -1;
}

int TQAMessageIterator::getValueLongLong(long long* value, int id) {
    return id == 0 ? getValueLongLong(value, "") : -1;
}

int TQAMessageIterator::getValueDouble(double* value, int id) {
    return id == 0 ? getValueDouble(value, "") : -1;
}

int TQAMessageIterator::getValueTime(long* value, int id) {
    return id == 0 ? getValueTime(value, "") : -1;
}

int TQAMessageIterator::putValueBase64(const std::string& value, int id) {
    return id == 0 ? putValueBase64(value, "") : -1;
}

int TQAMessageIterator::putValue(const std::string& value, int id) {
    return id == 0 ? putValue(value, "") : -1;
}

int TQAMessageIterator::putValueLongLong(long long value, int id) {
    return id == 0 ? putValueLongLong(value, "") : -1;
}

int TQAMessageIterator::putValueDouble(double value, int id) {
    return id == 0 ? putValueDouble(value, "") : -1;
}

int TQAMessageIterator::putValue(int value, int id) {
    return id == 0 ? putValue(value, "") : -1;
}

int TQAMessageIterator::putValueTime(long value, int id) {
    return id == 0 ? putValueTime(value, "") : -1;
}
