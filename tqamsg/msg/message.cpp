#include "tqamsg/msg/message.h"

#include "tqamsg/msg/auto_destroy.h"
#include "tqamsg/msg/message_factory.h"
#include "tqamsg/msg/message_iterator.h"

#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>

namespace {

// What refcount points at: the counter that the sharing rules speak of, and the true number of
// messages that point here. They differ only after a failed hardcopy(), which lowers the counter
// although nobody left; the true number decides when the memory is freed.
struct Counter {
    int value = 1;
    int holders = 1;
};

Counter& counterAt(int* refcount) {
    return *reinterpret_cast<Counter*>(refcount);
}

int* newCounter() {
    auto* counter = new (std::nothrow) Counter;
    return counter == nullptr ? nullptr : &counter->value;
}

}  // namespace

TQAMessage::TQAMessage() : auth(this), refcount(newCounter()) {}

TQAMessage::~TQAMessage() {
    leaveCounter();
}

bool TQAMessage::ensureCounter() {
    if (refcount == nullptr) refcount = newCounter();
    return refcount != nullptr;
}

void TQAMessage::shareCounter(const TQAMessage& other) {
    leaveCounter();
    refcount = other.refcount;
    Counter& counter = counterAt(refcount);
    counter.value = ++counter.holders;
}

void TQAMessage::leaveCounter() {
    if (refcount == nullptr) return;
    Counter& counter = counterAt(refcount);
    refcount = nullptr;
    counter.value = --counter.holders;
    if (counter.holders == 0) delete &counter;
}

bool TQAMessage::separateCounter() {
    int* own = newCounter();
    if (own == nullptr) return false;
    leaveCounter();
    refcount = own;
    return true;
}

int TQAMessage::destroy() {
    if (refcount != nullptr && counterAt(refcount).holders > 1) releaseInternals();
    delete this;
    return 0;
}

TQAMessage* TQAMessage::copy(bool) {
    if (refcount == nullptr) return nullptr;
    auto_destroy<TQAMessage> other(newMessage());
    if (*other == nullptr) return nullptr;
    try {
        other->auth = auth;
    } catch (const std::exception&) {
        return nullptr;
    }
    other->shareCounter(*this);
    if (other->assignInternals(this) != 0) return nullptr;
    return other.release();
}

int TQAMessage::hardcopy() {
    // Kept: the counter falls first and stays lower when the copy fails.
    if (refcount != nullptr) --counterAt(refcount).value;
    return makePrivate();
}

int TQAMessage::makePrivate() {
    return copyInternals() == 0 && separateCounter() ? 0 : -1;
}

bool TQAMessage::multiReference() {
    return refcount != nullptr && *refcount > 1;
}

int TQAMessage::saveChanges() {
    return auth.isChanged() && auth.save() != 0 ? -1 : 0;
}

char* TQAMessage::toText(TQAMessageIterator* from, bool, const std::string&) {
    char* text = nullptr;
    int length = 0;
    return decode(&text, &length, from) == 0 ? text : nullptr;
}

int TQAMessage::fromText(char* text, TQAMessageIterator* at) {
    if (text == nullptr) return -1;
    return encode(text, static_cast<int>(std::strlen(text)), at);
}

int TQAMessage::isComplete(const char* buf, int len) {
    // The virtual test keeps its signature; it only reads.
    return Factory == nullptr ? 0 : Factory->isMessageComplete(const_cast<char*>(buf), len);
}
