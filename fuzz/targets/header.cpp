// Header fields, routing and replies.

#include "tqamsg/binary/verify.h"
#include "tqamsg/msg/auto_destroy.h"
#include "tqamsg/msg/message_iterator.h"

#include "fuzz/support.h"
#include "fuzz/target.h"
#include "tests/support/usage.h"

#include <gtest/gtest.h>

using namespace tqa_test;

template <class Value, class Field = Value>
static void setAndGet(TQABinary& m, int (TQABinary::*set)(Field), int (TQABinary::*get)(Value*),
                      Value value) {
    if ((m.*set)(value) != 0) return;
    Value found{};
    EXPECT_EQ((m.*get)(&found), 0);
    EXPECT_EQ(found, value);
}

static void setAll(TQABinary& m, tqa_fuzz::Numbers numbers, const std::string& word) {
    const auto number = [&] { return static_cast<int>(numbers()); };
    setAndGet(m, &TQABinary::setPriority, &TQABinary::getPriority, number());
    setAndGet(m, &TQABinary::setType, &TQABinary::getType, number());
    setAndGet(m, &TQABinary::setUid, &TQABinary::getUid, number());
    setAndGet(m, &TQABinary::setTimeout, &TQABinary::getTimeout, number());
    setAndGet(m, &TQABinary::setTimeoutLimit, &TQABinary::getTimeoutLimit, number());
    setAndGet(m, &TQABinary::setProgress, &TQABinary::getProgress, number() & 1);
    setAndGet(m, &TQABinary::setLog, &TQABinary::getLog, number() & 1);
    setAndGet(m, &TQABinary::setVersion, &TQABinary::getVersion,
              static_cast<int>(numbers() % 1000000));
    setAndGet(m, &TQABinary::setTime, &TQABinary::getTime, static_cast<long>(numbers()));
    setAndGet<std::string, const std::string&>(m, &TQABinary::setID, &TQABinary::getID, word);
    if (m.setOrigin(word) == 0) {
        EXPECT_EQ(m.getOrigin(), word);
    }
    if (m.setTarget(word) == 0) {
        EXPECT_EQ(m.getTarget(), word);
    }
    std::string session;
    if (m.setSession(word) == 0) {
        EXPECT_EQ(m.getSession(&session), 0);
        EXPECT_EQ(session, word);
    }
}

// Binary requests are answered in a quicker way than others. A flag without a meaning leads them
// the long way.
static void expectSameReply(TQABinary& request, const std::string& replier) {
    const auto_destroy<TQAMessage> quick(request.genReply(replier));
    TQABinaryIterator::Policy = 1U << 31;
    const auto_destroy<TQAMessage> slow(request.genReply(replier));
    TQABinaryIterator::Policy = 0;
    ASSERT_NE(*quick, nullptr);
    ASSERT_NE(*slow, nullptr);
    EXPECT_EQ(hex(bytes(**quick)), hex(bytes(**slow)));
}

TQA_TARGET(header) {
    const auto [m, encoded, script] = tqa_fuzz::split(input);
    if (m == nullptr) return;
    askEverything(*m);
    expectSameReply(*m, std::string(script));
    // In a damaged message what is set may stand behind the damage.
    const std::string before = bytes(m);
    if (tqa::verify(before.data(), static_cast<int>(before.size()), nullptr) != 0) return;
    const std::string word(script.substr(0, script.find('\0')));
    setAll(*m, tqa_fuzz::Numbers(script), word);
    expectTravels(m);
    const auto_destroy<TQAMessage> reply(m->genReply(word));
    EXPECT_EQ(reply->getOrigin(), word);
    const std::string origin = m->getOrigin();
    if (!origin.empty()) {
        EXPECT_EQ(reply->getTarget(), origin);
    }
    const auto_destroy<TQAMessage> second(reply->genReply(word));
    EXPECT_EQ(second->getTarget(), word);
}
