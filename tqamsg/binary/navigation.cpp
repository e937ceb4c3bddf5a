// Moves of the binary iterator, and the children it makes.

#include "tqamsg/binary/iterator_steps.h"
#include "tqamsg/binary/saved_position.h"
#include "tqamsg/vocabulary/lookup.h"

#include <algorithm>
#include <exception>

using tqa::ElementView;

namespace {

constexpr char kSeparator = '/';

}  // namespace

int TQABinaryIterator::curID() {
    return path.empty() ? 0 : path.back().id;
}

std::string TQABinaryIterator::curName() {
    try {
        return std::string(tqa::tagWord(curID()));
    } catch (const std::exception&) {
        return {};
    }
}

// --- down ---------------------------------------------------------------------------------------

int TQABinaryIterator::enter(ElementView child) {
    if (!child) return -1;
    path.push_back(child.id(), static_cast<int>(child.begin() - record()->buf));
    return 0;
}

int TQABinaryIterator::seek(int id) {
    if (const ElementView child = reachOn(id)) return enter(child);
    if ((policy & kExpandRaw) != 0) parseUnknown();
    if (!isNoted() && recheck() != 0) return -1;
    return id == 0 ? 0 : enter(childWithId(id));
}

int TQABinaryIterator::firstChild(int id) {
    return seek(id);
}

int TQABinaryIterator::firstChild(const std::string& name) {
    const int id = tqa::tagId(name);
    return id == 0 ? -1 : firstChild(id);
}

int TQABinaryIterator::firstChild() {
    if ((policy & kExpandRaw) != 0 && parseUnknown() != 0) return -1;
    if (!isNoted() && recheck() != 0) return -1;
    return enter(current().firstChild());
}

int TQABinaryIterator::newChild(int id, int ns) {
    const std::uint32_t word = tqa::kindWord(tqa::Kind::Untyped, ns);
    if (canWriteQuickly()) {
        const int at = record()->used;
        if (appendLast(current(), id, word, nullptr, 0)) {
            path.push_back(id, at);
            return 0;
        }
    }
    if (validateInternals() != 0 || path.empty()) return -1;
    const bool wasKnown = isPathKnown();
    const int status = binary().insertID(path, id, static_cast<int>(word), nullptr, 0);
    noteEdit(wasKnown);
    return status;
}

int TQABinaryIterator::newChild(const std::string& name, const std::string& ns) {
    const int id = tqa::tagId(name);
    const int nsId = tqa::namespaceId(ns);
    if (id == 0 || (nsId == 0 && !ns.empty())) return -1;
    return newChild(id, nsId);
}

// --- across -------------------------------------------------------------------------------------

// The element after the current one, and the end of the range that they share.
inline ElementView TQABinaryIterator::sibling(const char** end) const {
    if (path.size() < 2) return {};
    const ElementView parent = tqa::elementAt(record(), path[path.size() - 2].offset);
    const ElementView self = current();
    if (!parent || !self) return {};
    *end = parent.end();
    return self.next(parent.end());
}

inline int TQABinaryIterator::moveAcross(ElementView sibling) {
    if (!sibling) return -1;
    path.pop_back();
    return enter(sibling);
}

int TQABinaryIterator::nextSibling() {
    if (!isNoted() && recheck() != 0) return -1;
    const char* end = nullptr;
    return moveAcross(sibling(&end));
}

int TQABinaryIterator::nextSibling(int id) {
    if (!isNoted() && recheck() != 0) return -1;
    if (id == 0) return 0;
    const char* end = nullptr;
    const ElementView next = sibling(&end);
    return next ? moveAcross(next.withId(id, end)) : -1;
}

int TQABinaryIterator::nextSibling(const std::string& name) {
    const int id = tqa::tagId(name);
    return id == 0 ? -1 : nextSibling(id);
}

// --- up and along a path ------------------------------------------------------------------------

int TQABinaryIterator::seekUp() {
    if (!path.empty()) path.pop_back();
    return 0;
}

int TQABinaryIterator::seekRoot() {
    if (!isNoted() && recheck() != 0) return -1;
    keepRoot();
    return 0;
}

void TQABinaryIterator::keepRoot() {
    if (path.size() > 1) path.truncate(1);
}

int TQABinaryIterator::seek(const std::string& words) {
    if (words.empty()) return seek(0);
    tqa::SavedPosition start(path, words);
    const std::int32_t stampBefore = stamp;
    std::string_view rest = words;
    if (rest.front() == kSeparator) {
        keepRoot();
        rest.remove_prefix(1);
    }
    while (!rest.empty()) {
        const std::string_view word = rest.substr(0, rest.find(kSeparator));
        // Kept: an empty component ends the walk, and what stands behind it is ignored.
        if (word.empty()) return 0;
        const int id = tqa::tagId(word);
        if (id == 0 || seek(id) != 0) {
            start.restore();
            // What was expanded on the way may have moved the element to come back to.
            if (stamp != stampBefore) invalidate();
            return -1;
        }
        rest.remove_prefix(std::min(word.size() + 1, rest.size()));
    }
    return 0;
}

// The elements at or behind an offset have moved.
void TQABinaryIterator::follow(int from, int distance) {
    for (tqa::PathEntry& entry : path) {
        if (entry.offset >= from) entry.offset += distance;
    }
}
