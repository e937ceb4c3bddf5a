#include "tqamsg/msg/authorization.h"

#include "tqamsg/msg/message.h"
#include "tqamsg/msg/message_iterator.h"
#include "tqamsg/msg/ve_list.h"

#include <exception>
#include <memory>

namespace {

constexpr int kOutOfMemory = -2;
constexpr unsigned int kEveryVe = 0;

// Adds ids to a list; false when memory runs out.
template <class Ids>
bool add(IDRangeArray& list, const Ids& ids) {
    try {
        list.insert(ids);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace

TQAAuthorization::TQAAuthorization(TQAMessage* message) : owner(message) {}

TQAAuthorization::~TQAAuthorization() = default;

TQAAuthorization& TQAAuthorization::operator=(TQAAuthorization& other) {
    list = other.list;
    allowAll = other.allowAll;
    extracted = other.extracted;
    changed = other.changed;
    return *this;
}

// --- checks -------------------------------------------------------------------------------------

// Whether the checks may answer: the list has been read, or there is none to read.
bool TQAAuthorization::ready() {
    return extracted || extract() != kOutOfMemory;
}

bool TQAAuthorization::checkAccess(int id) {
    return ready() && (allowAll || list.contain(static_cast<unsigned int>(id)));
}

bool TQAAuthorization::checkAccess(int first, int last) {
    return ready() && allows(first, last);
}

bool TQAAuthorization::checkAccess(const IDRangeArray& ids) {
    return ready() && (allowAll || list.contain(ids));
}

bool TQAAuthorization::checkReadAccess(const IDRangeArray& ids) {
    return ids.contain(kEveryVe) || (ready() && ids.contain(list));
}

const IDRangeArray& TQAAuthorization::getAccessList() {
    ready();
    return list;
}

// --- changes ------------------------------------------------------------------------------------

void TQAAuthorization::addVE(int id) {
    // The right to everything ends first, so that running out of memory grants nothing.
    if (id != 0) allowAll = false;
    changed = true;
    add(list, static_cast<unsigned int>(id));
}

void TQAAuthorization::addVEList(const IDRangeArray& ids) {
    if (!list.contain(kEveryVe) && !ids.contain(kEveryVe)) allowAll = false;
    changed = true;
    add(list, ids);
}

void TQAAuthorization::reset() {
    allowAll = true;
    extracted = false;
    changed = false;
    list.clear();
}

// --- the message's element ----------------------------------------------------------------------

int TQAAuthorization::extract() {
    std::unique_ptr<TQAMessageIterator> it(owner->newIterator());
    if (it == nullptr) return kOutOfMemory;
    if (it->seek("auth") != 0) return -1;
    allowAll = false;
    list.clear();
    const int status = tqa::readVEList(*it, list, false);
    if (status != 0) return status == tqa::kNoMemory ? kOutOfMemory : -1;
    if (list.contain(kEveryVe)) {
        list.clear();
        if (!add(list, kEveryVe)) return kOutOfMemory;
        allowAll = true;
    }
    extracted = true;
    return 0;
}

int TQAAuthorization::save() {
    const std::unique_ptr<TQAMessageIterator> it(owner->newIterator());
    return it == nullptr ? -1 : save(*it);
}

int TQAAuthorization::save(TQAMessageIterator& it) {
    const bool isNew = it.seek("auth") != 0;
    if (isNew && it.newChild("auth", "") != 0) return -1;
    if (it.putVEList(list, true) != 0) {
        // Without a list it would refuse everything.
        if (isNew) it.deleteFromChild();
        return -1;
    }
    changed = false;
    return 0;
}
