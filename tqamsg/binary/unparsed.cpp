// Raw children: XML that the reader could not map, or that putValueXML() stored, becomes elements.

#include "tqamsg/binary/binary.h"
#include "tqamsg/binary/binary_iterator.h"
#include "tqamsg/binary/element_at.h"

using tqa::ElementView;
using tqa::Kind;

int TQABinaryIterator::parseUnknown() {
    if (validateStamp() != 0) return -1;
    const ElementView parent = current();
    if (!parent || !parent.isContainer()) return -1;
    // What stands before the first raw child is not looked at again: an expanded child leaves
    // from where it was and comes back, named, at the end.
    const int parentAt = path.back().offset;
    int from = parentAt + tqa::kEmptyElementSize;
    for (;;) {
        const ElementView range = tqa::elementAt(record(), parentAt);
        const ElementView next = ElementView::find(record()->buf + from, range.end());
        const ElementView raw = next ? next.withId(0, range.end()) : ElementView();
        if (!raw) return 0;
        from = static_cast<int>(raw.begin() - record()->buf);

        TQABinary held;
        if (!loadRaw(raw, held)) return (policy & kRawMustParse) != 0 ? -1 : 0;
        if (replaceRaw(from, held) != 0) return -1;
    }
}

// Loads what a raw child holds. Only a named element may take its place: an unnamed one would be
// found and expanded again without end.
bool TQABinaryIterator::loadRaw(ElementView raw, TQABinary& held) {
    if (raw.kind() != Kind::Unparsed) return false;
    // encode() takes a writable pointer but only reads.
    char* payload = const_cast<char*>(raw.payload());
    if (held.encode(payload, raw.length(), nullptr) != 0) return false;
    const ElementView root = tqa::rootOf(held.internals);
    return root && root.id() != 0;
}

int TQABinaryIterator::replaceRaw(int rawAt, const TQABinary& held) {
    TQABinary* binary = getBinaryMessage();
    const TQABinaryInternals* content = held.internals;
    // Room first: when there is none the raw child stays.
    if (record()->expand(content->used) == nullptr) return -1;
    path.push_back(0, rawAt);
    if (binary->deleteID(path) != 0) {
        path.pop_back();
        return -1;
    }
    const int status = binary->appendElement(path, tqa::rootOf(content));
    noteContent();
    return status;
}
