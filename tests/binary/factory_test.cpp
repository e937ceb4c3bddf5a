// The binary kind in the registry, and the framing of a byte stream through it.

#include "tqamsg/binary/factory.h"

#include "tqamsg/msg/auto_destroy.h"
#include "tqamsg/msg/message_factory.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/messages.h"

#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;
using tqa::Kind;

const std::string kMessage = message(container(1398, intElement(1002, 5)));

std::string terminated(std::string_view text) {
    return std::string(text) + '\0';
}

// --- the registry -------------------------------------------------------------------------------

TEST(BinaryFactory, IsTheOnlyOneAndTheDefaultAfterLoading) {
    ASSERT_NE(MsgVocabulary, nullptr);
    ASSERT_EQ(MsgVocabulary->size(), 1U);
    EXPECT_EQ(MsgVocabulary->begin()->first, "TQABinary");
    EXPECT_EQ(MsgVocabulary->begin()->second, &factoryTQABinary);
    EXPECT_EQ(TQAMessage::Factory, &factoryTQABinary);
}

TEST(BinaryFactory, KnowsItsKind) {
    EXPECT_EQ(factoryTQABinary.messageType(), "TQABinary");
    EXPECT_EQ(factoryTQABinary.messageTypeid(), typeid(TQABinary));
}

TEST(BinaryFactory, IsChosenByNameAndByType) {
    EXPECT_EQ(TQAMsgFactory::setDefaultProtocol("TQABinary"), 0);
    EXPECT_EQ(TQAMsgFactory::setDefaultProtocol(typeid(TQABinary)), 0);
    EXPECT_TRUE(TQAMessage::initialize());
    EXPECT_TRUE(initTQAMessage());
    for (const char* name : {"", "tqabinary", "TQABinary ", "TQAMessage"}) {
        EXPECT_EQ(TQAMsgFactory::setDefaultProtocol(name), -1) << name;
    }
    EXPECT_EQ(TQAMsgFactory::setDefaultProtocol(typeid(TQAMessage)), -1);
    EXPECT_EQ(TQAMessage::Factory, &factoryTQABinary);
}

TEST(BinaryFactory, RecognisesTheMagic) {
    const Block binary(kMessage);
    EXPECT_EQ(TQAMsgFactory::kindOf(binary.data()), "TQABinary");
    EXPECT_TRUE(factoryTQABinary.isOfTheKind(binary.data()));
    for (const std::string& other :
         {terminated("<packet/>"), terminated(""), fromHex("98BADCFF"), fromHex("FEDCBA98")}) {
        const Block block(other);
        EXPECT_EQ(TQAMsgFactory::kindOf(block.data()), "TQAMessage");
        EXPECT_FALSE(factoryTQABinary.isOfTheKind(block.data()));
    }
}

// --- making messages ----------------------------------------------------------------------------

TEST(BinaryFactory, MakesEmptyMessages) {
    for (TQAMessage* made : {factoryTQABinary.newMessage(), TQAMsgFactory::createNew()}) {
        const auto_destroy<TQAMessage> m(made);
        ASSERT_NE(dynamic_cast<TQABinary*>(made), nullptr);
        EXPECT_EQ(bytes(*made), "");
        EXPECT_EQ(made->create("packet"), 0);
    }
}

TEST(BinaryFactory, MakesMessagesFromBytesAndTexts) {
    for (const std::string& encoded : {kMessage, terminated("<packet><veid>5</veid></packet>")}) {
        const Block block(encoded);
        const auto_destroy<TQAMessage> m(factoryTQABinary.newMessage(block.data(), block.size()));
        ASSERT_NE(*m, nullptr);
        EXPECT_EQ(bytes(**m), bytes(load(encoded)));
    }
}

TEST(BinaryFactory, TruncatedBytesMakeNoMessage) {
    for (const std::string& encoded : {kMessage, terminated("<packet><veid>5</veid></packet>")}) {
        for (std::size_t size = 0; size < encoded.size(); ++size) {
            const Block block(encoded.substr(0, size));
            EXPECT_EQ(factoryTQABinary.newMessage(block.data(), block.size()), nullptr) << size;
        }
    }
    const Block malformed(terminated("<packet>"));
    EXPECT_EQ(factoryTQABinary.newMessage(malformed.data(), malformed.size()), nullptr);
}

TEST(BinaryFactory, MessagesTakeTheFlagsOfTheirConstruction) {
    const auto_destroy<TQAMessage> before(TQAMsgFactory::createNew());
    TQABinary::Policy = TQABinary::kRefuseUnknown;
    const auto_destroy<TQAMessage> during(TQAMsgFactory::createNew());
    TQABinary::Policy = 0;
    const Block text(terminated("<packet><zz/></packet>"));
    EXPECT_EQ(before->fromText(text.data(), nullptr), 0);
    EXPECT_EQ(during->fromText(text.data(), nullptr), -1);
}

// --- framing ------------------------------------------------------------------------------------

TEST(BinaryFactory, FramesTextsAndMessages) {
    const Block text(terminated("<packet/>") + "<");
    EXPECT_EQ(factoryTQABinary.isMessageComplete(text.data(), text.size()), 10);
    EXPECT_EQ(TQAMessage::isComplete(text.data(), text.size()), 10);
    EXPECT_EQ(TQAMessage::isComplete(text.data(), 9), 0);
    EXPECT_FALSE(factoryTQABinary.isOfTheKind(text.data()));
    const Block binary(kMessage + "next");
    EXPECT_EQ(factoryTQABinary.isMessageComplete(binary.data(), binary.size()), 48);
    EXPECT_EQ(TQAMessage::isComplete(binary.data(), 47), 0);
}

// What a connection has sent so far and what has been taken from it.
class Receiver {
  public:
    void receive(std::string_view sent) {
        waiting_ += sent;
        for (;;) {
            const Block block(waiting_);
            const int size = TQAMessage::isComplete(block.data(), block.size());
            if (size == 0) return;
            frames.push_back(waiting_.substr(0, static_cast<std::size_t>(size)));
            waiting_.erase(0, static_cast<std::size_t>(size));
        }
    }

    bool allTaken() const { return waiting_.empty(); }

    std::vector<std::string> frames;

  private:
    std::string waiting_;
};

const std::vector<std::string> kStream = {
    message(container(1398)),
    terminated("<packet/>"),
    kMessage,
    message(stringElement(1398, std::string("seven77"))),
    terminated(""),
    terminated("x"),
    terminated(fromHex("98BADC")),  // almost the magic
    message(element(1398, Kind::Untyped)),
    terminated("<packet><data>text</data></packet>"),
    message(container(1398, container(1307, stringElement(1002, std::string(300, '\0'))))),
    terminated(fromHex("98")),
    kMessage,
};

std::string joined(const std::vector<std::string>& parts) {
    std::string all;
    for (const std::string& part : parts) all += part;
    return all;
}

TEST(BinaryStream, CutAnywhereGivesTheSameFrames) {
    const std::string all = joined(kStream);
    for (std::size_t cut = 0; cut <= all.size(); ++cut) {
        Receiver receiver;
        receiver.receive(std::string_view(all).substr(0, cut));
        receiver.receive(std::string_view(all).substr(cut));
        ASSERT_EQ(receiver.frames, kStream) << cut;
        ASSERT_TRUE(receiver.allTaken()) << cut;
    }
}

TEST(BinaryStream, AFrameIsTakenAsSoonAsItsLastByteIsThere) {
    Receiver receiver;
    std::size_t expected = 0;
    for (const std::string& frame : kStream) {
        for (std::size_t i = 0; i < frame.size(); ++i) {
            ASSERT_EQ(receiver.frames.size(), expected);
            receiver.receive(std::string_view(frame).substr(i, 1));
        }
        ++expected;
    }
    EXPECT_EQ(receiver.frames, kStream);
}

TEST(BinaryStream, ArrivesInPiecesOfAnySize) {
    const std::string all = joined(kStream);
    for (std::size_t piece = 2; piece < 100; ++piece) {
        Receiver receiver;
        for (std::size_t at = 0; at < all.size(); at += piece) {
            receiver.receive(std::string_view(all).substr(at, piece));
        }
        ASSERT_EQ(receiver.frames, kStream) << piece;
    }
}

TEST(BinaryStream, WhatWasFramedLoads) {
    Receiver receiver;
    receiver.receive(kMessage + terminated("<packet><veid>5</veid></packet>") + kMessage);
    ASSERT_EQ(receiver.frames.size(), 3U);
    EXPECT_EQ(tree(load(receiver.frames[0])), "1398:50(1002:1=05000000)");
    EXPECT_EQ(tree(load(receiver.frames[1])), "1398:50(1002:0=3500)");
    EXPECT_EQ(tree(load(receiver.frames[2])), "1398:50(1002:1=05000000)");
}

TEST(BinaryStream, AMessageOfAnImpossibleLengthNeverEnds) {
    std::string damaged = kMessage;
    tqa::writeLength(damaged.data() + tqa::kRootOffset, -1);
    Receiver receiver;
    receiver.receive(damaged + kMessage + terminated("x"));
    EXPECT_TRUE(receiver.frames.empty());
}

}  // namespace
