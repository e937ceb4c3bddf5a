#include "tqamsg/binary/binary.h"

#include "tqamsg/binary/binary_iterator.h"
#include "tqamsg/binary/element_at.h"
#include "tqamsg/vocabulary/lookup.h"
#include "tqamsg/vocabulary/word_ids.h"

#include <cstdlib>
#include <memory>
#include <new>

using tqa::ElementView;

namespace {

constexpr int kFirstRoom = 4096;

}  // namespace

TQABinary::TQABinary() : policy(Policy), internals(new (std::nothrow) TQABinaryInternals) {}

TQABinary::~TQABinary() {
    TQABinaryInternals::drop(internals);
    dropAside();
}

TQAMessage* TQABinary::newMessage() {
    return new (std::nothrow) TQABinary;
}

TQAMessageIterator* TQABinary::newIterator() {
    return new (std::nothrow) TQABinaryIterator(this);
}

const char* TQABinary::messageType() {
    return MessageType;
}

// --- the content and who shares it --------------------------------------------------------------

// Lets go of the content for another, which becomes this message's.
void TQABinary::takeContent(TQABinaryInternals* record) {
    TQABinaryInternals::drop(internals);
    internals = record;
}

int TQABinary::assignInternals(TQAMessage* from) {
    auto* other = dynamic_cast<TQABinary*>(from);
    if (other == nullptr) return -1;
    if (other->internals != nullptr) other->internals->hold();
    takeContent(other->internals);
    return 0;
}

int TQABinary::copyInternals() {
    if (internals == nullptr) return -1;
    std::unique_ptr<TQABinaryInternals> own(new (std::nothrow) TQABinaryInternals(*internals));
    if (own == nullptr || own->buf == nullptr) return -1;
    own->replace(*internals);
    takeContent(own.release());
    return 0;
}

int TQABinary::releaseInternals() {
    takeContent(nullptr);
    return 0;
}

// Makes sure of a record, empty or not, that this message may overwrite: messages that share the
// present content keep it. False, and nothing changed, when memory runs out.
bool TQABinary::startOver() {
    if (!ensureCounter()) return false;
    if (internals == nullptr || internals->isShared()) {
        std::unique_ptr<TQABinaryInternals> own(new (std::nothrow) TQABinaryInternals);
        if (own == nullptr || !separateCounter()) return false;
        if (internals != nullptr) own->replace(*internals);
        takeContent(own.release());
    }
    dropAside();
    return true;
}

void TQABinary::setAside(TQABinaryInternals* record) {
    record->next = aside;
    aside = record;
}

void TQABinary::dropAside() {
    while (aside != nullptr) {
        TQABinaryInternals* record = aside;
        aside = record->next;
        TQABinaryInternals::drop(record);
    }
}

// --- create -------------------------------------------------------------------------------------

int TQABinary::create(const char* name) {
    const int id = name == nullptr ? 0 : tqa::tagId(name);
    return id == 0 ? -1 : create(id);
}

int TQABinary::create(int id) {
    if (!startOver()) return -1;
    internals->clear();
    auth.reset();
    if (internals->expand(kFirstRoom) == nullptr) return -1;
    tqa::writeMessageHeader(internals->append(tqa::kMessageHeaderSize));
    tqa::writeEmptyElement(internals->append(tqa::kEmptyElementSize), id,
                           tqa::kindWord(tqa::Kind::Container));
    return 0;
}

// --- framing and loading ------------------------------------------------------------------------

int TQABinary::isComplete(const char* buf, int len) {
    if (buf == nullptr || len < 1) return 0;
    if (tqa::startsWithMagic(buf, len)) return tqa::wholeMessageSize(buf, len);
    const void* zero = std::memchr(buf, 0, static_cast<std::size_t>(len));
    return zero == nullptr ? 0 : static_cast<int>(static_cast<const char*>(zero) - buf) + 1;
}

int TQABinary::isOfTheKind(const char* buf) {
    if (buf == nullptr) return 0;
    // Byte by byte, as nobody said how many there are: a text ends at its zero byte at the latest.
    for (int i = 0; i < 4; ++i) {
        if (static_cast<unsigned char>(buf[i]) != (tqa::kMagic >> (8 * i) & 0xFF)) return 0;
    }
    return 1;
}

int TQABinary::init(char* buf, int len) {
    return encode(buf, len, nullptr);
}

int TQABinary::encode(char* buf, int len, TQAMessageIterator* at) {
    const int size = isComplete(buf, len);
    if (size == 0) return -1;
    if (!tqa::startsWithMagic(buf, len)) return fromText(buf, at);
    if (at == nullptr) {
        if (!startOver()) return -1;
        internals->clear();
        return internals->copy(buf, size) == nullptr ? -1 : 0;
    }
    TQABinaryIterator* parent = iteratorOnThis(at);
    if (parent == nullptr || parent->validateInternals() != 0 || parent->path.empty()) return -1;
    return appendElement(parent->path, ElementView::find(buf + tqa::kRootOffset, buf + size));
}

// Appends an element of another message below the path's last one (with an empty path, as the root
// of a message that has none); the path stays.
int TQABinary::appendElement(BinaryPath& parent, ElementView element) {
    if (!element) return -1;
    const auto word = static_cast<int>(element.word());
    const int status =
        insertID(parent, element.id(), word, element.payload(), element.wholeLength());
    if (status == 0) parent.pop_back();
    return status;
}

TQABinaryIterator* TQABinary::iteratorOnThis(TQAMessageIterator* at) {
    auto* iterator = dynamic_cast<TQABinaryIterator*>(at);
    return iterator != nullptr && iterator->getMessage() == this ? iterator : nullptr;
}

// --- looking ------------------------------------------------------------------------------------

ElementView tqa::elementOf(const TQABinary& message) {
    return rootOf(message.internals);
}

// --- exporting ----------------------------------------------------------------------------------

int TQABinary::decode(char** buf, int* len, TQAMessageIterator* from) {
    ElementView element;
    if (saveAndFind(from, &element) != 0 || !element) return -1;
    const int size = tqa::kRootOffset + element.size();
    *len = size;
    *buf = static_cast<char*>(std::malloc(static_cast<std::size_t>(size)));
    if (*buf == nullptr) return -1;
    tqa::writeMessageHeader(*buf);
    std::memcpy(*buf + tqa::kRootOffset, element.begin(),
                static_cast<std::size_t>(size - tqa::kRootOffset));
    return 0;
}

// Writes the access list back and finds the element that is to be exported: the root, or the one
// on which `from` stands. The list is added to the "auth" element, which moves what follows it;
// the iterator is taken along.
int TQABinary::saveAndFind(TQAMessageIterator* from, ElementView* element) {
    TQABinaryIterator* iterator = iteratorOnThis(from);
    if (from != nullptr && (iterator == nullptr || iterator->path.empty())) return -1;
    if (auth.isChanged() && saveAccessList(iterator) != 0) return -1;
    if (saveChanges() != 0) return -1;
    const int offset = iterator == nullptr ? tqa::kRootOffset : iterator->path.back().offset;
    *element = tqa::elementAt(internals, offset);
    return 0;
}

int TQABinary::saveAccessList(TQABinaryIterator* along) {
    if (internals == nullptr) return -1;
    const ElementView list = tqa::rootOf(internals).childWithId(tqa::Tag_auth);
    const int usedBefore = internals->used;
    const int listEnd = list ? static_cast<int>(list.end() - internals->buf) : usedBefore;
    // Raw children stay: expanding one would move elements in ways that nobody here could follow.
    TQABinaryIterator saving(this);
    saving.policy = 0;
    const int status = auth.save(saving);
    if (along != nullptr) along->follow(listEnd, internals->used - usedBefore);
    return status;
}
