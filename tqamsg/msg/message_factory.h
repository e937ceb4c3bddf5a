// The registry of message kinds: makes messages, and recognises received bytes.
//
//     int whole = TQAMessage::isComplete(received, count);      // 0: read on
//     TQAMessage* m = TQAMessage::Factory->newMessage(received, whole);
//
// Each kind registers one factory under its protocol name when the library is loaded; one of them
// is the default. The registry is read-only afterwards, but for setDefaultProtocol().
#pragma once

#include "tqamsg/export.h"
#include "tqamsg/msg/message.h"

#include <map>
#include <new>
#include <string>
#include <typeinfo>

class TQA_API TQAMsgFactory {
  public:
    TQAMsgFactory() = default;
    TQAMsgFactory(const TQAMsgFactory&) = delete;
    TQAMsgFactory& operator=(const TQAMsgFactory&) = delete;

    // Frozen order: called by slot from programs compiled against an earlier release.

    virtual ~TQAMsgFactory();

    // A message loaded from the `len` bytes at `buf`, owned by the caller; null when they hold no
    // whole, readable message.
    virtual TQAMessage* newMessage(char* buf, int len);

    // The length of the whole message (or text with its zero byte) at the start of the `len`
    // bytes at `buf`, or 0 while it is not all there.
    virtual int isMessageComplete(char* buf, int len) = 0;

    // A new, empty message, owned by the caller; null when memory runs out.
    virtual TQAMessage* newMessage() = 0;

    // Whether `buf` starts with an encoded message of this kind. Reads up to the first byte that
    // differs from the kind's mark.
    virtual bool isOfTheKind(char* buf) = 0;

    virtual std::string messageType() = 0;
    virtual const std::type_info& messageTypeid() = 0;

    // A new message of the default kind; null before any kind has registered.
    static TQAMessage* createNew();

    // The name of the first kind, in name order, that accepts `buf`, else "TQAMessage".
    static std::string kindOf(const char* buf);

    // Chooses the default kind by name or by message class; -1 and unchanged when there is none.
    static int setDefaultProtocol(const std::string& name);
    static int setDefaultProtocol(const std::type_info& type);

  protected:
    // Enters this factory under `name` and makes it the default one.
    void registerAs(const std::string& name);
};

// The factory of one message class, which has the members MessageType, isComplete() and
// isOfTheKind(). Constructing it registers the kind.
template <class Message>
class TQAMessageFactory : public TQAMsgFactory {
  public:
    TQAMessageFactory() { registerAs(Message::MessageType); }

    using TQAMsgFactory::newMessage;
    int isMessageComplete(char* buf, int len) override { return Message::isComplete(buf, len); }
    TQAMessage* newMessage() override { return new (std::nothrow) Message; }
    bool isOfTheKind(char* buf) override { return Message::isOfTheKind(buf) != 0; }
    std::string messageType() override { return Message::MessageType; }
    const std::type_info& messageTypeid() override { return typeid(Message); }
};

// Kinds by name; null until the first one registers. The factories are not owned.
extern TQA_API std::map<std::string, TQAMsgFactory*>* MsgVocabulary;

// Gives the message module its load-time initialiser; see tqamsg/startup.cpp.
class TQA_API Stupid {
  public:
    Stupid();
    ~Stupid();
};

// Makes the binary kind the default one; true on success. Runs when the library is loaded.
TQA_API bool initTQAMessage();
