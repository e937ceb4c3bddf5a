#include "tqamsg/msg/auto_destroy.h"

#include "tests/support/fake_message.h"

#include <gtest/gtest.h>

namespace {

using tqa_test::FakeMessage;

TEST(AutoDestroy, EndsItsMessage) {
    const int before = FakeMessage::alive;
    {
        const auto_destroy<TQAMessage> owner(new FakeMessage);
        EXPECT_EQ(FakeMessage::alive, before + 1);
    }
    EXPECT_EQ(FakeMessage::alive, before);
}

TEST(AutoDestroy, EndsASharedMessageAsDestroyDoes) {
    const auto first = tqa_test::fake("(packet)");
    { const auto_destroy<TQAMessage> owner(first->copy(false)); }
    EXPECT_EQ(first->counter(), 1);
    EXPECT_EQ(tqa_test::text(*first), "(packet)");
}

TEST(AutoDestroy, MayHoldNothing) {
    const auto_destroy<TQAMessage> none;
    const auto_destroy<TQAMessage> null(nullptr);
    EXPECT_EQ(*none, nullptr);
    EXPECT_EQ(*null, nullptr);
}

TEST(AutoDestroy, LetsItsMessageGoOnce) {
    FakeMessage* const message = new FakeMessage;
    auto_destroy<TQAMessage> owner(message);
    EXPECT_EQ(owner.release(), message);
    EXPECT_EQ(*owner, nullptr);
    EXPECT_EQ(owner.release(), nullptr);
    message->destroy();
}

TEST(AutoDestroy, BothOperatorsGiveThePointer) {
    FakeMessage* const message = new FakeMessage;
    const auto_destroy<FakeMessage> owner(message);
    EXPECT_EQ(*owner, message);
    EXPECT_EQ(owner->create("packet"), 0);
    EXPECT_EQ(tqa_test::text(*message), "(packet)");
}

}  // namespace
