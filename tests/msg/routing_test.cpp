#include "tqamsg/msg/message.h"
#include "tqamsg/msg/message_iterator.h"

#include "tests/support/fake_message.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using tqa_test::fake;
using tqa_test::FakeIterator;
using tqa_test::FakeMessage;
using tqa_test::FakePtr;
using tqa_test::text;

TEST(Routing, ReadsWhatTheRootSays) {
    const FakePtr message = fake("(packet (origin \"vem\") (target \"backm\") (session \"s1\"))");
    std::string session;
    EXPECT_EQ(message->getOrigin(), "vem");
    EXPECT_EQ(message->getTarget(), "backm");
    EXPECT_EQ(message->getSession(&session), 0);
    EXPECT_EQ(session, "s1");
}

TEST(Routing, AMissingOriginOrTargetIsEmpty) {
    const FakePtr message = fake("(packet (data (origin \"deeper\")))");
    EXPECT_EQ(message->getOrigin(), "");
    EXPECT_EQ(message->getTarget(), "");
}

TEST(Routing, AnUnreadableOriginOrTargetIsEmpty) {
    const FakePtr message = fake("(packet (origin (vem)) (target (backm)))");
    EXPECT_EQ(message->getOrigin(), "");
    EXPECT_EQ(message->getTarget(), "");
}

TEST(Routing, AMissingSessionFailsAndLeavesTheTextAlone) {
    const FakePtr message = fake("(packet)");
    std::string session = "before";
    EXPECT_EQ(message->getSession(&session), -1);
    EXPECT_EQ(session, "before");
}

TEST(Routing, WritesBelowTheRoot) {
    const FakePtr message = fake("(packet)");
    EXPECT_EQ(message->setTarget("backm"), 0);
    EXPECT_EQ(message->setOrigin("vem"), 0);
    EXPECT_EQ(message->setSession("s1"), 0);
    EXPECT_EQ(text(*message), "(packet (target \"backm\") (origin \"vem\") (session \"s1\"))");
}

TEST(Routing, WritesOverWhatWasThere) {
    const FakePtr message = fake("(packet (origin \"old\") (session \"old\") (target \"old\"))");
    EXPECT_EQ(message->setTarget("backm"), 0);
    EXPECT_EQ(message->setOrigin(""), 0);
    EXPECT_EQ(message->setSession("s2"), 0);
    EXPECT_EQ(text(*message), "(packet (origin) (session \"s2\") (target \"backm\"))");
}

TEST(Routing, SaysWhenItCannotWrite) {
    const FakePtr message = fake("(packet)");
    message->writesLeft = 0;
    EXPECT_EQ(message->setOrigin("vem"), -1);
    EXPECT_EQ(message->setTarget("backm"), -1);
    EXPECT_EQ(message->setSession("s1"), -1);
}

TEST(Routing, FailsOnAMessageWithoutContent) {
    const FakePtr empty(new FakeMessage);
    std::string session;
    EXPECT_EQ(empty->getOrigin(), "");
    EXPECT_EQ(empty->getTarget(), "");
    EXPECT_EQ(empty->getSession(&session), -1);
    EXPECT_EQ(empty->setOrigin("vem"), -1);
}

TEST(Routing, FailsWhenNoIteratorCanBeMade) {
    const FakePtr message = fake("(packet (origin \"vem\") (session \"s1\"))");
    message->failNewIterator = true;
    std::string session;
    EXPECT_EQ(message->getOrigin(), "");
    EXPECT_EQ(message->getSession(&session), -1);
    EXPECT_EQ(message->setTarget("backm"), -1);
    EXPECT_EQ(text(*message), "(packet (origin \"vem\") (session \"s1\"))");
}

TEST(Routing, AnIteratorReadsTheOriginFromAnyPosition) {
    const FakePtr message = fake("(packet (origin \"vem\") (data (origin \"deeper\") (veid)))");
    FakeIterator it(message.get());
    ASSERT_EQ(it.seek("data/veid"), 0);
    std::string origin;
    EXPECT_EQ(it.getOrigin(&origin), 0);
    EXPECT_EQ(origin, "vem");
    EXPECT_EQ(it.where(), "/packet/data[1]/veid[1]");
}

TEST(Routing, AnIteratorSaysWhenThereIsNoOrigin) {
    const FakePtr message = fake("(packet (data (origin \"deeper\")))");
    FakeIterator it(message.get());
    ASSERT_EQ(it.seek("data"), 0);
    std::string origin = "before";
    EXPECT_EQ(it.getOrigin(&origin), -1);
    EXPECT_EQ(origin, "before");
    EXPECT_EQ(it.where(), "/packet/data[0]");
}

}  // namespace
