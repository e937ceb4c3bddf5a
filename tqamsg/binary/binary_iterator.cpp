// Construction, and the check that the current element is still where it was.

#include "tqamsg/binary/binary_iterator.h"

#include "tqamsg/binary/binary.h"
#include "tqamsg/binary/element_at.h"

#include <new>

using tqa::ElementView;

TQABinaryIterator::TQABinaryIterator(TQABinary* walked)
    : TQAMessageIterator(walked), policy(Policy), buf(nullptr), stamp(-1) {
    noteContent();
    pushRoot();
}

TQABinaryIterator::TQABinaryIterator(TQABinaryIterator* other)
    : TQAMessageIterator(other->message),
      policy(other->policy),
      buf(nullptr),
      stamp(-1),
      path(other->path) {
    noteContent();
}

TQABinaryIterator::~TQABinaryIterator() = default;

TQAMessageIterator* TQABinaryIterator::newIterator() {
    return new (std::nothrow) TQABinaryIterator(this);
}

TQABinary* TQABinaryIterator::getBinaryMessage() {
    return static_cast<TQABinary*>(message);
}

TQABinaryInternals* TQABinaryIterator::record() const {
    return static_cast<const TQABinary*>(message)->internals;
}

// Remembers the content as it is now as the one that the path was checked against.
void TQABinaryIterator::noteContent() {
    const TQABinaryInternals* content = record();
    buf = content == nullptr ? nullptr : content->buf;
    stamp = content == nullptr ? -1 : content->stamp;
}

bool TQABinaryIterator::pushRoot() {
    const ElementView root = tqa::rootOf(record());
    if (root) path.push_back(root.id(), tqa::kRootOffset);
    return static_cast<bool>(root);
}

ElementView TQABinaryIterator::current() const {
    return path.empty() ? ElementView() : tqa::elementAt(record(), path.back().offset);
}

int TQABinaryIterator::invalidate() {
    buf = nullptr;
    stamp = -1;
    return 0;
}

int TQABinaryIterator::validateStamp() {
    const TQABinaryInternals* content = record();
    if (content == nullptr) return -1;
    // Two records may carry the same stamp, but not the same buffer.
    if (content->stamp == stamp && content->buf == buf) return 0;
    if (!(path.empty() ? pushRoot() : checkPath())) return -1;
    noteContent();
    return 0;
}

// Whether each element of the path still starts at its offset, with its id, among the children of
// the one before.
bool TQABinaryIterator::checkPath() const {
    const char* start = record()->buf;
    ElementView element = tqa::rootOf(record());
    for (int i = 0; element; ++i) {
        if (element.begin() - start != path[i].offset || element.id() != path[i].id) return false;
        // Kept: below an element that became a value the rest of the path goes unchecked.
        if (i + 1 == path.size() || !element.isContainer()) return true;
        const char* end = element.end();
        element = element.firstChild();
        while (element && element.begin() - start < path[i + 1].offset) element = element.next(end);
    }
    return false;
}

int TQABinaryIterator::validateInternals() {
    if (TQAMessageIterator::validateInternals() != 0) return -1;
    // A failed hardcopy() leaves a counter that no longer shows the sharing; the record does.
    TQABinary* binary = getBinaryMessage();
    const bool shared = binary->internals != nullptr && binary->internals->isShared();
    if (shared && binary->makePrivate() != 0) return -1;
    return validateStamp();
}

char* TQABinaryIterator::findID(int id, char* from, char* to) {
    const ElementView first = ElementView::find(from, to);
    const ElementView found = first ? first.withId(id, to) : ElementView();
    return found ? from + (found.begin() - from) : nullptr;
}

namespace tqa {

ElementView elementOf(TQABinaryIterator& it) {
    return it.validateStamp() == 0 ? it.current() : ElementView();
}

}  // namespace tqa
