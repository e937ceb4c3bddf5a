#include "tqamsg/msg/message_factory.h"

#include "tqamsg/msg/auto_destroy.h"

#include "tests/support/fake_message.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

using tqa_test::FakeKind;
using tqa_test::FakeMessage;

// A factory that is registered under any name while it lives, and puts everything back.
class Registered : public TQAMsgFactory {
  public:
    Registered(std::string name, char mark) : name_(std::move(name)), mark_(mark) {
        registerAs(name_);
    }
    ~Registered() override {
        MsgVocabulary->erase(name_);
        Factory() = before_;
    }

    int isMessageComplete(char*, int len) override { return len == 4 ? 4 : 0; }
    TQAMessage* newMessage() override { return nullptr; }
    bool isOfTheKind(char* buf) override { return *buf == mark_; }
    std::string messageType() override { return name_; }
    // Shared by all of them, so that the first in name order is found.
    const std::type_info& messageTypeid() override { return typeid(Registered); }
    using TQAMsgFactory::newMessage;

    static TQAMsgFactory*& Factory() { return TQAMessage::Factory; }

  private:
    TQAMsgFactory* before_ = TQAMessage::Factory;
    std::string name_;
    char mark_;
};

// Takes the registry away while it lives.
class NoRegistry {
  public:
    NoRegistry()
        : vocabulary_(std::exchange(MsgVocabulary, nullptr)),
          factory_(std::exchange(TQAMessage::Factory, nullptr)) {}
    NoRegistry(const NoRegistry&) = delete;
    NoRegistry& operator=(const NoRegistry&) = delete;
    ~NoRegistry() {
        delete MsgVocabulary;
        MsgVocabulary = vocabulary_;
        TQAMessage::Factory = factory_;
    }

  private:
    std::map<std::string, TQAMsgFactory*>* vocabulary_;
    TQAMsgFactory* factory_;
};

// --- registration -------------------------------------------------------------------------------

TEST(MessageFactory, TheKindThatRegisteredLastIsTheDefault) {
    const Registered first("first", '1');
    EXPECT_EQ(TQAMessage::Factory, &first);
    const Registered second("second", '2');
    EXPECT_EQ(TQAMessage::Factory, &second);
    EXPECT_EQ(MsgVocabulary->at("first"), &first);
    EXPECT_EQ(MsgVocabulary->at("second"), &second);
}

TEST(MessageFactory, AKindReplacesAnEarlierOneOfItsName) {
    const std::size_t before = MsgVocabulary->size();
    const Registered first("name", '1');
    const Registered second("name", '2');
    EXPECT_EQ(MsgVocabulary->size(), before + 1);
    EXPECT_EQ(MsgVocabulary->at("name"), &second);
}

TEST(MessageFactory, TheFirstKindMakesTheRegistry) {
    const NoRegistry none;
    const FakeKind kind;
    ASSERT_NE(MsgVocabulary, nullptr);
    ASSERT_EQ(MsgVocabulary->size(), 1U);
    EXPECT_EQ(MsgVocabulary->begin()->first, "FakeMessage");
    EXPECT_EQ(MsgVocabulary->begin()->second, TQAMessage::Factory);
}

TEST(MessageFactory, AsksTheMessageClass) {
    const FakeKind kind;
    TQAMsgFactory& factory = *TQAMessage::Factory;
    char whole[] = "(packet) and more";
    char other[] = "<packet/>";
    EXPECT_EQ(factory.messageType(), "FakeMessage");
    EXPECT_EQ(factory.messageTypeid(), typeid(FakeMessage));
    EXPECT_TRUE(factory.isOfTheKind(whole));
    EXPECT_FALSE(factory.isOfTheKind(other));
    EXPECT_EQ(factory.isMessageComplete(whole, 17), 8);
    EXPECT_EQ(factory.isMessageComplete(whole, 7), 0);
}

// --- making messages ----------------------------------------------------------------------------

TEST(MessageFactory, MakesMessagesOfTheDefaultKind) {
    const FakeKind kind;
    const auto_destroy<TQAMessage> message(TQAMsgFactory::createNew());
    ASSERT_NE(*message, nullptr);
    EXPECT_STREQ(message->messageType(), "FakeMessage");
}

TEST(MessageFactory, MakesAMessageFromBytes) {
    const FakeKind kind;
    char bytes[] = "(packet (data))";
    const auto_destroy<TQAMessage> message(TQAMessage::Factory->newMessage(bytes, 15));
    ASSERT_NE(*message, nullptr);
    EXPECT_EQ(tqa_test::text(static_cast<FakeMessage&>(**message)), "(packet (data))");
}

TEST(MessageFactory, LeavesNoMessageBehindForACutBuffer) {
    const FakeKind kind;
    const int before = FakeMessage::alive;
    char bytes[] = "(packet (data))";
    for (int length = 0; length < 15; ++length) {
        EXPECT_EQ(TQAMessage::Factory->newMessage(bytes, length), nullptr) << length;
    }
    EXPECT_EQ(FakeMessage::alive, before);
}

TEST(MessageFactory, MakesNothingFromBytesWhenNoMessageCanBeMade) {
    Registered none("none", '0');
    char bytes[] = "data";
    EXPECT_EQ(none.newMessage(bytes, 4), nullptr);
    EXPECT_EQ(TQAMsgFactory::createNew(), nullptr);
}

TEST(MessageFactory, FramesByTheDefaultKind) {
    const FakeKind kind;
    EXPECT_EQ(TQAMessage::isComplete("(packet) ", 9), 8);
    EXPECT_EQ(TQAMessage::isComplete("(packet", 7), 0);
    const Registered fixed("fixed", 'f');
    EXPECT_EQ(TQAMessage::isComplete("(packet) ", 9), 0);
    EXPECT_EQ(TQAMessage::isComplete("(pac", 4), 4);
}

// --- recognising bytes --------------------------------------------------------------------------

TEST(MessageFactory, NamesTheKindOfABuffer) {
    const Registered one("one", '1');
    const Registered two("two", '2');
    EXPECT_EQ(TQAMsgFactory::kindOf("1"), "one");
    EXPECT_EQ(TQAMsgFactory::kindOf("2"), "two");
}

TEST(MessageFactory, NamesTheFirstKindInNameOrder) {
    const Registered later("b", '1');
    const Registered first("a", '1');
    const Registered last("c", '1');
    EXPECT_EQ(TQAMsgFactory::kindOf("1"), "a");
}

TEST(MessageFactory, ABufferThatNobodyAcceptsIsAMessage) {
    const Registered one("one", '1');
    EXPECT_EQ(TQAMsgFactory::kindOf("3"), "TQAMessage");
    EXPECT_EQ(TQAMsgFactory::kindOf(""), "TQAMessage");
    EXPECT_EQ(TQAMsgFactory::kindOf(nullptr), "TQAMessage");
}

// --- choosing the default -----------------------------------------------------------------------

TEST(MessageFactory, ChoosesTheDefaultByName) {
    const Registered one("one", '1');
    const Registered two("two", '2');
    EXPECT_EQ(TQAMsgFactory::setDefaultProtocol("one"), 0);
    EXPECT_EQ(TQAMessage::Factory, &one);
}

TEST(MessageFactory, KeepsTheDefaultForAnUnknownName) {
    const Registered one("one", '1');
    EXPECT_EQ(TQAMsgFactory::setDefaultProtocol("One"), -1);
    EXPECT_EQ(TQAMsgFactory::setDefaultProtocol(""), -1);
    EXPECT_EQ(TQAMessage::Factory, &one);
}

TEST(MessageFactory, ChoosesTheDefaultByMessageClass) {
    const FakeKind fake;
    const TQAMsgFactory* factory = TQAMessage::Factory;
    const Registered other("other", 'o');
    EXPECT_EQ(TQAMsgFactory::setDefaultProtocol(typeid(FakeMessage)), 0);
    EXPECT_EQ(TQAMessage::Factory, factory);
}

TEST(MessageFactory, ChoosesTheFirstInNameOrderOfOneClass) {
    const Registered first("a", 'a');
    const Registered second("b", 'b');
    EXPECT_EQ(TQAMsgFactory::setDefaultProtocol(typeid(Registered)), 0);
    EXPECT_EQ(TQAMessage::Factory, &first);
}

TEST(MessageFactory, KeepsTheDefaultForAClassWithoutAKind) {
    const Registered one("one", '1');
    EXPECT_EQ(TQAMsgFactory::setDefaultProtocol(typeid(int)), -1);
    EXPECT_EQ(TQAMessage::Factory, &one);
}

TEST(MessageFactory, TheMessageModuleMakesTheBinaryKindTheDefault) {
    const Registered one("one", '1');
    EXPECT_TRUE(initTQAMessage());
    EXPECT_EQ(TQAMessage::Factory, MsgVocabulary->at("TQABinary"));
    EXPECT_TRUE(TQAMessage::initialize());
}

// --- before anything has registered -------------------------------------------------------------

TEST(MessageFactory, AnswersBeforeAnyKindHasRegistered) {
    const NoRegistry none;
    EXPECT_EQ(TQAMsgFactory::createNew(), nullptr);
    EXPECT_EQ(TQAMsgFactory::kindOf("(packet)"), "TQAMessage");
    EXPECT_EQ(TQAMsgFactory::setDefaultProtocol("TQABinary"), -1);
    EXPECT_EQ(TQAMsgFactory::setDefaultProtocol(typeid(FakeMessage)), -1);
    EXPECT_EQ(TQAMessage::isComplete("(packet)", 8), 0);
    EXPECT_FALSE(initTQAMessage());
}

}  // namespace
