// Message owns a message: it ends with its owner, and once.

#include "tqamsg/tqa.h"

#include "tests/support/fake_message.h"
#include "tests/support/messages.h"

#include <climits>
#include <string>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

namespace {

using tqa::Message;

const std::string kXml =
    "<packet>\n<origin>vem</origin>\n<data>\n<veid>101</veid>\n</data>\n</packet>\n";

std::string text(const Message& message) {
    const tqa::CText printed = message.text();
    return printed == nullptr ? "(no text)" : printed.get();
}

TEST(OwnedMessage, MovesAndIsNotCopied) {
    static_assert(!std::is_copy_constructible_v<Message>);
    static_assert(std::is_nothrow_move_constructible_v<Message>);
    static_assert(sizeof(Message) == sizeof(TQAMessage*));
    Message first = Message::parse(kXml);
    TQAMessage* owned = first.get();
    Message second = std::move(first);
    EXPECT_EQ(second.get(), owned);
    first = std::move(second);
    EXPECT_EQ(first.get(), owned);
    EXPECT_EQ(first->getOrigin(), "vem");
    Message third(first.release());
    EXPECT_FALSE(first);
    EXPECT_EQ(&*third, owned);
}

TEST(OwnedMessage, EndsWithItsOwner) {
    Message kept = Message::parse(kXml);
    EXPECT_FALSE(kept->multiReference());
    {
        const Message copy = kept.copy();
        EXPECT_TRUE(kept->multiReference());
    }
    EXPECT_FALSE(kept->multiReference());
}

TEST(OwnedMessage, IsMadeFromFramesTextsAndBuilders) {
    const tqa::Bytes bytes = Message::parse(kXml).bytes();
    EXPECT_EQ(text(Message::load(bytes.view())), kXml);
    EXPECT_EQ(text(Message::load({kXml.c_str(), kXml.size() + 1})), kXml);
    EXPECT_EQ(text(Message::parse(kXml.c_str())), kXml);
    EXPECT_EQ(text(Message::create()), "<packet/>\n");
    EXPECT_EQ(text(Message::create("data")), "<data/>\n");
    tqa::Builder builder;
    builder.open("packet").put("origin", "vem").open("data").put("veid", 101);
    EXPECT_EQ(text(Message(builder.closeAll())), kXml);
    EXPECT_EQ(text(Message(std::move(builder.open("data").close()))), "<data/>\n");
}

TEST(OwnedMessage, IsEmptyWhereThereIsNone) {
    const tqa::Bytes bytes = Message::parse(kXml).bytes();
    EXPECT_FALSE(Message());
    EXPECT_FALSE(Message::load(""));
    EXPECT_FALSE(Message::load(bytes.view().substr(0, bytes.size() - 1)));
    EXPECT_FALSE(Message::load(kXml)) << "no zero byte";
    EXPECT_FALSE(Message::parse("<packet>"));
    EXPECT_FALSE(Message::create("nosuchword"));
    tqa::Builder builder;
    EXPECT_FALSE(Message(builder.open("packet")));
    EXPECT_TRUE(Message(builder.close())) << "nothing is lost";
}

TEST(OwnedMessage, WhatIsMadeOfAnEmptyOneIsEmpty) {
    const Message none;
    EXPECT_EQ(none.get(), nullptr);
    EXPECT_FALSE(none.copy());
    EXPECT_FALSE(none.reply("vem"));
    EXPECT_FALSE(none.root());
    EXPECT_FALSE(none.at("data"));
    EXPECT_EQ(none.iterator(), nullptr);
    EXPECT_FALSE(none.bytes());
    EXPECT_EQ(none.text(), nullptr);
    EXPECT_EQ(none.add("", Message::create()), -1);
}

TEST(OwnedMessage, WithoutContentHasNoBytesAndNoText) {
    const Message message(TQAMsgFactory::createNew());
    EXPECT_FALSE(message.bytes());
    EXPECT_EQ(message.bytes().view(), "");
    EXPECT_EQ(message.text(), nullptr);
    EXPECT_FALSE(message.root());
}

TEST(OwnedMessage, ReadsFromItsRoot) {
    const Message message = Message::parse(kXml);
    EXPECT_EQ(message.root().name(), "packet");
    EXPECT_EQ(message.at("data").get<int>("veid"), 101);
    EXPECT_FALSE(Message(new tqa_test::FakeMessage).root()) << "only binary messages have cursors";
}

TEST(OwnedMessage, ReadsKindsThatDeriveFromTheBinaryOne) {
    class Derived : public TQABinary {};
    const Message message(new Derived);
    ASSERT_EQ(message->create("data"), 0);
    EXPECT_EQ(message.root().name(), "data");
}

TEST(OwnedMessage, RepliesInTheNameOfTheReplier) {
    const Message reply = Message::parse(kXml).reply("backm");
    EXPECT_EQ(reply->getOrigin(), "backm");
    EXPECT_EQ(reply->getTarget(), "vem");
    EXPECT_TRUE(reply.at("data"));
}

TEST(OwnedMessage, IsEditedWithAnIterator) {
    const Message message = Message::parse(kXml);
    const auto it = message.iterator();
    ASSERT_EQ(it->seek("data"), 0);
    EXPECT_EQ(it->putValue(102, "veid"), 0);
    EXPECT_EQ(message.at("data").get<int>("veid"), 102);
}

TEST(OwnedMessage, TakesAnotherMessageIn) {
    const Message message = Message::parse(kXml);
    const Message part = Message::parse("<vem><veid>5</veid></vem>");
    EXPECT_EQ(message.add("data", part), 0);
    EXPECT_EQ(message.add("", part), 0);
    EXPECT_EQ(message.at("data/vem").get<int>("veid"), 5);
    EXPECT_EQ(message.at("vem").get<int>("veid"), 5);
    EXPECT_EQ(message.add("", message), 0);
    EXPECT_EQ(message.at("packet/vem").get<int>("veid"), 5);

    const std::string before = text(message);
    EXPECT_EQ(message.add("src", part), -1);
    EXPECT_EQ(message.add("data/veid", part), -1) << "it holds a value";
    EXPECT_EQ(message.add("data", Message()), -1);
    EXPECT_EQ(message.add("data", Message(TQAMsgFactory::createNew())), -1);
    EXPECT_EQ(text(message), before);
}

TEST(OwnedMessage, AFrameOfMoreThanAnIntCountsIsRefusedUnread) {
    EXPECT_FALSE(Message::load({"", std::size_t{INT_MAX} + 1}));
}

}  // namespace
