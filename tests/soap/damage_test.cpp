// Damaged requests and replies, and conversions that run out of memory. What must not happen, the
// sanitizers see.

#include "tqamsg/msg/auto_destroy.h"
#include "tqamsg/msg/message.h"
#include "tqamsg/msg/message_factory.h"
#include "tqamsg/soap/converter.h"
#include "tqamsg/util/c_text.h"

#include "tests/support/failing_new.h"
#include "tests/support/gateway.h"

#include <memory>
#include <new>
#include <string>

#include <gtest/gtest.h>

namespace {

using tqa_test::FailingNew;

const std::string kRequest =
    "<s:Envelope xmlns:s=\"http://www.w3.org/2003/05/soap-envelope\"><s:Header><packet_header "
    "xmlns=\"u\" id=\"1\"><origin>x</origin></packet_header></s:Header><s:Body><!--a-->"
    "<m:start xmlns:m=\"u/4.0.0/vem\"><veid>5</veid></m:start></s:Body></s:Envelope>";

const std::string kReply =
    "<packet version=\"4.0.0\"><session>a.30003.b</session><cookie>op</cookie><data><vem><veid>1"
    "</veid><error><code>5</code></error></vem></data></packet>";

// Either a message, whose reply goes back as well, or a fault that prints.
void survive(const std::string& soap) {
    TQASoapConverter converter;
    const auto_destroy<TQAMessage> message(TQAMsgFactory::createNew());
    if (converter.soapToTqamsg(soap.c_str(), **message) != 0) {
        ASSERT_NE(nullptr, converter.getFault());
        ASSERT_TRUE(tqa::CText(converter.getFault()->toText()));
        return;
    }
    ASSERT_EQ(nullptr, converter.getFault());
    ASSERT_TRUE(tqa::CText(message->toText(nullptr, true, "u/")));
    const auto_destroy<TQAMessage> reply(message->genReply("vem"));
    TQASoapEnvelope* out = nullptr;
    converter.tqamsgToSoap(**reply, SOAP_12, out);
    delete out;
}

TEST(DamageTest, EveryPrefixOfARequestIsSurvived) {
    for (std::size_t length = 0; length <= kRequest.size(); ++length)
        survive(kRequest.substr(0, length));
}

TEST(DamageTest, EveryRequestWithOneOtherByteIsSurvived) {
    for (std::size_t i = 0; i < kRequest.size(); ++i)
        for (int byte = 1; byte < 256; ++byte) {
            std::string damaged = kRequest;
            damaged[i] = static_cast<char>(byte);
            survive(damaged);
        }
}

TEST(DamageTest, EveryRequestWithoutOneByteIsSurvived) {
    for (std::size_t i = 0; i < kRequest.size(); ++i)
        survive(kRequest.substr(0, i) + kRequest.substr(i + 1));
}

// Replies come from other processes, as bytes.
TEST(DamageTest, EveryReplyWithOneOtherByteIsSurvived) {
    const auto_destroy<TQAMessage> reply(TQAMsgFactory::createNew());
    std::string text = kReply;
    ASSERT_EQ(0, reply->fromText(text.data(), nullptr));
    char* bytes = nullptr;
    int length = 0;
    ASSERT_EQ(0, reply->decode(&bytes, &length, nullptr));
    const tqa::CText owner(bytes);
    for (int i = 0; i < length; ++i)
        for (const int change : {0x01, 0x02, 0x10, 0x33, 0x80, 0xff}) {
            bytes[i] = static_cast<char>(bytes[i] ^ change);
            if (TQAMessage* const loaded = TQAMessage::Factory->newMessage(bytes, length)) {
                const auto_destroy<TQAMessage> damaged(loaded);
                TQASoapConverter converter;
                TQASoapEnvelope* out = nullptr;
                const int status = converter.tqamsgToSoap(**damaged, SOAP_11, out);
                ASSERT_EQ(status == 0, out != nullptr);
                delete out;
            }
            bytes[i] = static_cast<char>(bytes[i] ^ change);
        }
}

class MemoryTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!FailingNew::works()) GTEST_SKIP() << "operator new is not the test's";
    }
};

// Runs the step with ever later failures until it passes without one. Whatever happened, only
// std::bad_alloc may have left it.
template <class Step>
void withEveryAllocationFailing(Step step) {
    for (int before = 0;; ++before) {
        ASSERT_LT(before, 10000);
        if (!step(before)) return;
    }
}

TEST_F(MemoryTest, ARequestThatFindsNoMemoryLeavesEverythingUsable) {
    TQASoapConverter converter;
    withEveryAllocationFailing([&](int before) {
        const auto_destroy<TQAMessage> message(TQAMsgFactory::createNew());
        bool failed = false;
        try {
            const FailingNew failing(before);
            converter.soapToTqamsg(kRequest.c_str(), **message);
            failed = failing.hasFailed();
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        EXPECT_EQ(0, message->create("packet")) << before;
        EXPECT_EQ(0, converter.soapToTqamsg(kRequest.c_str(), **message)) << before;
        EXPECT_EQ("vem", message->getTarget()) << before;
        return failed;
    });
}

TEST_F(MemoryTest, AReplyThatFindsNoMemoryLeavesEverythingUsable) {
    TQASoapConverter converter;
    withEveryAllocationFailing([&](int before) {
        const auto_destroy<TQAMessage> message(TQAMsgFactory::createNew());
        std::string text = kReply;
        EXPECT_EQ(0, message->fromText(text.data(), nullptr));
        TQASoapEnvelope* out = nullptr;
        bool failed = false;
        try {
            const FailingNew failing(before);
            converter.tqamsgToSoap(**message, SOAP_12, out);
            failed = failing.hasFailed();
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        delete out;
        EXPECT_EQ(0, message->fromText(text.data(), nullptr));
        EXPECT_EQ(0, converter.tqamsgToSoap(**message, SOAP_12, out)) << before;
        delete out;
        return failed;
    });
}

TEST_F(MemoryTest, AFaultThatFindsNoMemoryIsNoLeak) {
    TQASoapConverter converter;
    const auto_destroy<TQAMessage> message(TQAMsgFactory::createNew());
    withEveryAllocationFailing([&](int before) {
        bool failed = false;
        try {
            const FailingNew failing(before);
            converter.soapToTqamsg("<no envelope at all, and long enough for the heap>", **message);
            const tqa::CText text(converter.getFault()->toText());
            failed = failing.hasFailed();
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        return failed;
    });
}

}  // namespace
