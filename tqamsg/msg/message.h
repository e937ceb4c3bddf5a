// The abstract message: a tree of named elements, the agent's "packet".
//
// Callers never name a concrete class. They get messages from the registry
// (tqamsg/msg/message_factory.h), walk and edit them with iterators and end them with destroy():
//
//     TQAMessage* request = TQAMsgFactory::createNew();
//     if (request->create("packet") == 0 && request->setTarget("vem") == 0) { ... }
//     request->destroy();
//
// Unless stated otherwise an operation returns 0 on success and -1 on failure, memory exhaustion
// included; none throws. A message, its copies and their iterators are used by one thread at a
// time.
//
// Messages made by copy() share one content; the first write through any of them gives the writer
// a content of its own.
#pragma once

#include "tqamsg/export.h"
#include "tqamsg/msg/authorization.h"
#include "tqamsg/msg/fwd.h"

#include <string>

class TQA_API TQAMessage {
  public:
    TQAMessage();
    TQAMessage(const TQAMessage&) = delete;
    TQAMessage& operator=(const TQAMessage&) = delete;

    // Frozen order: the virtual operations are called by slot from programs that were compiled
    // against an earlier release. Add new ones at the end.

    virtual ~TQAMessage();

    // Loads a message from the `len` bytes at `buf`: an encoded message or zero-terminated text.
    // The bytes are copied and stay the caller's.
    virtual int init(char* buf, int len) = 0;

    // Makes this an empty message whose root element is `name`; -1 for a word that the vocabulary
    // does not know.
    virtual int create(const char* name) = 0;

    // Ends the message; the only way to end one that came from a factory or from copy(). Content
    // shared with other messages stays with them. Always 0.
    virtual int destroy();

    // Exports the whole message, or with `from` the element on which that iterator stands as a
    // message of its own. *buf is a malloc'ed block of *len bytes that the caller frees. 0, or -1
    // for a message without content, an iterator on nothing, and without memory, when *buf is null.
    virtual int decode(char** buf, int* len, TQAMessageIterator* from) = 0;

    // Loads a message as init() does, or with `at` adds it below the element on which that
    // iterator stands.
    virtual int encode(char* buf, int len, TQAMessageIterator* at) = 0;

    // The message, or with `from` the element on which that iterator stands, as zero-terminated
    // text that the caller frees; null on failure. What `namespaces` and `base` do is up to the
    // kind (TQABinary prints namespace declarations); here they are ignored.
    virtual char* toText(TQAMessageIterator* from, bool namespaces, const std::string& base);

    // Writes the text to a file, which is created or truncated.
    virtual int toTextFile(const std::string& path);

    // Loads zero-terminated text, or with `at` adds it below the element on which that iterator
    // stands. The text is not changed.
    virtual int fromText(char* text, TQAMessageIterator* at);

    // Loads the text in a file; -2 when memory runs out while reading it.
    virtual int fromTextFile(const std::string& path);

    // A new, empty message of the same kind, owned by the caller; null when memory runs out.
    virtual TQAMessage* newMessage() = 0;

    // A new iterator that stands on the root. The caller deletes it, before the message ends;
    // null when memory runs out.
    virtual TQAMessageIterator* newIterator() = 0;

    // A second message with the same content and access list, shared until one of them is
    // written. The caller ends it with destroy(). Null when memory runs out.
    // Kept: the argument is accepted and ignored.
    virtual TQAMessage* copy(bool deep);

    // Header fields. A getter gives -1 and leaves the output alone when the field is missing or
    // unreadable. Versions are major * 10000 + minor * 100 + patch, times are seconds since the
    // epoch, progress and log are 0 or 1.
    virtual int getVersion(int* version) = 0;
    virtual int setVersion(int version) = 0;
    virtual int getTime(long* time) = 0;
    virtual int setTime(long time) = 0;
    virtual int getProgress(int* on) = 0;
    virtual int setProgress(int on) = 0;
    virtual int getLog(int* on) = 0;
    virtual int setLog(int on) = 0;
    virtual int getType(int* type) = 0;
    virtual int setType(int type) = 0;
    virtual int getID(std::string* id) = 0;
    virtual int setID(const std::string& id) = 0;
    virtual int getPriority(int* priority) = 0;
    virtual int setPriority(int priority) = 0;
    virtual int getUid(int* uid) = 0;
    virtual int setUid(int uid) = 0;
    virtual int getTimeout(int* seconds) = 0;
    virtual int setTimeout(int seconds) = 0;
    virtual int getTimeoutLimit(int* seconds) = 0;
    virtual int setTimeoutLimit(int seconds) = 0;

    // The routing elements of the root. getOrigin() and getTarget() give the empty string for an
    // element that is missing or unreadable, getSession() gives -1.
    virtual std::string getOrigin();
    virtual int setOrigin(const std::string& origin);
    virtual std::string getTarget();
    virtual int setTarget(const std::string& target);
    virtual int getSession(std::string* session);
    virtual int setSession(const std::string& session);

    // The name under which the message's kind is registered.
    virtual const char* messageType() = 0;

    // Writes a changed access list back into the message. Called before bytes or text are made.
    virtual int saveChanges();

    // Whether the content is shared with other messages.
    virtual bool multiReference();

    // For hardcopy() and copy(): share the content of `from`; replace the shared content by a
    // private copy; let go of the content without ending it for the others.
    virtual int assignInternals(TQAMessage* from) = 0;
    virtual int copyInternals() = 0;
    virtual int releaseInternals() = 0;

    // Gives this message a content of its own. Kept: the shared counter falls by one before the
    // copy is tried and stays so when the copy fails (-1); the content is then still shared.
    virtual int hardcopy();

    // A reply to this request, in the name of `replier`: origin and target exchanged; id,
    // version, priority, session, source routing and cookie carried over; an empty "data" last.
    // The caller ends it with destroy(). Null when memory runs out.
    TQAMessage* genReply(std::string replier);

    // Makes the binary kind the default one; true on success. Runs when the library is loaded.
    static bool initialize();

    // The length of the whole message at the start of the `len` bytes at `buf` by the default
    // kind's framing, or 0 while it is not all there.
    static int isComplete(const char* buf, int len);

    // The factory that createNew() uses; null until the library's initialisation has run.
    static TQAMsgFactory* Factory;

    TQAAuthorization auth;

  protected:
    // How many messages share the content, shared by all of them; null when memory ran out as
    // the message was made.
    int* refcount;

    // Makes the counter that could not be had at construction; false while it still can't.
    bool ensureCounter();

    // Gives this message a counter of its own, as it has, or is about to get, a content of its
    // own; false and unchanged when memory runs out.
    bool separateCounter();

    // hardcopy() without the fall of the shared counter, for a message that has had it already.
    int makePrivate();

  private:
    TQA_LOCAL void shareCounter(const TQAMessage& other);
    TQA_LOCAL void leaveCounter();
};
