// The header fields: children of the root with attribute ids. Each accessor is one typed operation
// on the root, so a setter replaces the value in place or appends the field.

#include "tqamsg/binary/binary.h"
#include "tqamsg/binary/binary_iterator.h"
#include "tqamsg/binary/element_at.h"
#include "tqamsg/binary/values.h"
#include "tqamsg/util/version_text.h"
#include "tqamsg/vocabulary/word_ids.h"

using tqa::ElementView;

// Reading a field takes no iterator, unless raw children are to be expanded on the way.
template <auto read, class Value>
int TQABinary::readField(int id, Value* value) {
    if ((TQABinaryIterator::Policy & TQABinaryIterator::kExpandRaw) != 0) {
        TQABinaryIterator expanding(this);
        expanding.seek(id);
    }
    const ElementView field = tqa::rootOf(internals).childWithId(id);
    return field && read(field, value) == 0 ? 0 : -1;
}

// Nor does writing a value over one that takes as much room.
bool TQABinary::overwriteField(int id, tqa::Kind kind, const void* data, int length) {
    if (!ownsContent() || TQABinaryIterator::Policy != 0) return false;
    const ElementView field = tqa::rootOf(internals).childWithId(id);
    if (!field || field.isContainer() || tqa::elementSize(length) != field.size()) return false;
    tqa::writeValue(internals->buf + (field.begin() - internals->buf), tqa::kindWord(kind), data,
                    length);
    return true;
}

int TQABinary::setField(int id, int value) {
    if (overwriteField(id, tqa::Kind::Int, &value, sizeof value)) return 0;
    return TQABinaryIterator(this).putValue(value, id);
}

// The text is followed by a zero byte.
int TQABinary::setField(int id, std::string_view text) {
    if (text.size() >= static_cast<std::size_t>(tqa::kMaxCapacity)) return -1;
    const int length = static_cast<int>(text.size());
    if (overwriteField(id, tqa::Kind::String, text.data(), length + 1)) return 0;
    return TQABinaryIterator(this).putValue(text.data(), length, id);
}

int TQABinary::readFlag(int id, int* on) {
    std::string text;
    if (readField<tqa::readString>(id, &text) != 0 || (text != "on" && text != "off")) return -1;
    *on = text == "on" ? 1 : 0;
    return 0;
}

int TQABinary::getVersion(int* version) {
    std::string text;
    if (readField<tqa::readString>(tqa::Attr_version, &text) != 0) return -1;
    *version = tqa::textToVersion(text);
    return 0;
}

int TQABinary::setVersion(int version) {
    char text[tqa::kVersionTextMax + 1] = {};
    return setField(tqa::Attr_version, tqa::versionToText(version, text));
}

int TQABinary::getTime(long* time) {
    return readField<tqa::readTime>(tqa::Attr_time, time);
}

int TQABinary::setTime(long time) {
    return TQABinaryIterator(this).putValueTime(time, tqa::Attr_time);
}

int TQABinary::getProgress(int* on) {
    return readFlag(tqa::Attr_progress, on);
}

int TQABinary::setProgress(int on) {
    return setField(tqa::Attr_progress, on != 0 ? std::string_view("on") : std::string_view("off"));
}

int TQABinary::getLog(int* on) {
    return readFlag(tqa::Attr_log, on);
}

int TQABinary::setLog(int on) {
    return setField(tqa::Attr_log, on != 0 ? std::string_view("on") : std::string_view("off"));
}

int TQABinary::getType(int* type) {
    return readField<tqa::readInt>(tqa::Attr_type, type);
}

int TQABinary::setType(int type) {
    return setField(tqa::Attr_type, type);
}

int TQABinary::getID(std::string* id) {
    return readField<tqa::readString>(tqa::Attr_id, id);
}

int TQABinary::setID(const std::string& id) {
    return setField(tqa::Attr_id, id);
}

int TQABinary::getPriority(int* priority) {
    return readField<tqa::readInt>(tqa::Attr_priority, priority);
}

int TQABinary::setPriority(int priority) {
    return setField(tqa::Attr_priority, priority);
}

int TQABinary::getUid(int* uid) {
    return readField<tqa::readInt>(tqa::Attr_uid, uid);
}

int TQABinary::setUid(int uid) {
    return setField(tqa::Attr_uid, uid);
}

int TQABinary::getTimeout(int* seconds) {
    return readField<tqa::readInt>(tqa::Attr_timeout, seconds);
}

int TQABinary::setTimeout(int seconds) {
    return setField(tqa::Attr_timeout, seconds);
}

int TQABinary::getTimeoutLimit(int* seconds) {
    return readField<tqa::readInt>(tqa::Attr_timeout_limit, seconds);
}

int TQABinary::setTimeoutLimit(int seconds) {
    return setField(tqa::Attr_timeout_limit, seconds);
}
