#include "tqamsg/binary/binary.h"
#include "tqamsg/msg/auto_destroy.h"
#include "tqamsg/msg/message.h"
#include "tqamsg/msg/message_factory.h"
#include "tqamsg/msg/message_iterator.h"
#include "tqamsg/soap/converter.h"

#include "tests/support/gateway.h"
#include "tests/support/xml.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace {

using tqa_test::answered;

const std::string kCurrent = tqa::kNamespaceBase;
const std::string kLegacy = tqa::kLegacyNamespaceBase;

// A reply message and what it is answered with.
class ResponseTest : public testing::Test {
  protected:
    TQASoapConverter converter;
    auto_destroy<TQAMessage> reply{TQAMsgFactory::createNew()};
    std::unique_ptr<TQASoapEnvelope> envelope;

    void load(std::string text) { ASSERT_EQ(0, reply->fromText(text.data(), nullptr)); }

    int answer(int version = 1) {
        TQASoapEnvelope* out = &kStale;
        const int status = converter.tqamsgToSoap(**reply, static_cast<SoapVersion>(version), out);
        EXPECT_NE(&kStale, out);
        envelope.reset(out);
        return status;
    }

    // The parts of the answer to a reply.
    std::string bodyFor(const std::string& text) {
        load(text);
        return answer() == 0 ? envelope->body : "no answer";
    }
    std::string headerFor(const std::string& text) {
        load(text);
        return answer() == 0 ? envelope->header : "no answer";
    }

    static inline TQASoapEnvelope kStale{""};
};

std::string response(const std::string& uri, const std::string& content) {
    return "<opResponse xmlns=\"" + uri + "\">\n" + content + "</opResponse>\n";
}

TEST_F(ResponseTest, TheResponseHoldsTheOperatorsChildren) {
    EXPECT_EQ(
        response(kCurrent + "4.0.0/tqahost", "<veid>1</veid>\n<node>\n<veid>2</veid>\n</node>\n"),
        bodyFor("<packet version=\"4.0.0\"><cookie>op</cookie><data><tqahost><veid>1</veid>"
                "<node><veid>2</veid></node></tqahost></data></packet>"));
    EXPECT_EQ("http://schemas.xmlsoap.org/soap/envelope/", envelope->uri);
    EXPECT_EQ(0, answer(2));
    EXPECT_EQ("http://www.w3.org/2003/05/soap-envelope", envelope->uri);
}

TEST_F(ResponseTest, ThePacketGoesBackInTheHeader) {
    EXPECT_EQ("<packet_header xmlns=\"" + kCurrent +
                  "4.0.0/protocol\" id=\"5\" version=\"4.0.0\">\n"
                  "<origin>vem</origin>\n<cookie>op</cookie>\n</packet_header>\n",
              headerFor("<packet version=\"4.0.0\" id=\"5\"><origin>vem</origin><cookie>op</cookie>"
                        "<data><vem/></data></packet>"));
    EXPECT_EQ(nullptr, converter.getFault());
}

TEST_F(ResponseTest, TheDataLeavesTheMessage) {
    load("<packet><cookie>op</cookie><data><vem/></data><session>s</session></packet>");
    const auto_destroy<TQAMessage> untouched(reply->copy(false));
    EXPECT_EQ(0, answer());
    char* const left = reply->toText(nullptr, false, "");
    EXPECT_STREQ("<packet>\n<cookie>op</cookie>\n<session>s</session>\n</packet>\n", left);
    std::free(left);
    const std::unique_ptr<TQAMessageIterator> it(untouched->newIterator());
    EXPECT_EQ(0, it->seek("data/vem"));
}

// Every part of the protocol version and of the ways to find it.
TEST_F(ResponseTest, SessionOrVersionChooseTheNamespace) {
    const struct {
        const char* attributes;
        const char* session;
        std::string base;
    } cases[] = {
        {"", "", kCurrent},
        {" version=\"4.0.0\"", "", kCurrent + "4.0.0/"},
        {" version=\"3.0.3\"", "", kCurrent + "3.0.3/"},
        {" version=\"3.0.2\"", "", kLegacy + "3.0.2/"},
        {" version=\"2.5.12\"", "", kLegacy + "2.5.12/"},
        {" version=\"2.5.12\"", "<session></session>", kLegacy + "2.5.12/"},
        {" version=\"2.5.12\"", "<session>a.30003.b</session>", kCurrent + "3.0.3/"},
        {" version=\"4.0.0\"", "<session>a.30002.b</session>", kLegacy + "3.0.2/"},
        {" version=\"2.5.12\"", "<session>a.x.30001.b</session>", kLegacy + "0.0.0/"},
        {" version=\"2.5.12\"", "<session>a. 40001x.y.b</session>", kCurrent + "4.0.1/"},
        {" version=\"2.5.12\"", "<session>..</session>", kLegacy + "0.0.0/"},
        {" version=\"2.5.12\"", "<session>a.b</session>", kCurrent},
        {" version=\"2.5.12\"", "<session>ab</session>", kCurrent},
        {"", "<session>a.99999999999999999999.b</session>", kCurrent + "214748.36.47/"},
        {"", "<session>a.-99999999999999999999.b</session>", kLegacy + "-214748.-36.-48/"},
    };
    for (const auto& one : cases)
        EXPECT_EQ(response(one.base + "vem", "<veid>1</veid>\n"),
                  bodyFor("<packet" + std::string(one.attributes) + ">" + one.session +
                          "<cookie>op</cookie><data><vem><veid>1</veid></vem></data></packet>"))
            << one.attributes << one.session;
}

TEST_F(ResponseTest, ASystemsConfigurationIsWrittenWithItsWrapper) {
    EXPECT_EQ(response(kCurrent + "system",
                       "<system>\n<configuration/>\n<veid>1</veid>\n</system>\n<vem/>\n"),
              bodyFor("<packet><cookie>op</cookie><data><system><configuration/><veid>1</veid>"
                      "</system><vem/></data></packet>"));
    EXPECT_EQ(response(kCurrent + "system", "<state/>\n<veid>1</veid>\n"),
              bodyFor("<packet><cookie>op</cookie><data><system><state/><veid>1</veid></system>"
                      "<vem/></data></packet>"));
    EXPECT_EQ(
        response(kCurrent + "vem", "<configuration/>\n"),
        bodyFor("<packet><cookie>op</cookie><data><vem><configuration/></vem></data></packet>"));
}

TEST_F(ResponseTest, AnOperatorWithoutChildrenIsWrittenItself) {
    EXPECT_EQ(response(kCurrent + "vem", "<vem/>\n"),
              bodyFor("<packet><cookie>op</cookie><data><vem/></data></packet>"));
    EXPECT_EQ(response(kCurrent + "vem", "<vem>text</vem>\n<filem/>\n"),
              bodyFor("<packet><cookie>op</cookie><data><vem>text</vem><filem/></data></packet>"));
    EXPECT_EQ(response(kCurrent + "data", "<data/>\n"),
              bodyFor("<packet><cookie>op</cookie><data/></packet>"));
}

TEST_F(ResponseTest, AnOperatorWithoutANameLeavesTheStartTagOpen) {
    EXPECT_EQ("<opResponse<zz>1</zz>\n</opResponse>\n",
              bodyFor("<packet><cookie>op</cookie><data><zz>1</zz></data></packet>"));
}

TEST_F(ResponseTest, AReplyWithoutDataLosesNothing) {
    const std::string text = "<packet id=\"5\"><cookie>op</cookie><origin>vem</origin></packet>";
    EXPECT_EQ(response(kCurrent, ""), bodyFor(text));
    EXPECT_EQ(
        "<packet_header xmlns=\"" + kCurrent +
            "protocol\" id=\"5\">\n<cookie>op</cookie>\n<origin>vem</origin>\n</packet_header>\n",
        envelope->header);
    EXPECT_EQ("vem", reply->getOrigin());
    EXPECT_EQ(response(kCurrent, ""),
              bodyFor("<packet><cookie>op</cookie><error>not the data's</error></packet>"));
}

TEST_F(ResponseTest, ErrorsMakeAFault) {
    const struct {
        const char* data;
        const char* detail;
    } cases[] = {
        {"<error>a</error>", "<error>a</error>\n"},
        {"<error><code>1</code></error><vem/><error>b</error>",
         "<error>\n<code>1</code>\n</error>\n<error>b</error>\n"},
        {"<vem><veid>1</veid><error>a</error><veid>2</veid><error/></vem>",
         "<error>a</error>\n<error/>\n"},
        {"<vem/><error>a</error>", "<error>a</error>\n"},
        {"<vem><error>inside</error></vem><error>beside</error>", "<error>beside</error>\n"},
    };
    for (const auto& one : cases)
        for (const int version : {1, 2}) {
            load("<packet><cookie>op</cookie><data>" + std::string(one.data) + "</data></packet>");
            ASSERT_EQ(0, answer(version)) << one.data;
            auto* const fault = dynamic_cast<TQASoapFault*>(envelope.get());
            ASSERT_NE(nullptr, fault) << one.data;
            EXPECT_EQ(TQASoapFault::Server, fault->code);
            EXPECT_EQ(version == 1 ? "Server" : "Receiver", fault->faultCodeToString(fault->code));
            EXPECT_EQ("TQAgent responded with error", fault->reason);
            EXPECT_EQ(one.detail, fault->detail);
            EXPECT_EQ("", fault->header);
            EXPECT_EQ(nullptr, converter.getFault());
            const std::unique_ptr<TQAMessageIterator> it(reply->newIterator());
            EXPECT_EQ(-1, it->seek("data"));
        }
}

TEST_F(ResponseTest, ErrorsDeeperDownAreData) {
    EXPECT_EQ(response(kCurrent + "vem", "<node>\n<error/>\n</node>\n"),
              bodyFor("<packet><cookie>op</cookie><data><vem><node><error/></node></vem></data>"
                      "</packet>"));
}

TEST_F(ResponseTest, FailedConversionsHaveAFaultOrNot) {
    const std::string ok = "<packet><cookie>op</cookie><data><vem/></data></packet>";
    const std::string error = "<packet><cookie>op</cookie><data><error/></data></packet>";
    const std::string unnamed = "<packet><data><vem/></data></packet>";
    const std::string unnamedError = "<packet><cookie></cookie><data><error/></data></packet>";
    const std::string nested = "<packet><cookie><id/></cookie><data><vem/></data></packet>";
    const std::string noName = ": Cannot get original operation name from TQAgent message";
    for (const std::string& text : {unnamed, unnamedError, nested}) {
        EXPECT_EQ("soap:Client" + noName, answered(text, 1));
        EXPECT_EQ("soap:Sender" + noName, answered(text, 2));
        EXPECT_EQ("soap:Client: Unsupported soap version", answered(text, 3));
    }
    EXPECT_EQ("soap:Client: Unsupported soap version", answered(error, 3));
    EXPECT_EQ("soap:Client: Unsupported soap version", answered(error, 0));
    EXPECT_EQ("no fault", answered(ok, 3));
    EXPECT_EQ("no fault", answered(ok, 0));
}

// A message made through an iterator, with namespaces as operators write them.
TEST_F(ResponseTest, NamespacesOfTheReplyAreDeclaredOnTheAnswersBase) {
    ASSERT_EQ(0, reply->create("packet"));
    ASSERT_EQ(0, reply->setVersion(40000));
    const std::unique_ptr<TQAMessageIterator> it(reply->newIterator());
    ASSERT_EQ(0, it->putValue("get_info", "cookie"));
    ASSERT_EQ(0, it->newChild("data", ""));
    ASSERT_EQ(0, it->newChild("vem", "vem"));
    ASSERT_EQ(0, it->newChild("ve", "types"));
    ASSERT_EQ(0, it->putValue(101, "veid"));
    ASSERT_EQ(0, it->putValue("a<b", "name"));
    ASSERT_EQ(0, answer(2));
    char* const text = envelope->toText();
    tqa_test::Xml xml(text);
    std::free(text);
    ASSERT_TRUE(xml.wellFormed());
    xml.declare("vem", kCurrent + "4.0.0/vem");
    xml.declare("types", kCurrent + "4.0.0/types");
    const std::string ve = "/soap12:Envelope/soap12:Body/vem:get_infoResponse/vem:ve/";
    EXPECT_EQ("101", xml.value("string(" + ve + "types:veid)"));
    EXPECT_EQ("a<b", xml.value("string(" + ve + "types:name)"));
}

TEST_F(ResponseTest, AChangedAccessListIsSavedBeforeTheReplyIsRead) {
    load(
        "<packet><cookie>op</cookie><auth/><data><vem><veid>1</veid><veid>2</veid></vem></data>"
        "</packet>");
    for (int ve = 100; ve < 400; ve += 2) reply->auth.addVE(ve);
    ASSERT_EQ(0, answer());
    EXPECT_EQ(response(kCurrent + "vem", "<veid>1</veid>\n<veid>2</veid>\n"), envelope->body);
    EXPECT_NE(std::string::npos, envelope->header.find("398"));
}

// Messages that cannot be printed or walked, as when memory runs out.
struct Unprintable : TQABinary {
    char* toText(TQAMessageIterator*, bool, const std::string&) override { return nullptr; }
};
struct Unwalkable : TQABinary {
    TQAMessageIterator* newIterator() override { return nullptr; }
};

TEST(UnreadableMessageTest, IsAFaultAndNotHalfAnAnswer) {
    std::string text = "<packet><cookie>op</cookie><data><vem/></data></packet>";
    for (TQAMessage* message :
         {static_cast<TQAMessage*>(new Unprintable), static_cast<TQAMessage*>(new Unwalkable)}) {
        const auto_destroy<TQAMessage> owner(message);
        ASSERT_EQ(0, message->fromText(text.data(), nullptr));
        TQASoapConverter converter;
        TQASoapEnvelope* out = nullptr;
        EXPECT_EQ(-1, converter.tqamsgToSoap(*message, SOAP_12, out));
        EXPECT_EQ(nullptr, out);
        EXPECT_EQ("TQAgent message cannot be converted to soap envelope",
                  converter.getFault()->reason);
        EXPECT_NE(nullptr, dynamic_cast<TQASoapFault12*>(converter.getFault()));
    }
}

TEST(UnreadableMessageTest, TakesNoRequest) {
    const auto_destroy<TQAMessage> message(new Unwalkable);
    TQASoapConverter converter;
    const std::string text = tqa_test::request("<stop xmlns=\"u/4.0.0/vem\"/>");
    EXPECT_EQ(-1, converter.soapToTqamsg(text.c_str(), **message));
    EXPECT_EQ("Soap message body cannot be converted to TQAgent message",
              converter.getFault()->reason);
}

TEST_F(ResponseTest, WideRepliesAreOnePass) {
    std::string text = "<packet><cookie>op</cookie><data><vem>";
    std::string errors = text;
    std::string wanted;
    for (int i = 0; i < 100000; ++i) {
        text += "<veid>1</veid>";
        wanted += "<veid>1</veid>\n";
        errors += "<error/>";
    }
    EXPECT_EQ(response(kCurrent + "vem", wanted), bodyFor(text + "</vem></data></packet>"));
    load(errors + "</vem></data></packet>");
    ASSERT_EQ(0, answer());
    EXPECT_EQ(100000u * 9, dynamic_cast<TQASoapFault&>(*envelope).detail.size());
}

}  // namespace
