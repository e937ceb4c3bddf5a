// A host process that brings its own IDRangeArray, TQALock and log directory to a library built
// without them. Only what the headers of tqamsg/host/ leave open is defined here.
#include <cstdio>
#include <tqamsg/tqamsg.h>
#include <tqamsg/util/log.h>

namespace {
int locked = 0;
}

TQALock::TQALock() = default;
TQALock::~TQALock() = default;
void TQALock::lock() {
    ++locked;
}
void TQALock::unlock() {}

const char* getAgentLogPath(const char*) {
    return "/nowhere/";
}

// The set of this host holds single ids: each is a boundary of its own.
IDRangeArray::IDRangeArray() = default;
IDRangeArray::~IDRangeArray() = default;
void IDRangeArray::clear() {
    boundaries.clear();
}
void IDRangeArray::insert(unsigned int id) {
    boundaries.insert({id, 0});
}
void IDRangeArray::insert(unsigned int first, unsigned int last) {
    for (; first <= last; ++first) insert(first);
}
void IDRangeArray::insert(const IDRangeArray& other) {
    for (auto range = other.begin_range(); range != other.end(); ++range) insert((*range).first);
}
bool IDRangeArray::contain(unsigned int id) const {
    return boundaries.count(id) != 0;
}
bool IDRangeArray::contain(unsigned int first, unsigned int last) const {
    while (first <= last && contain(first)) ++first;
    return first > last;
}
bool IDRangeArray::contain(const IDRangeArray& other) const {
    for (auto range = other.begin_range(); range != other.end(); ++range)
        if (!contain((*range).first)) return false;
    return true;
}
IDRangeArrayRangeIterator IDRangeArray::begin_range() const {
    return IDRangeArrayRangeIterator(boundaries.begin());
}
IDRangeArrayBaseIterator::Position IDRangeArray::end() const {
    return boundaries.end();
}

std::pair<unsigned int, unsigned int> IDRangeArrayRangeIterator::operator*() const {
    return {position->first, position->first};
}
IDRangeArrayRangeIterator& IDRangeArrayRangeIterator::operator++() {
    ++position;
    return *this;
}

int main() {
    const auto_destroy<TQAMessage> message(TQAMsgFactory::createNew());
    if (message->create("packet") != 0) return 1;
    message->auth.addVE(5);
    const bool granted = message->auth.checkAccess(5) && !message->auth.checkAccess(6);

    debug_level = 1;
    debug(1, "a line through the host's lock");
    std::printf("access list %s, lock %s\n", granted ? "works" : "fails",
                locked > 0 ? "taken" : "unused");
    return granted && locked > 0 ? 0 : 1;
}
