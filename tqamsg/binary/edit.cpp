// Editing by path. Every change is one move of the bytes behind the edited place, and the same
// correction of the length of every element around it.

#include "tqamsg/binary/binary.h"
#include "tqamsg/binary/element_at.h"

#include <algorithm>

using tqa::ElementView;
using tqa::Kind;

namespace {

// Blank text up to this length takes no room of its own: it fits into an empty element.
constexpr int kRoomlessLength = 3;

// Opens (or closes, for a negative delta) a gap before the bytes at `from`. The gap keeps what the
// move left in it.
void moveTail(TQABinaryInternals& record, int from, int delta) {
    const int size = record.used - from;
    record.resize(delta);
    if (size > 0 || delta < 0) record.edits.add(from + std::min(delta, 0));
    char* tail = record.buf + from;
    std::memmove(tail + delta, tail, static_cast<std::size_t>(size));
}

int offsetOf(const TQABinaryInternals& record, const char* place) {
    return static_cast<int>(place - record.buf);
}

bool isBlank(std::string_view text) {
    return text.find_first_not_of(" \t\n\r") == std::string_view::npos;
}

// Blank text gives way to children; other text stays.
bool canHoldChildren(ElementView element) {
    return element &&
           (element.isContainer() || (element.kind() == Kind::Untyped && isBlank(element.text())));
}

// Gives the path's last element a new length: moves what follows it and corrects the lengths
// around it. The buffer has the room.
void resize(TQABinaryInternals& record, const BinaryPath& path, ElementView element, int length) {
    const int at = offsetOf(record, element.begin());
    const int delta = static_cast<int>(tqa::elementSize(length)) - element.size();
    moveTail(record, at + element.size(), delta);
    // What the new value overwrites are no elements, unless the iterator had lost its own.
    record.edits.add(at + 1);
    tqa::writeLength(record.buf + at, length);
    tqa::addToLengths(record, path, path.size() - 1, delta);
}

// Turns the path's last element, which can hold children, into a container.
void makeContainer(TQABinaryInternals& record, const BinaryPath& path) {
    const ElementView element = tqa::pathEnd(&record, path);
    if (element.isContainer()) return;
    // Kept: short blank text leaves its length behind. The size rule sets a container's end, so
    // the children lie where they would without it.
    if (element.length() > kRoomlessLength) resize(record, path, element, 0);
    tqa::writeKind(record.buf + path[path.size() - 1].offset, Kind::Container);
}

// Moves the children of `parent` over the raw ones before the offset `stop`, of which there is one,
// and gives where they end then.
int closeOverRaw(TQABinaryInternals& record, ElementView parent, int stop) {
    const char* const end = parent.end();
    ElementView raw = parent.childWithId(0);
    int to = offsetOf(record, raw.begin());
    record.edits.add(to);
    for (bool more = true; more;) {
        record.changeStamp();
        const char* const from = raw.end();
        // Looked for before anything moves over it, as all moves go down.
        raw = raw.next(end).withId(0, end);
        more = raw && offsetOf(record, raw.begin()) < stop;
        const std::ptrdiff_t size = (more ? raw.begin() : end) - from;
        std::memmove(record.buf + to, from, static_cast<std::size_t>(size));
        to += static_cast<int>(size);
    }
    return to;
}

bool isUsable(const void* data, int length) {
    return length >= 0 && tqa::elementSize(length) < tqa::kMaxCapacity &&
           (length == 0 || data != nullptr);
}

}  // namespace

int TQABinary::insertID(BinaryPath& path, int id, int word, const void* data, int length) {
    if (internals == nullptr || !isUsable(data, length)) return -1;
    const bool isRoot = path.empty();
    if (isRoot ? internals->used != tqa::kMessageHeaderSize
               : !canHoldChildren(tqa::pathEnd(internals, path))) {
        return -1;
    }
    const int size = static_cast<int>(tqa::elementSize(length));
    if (internals->expand(size) == nullptr) return -1;

    int at = tqa::kRootOffset;
    if (!isRoot) {
        makeContainer(*internals, path);
        at = offsetOf(*internals, tqa::pathEnd(internals, path).end());
    }
    moveTail(*internals, at, size);
    const auto fields = static_cast<std::uint32_t>(word);
    tqa::writeElementHeader(internals->buf + at, id, fields, length);
    tqa::writePayload(internals->buf + at, tqa::kindOf(fields), data, length);
    tqa::addToLengths(*internals, path, path.size(), size);
    path.push_back(id, at);
    return 0;
}

// Takes the raw children before the offset `stop`, of `taken` bytes in all, out of the path's last
// element and puts the elements in `expanded` behind all others. False and unchanged when the
// buffer can't grow.
bool TQABinary::replaceRaw(const BinaryPath& path, int stop, int taken,
                           const TQABinaryInternals& expanded) {
    TQABinaryInternals& record = *internals;
    const int delta = expanded.used - taken;
    if (record.expand(delta) == nullptr) return false;
    const ElementView parent = tqa::elementAt(&record, path.back().offset);
    const int end = offsetOf(record, parent.end());
    const int keptEnd = closeOverRaw(record, parent, stop);
    moveTail(record, end, delta);
    std::memcpy(record.buf + keptEnd, expanded.buf, static_cast<std::size_t>(expanded.used));
    tqa::addToLengths(record, path, path.size(), delta);
    return true;
}

int TQABinary::insertValue(BinaryPath& path, int kind, const void* data, int length) {
    if (!isUsable(data, length)) return -1;
    const ElementView element = tqa::pathEnd(internals, path);
    if (!element || element.isContainer()) return -1;
    if (internals->expand(tqa::elementSize(length) - element.size()) == nullptr) return -1;

    resize(*internals, path, tqa::pathEnd(internals, path), length);
    tqa::writeValue(internals->buf + path.back().offset, static_cast<std::uint32_t>(kind), data,
                    length);
    return 0;
}

int TQABinary::deleteID(BinaryPath& path) {
    const ElementView element = tqa::pathEnd(internals, path);
    if (!element) return -1;
    internals->changeStamp();
    const int size = element.size();
    internals->remove(path.back().offset, size);
    path.pop_back();
    tqa::addToLengths(*internals, path, path.size(), -size);
    return 0;
}
