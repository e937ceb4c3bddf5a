// When memory runs out an operation fails, without an exception, and grants nothing.

#include "tqamsg/msg/auto_destroy.h"
#include "tqamsg/msg/message.h"
#include "tqamsg/msg/message_factory.h"
#include "tqamsg/msg/message_iterator.h"
#include "tqamsg/util/c_text.h"

#include "tests/support/failing_new.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace {

using tqa_test::FailingNew;

const std::string kLong(100, 'x');

TQAMessage* request() {
    std::string xml =
        "<packet id=\"" + kLong + "\"><origin>" + kLong + "</origin><target>" + kLong +
        "</target><session>" + kLong + "</session><src><target>" + kLong +
        "</target></src><cookie><veid>5</veid></cookie><auth><ve_list><veid>3</veid>"
        "<ve_range><start_veid>10</start_veid><end_veid>20</end_veid></ve_range>"
        "</ve_list></auth><data><ve_list><veid>3</veid><veid>5</veid></ve_list></data>"
        "</packet>";
    TQAMessage* made = TQAMsgFactory::createNew();
    EXPECT_EQ(made->fromText(xml.data(), nullptr), 0);
    return made;
}

struct Operation {
    const char* what;
    void (*run)(TQAMessage& message, TQAMessageIterator& onData);
};

IDRangeArray threeAndFive() {
    IDRangeArray ids;
    ids.insert(3);
    ids.insert(5);
    return ids;
}

const IDRangeArray kIds = threeAndFive();

const Operation kOperations[] = {
    {"copy",
     [](TQAMessage& message, auto&) { const auto_destroy<TQAMessage> copy(message.copy(false)); }},
    {"genReply", [](TQAMessage& message,
                    auto&) { const auto_destroy<TQAMessage> reply(message.genReply("vem")); }},
    {"getOrigin", [](TQAMessage& message, auto&) { message.getOrigin(); }},
    {"getTarget", [](TQAMessage& message, auto&) { message.getTarget(); }},
    {"getSession",
     [](TQAMessage& message, auto&) {
         std::string session;
         message.getSession(&session);
     }},
    {"setOrigin", [](TQAMessage& message, auto&) { message.setOrigin(kLong); }},
    {"newMessage",
     [](TQAMessage&, auto&) {
         char bytes[] = "<packet/>";
         const auto_destroy<TQAMessage> made(TQAMessage::Factory->newMessage(bytes, sizeof bytes));
     }},
    {"toText",
     [](TQAMessage& message, auto&) {
         message.auth.addVE(4);
         const tqa::CText printed(message.toText(nullptr, false, std::string()));
     }},
    {"toTextFile", [](TQAMessage& message, auto&) { message.toTextFile("/dev/null"); }},
    {"getValue",
     [](TQAMessage&, TQAMessageIterator& onData) {
         bool flag = false;
         onData.getValue(&flag, "/origin");
     }},
    {"seekPresence", [](TQAMessage&, TQAMessageIterator& onData) { onData.seekPresence("x"); }},
    {"putChild", [](TQAMessage&, TQAMessageIterator& onData) { onData.putChild("vem", "vem"); }},
    {"getVEList",
     [](TQAMessage&, TQAMessageIterator& onData) {
         IDRangeArray ids;
         EXPECT_NE(onData.getVEList(ids, true), 0);
     }},
    {"putVE", [](TQAMessage&, TQAMessageIterator& onData) { onData.putVE(4, "veid", true); }},
    {"putVEList", [](TQAMessage&, TQAMessageIterator& onData) { onData.putVEList(kIds, true); }},
    {"checkAccess",
     [](TQAMessage& message, auto&) {
         EXPECT_FALSE(message.auth.checkAccess(5));
         EXPECT_FALSE(message.auth.checkAccess(3, 10));
         EXPECT_FALSE(message.auth.checkAccess(kIds));
     }},
    {"addVE",
     [](TQAMessage& message, auto&) {
         message.auth.reset();
         message.auth.addVE(4);
         message.auth.addVEList(kIds);
     }},
    {"save", [](TQAMessage& message, auto&) { message.auth.save(); }},
};

TEST(NoMemory, NothingIsThrown) {
    if (!FailingNew::works()) GTEST_SKIP() << "operator new is not the test's";
    for (const Operation& operation : kOperations) {
        bool failed = true;
        for (int allocations = 0; failed; ++allocations) {
            const auto_destroy<TQAMessage> message(request());
            const auto_destroy<TQAMessage> other(message->copy(false));
            const std::unique_ptr<TQAMessageIterator> onData(message->newIterator());
            ASSERT_EQ(onData->seek("data"), 0);
            {
                const FailingNew failing(allocations);
                EXPECT_NO_THROW(operation.run(**message, *onData)) << operation.what << allocations;
                failed = failing.hasFailed();
            }
            // Nobody else notices.
            EXPECT_FALSE(other->auth.checkAccess(5)) << operation.what << allocations;
            EXPECT_EQ(other->getOrigin(), kLong) << operation.what << allocations;
        }
    }
}

// A list that was read in part only must not pass for the whole.
TEST(NoMemory, ReadAccessIsNotGrantedForAListReadInPart) {
    if (!FailingNew::works()) GTEST_SKIP() << "operator new is not the test's";
    bool failed = true;
    for (int allocations = 0; failed; ++allocations) {
        const auto_destroy<TQAMessage> message(request());
        const FailingNew failing(allocations);
        EXPECT_FALSE(message->auth.checkReadAccess(kIds)) << allocations;
        failed = failing.hasFailed();
    }
}

// An id that could not be added is not allowed either.
TEST(NoMemory, AnAccessListThatCannotGrowRestrictsAllTheSame) {
    if (!FailingNew::works()) GTEST_SKIP() << "operator new is not the test's";
    const auto_destroy<TQAMessage> message(TQAMsgFactory::createNew());
    ASSERT_EQ(message->create("packet"), 0);
    {
        const FailingNew failing(0);
        message->auth.addVE(4);
        EXPECT_TRUE(failing.hasFailed());
    }
    EXPECT_FALSE(message->auth.checkAccess(4));
    EXPECT_FALSE(message->auth.checkAccess(5));
}

}  // namespace
