// From a record and a path to the elements they name. Paths outlive edits that they did not see,
// so nothing here takes a path's word for anything.
#pragma once

#include "tqamsg/binary/internals.h"
#include "tqamsg/binary/layout.h"
#include "tqamsg/binary/path.h"

namespace tqa {

// The element at an offset, if one fits there into the used bytes; else empty.
inline ElementView elementAt(const TQABinaryInternals* record, int offset) noexcept {
    if (record == nullptr || offset < kRootOffset || offset >= record->used) return {};
    return ElementView::find(record->buf + offset, record->buf + record->used);
}

inline ElementView rootOf(const TQABinaryInternals* record) noexcept {
    return elementAt(record, kRootOffset);
}

// The path's last element, if each of its elements lies among the children of the one before;
// else empty.
inline ElementView pathEnd(const TQABinaryInternals* record, const BinaryPath& path) noexcept {
    if (path.empty()) return {};
    ElementView element = elementAt(record, path[0].offset);
    for (int i = 1; i < path.size() && element; ++i) {
        const std::int64_t into = std::int64_t{path[i].offset} - path[i - 1].offset;
        const bool inside =
            element.isContainer() && into >= kEmptyElementSize && into < element.size();
        element = inside ? ElementView::find(element.begin() + into, element.end()) : ElementView();
    }
    return element;
}

// Adds to the length of the path's first `count` elements, whose children grew by `delta`.
inline void addToLengths(TQABinaryInternals& record, const BinaryPath& path, int count,
                         int delta) noexcept {
    char* const buf = record.buf;
    const PathEntry* const end = path.begin() + count;
    std::int32_t lengths = 0;
    // The loop's own steps would be a third of what every appended element pays here.
#pragma GCC unroll 4
    for (const PathEntry* entry = path.begin(); entry != end; ++entry) {
        char* const element = buf + entry->offset;
        const std::int32_t length = lengthOf(element);
        lengths |= length;
        writeLength(element, length + delta);
    }
    if (lengths % 8 == 0) return;
    // Rare: a length that is not the room of its children grows by a rule of its own.
    for (const PathEntry* entry = path.begin(); entry != end; ++entry) {
        char* const element = buf + entry->offset;
        writeLength(element, lengthOf(element) - delta);
        addToChildren(element, delta);
    }
}

}  // namespace tqa
