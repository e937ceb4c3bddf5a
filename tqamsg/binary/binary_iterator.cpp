// Construction, and the check that the current element is still where it was.

#include "tqamsg/binary/binary_iterator.h"

#include "tqamsg/binary/iterator_steps.h"

#include <new>

using tqa::ElementView;

TQABinaryIterator::TQABinaryIterator(TQABinary* walked)
    : TQAMessageIterator(walked), policy(Policy), buf(nullptr), stamp(-1) {
    noteContent();
    pushRoot();
    notePath();
}

TQABinaryIterator::TQABinaryIterator(TQABinaryIterator* other)
    : TQAMessageIterator(other->message),
      policy(other->policy),
      buf(nullptr),
      stamp(-1),
      path(other->path),
      known(other->known) {
    noteContent();
}

TQABinaryIterator::~TQABinaryIterator() = default;

TQAMessageIterator* TQABinaryIterator::newIterator() {
    return new (std::nothrow) TQABinaryIterator(this);
}

TQABinary* TQABinaryIterator::getBinaryMessage() {
    return &binary();
}

// Remembers the content as it is now as the one that the path was checked against.
void TQABinaryIterator::noteContent() {
    const TQABinaryInternals* content = record();
    buf = content == nullptr ? nullptr : content->block;
    stamp = content == nullptr ? -1 : content->stamp;
}

// The path fits the content as it is now.
void TQABinaryIterator::notePath() {
    if (record() != nullptr) known.note(*record());
}

// After an edit through this iterator, whose path was known to fit before it or not. An edit that
// changed the stamp is left to the next check, as if another iterator had made it.
void TQABinaryIterator::noteEdit(bool wasKnown) {
    if (wasKnown && isNoted()) notePath();
}

bool TQABinaryIterator::pushRoot() {
    const ElementView root = tqa::rootOf(record());
    if (root) path.push_back(root.id(), tqa::kRootOffset);
    return static_cast<bool>(root);
}

int TQABinaryIterator::invalidate() {
    buf = nullptr;
    stamp = -1;
    known.forget();
    scan.forget();
    return 0;
}

int TQABinaryIterator::validateStamp() {
    return isNoted() ? 0 : recheck();
}

int TQABinaryIterator::recheck() {
    if (record() == nullptr) return -1;
    const bool wasKnown = isPathKnown();
    if (!wasKnown && !(path.empty() ? pushRoot() : checkPath())) return -1;
    noteContent();
    if (wasKnown || tqa::pathEnd(record(), path)) notePath();
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
    const bool shared = record() != nullptr && record()->isShared();
    if (shared && binary().makePrivate() != 0) return -1;
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
