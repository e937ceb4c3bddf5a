// The access list of a message: which virtual environments (VEs) its sender may act on.
//
// The list travels in the message as an "auth" element at the root and is mirrored here. A message
// without "auth" grants everything, and so does a list that contains VE 0.
//
//     if (!message->auth.checkAccess(veid)) return kDenied;
//     message->auth.addVE(101);    // written back by the next decode() or toText()
#pragma once

#include "tqamsg/export.h"
#include "tqamsg/host/id_range_array.h"
#include "tqamsg/msg/fwd.h"

namespace tqa {
class AccessCheck;
}

// Lives inside its message (TQAMessage::auth) and is used by the thread that uses the message.
// The checks read the message's "auth" element when they first need it, and refuse when memory
// runs out while they do.
class TQA_API TQAAuthorization {
  public:
    // `owner` is the message that embeds this object; it is not owned and must outlive it.
    explicit TQAAuthorization(TQAMessage* owner);
    TQAAuthorization(const TQAAuthorization&) = delete;
    ~TQAAuthorization();

    // Copies the list and its state; the owner stays. May throw std::bad_alloc (nothing changed).
    TQAAuthorization& operator=(TQAAuthorization& other);

    // Whether the sender may act on the id, on every id from `first` to `last`, or on all `ids`.
    bool checkAccess(int id);
    bool checkAccess(int first, int last);
    bool checkAccess(const IDRangeArray& ids);

    // Whether every id of the access list is among `ids`, or `ids` contains 0.
    // Kept: the test runs the other way round than checkAccess(), and a message that grants
    // everything gets no special treatment.
    bool checkReadAccess(const IDRangeArray& ids);

    // The list. The first call, like the first check, reads the message's own one if there is one,
    // which then replaces what was added before.
    const IDRangeArray& getAccessList();

    // Adds one VE; any id but 0 ends the "everything is allowed" of a fresh list. The message's
    // own list is not read first. When memory runs out the id is not added.
    void addVE(int id);

    // Adds all `ids`. Kept: unlike in addVE(), a 0 that is already in the list keeps
    // "everything is allowed".
    void addVEList(const IDRangeArray& ids);

    // Back to the fresh state: everything allowed, nothing read, nothing to save.
    void reset();

    // Reads the list from the message's "auth" element. 0 when it was read; -1 when there is no
    // such element (nothing changes: the checks go on answering as before) or it is malformed
    // (the ids before the fault count, nothing else is allowed, and the next check reads again);
    // -2 when memory ran out (the checks then refuse, and the next one reads again).
    int extract();

    // Appends the list to the message's "auth" element, which is created when absent; an earlier
    // list stays in front of it. 0, or -1 when the message could not be changed.
    int save();
    // save() through an iterator on the root, which it moves.
    int save(TQAMessageIterator& it);

    // Whether the list was changed since it was last saved.
    bool isChanged() const { return changed; }

  private:
    friend class tqa::AccessCheck;

    TQA_LOCAL bool ready();
    // What the checks answer once they may.
    TQA_LOCAL bool allows(int first, int last) const {
        return allowAll ||
               list.contain(static_cast<unsigned int>(first), static_cast<unsigned int>(last));
    }

    // Frozen order: programs compiled against an earlier release embed these fields.
    TQAMessage* owner;
    IDRangeArray list;
    bool allowAll = true;
    bool extracted = false;
    bool changed = false;
};
