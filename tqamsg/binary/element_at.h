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
    const PathEntry* const entries = path.begin();
    std::int32_t lengths = 0;
    for (int i = count - 1; i >= 0; --i) {
        char* const element = record.buf + entries[i].offset;
        lengths |= lengthOf(element);
        writeLength(element, lengthOf(element) + delta);
    }
    if (lengths % 8 == 0) return;
    // Rare: a length that is not the room of its children grows by a rule of its own.
    for (int i = count - 1; i >= 0; --i) {
        char* const element = record.buf + entries[i].offset;
        writeLength(element, lengthOf(element) - delta);
        addToChildren(element, delta);
    }
}

}  // namespace tqa
