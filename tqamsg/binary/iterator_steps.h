// The steps that the operations of the binary iterator are made of.
#pragma once

#include "tqamsg/binary/binary.h"
#include "tqamsg/binary/binary_iterator.h"
#include "tqamsg/binary/element_at.h"

inline TQABinary& TQABinaryIterator::binary() const {
    return *static_cast<TQABinary*>(message);
}

inline TQABinaryInternals* TQABinaryIterator::record() const {
    return binary().internals;
}

// The element that the path's last entry speaks of, taken at its word.
inline tqa::ElementView TQABinaryIterator::current() const {
    return path.empty() ? tqa::ElementView() : tqa::elementAt(record(), path.back().offset);
}

[[gnu::always_inline]] inline tqa::ElementView TQABinaryIterator::childWithId(int id) {
    return scan.find(current(), id, *record());
}

// Whether the content is the one that the path was checked against, and nothing was reallocated,
// cleared or deleted since.
inline bool TQABinaryIterator::isNoted() const {
    const TQABinaryInternals* content = record();
    // Two records may carry the same stamp, but not the same block.
    return content != nullptr && content->stamp == stamp && content->block == buf;
}

// Whether no edit since the path fitted can have moved one of its elements. When it says no, the
// path may fit nevertheless.
inline bool TQABinaryIterator::isPathKnown() const {
    const TQABinaryInternals* content = record();
    return content != nullptr && !path.empty() && known.fitsUpTo(path.back().offset, *content);
}

// The child with this id, or the current element for id 0; empty when there is none or the way to
// the current element is lost.
[[gnu::always_inline]] inline tqa::ElementView TQABinaryIterator::reach(int id) {
    if ((policy & kExpandRaw) != 0) parseUnknown();
    if (!isNoted() && recheck() != 0) return {};
    return id == 0 ? current() : childWithId(id);
}

// reach() for the next of the children that are read in order; empty when that may be wrong.
[[gnu::always_inline]] inline tqa::ElementView TQABinaryIterator::reachOn(int id) {
    const TQABinaryInternals* content = record();
    if (id == 0 || content == nullptr || path.empty() || (policy & kExpandRaw) != 0) return {};
    return scan.isAt(path.back().offset, *content) ? scan.find(id, *content) : tqa::ElementView();
}

// Whether the path is known to lead to an element of a content that this message may change.
inline bool TQABinaryIterator::canWriteQuickly() {
    if (!binary().ownsContent() || (policy & kExpandRaw) != 0 || path.empty()) return false;
    if (known.isCurrent(*record())) return true;
    if (!isPathKnown()) return false;
    noteContent();
    notePath();
    return true;
}

// Appends an element to the one that the path leads to, which ends where the message ends: nothing
// has to move. The bytes are those that insertID() makes. False, and nothing done, when the buffer
// would have to grow.
[[gnu::always_inline]] inline bool TQABinaryIterator::append(int id, std::uint32_t word,
                                                             const void* data, int length) {
    TQABinaryInternals& content = *record();
    const std::int64_t size = tqa::elementSize(length);
    if (content.capacity <= content.used + size) return false;
    char* const element = content.buf + content.used;
    if (content.isFreshBehind()) {
        content.append(static_cast<int>(size));
        ++content.version;
        tqa::clearPadding(element, size);
    } else {
        content.resize(static_cast<int>(size));
    }
    tqa::writeElementHeader(element, id, word, length);
    tqa::writePayload(element, tqa::kindOf(word), data, length);
    tqa::addToLengths(content, path, path.size(), static_cast<int>(size));
    known.noteAppended(content);
    return true;
}

// The quick way of insertID() and newChild(). False, and nothing done, when it can't be gone.
[[gnu::always_inline]] inline bool TQABinaryIterator::appendLast(tqa::ElementView parent, int id,
                                                                 std::uint32_t word,
                                                                 const void* data, int length) {
    TQABinaryInternals& content = *record();
    // Empty when an iterator that had lost its element deleted where it stood.
    if (!parent || parent.end() != content.buf + content.used) return false;
    if (parent.isContainer()) return append(id, word, data, length);
    if (parent.kind() != tqa::Kind::Untyped || parent.length() != 0) return false;
    if (!append(id, word, data, length)) return false;
    tqa::writeKind(content.buf + path.back().offset, tqa::Kind::Container);
    return true;
}

// Writes a value that fits into the element that has it, or appends one where the message ends.
// False, with nothing done, when it takes more than that. The position does not change.
[[gnu::always_inline]] inline bool TQABinaryIterator::putQuickly(int id, tqa::Kind kind,
                                                                 const void* data,
                                                                 std::size_t length) {
    if (!canWriteQuickly() || length > tqa::kMaxCapacity || data == nullptr) return false;
    const int size = static_cast<int>(length);
    const std::uint32_t word = tqa::kindWord(kind);
    TQABinaryInternals& content = *record();
    if (id != 0 && scan.isThrough(path.back().offset, id, content)) {
        if (!append(id, word, data, size)) return false;
        scan.passLast(id, content);
        return true;
    }
    tqa::ElementView element = current();
    if (id != 0) {
        const tqa::ElementView parent = element;
        element = scan.find(parent, id, content);
        if (!element) {
            const int at = content.used;
            if (!appendLast(parent, id, word, data, size)) return false;
            scan.passAppended(id, at, content);
            return true;
        }
    }
    if (!element || element.isContainer() || tqa::elementSize(size) != element.size()) return false;
    char* const at = content.buf + (element.begin() - content.buf);
    tqa::writeValue(at, word, data, size);
    return true;
}
