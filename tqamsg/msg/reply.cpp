// The reply to a request. It works through the abstract interface and so serves every kind.

#include "tqamsg/msg/auto_destroy.h"
#include "tqamsg/msg/message.h"
#include "tqamsg/msg/message_factory.h"
#include "tqamsg/msg/message_iterator.h"
#include "tqamsg/msg/quick_reply.h"
#include "tqamsg/util/c_text.h"

#include <exception>
#include <memory>

namespace {

void copyHeader(TQAMessage& request, TQAMessage& reply) {
    std::string text;
    int number = 0;
    if (request.getID(&text) == 0) reply.setID(text);
    if (request.getVersion(&number) == 0) reply.setVersion(number);
    if (request.getPriority(&number) == 0) reply.setPriority(number);
    if (request.getSession(&text) == 0) reply.setSession(text);
}

void copyText(TQAMessageIterator& from, const char* name, TQAMessageIterator& to,
              const char* newName) {
    std::string text;
    if (from.getValue(&text, name) == 0) to.putValue(text, newName);
}

// Where the request came from is where the reply goes.
void copyRoute(TQAMessageIterator& request, TQAMessageIterator& reply) {
    if (request.seek("src") != 0) return;
    if (reply.newChild("dst", "") == 0) {
        for (const char* name : {"target", "director", "index"}) {
            copyText(request, name, reply, name);
        }
        reply.seekUp();
    }
    request.seekUp();
}

// A textual cookie goes back as text, any other as the subtree that it is.
void copyCookie(TQAMessageIterator& request, TQAMessageIterator& reply) {
    std::string text;
    if (request.getValue(&text, "cookie") == 0) {
        reply.putValue(text, "cookie");
        return;
    }
    if (request.seek("cookie") != 0) return;
    char* bytes = nullptr;
    int length = 0;
    if (request.decodeFromChild(&bytes, &length) == 0) {
        const tqa::CText owned(bytes);
        reply.encodeToChild(bytes, length);
    }
    request.seekUp();
}

// The statuses of the single writes are not looked at: a reply that lacks one element is better
// than none.
TQAMessage* makeReply(TQAMessage& request, const std::string& replier) {
    auto_destroy<TQAMessage> reply(TQAMsgFactory::createNew());
    if (*reply == nullptr || reply->create("packet") != 0) return nullptr;
    const std::unique_ptr<TQAMessageIterator> out(reply->newIterator());
    const std::unique_ptr<TQAMessageIterator> in(request.newIterator());
    if (out == nullptr || in == nullptr) return nullptr;

    out->putValue(replier, "origin");
    copyHeader(request, **reply);
    copyText(*in, "origin", *out, "target");
    copyRoute(*in, *out);
    copyCookie(*in, *out);
    out->newChild("data", "");
    return reply.release();
}

}  // namespace

TQAMessage* TQAMessage::genReply(std::string replier) {
    try {
        if (TQAMessage* reply = tqa::quickReply(*this, replier)) return reply;
        return makeReply(*this, replier);
    } catch (const std::exception&) {
        return nullptr;
    }
}

TQAMessage* TQAMessageIterator::genReply(std::string replier) {
    return getMessage()->genReply(std::move(replier));
}
