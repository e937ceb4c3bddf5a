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
    // Two records may carry the same stamp, but not the same buffer.
    return content != nullptr && content->stamp == stamp && content->buf == buf;
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

// The quick way of insertID() and newChild(): below an element that ends where the message ends
// nothing has to move. False, and nothing done, when that is not so or the buffer has to grow. The
// bytes are those that insertID() makes.
[[gnu::always_inline]] inline bool TQABinaryIterator::appendLast(tqa::ElementView parent, int id,
                                                                 std::uint32_t word,
                                                                 const void* data, int length) {
    TQABinaryInternals& content = *record();
    const std::int64_t size = tqa::elementSize(length);
    char* const element = content.buf + content.used;
    if (parent.end() != element || content.capacity <= content.used + size) return false;
    if (!parent.isContainer()) {
        if (parent.kind() != tqa::Kind::Untyped || parent.length() != 0) return false;
        tqa::writeKind(content.buf + path.back().offset, tqa::Kind::Container);
    }
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

// Writes a value that fits into the element that has it, or appends one where the message ends.
// False, with nothing done, when it takes more than that. The position does not change.
[[gnu::always_inline]] inline bool TQABinaryIterator::putQuickly(int id, tqa::Kind kind,
                                                                 const void* data,
                                                                 std::size_t length) {
    if (!canWriteQuickly() || length > tqa::kMaxCapacity || data == nullptr) return false;
    const int size = static_cast<int>(length);
    const std::uint32_t word = tqa::kindWord(kind);
    tqa::ElementView element = current();
    if (id != 0) {
        const tqa::ElementView parent = element;
        element = scan.find(parent, id, *record());
        if (!element) {
            const int at = record()->used;
            if (!appendLast(parent, id, word, data, size)) return false;
            scan.passAppended(id, at, *record());
            return true;
        }
    }
    if (element.isContainer() || tqa::elementSize(size) != element.size()) return false;
    char* const at = record()->buf + (element.begin() - record()->buf);
    tqa::writeValue(at, word, data, size);
    return true;
}
