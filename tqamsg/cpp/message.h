// Message: the owner of a message, as std::unique_ptr is of an object.
//
//     tqa::Message request = tqa::Message::load(received);
//     if (!request) return refuse();
//     const auto veid = request.at("data/vem").get<int>("veid");
//     tqa::Message reply = request.reply("vem");
//     reply.add("data", tqa::Message(answer));   // a tqa::Builder
//     tqa::writeFrame(fd, reply.bytes().view());
//
// What the message itself can do is reached with "->": request->getTarget(). An empty Message owns
// nothing: "->" and "*" may not be called on it, and what the other members make of it is empty
// too.
#pragma once

#include "tqamsg/binary/binary.h"
#include "tqamsg/binary/builder.h"
#include "tqamsg/cpp/cursor.h"
#include "tqamsg/msg/auto_destroy.h"
#include "tqamsg/msg/message.h"
#include "tqamsg/msg/message_factory.h"
#include "tqamsg/util/c_text.h"

#include <cstddef>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>

namespace tqa {

// A block of bytes from the library, which it owns.
class Bytes {
  public:
    Bytes() = default;
    Bytes(char* block, std::size_t size) noexcept : block_(block), size_(size) {}

    explicit operator bool() const noexcept { return block_ != nullptr; }
    char* data() const noexcept { return block_.get(); }
    std::size_t size() const noexcept { return size_; }
    std::string_view view() const noexcept { return {block_.get(), size_}; }

  private:
    CText block_;
    std::size_t size_ = 0;
};

class Message {
  public:
    Message() = default;
    // Takes over a message, or nothing.
    explicit Message(TQAMessage* owned) noexcept : message_(owned) {}
    // Takes what was built; empty if that is not finished (Builder::fault() says why).
    explicit Message(Builder& built) : message_(built.finish()) {}
    explicit Message(Builder&& built) : Message(built) {}

    // A new message with an empty root; empty for an unknown word and without memory.
    static Message create(const char* root = "packet") {
        Message made(TQAMsgFactory::createNew());
        return made && made->create(root) == 0 ? std::move(made) : Message();
    }
    // The message in a frame: an encoded message, or text with its zero byte. Empty when the
    // bytes hold no whole, readable message. They are copied.
    static Message load(std::string_view frame) {
        if (frame.size() > std::numeric_limits<int>::max()) return Message();
        return Message(TQAMessage::Factory->newMessage(const_cast<char*>(frame.data()),
                                                       static_cast<int>(frame.size())));
    }
    // The message in an XML text that ends in a zero byte; empty when it can't be read.
    static Message parse(const char* xml) {
        Message made(TQAMsgFactory::createNew());
        return made && made->fromText(const_cast<char*>(xml), nullptr) == 0 ? std::move(made)
                                                                            : Message();
    }
    static Message parse(const std::string& xml) { return parse(xml.c_str()); }

    // A second message with the same content, shared until one of them changes; the reply to this
    // request in the name of `replier`, with an empty "data". Empty without memory.
    Message copy() const { return Message(message_ ? message_->copy(false) : nullptr); }
    Message reply(const std::string& replier) const {
        return Message(message_ ? message_->genReply(replier) : nullptr);
    }

    explicit operator bool() const noexcept { return message_ != nullptr; }
    TQAMessage* get() const noexcept { return message_.get(); }
    TQAMessage* operator->() const noexcept { return message_.get(); }
    TQAMessage& operator*() const noexcept { return *message_; }
    TQAMessage* release() noexcept { return message_.release(); }

    // The root, and the element at the end of a path of tag words, "data/vem".
    Cursor root() const {
        const TQABinary* binary = asBinary();
        return binary == nullptr ? Cursor() : Cursor(elementOf(*binary));
    }
    Cursor at(std::string_view path) const { return root().at(path); }

    // An iterator on the root, which edits the message; null without memory. It must not outlive
    // the message.
    std::unique_ptr<TQAMessageIterator> iterator() const {
        return std::unique_ptr<TQAMessageIterator>(message_ ? message_->newIterator() : nullptr);
    }

    // Appends a copy of another message, its root with all in it, to the element at the end of a
    // path of tag words ("" for the root). 0; -1, and nothing changed, when there is no such
    // element, when it holds a value, when `part` is empty, or without memory.
    int add(const std::string& path, const Message& part) const {
        const Bytes bytes = part.bytes();
        const auto it = iterator();
        if (!bytes || it == nullptr || it->seek(path) != 0) return -1;
        return it->encodeToChild(bytes.data(), static_cast<int>(bytes.size()));
    }

    // The bytes of the message, to be sent as they are; its text, which ends in a zero byte. Both
    // are empty when the message has no content and without memory.
    Bytes bytes() const {
        char* block = nullptr;
        int size = 0;
        if (!message_ || message_->decode(&block, &size, nullptr) != 0) return Bytes();
        return Bytes(block, static_cast<std::size_t>(size));
    }
    CText text() const {
        return CText(message_ ? message_->toText(nullptr, false, std::string()) : nullptr);
    }

  private:
    struct Destroy {
        void operator()(TQAMessage* message) const { message->destroy(); }
    };

    // Null for other kinds. The kind that nearly all messages are of is told by its type alone: the
    // cast that allows for derived classes costs more than reading a value.
    const TQABinary* asBinary() const {
        const TQAMessage* message = get();
        if (message == nullptr) return nullptr;
        if (typeid(*message) == typeid(TQABinary)) return static_cast<const TQABinary*>(message);
        return dynamic_cast<const TQABinary*>(message);
    }

    std::unique_ptr<TQAMessage, Destroy> message_;
};

}  // namespace tqa
