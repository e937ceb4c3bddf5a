#include "tqamsg/msg/auto_destroy.h"
#include "tqamsg/msg/message.h"
#include "tqamsg/msg/message_factory.h"
#include "tqamsg/msg/message_iterator.h"
#include "tqamsg/util/c_text.h"

#include "tests/support/fake_message.h"

#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

using tqa_test::fake;
using tqa_test::FakeIterator;
using tqa_test::FakeKind;
using tqa_test::FakeMessage;
using tqa_test::FakePtr;

class Reply : public testing::Test {
  protected:
    // The reply of "vem" to a request.
    static std::string replyTo(const std::string& request) {
        const FakePtr asked = fake(request);
        const FakePtr reply(static_cast<FakeMessage*>(asked->genReply("vem")));
        EXPECT_EQ(tqa_test::text(*asked), request);
        return reply == nullptr ? "(none)" : tqa_test::text(*reply);
    }

    const FakeKind kind_;
};

TEST_F(Reply, ToAnEmptyRequestHasAnOriginAndData) {
    EXPECT_EQ(replyTo("(packet)"), "(packet (origin \"vem\") (data))");
}

TEST_F(Reply, CarriesEverythingOverInOrder) {
    EXPECT_EQ(replyTo("(packet (cookie \"c\") (session \"s1\") (@priority \"2\") (@id \"m1\")"
                      " (@version \"40102\") (src (index \"3\") (director \"gend\")"
                      " (target \"client\")) (target \"vem\") (origin \"filem\") (data (vem)))"),
              "(packet (origin \"vem\") (@id \"m1\") (@version \"40102\") (@priority \"2\")"
              " (session \"s1\") (target \"filem\")"
              " (dst (target \"client\") (director \"gend\") (index \"3\")) (cookie \"c\")"
              " (data))");
}

TEST_F(Reply, CarriesNoOtherHeaderFieldOver) {
    EXPECT_EQ(replyTo("(packet (@time \"1\") (@timeout \"2\") (@timeout_limit \"3\")"
                      " (@type \"4\") (@uid \"5\") (@progress \"1\") (@log \"1\"))"),
              "(packet (origin \"vem\") (data))");
}

TEST_F(Reply, ToARequestWithoutOriginHasNoTarget) {
    EXPECT_EQ(replyTo("(packet (target \"vem\"))"), "(packet (origin \"vem\") (data))");
}

TEST_F(Reply, ToARequestWithoutSourceHasNoDestination) {
    EXPECT_EQ(replyTo("(packet (origin \"filem\") (dst (index \"3\")))"),
              "(packet (origin \"vem\") (target \"filem\") (data))");
}

TEST_F(Reply, CopiesOnlyWhatTheSourceHas) {
    EXPECT_EQ(replyTo("(packet (src (index \"3\")))"),
              "(packet (origin \"vem\") (dst (index \"3\")) (data))");
    EXPECT_EQ(replyTo("(packet (src (veid \"3\") (director (vem))))"),
              "(packet (origin \"vem\") (dst) (data))");
    EXPECT_EQ(replyTo("(packet (src))"), "(packet (origin \"vem\") (dst) (data))");
}

TEST_F(Reply, BringsATextualCookieBackAsText) {
    EXPECT_EQ(replyTo("(packet (cookie \"a \\\"b\\\"\"))"),
              "(packet (origin \"vem\") (cookie \"a \\\"b\\\"\") (data))");
    EXPECT_EQ(replyTo("(packet (cookie))"), "(packet (origin \"vem\") (cookie) (data))");
}

TEST_F(Reply, BringsACookieWithChildrenBackAsItIs) {
    EXPECT_EQ(replyTo("(packet (cookie:types (veid \"1\") (data:vem (veid \"2\"))))"),
              "(packet (origin \"vem\") (cookie:types (veid \"1\") (data:vem (veid \"2\")))"
              " (data))");
}

TEST_F(Reply, ComesFromAnIteratorAtAnyPosition) {
    const FakePtr request = fake("(packet (origin \"filem\") (data (vem)))");
    FakeIterator it(request.get());
    ASSERT_EQ(it.seek("data/vem"), 0);
    const FakePtr reply(static_cast<FakeMessage*>(it.genReply("vem")));
    EXPECT_EQ(tqa_test::text(*reply), "(packet (origin \"vem\") (target \"filem\") (data))");
    EXPECT_EQ(it.where(), "/packet/data[1]/vem[0]");
}

TEST_F(Reply, IsIndependentOfItsRequest) {
    FakePtr request = fake("(packet (cookie (veid \"1\")))");
    const FakePtr reply(static_cast<FakeMessage*>(request->genReply("vem")));
    request.reset();
    EXPECT_EQ(tqa_test::text(*reply), "(packet (origin \"vem\") (cookie (veid \"1\")) (data))");
    EXPECT_EQ(reply->counter(), 1);
}

TEST_F(Reply, ToAMessageWithoutContentIsEmpty) {
    const FakePtr empty(new FakeMessage);
    const FakePtr reply(static_cast<FakeMessage*>(empty->genReply("vem")));
    EXPECT_EQ(tqa_test::text(*reply), "(packet (origin \"vem\") (data))");
}

TEST_F(Reply, DoesNotComeWhenTheRequestCannotBeWalked) {
    const int before = FakeMessage::alive;
    {
        const FakePtr request = fake("(packet)");
        request->failNewIterator = true;
        EXPECT_EQ(request->genReply("vem"), nullptr);
    }
    EXPECT_EQ(FakeMessage::alive, before);
}

// --- what the default factory makes -------------------------------------------------------------

TEST_F(Reply, ComesEvenWhenElementsCannotBeWritten) {
    const char* const request = "(packet (@id \"m1\") (origin \"filem\") (src (index \"3\")))";
    const char* const replies[] = {
        "(packet)",
        "(packet (origin \"vem\"))",
        "(packet (origin \"vem\") (@id \"m1\"))",
        "(packet (origin \"vem\") (@id \"m1\") (target \"filem\"))",
        "(packet (origin \"vem\") (@id \"m1\") (target \"filem\") (dst))",
        "(packet (origin \"vem\") (@id \"m1\") (target \"filem\") (dst (index \"3\")))",
        "(packet (origin \"vem\") (@id \"m1\") (target \"filem\") (dst (index \"3\")) (data))",
    };
    const FakePtr asked = fake(request);
    int writes = 0;
    for (const char* expected : replies) {
        FakeMessage::writesOfNew = writes++;
        const FakePtr reply(static_cast<FakeMessage*>(asked->genReply("vem")));
        ASSERT_NE(reply, nullptr);
        EXPECT_EQ(tqa_test::text(*reply), expected);
    }
}

TEST_F(Reply, DoesNotComeWhenItCannotBeCreated) {
    const FakePtr request = fake("(packet)");
    const int before = FakeMessage::alive;
    FakeMessage::failCreate = true;
    EXPECT_EQ(request->genReply("vem"), nullptr);
    EXPECT_EQ(FakeMessage::alive, before);
}

TEST_F(Reply, DoesNotComeWithoutADefaultKind) {
    const FakePtr request = fake("(packet)");
    TQAMsgFactory* factory = std::exchange(TQAMessage::Factory, nullptr);
    EXPECT_EQ(request->genReply("vem"), nullptr);
    TQAMessage::Factory = factory;
}

// --- of the library's own kind ------------------------------------------------------------------

std::string replyToXml(std::string request) {
    const auto_destroy<TQAMessage> asked(TQAMsgFactory::createNew());
    EXPECT_EQ(asked->fromText(request.data(), nullptr), 0);
    const auto_destroy<TQAMessage> reply(asked->genReply("vem"));
    const tqa::CText printed(*reply == nullptr ? nullptr : reply->toText(nullptr, false, ""));
    return printed == nullptr ? "(none)" : printed.get();
}

TEST(BinaryReply, CarriesEverythingOverInOrder) {
    EXPECT_EQ(replyToXml("<packet version=\"4.1.2\" id=\"m1\" priority=\"2\" timeout=\"5\">"
                         "<session>s1</session><origin>filem</origin><target>vem</target>"
                         "<src><index>3</index><director>gend</director></src>"
                         "<cookie>c</cookie><data><vem/></data></packet>"),
              "<packet priority=\"2\" version=\"4.1.2\" id=\"m1\">\n"
              "<origin>vem</origin>\n"
              "<session>s1</session>\n"
              "<target>filem</target>\n"
              "<dst>\n"
              "<director>gend</director>\n"
              "<index>3</index>\n"
              "</dst>\n"
              "<cookie>c</cookie>\n"
              "<data/>\n"
              "</packet>\n");
}

TEST(BinaryReply, ToAnEmptyRequestHasAnOriginAndData) {
    EXPECT_EQ(replyToXml("<packet></packet>"),
              "<packet>\n<origin>vem</origin>\n<data/>\n</packet>\n");
}

TEST(BinaryReply, BringsACookieWithChildrenBackAsItIs) {
    EXPECT_EQ(replyToXml("<packet><cookie><data><veid>1</veid></data><vem/></cookie></packet>"),
              "<packet>\n"
              "<origin>vem</origin>\n"
              "<cookie>\n"
              "<data>\n"
              "<veid>1</veid>\n"
              "</data>\n"
              "<vem/>\n"
              "</cookie>\n"
              "<data/>\n"
              "</packet>\n");
}

TEST(BinaryReply, BringsACookieOfBytesBackAsItIs) {
    const auto_destroy<TQAMessage> asked(TQAMsgFactory::createNew());
    ASSERT_EQ(asked->create("packet"), 0);
    const std::string cookie("\0\xFF", 2);
    const std::unique_ptr<TQAMessageIterator> in(asked->newIterator());
    ASSERT_EQ(in->putValueBase64(cookie, "cookie"), 0);
    const auto_destroy<TQAMessage> reply(asked->genReply("vem"));
    const std::unique_ptr<TQAMessageIterator> out(reply->newIterator());
    std::string back;
    EXPECT_EQ(out->getValueBase64(&back, "cookie"), 0);
    EXPECT_EQ(back, cookie);
}

TEST(BinaryReply, ToAMessageWithoutContentIsEmpty) {
    const auto_destroy<TQAMessage> empty(TQAMsgFactory::createNew());
    const auto_destroy<TQAMessage> reply(empty->genReply("vem"));
    ASSERT_NE(*reply, nullptr);
    EXPECT_EQ(reply->getOrigin(), "vem");
}

}  // namespace
