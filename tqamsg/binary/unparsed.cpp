// Raw children: XML that the reader could not map, or that putValueXML() stored, becomes elements.

#include "tqamsg/binary/iterator_steps.h"

using tqa::ElementView;
using tqa::Kind;

namespace {

// Appends what a raw child holds. Only a named element may take its place: an unnamed one would be
// found and expanded again without end.
bool appendHeld(ElementView root, TQABinaryInternals& expanded) {
    if (!root || root.id() == 0) return false;
    const int length = root.wholeLength();
    const auto size = static_cast<int>(tqa::elementSize(length));
    if (expanded.expand(size) == nullptr) return false;
    char* const at = expanded.append(size);
    tqa::clearPadding(at, size);
    tqa::writeElementHeader(at, root.id(), root.word(), length);
    tqa::writePayload(at, root.kind(), root.payload(), length);
    return true;
}

}  // namespace

int TQABinaryIterator::parseUnknown() {
    if (!isNoted() && recheck() != 0) return -1;
    const ElementView parent = current();
    if (!parent || !parent.isContainer()) return -1;

    // All are read before any is replaced, so that the children are moved once and not for each.
    TQABinaryInternals expanded;
    int taken = 0;
    const ElementView first = raws.findRaw(parent, *record());
    const ElementView stop = first ? expandFrom(first, parent.end(), expanded, &taken) : first;
    const int stopAt = static_cast<int>((stop ? stop.begin() : parent.end()) - record()->buf);
    if (taken > 0) {
        if (!isPathKnown() && !tqa::pathEnd(record(), path)) return -1;
        if (!binary().replaceRaw(path, stopAt, taken, expanded)) return -1;
        noteContent();
    }
    return stop && (policy & kRawMustParse) != 0 ? -1 : 0;
}

// Reads the raw children from `raw` on and adds up their sizes, up to the first that stays, which
// is given; empty when none does.
ElementView TQABinaryIterator::expandFrom(ElementView raw, const char* end,
                                          TQABinaryInternals& expanded, int* taken) {
    TQABinary held;
    for (; raw; raw = raw.next(end).withId(0, end)) {
        if (raw.kind() != Kind::Unparsed) break;
        // encode() takes a writable pointer but only reads.
        char* payload = const_cast<char*>(raw.payload());
        if (held.encode(payload, raw.length(), nullptr) != 0) break;
        if (!appendHeld(tqa::rootOf(held.internals), expanded)) break;
        *taken += raw.size();
    }
    return raw;
}
