#include "tests/linear/operations.h"

#include "tqamsg/binary/verify.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "tests/linear/inputs.h"

#include <stdexcept>
#include <utility>

namespace linear {

namespace {

using tqa::Message;
using Iterator = std::unique_ptr<TQABinaryIterator>;

// A message, an iterator on its root, and what is made of them.
struct State {
    Message message;
    Iterator it;
    std::string text;
    std::size_t n = 0;
    Message made;
    tqa::CText printed;
    tqa::Bytes bytes;
    std::vector<Iterator> iterators;
    IDRangeArray ids;
    TQASoapConverter converter;
    std::unique_ptr<TQASoapEnvelope> envelope;
};
using Shared = std::shared_ptr<State>;

Shared stateOf(Message message, std::size_t n) {
    if (!message) throw std::runtime_error("the input is not a message");
    auto state = std::make_shared<State>();
    state->it = iteratorOn(message);
    state->message = std::move(message);
    state->n = n;
    return state;
}

Shared packetState(std::string_view shape, std::size_t n) {
    return stateOf(packet(shape, n), n);
}

Shared textState(std::string text) {
    auto state = std::make_shared<State>();
    state->text = std::move(text);
    return state;
}

// --- text ---------------------------------------------------------------------------------------

Work parse(std::string_view shape, std::size_t n) {
    const Shared s = textState(packetText(shape, n));
    return [s] { return static_cast<bool>(s->made = Message::parse(s->text)); };
}

Work print(std::string_view shape, std::size_t n) {
    const Shared s = packetState(shape, n);
    return [s] { return static_cast<bool>(s->printed = s->message.text()); };
}

Work printNamespaces(std::string_view shape, std::size_t n) {
    const Shared s = stateOf(packetWithNamespaces(shape, n), n);
    return [s] {
        s->printed.reset(s->message->toText(nullptr, true, "urn:"));
        return static_cast<bool>(s->printed);
    };
}

// --- bytes --------------------------------------------------------------------------------------

Work load(std::string_view shape, std::size_t n) {
    const Shared s = packetState(shape, n);
    s->bytes = s->message.bytes();
    return [s] { return static_cast<bool>(s->made = Message::load(s->bytes.view())); };
}

Work exportBytes(std::string_view shape, std::size_t n) {
    const Shared s = packetState(shape, n);
    return [s] { return static_cast<bool>(s->bytes = s->message.bytes()); };
}

Work check(std::string_view shape, std::size_t n) {
    const Shared s = packetState(shape, n);
    s->bytes = s->message.bytes();
    return [s] {
        return tqa::verify(s->bytes.data(), static_cast<int>(s->bytes.size()), nullptr) == 0;
    };
}

// --- navigation ---------------------------------------------------------------------------------

bool readAll(TQABinaryIterator& it) {
    std::string value;
    int depth = 0;
    for (;;) {
        it.getValue(&value, 0);
        if (it.firstChild() == 0) {
            ++depth;
            continue;
        }
        while (it.nextSibling() != 0) {
            if (depth-- == 0) return true;
            it.seekUp();
        }
    }
}

Work walk(std::string_view shape, std::size_t n) {
    const Shared s = packetState(shape, n);
    return [s] { return readAll(*s->it); };
}

// To the farthest child by its name, which none before it has; by a path of words to the depth.
Work seek(std::string_view shape, std::size_t n) {
    const Shared s = packetState(shape, n);
    s->it->seek(kPlace);
    s->it->putValue("last", "description");
    s->it->seekRoot();
    s->text = shape == "depth" ? repeated("data/", n) + "data" : "data/description";
    return [s] { return s->it->seek(s->text) == 0 && s->it->seek("/veid") == 0; };
}

// An iterator far inside looks where it stands after another one has changed the message.
Work recheck(std::string_view shape, std::size_t n) {
    const Shared s = packetState(shape, n);
    seekFarthest(*s->it);
    const Iterator other = iteratorOn(s->message);
    other->seek(tqa::Tag_veid);
    other->deleteFromChild();
    s->it->invalidate();
    return [s] { return s->it->validateStamp() == 0; };
}

// --- changes ------------------------------------------------------------------------------------

Work append(std::string_view shape, std::size_t n) {
    const Shared s = stateOf(Message::create(), n);
    s->bytes = packet(shape, n).bytes();
    return [s] {
        return s->it->encodeToChild(s->bytes.data(), static_cast<int>(s->bytes.size())) == 0;
    };
}

Work appendText(std::string_view shape, std::size_t n) {
    const Shared s = stateOf(Message::create(), n);
    s->text = packetText(shape, n);
    return [s] { return s->it->fromTextToChild(s->text.data()) == 0; };
}

// One by one: below the root, or each below the one before.
Work appendChildren(std::string_view shape, std::size_t n) {
    const Shared s = stateOf(Message::create(), n);
    const bool isDeep = shape == "depth";
    return [s, isDeep] {
        for (std::size_t i = 0; i < s->n; ++i) {
            if (s->it->newChild(tqa::Tag_veid, 0) != 0) return false;
            if (isDeep) continue;
            if (s->it->putValue(5, 0) != 0) return false;
            s->it->seekUp();
        }
        return true;
    };
}

// New children beside many whose ids were chosen to collide: they are multiples of the number of
// buckets that a standard set takes for 21,000 to 42,000 of them.
Work put(std::string_view, std::size_t n) {
    tqa::Builder builder;
    builder.open("packet");
    for (unsigned i = 1; i <= n; ++i) builder.open(static_cast<int>(i * 42043)).close();
    const Shared s = stateOf(Message(builder.close()), n);
    return [s] {
        return s->it->putValue("x", tqa::Tag_origin) == 0 &&
               s->it->putValue("x", tqa::Tag_target) == 0;
    };
}

Work remove(std::string_view shape, std::size_t n) {
    const Shared s = packetState(shape, n);
    s->it->seek(kPlace);
    return [s] { return s->it->deleteFromChild() == 0; };
}

// All children of one element, one by one; in the middle there is as much before and behind them.
Work removeForward(std::string_view shape, std::size_t n) {
    const bool isMiddle = shape == "middle";
    const Shared s = isMiddle ? stateOf(packetWithMiddle(n), n) : packetState(shape, n);
    s->it->seek(kPlace);
    return [s] {
        std::size_t count = 0;
        while (s->it->firstChild() == 0 && s->it->deleteFromChild() == 0) ++count;
        return count == s->n;
    };
}

Work removeBackward(std::string_view shape, std::size_t n) {
    const Shared s = packetState(shape, n);
    s->it->seek(kPlace);
    s->it->firstChild();
    do s->iterators.push_back(std::make_unique<TQABinaryIterator>(s->it.get()));
    while (s->it->nextSibling() == 0);
    return [s] {
        for (auto at = s->iterators.rbegin(); at != s->iterators.rend(); ++at) {
            if ((*at)->deleteFromChild() != 0) return false;
        }
        return true;
    };
}

Work expand(std::string_view shape, std::size_t n) {
    const Shared s = stateOf(rawPacket(shape, n), n);
    s->it->seek(kPlace);
    return [s] { return s->it->parseUnknown() == 0 && s->it->seek(0) == 0; };
}

// A walk that expands what it meets: n elements with a raw child each.
Work expandEach(std::string_view, std::size_t n) {
    const Shared s = stateOf(packetWithRawPairs(n), n);
    return [s] {
        std::size_t count = 0;
        for (int status = s->it->firstChild(); status == 0; status = s->it->nextSibling()) {
            if (s->it->parseUnknown() == 0) ++count;
        }
        return count == s->n;
    };
}

// --- VE lists -----------------------------------------------------------------------------------

// Single ids, or ranges of two, in an order far from that of their numbers.
IDRangeArray idsOf(std::string_view shape, std::size_t n) {
    IDRangeArray ids;
    const unsigned length = shape == "ranges" ? 1 : 0;
    for (std::size_t i = 0; i < n; ++i) {
        const auto id = 4 * static_cast<unsigned>(i * 7919 % n);
        ids.insert(id, id + length);
    }
    return ids;
}

// Without a list: the ids stand below the root, in an order far from that of their numbers.
Message messageWithIds(std::string_view shape, std::size_t n) {
    tqa::Builder builder;
    if (shape == "depth") {
        for (std::size_t i = 0; i < n; ++i) builder.open("ve_list");
        return Message(builder.put("veid", 5).closeAll());
    }
    if (shape == "without-list") {
        builder.open("packet");
        for (std::size_t i = 0; i < n; ++i)
            builder.put("veid", static_cast<int>(2 * (i * 7919 % n)));
        return Message(builder.close());
    }
    Message made = Message::create();
    iteratorOn(made)->putVEList(idsOf(shape, n), false);
    return made;
}

Work readList(std::string_view shape, std::size_t n) {
    const Shared s = stateOf(messageWithIds(shape, n), n);
    return [s] { return s->it->getVEList(s->ids, true) == 0; };
}

Work writeList(std::string_view shape, std::size_t n) {
    const Shared s = stateOf(Message::create(), n);
    s->ids = idsOf(shape, n);
    return [s] { return s->it->putVEList(s->ids, true) == 0; };
}

// --- the rest -----------------------------------------------------------------------------------

Work reply(std::string_view shape, std::size_t n) {
    const Shared s =
        stateOf(Message::parse("<packet><cookie>" + content(shape, n) + "</cookie></packet>"), n);
    return [s] { return static_cast<bool>(s->made = s->message.reply("vem")); };
}

Work encodeBase64(std::string_view, std::size_t n) {
    const Shared s = textState(std::string(n, 'x'));
    return [s] { return !(s->text = Base64::encode(s->text)).empty(); };
}

Work decodeBase64(std::string_view shape, std::size_t n) {
    const Shared s =
        textState(shape == "lines" ? repeated("QUJD\r\n", n) : Base64::encode(std::string(n, 'x')));
    return [s] {
        std::string bytes;
        return Base64::decode(s->text, &bytes) == 0 && !(s->text = std::move(bytes)).empty();
    };
}

Work takeRequest(std::string_view shape, std::size_t n) {
    const Shared s = textState(soapRequest(shape, n));
    s->made = Message(TQAMsgFactory::createNew());
    return [s] { return s->converter.soapToTqamsg(s->text.c_str(), *s->made) == 0; };
}

Work answerRequest(std::string_view shape, std::size_t n) {
    const Shared s = stateOf(soapReply(shape, n), n);
    return [s] {
        TQASoapEnvelope* out = nullptr;
        const int status = s->converter.tqamsgToSoap(*s->message, static_cast<SoapVersion>(1), out);
        s->envelope.reset(out);
        if (status == 0) s->printed.reset(out->toText());
        return static_cast<bool>(s->printed);
    };
}

}  // namespace

const std::vector<Operation>& operations() {
    const std::vector<std::string_view> texts = {"width",        "depth", "length",   "attributes",
                                                 "declarations", "raw",   "raw-depth"};
    const std::vector<std::string_view> trees = {"width", "depth", "length", "attributes", "raw"};
    const std::vector<std::string_view> lists = {"ids", "ranges"};
    static const std::vector<Operation> all = {
        {"parse", texts, parse},
        {"print", {"width", "depth", "length", "attributes", "raw", "raw-depth"}, print},
        {"print-namespaces", {"width", "depth"}, printNamespaces},
        {"load", trees, load},
        {"export", trees, exportBytes},
        {"check", trees, check},
        {"walk", trees, walk},
        {"seek", trees, seek},
        {"recheck", trees, recheck},
        {"append", trees, append},
        {"append-text", texts, appendText},
        {"append-children", {"width", "depth"}, appendChildren},
        {"put", {"chosen-ids"}, put},
        {"delete", trees, remove},
        {"delete-forward", {"width", "raw", "middle"}, removeForward},
        {"delete-backward", {"width", "raw"}, removeBackward},
        {"expand", {"width", "depth", "length", "attributes", "declarations"}, expand},
        {"expand-each", {"width"}, expandEach},
        {"ve-read", {"ids", "ranges", "without-list", "depth"}, readList},
        {"ve-write", lists, writeList},
        {"reply", trees, reply},
        {"base64-encode", {"length"}, encodeBase64},
        {"base64-decode", {"length", "lines"}, decodeBase64},
        {"soap-request", texts, takeRequest},
        {"soap-response", trees, answerRequest},
    };
    return all;
}

}  // namespace linear
