// The reply to a binary request as a binary message: the request is read in place, and the reply is
// written from its start to its end.

#include "tqamsg/binary/quick_reply.h"

#include "tqamsg/binary/binary.h"
#include "tqamsg/binary/binary_iterator.h"
#include "tqamsg/binary/builder.h"
#include "tqamsg/binary/layout.h"
#include "tqamsg/binary/values.h"
#include "tqamsg/msg/message_factory.h"
#include "tqamsg/util/version_text.h"

#include <string_view>
#include <typeinfo>

namespace tqa {

namespace {

// What a reply takes over: of each name the first child of the request's root.
struct Request {
    explicit Request(ElementView root) {
        const char* const end = root.end();
        for (ElementView child = root.firstChild(); child; child = child.next(end)) {
            ElementView* const place = placeOf(child.id());
            if (place != nullptr && !*place) *place = child;
        }
    }

    ElementView* placeOf(int name) {
        switch (name) {
            case Attr_id:
                return &id;
            case Attr_version:
                return &version;
            case Attr_priority:
                return &priority;
            case Tag_session:
                return &session;
            case Tag_origin:
                return &origin;
            case Tag_src:
                return &source;
            case Tag_cookie:
                return &cookie;
            default:
                return nullptr;
        }
    }

    ElementView id, version, priority, session, origin, source, cookie;
};

// The reply as it grows.
class Reply {
  public:
    TQAMessage* make(const Request& request, const std::string& replier) {
        reply_.open(Tag_packet).put(Tag_origin, replier);
        copyText(request.id, Attr_id);
        if (readText(request.version)) reply_.version(textToVersion(text_));
        int priority = 0;
        if (request.priority && readInt(request.priority, &priority) == 0) {
            reply_.priority(priority);
        }
        copyText(request.session, Tag_session);
        copyText(request.origin, Tag_target);
        copyRoute(request.source);
        copyCookie(request.cookie);
        reply_.open(Tag_data).closeAll();
        return reply_.finish();
    }

  private:
    // Texts are taken where they lie, other values are converted.
    bool readText(ElementView element) {
        if (!element) return false;
        const Kind kind = element.kind();
        if (element.length() != 0 && (kind == Kind::String || kind == Kind::Untyped)) {
            text_ = element.text();
            return true;
        }
        if (convertToString(element, &converted_) != 0) return false;
        text_ = converted_;
        return true;
    }

    bool copyText(ElementView from, int id) {
        const bool done = readText(from);
        if (done) reply_.put(id, text_);
        return done;
    }

    void copyRoute(ElementView source) {
        if (!source) return;
        reply_.open(Tag_dst);
        for (const int id : {Tag_target, Tag_director, Tag_index}) {
            copyText(source.childWithId(id), id);
        }
        reply_.close();
    }

    void copyCookie(ElementView cookie) {
        if (cookie && !copyText(cookie, Tag_cookie)) reply_.put(cookie);
    }

    Builder reply_;
    std::string_view text_;
    std::string converted_;
};

// Whether the long way would do nothing but read the request and write a new binary message.
bool isPlain(TQAMessage& request) {
    return typeid(request) == typeid(TQABinary) && !request.auth.isChanged() &&
           TQABinaryIterator::Policy == 0 && TQAMessage::Factory != nullptr &&
           TQAMessage::Factory->messageTypeid() == typeid(TQABinary);
}

}  // namespace

TQAMessage* replyToBinary(TQAMessage& request, const std::string& replier) {
    if (!isPlain(request)) return nullptr;
    const ElementView root = elementOf(static_cast<TQABinary&>(request));
    return root ? Reply().make(Request(root), replier) : nullptr;
}

}  // namespace tqa
