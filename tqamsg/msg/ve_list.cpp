// VE ids and VE lists in messages.
//
//     <ve_list xmlns:types="...">      namespace "types", on the element itself
//     <veid>5</veid>                   one id
//     <ve_range>                       a range; a missing bound is 1 or 2147483647
//     <start_veid>10</start_veid>
//     <end_veid>20</end_veid>
//     </ve_range>
//     </ve_list>

#include "tqamsg/msg/ve_list.h"

#include "tqamsg/msg/message.h"
#include "tqamsg/msg/message_iterator.h"

#include <exception>
#include <limits>

// The checks while one list is read. Only the first looks for the message's access list: as long as
// the message has none, or a malformed one, each check of its own would look for it again.
class tqa::AccessCheck {
  public:
    // `isWanted`: else everything is allowed.
    AccessCheck(TQAMessageIterator& it, bool isWanted) : it_(it), isWanted_(isWanted) {}

    bool allows(int first, int last) {
        if (!isWanted_) return true;
        TQAAuthorization& auth = it_.getMessage()->auth;
        if (hasLooked_) return auth.allows(first, last);
        hasLooked_ = true;
        return auth.checkAccess(first, last);
    }

  private:
    TQAMessageIterator& it_;
    const bool isWanted_;
    bool hasLooked_ = false;
};

namespace {

using tqa::AccessCheck;

constexpr int kDenied = -2;

// Adds ids to a list; false when memory runs out.
bool add(IDRangeArray& out, int first, int last) {
    try {
        out.insert(static_cast<unsigned int>(first), static_cast<unsigned int>(last));
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

// Reads the "veid" children of the current element. A failure leaves the iterator where it was
// met.
int readIds(TQAMessageIterator& it, IDRangeArray& out, AccessCheck& access) {
    if (it.firstChild("veid") != 0) return -1;
    do {
        int id = 0;
        if (it.getValue(&id, 0) != 0) return -1;
        if (!access.allows(id, id)) return kDenied;
        if (!add(out, id, id)) return tqa::kNoMemory;
    } while (it.nextSibling("veid") == 0);
    it.seekUp();
    return 0;
}

// Reads the "ve_range" on which the iterator stands.
int readRange(TQAMessageIterator& it, IDRangeArray& out, AccessCheck& access) {
    int first = 1;
    int last = std::numeric_limits<int>::max();
    const bool hasFirst = it.getValue(&first, "start_veid") == 0;
    const bool hasLast = it.getValue(&last, "end_veid") == 0;
    if ((!hasFirst && !hasLast) || first > last) return -1;
    if (!access.allows(first, last)) return kDenied;
    return add(out, first, last) ? 0 : tqa::kNoMemory;
}

// Reads the ranges of the "ve_list" on which the iterator stands and leaves it; `result` is what
// the reading of its ids gave.
int readRanges(TQAMessageIterator& it, IDRangeArray& out, AccessCheck& access, int result) {
    if (result != kDenied && result != tqa::kNoMemory && it.firstChild("ve_range") == 0) {
        do result = readRange(it, out, access);
        while (result == 0 && it.nextSibling("ve_range") == 0);
        it.seekUp();
    }
    it.seekUp();
    return result;
}

// Takes back an element that could not be filled: half a list would be read as a list.
int undo(TQAMessageIterator& it) {
    it.deleteFromChild();
    return -1;
}

int writeRange(TQAMessageIterator& it, int first, int last) {
    if (it.newChild("ve_range", "") != 0) return -1;
    if (it.putValue(first, "start_veid") != 0 || it.putValue(last, "end_veid") != 0)
        return undo(it);
    return it.seekUp();
}

int writeId(TQAMessageIterator& it, int id) {
    if (it.newChild("veid", "") != 0) return -1;
    return it.putValue(id, 0) == 0 ? it.seekUp() : undo(it);
}

}  // namespace

int TQAMessageIterator::getVE(int* veid, const char* name) {
    if (getValue(veid, name) != 0) return -1;
    return message->auth.checkAccess(*veid) ? 0 : kDenied;
}

int TQAMessageIterator::putVE(int veid, const char*, bool addToAccessList) {
    if (addToAccessList) message->auth.addVE(veid);
    return writeId(*this, veid);
}

int tqa::readVEList(TQAMessageIterator& it, IDRangeArray& out, bool checkAccess) {
    AccessCheck access(it, checkAccess);
    // A list directly in a list holds the ids of the outer one, to any depth.
    int depth = 0;
    while (it.seek("ve_list") == 0) ++depth;
    int result = readIds(it, out, access);
    for (; depth > 0; --depth) result = readRanges(it, out, access, result);
    return result;
}

int TQAMessageIterator::getVEList(IDRangeArray& out, bool checkAccess) {
    const int result = tqa::readVEList(*this, out, checkAccess);
    return result == tqa::kNoMemory ? -1 : result;
}

int TQAMessageIterator::putVEList(const IDRangeArray& list, bool addToAccessList) {
    if (newChild("ve_list", "types") != 0) return -1;
    for (auto range = list.begin_range(); range != list.end(); ++range) {
        const auto first = static_cast<int>((*range).first);
        const auto last = static_cast<int>((*range).second);
        if ((first == last ? writeId(*this, first) : writeRange(*this, first, last)) != 0)
            return undo(*this);
    }
    if (addToAccessList) message->auth.addVEList(list);
    return seekUp();
}
