// The abstract cursor on one element of a message.
//
//     std::unique_ptr<TQAMessageIterator> it(message->newIterator());   // stands on the root
//     int veid;
//     if (it->seek("data/vem/ve_config") == 0 && it->getValue(&veid, "veid") == 0) { ... }
//
// An iterator is deleted by whoever made it, never owns its message and must not outlive it.
// Unless stated otherwise an operation returns 0 on success and -1 on failure and leaves the
// position alone when it fails.
//
// Elements are named by word or by vocabulary id. The name "" and the id 0 mean the element on
// which the iterator stands. Id operations fail (-1) for kinds without vocabulary ids.
#pragma once

#include "tqamsg/export.h"
#include "tqamsg/msg/fwd.h"

#include <string>

class TQA_API TQAMessageIterator {
  public:
    explicit TQAMessageIterator(TQAMessage* walked) : message(walked) {}
    TQAMessageIterator(const TQAMessageIterator&) = delete;
    TQAMessageIterator& operator=(const TQAMessageIterator&) = delete;

    // Frozen order: the virtual operations are called by slot from programs that were compiled
    // against an earlier release. Add new ones at the end.

    virtual ~TQAMessageIterator();

    virtual TQAMessage* getMessage();

    // A second iterator at the same position, deleted by the caller; null when memory runs out.
    virtual TQAMessageIterator* newIterator() = 0;

    // Moves. seek() follows a slash-separated path of words, from the root when it starts with a
    // slash; newChild() appends a child and moves into it; `ns` is a namespace word, "" for none.
    virtual int seekRoot();
    virtual int seekUp() = 0;
    virtual int seek(const std::string& path) = 0;
    virtual int newChild(const std::string& name, const std::string& ns) = 0;
    virtual int firstChild(const std::string& name) = 0;
    virtual int nextSibling() = 0;
    virtual int nextSibling(const std::string& name) = 0;
    // The current element's name, "" when it has none.
    virtual std::string curName() = 0;
    virtual int firstChild() = 0;

    // The current subtree as a message or text of its own (malloc'ed, freed by the caller), a
    // message or text added below the current element, and its deletion, after which the
    // iterator stands on the parent.
    virtual int decodeFromChild(char** buf, int* len) = 0;
    virtual int encodeToChild(char* buf, int len) = 0;
    virtual char* toTextFromChild() = 0;
    virtual int fromTextToChild(char* text) = 0;
    virtual int deleteFromChild() = 0;

    // Kept: these two export the whole message, wherever the iterator stands.
    virtual char* toText();
    virtual int decode(char** buf, int* len);

    // Typed reads of the child `name` ("" for the current element). The output is written on
    // success only. A text is false when it is "0", "" or "false"; every other text is true.
    virtual int getValueBase64(std::string* value, const std::string& name) = 0;
    virtual int getValue(std::string* value, const std::string& name) = 0;
    virtual int getValue(int* value, const std::string& name) = 0;
    virtual int getValue(bool* value, const std::string& name);
    virtual int getValueLongLong(long long* value, const std::string& name) = 0;
    virtual int getValueDouble(double* value, const std::string& name) = 0;
    virtual int getValueTime(long* value, const std::string& name) = 0;

    // Typed writes of the child `name`, which is appended when missing.
    virtual int putValueBase64(const std::string& value, const std::string& name) = 0;
    virtual int putValue(const std::string& value, const std::string& name) = 0;
    virtual int putValueLongLong(long long value, const std::string& name) = 0;
    virtual int putValueDouble(double value, const std::string& name) = 0;
    virtual int putValue(int value, const std::string& name) = 0;
    virtual int putValueTime(long value, const std::string& name) = 0;

    // The same by vocabulary id.
    virtual int seek(int id);
    virtual int newChild(int id, int ns);
    virtual int firstChild(int id);
    virtual int nextSibling(int id);

    // Whether a child is there (0) or not (-1); the position does not change.
    virtual int seekPresence(int id);
    virtual int seekPresence(const std::string& name);
    // Makes sure that a child is there; the position does not change.
    virtual int putChild(int id, int ns);
    virtual int putChild(const std::string& name, const std::string& ns);

    // `data` holds `len` bytes and one more, a zero byte for texts, which is stored too.
    virtual int putValueBase64(const char* data, int len, int id);
    virtual int putValue(const char* data, int len, int id);

    virtual int getValueBase64(std::string* value, int id);
    virtual int getValue(std::string* value, int id);
    virtual int getValue(int* value, int id);
    virtual int getValue(bool* value, int id);
    virtual int getValueLongLong(long long* value, int id);
    virtual int getValueDouble(double* value, int id);
    virtual int getValueTime(long* value, int id);

    virtual int putValueBase64(const std::string& value, int id);
    virtual int putValue(const std::string& value, int id);
    virtual int putValueLongLong(long long value, int id);
    virtual int putValueDouble(double value, int id);
    virtual int putValue(int value, int id);
    virtual int putValueTime(long value, int id);

    // Drops cached positions after the message's content was replaced. Always 0.
    virtual int invalidate() = 0;

    // Gives the message a content of its own if it shares one; every change starts with this.
    int validateInternals();

    TQAMessage* genReply(std::string replier);
    // The sender's name, from any position.
    int getOrigin(std::string* origin);

    // VE ids and lists: 0, -1 for missing or malformed data or a failed write, -2 when the
    // message's access list does not allow an id. After a failed read the iterator may stand inside
    // the element where it failed; ids read before stay in `out`, which is never cleared. A failed
    // write takes back the elements that it made.
    //
    // getVE() stores the id even when it answers -2.
    int getVE(int* veid, const char* name);
    // Kept: the element is always named "veid", whatever `name` says.
    int putVE(int veid, const char* name, bool addToAccessList);
    // Reads a "ve_list" below the current element, or its "veid" children when there is none.
    int getVEList(IDRangeArray& out, bool checkAccess);
    int putVEList(const IDRangeArray& list, bool addToAccessList);

  protected:
    // The message that is walked; not owned.
    TQAMessage* message;
};
