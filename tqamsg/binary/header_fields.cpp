// The header fields: children of the root with attribute ids. Each accessor is one typed operation
// on the root, so a setter replaces the value in place or appends the field.

#include "tqamsg/binary/binary.h"
#include "tqamsg/binary/binary_iterator.h"
#include "tqamsg/util/version_text.h"
#include "tqamsg/vocabulary/word_ids.h"

namespace {

template <class Value>
int getField(TQABinary* message, Value* value, int id) {
    return TQABinaryIterator(message).getValue(value, id);
}

int setField(TQABinary* message, int value, int id) {
    return TQABinaryIterator(message).putValue(value, id);
}

int setField(TQABinary* message, std::string_view text, int id) {
    // Every text handed in here is followed by a zero byte.
    return TQABinaryIterator(message).putValue(text.data(), static_cast<int>(text.size()), id);
}

int getFlag(TQABinary* message, int* on, int id) {
    std::string text;
    if (getField(message, &text, id) != 0 || (text != "on" && text != "off")) return -1;
    *on = text == "on" ? 1 : 0;
    return 0;
}

int setFlag(TQABinary* message, int on, int id) {
    return setField(message, std::string_view(on != 0 ? "on" : "off"), id);
}

}  // namespace

int TQABinary::getVersion(int* version) {
    std::string text;
    if (getField(this, &text, tqa::Attr_version) != 0) return -1;
    *version = tqa::textToVersion(text);
    return 0;
}

int TQABinary::setVersion(int version) {
    char text[tqa::kVersionTextMax + 1] = {};
    return setField(this, tqa::versionToText(version, text), tqa::Attr_version);
}

int TQABinary::getTime(long* time) {
    return TQABinaryIterator(this).getValueTime(time, tqa::Attr_time);
}

int TQABinary::setTime(long time) {
    return TQABinaryIterator(this).putValueTime(time, tqa::Attr_time);
}

int TQABinary::getProgress(int* on) {
    return getFlag(this, on, tqa::Attr_progress);
}

int TQABinary::setProgress(int on) {
    return setFlag(this, on, tqa::Attr_progress);
}

int TQABinary::getLog(int* on) {
    return getFlag(this, on, tqa::Attr_log);
}

int TQABinary::setLog(int on) {
    return setFlag(this, on, tqa::Attr_log);
}

int TQABinary::getType(int* type) {
    return getField(this, type, tqa::Attr_type);
}

int TQABinary::setType(int type) {
    return setField(this, type, tqa::Attr_type);
}

int TQABinary::getID(std::string* id) {
    return getField(this, id, tqa::Attr_id);
}

int TQABinary::setID(const std::string& id) {
    return TQABinaryIterator(this).putValue(id, tqa::Attr_id);
}

int TQABinary::getPriority(int* priority) {
    return getField(this, priority, tqa::Attr_priority);
}

int TQABinary::setPriority(int priority) {
    return setField(this, priority, tqa::Attr_priority);
}

int TQABinary::getUid(int* uid) {
    return getField(this, uid, tqa::Attr_uid);
}

int TQABinary::setUid(int uid) {
    return setField(this, uid, tqa::Attr_uid);
}

int TQABinary::getTimeout(int* seconds) {
    return getField(this, seconds, tqa::Attr_timeout);
}

int TQABinary::setTimeout(int seconds) {
    return setField(this, seconds, tqa::Attr_timeout);
}

int TQABinary::getTimeoutLimit(int* seconds) {
    return getField(this, seconds, tqa::Attr_timeout_limit);
}

int TQABinary::setTimeoutLimit(int seconds) {
    return setField(this, seconds, tqa::Attr_timeout_limit);
}
