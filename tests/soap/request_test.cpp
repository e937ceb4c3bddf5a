#include "tqamsg/msg/auto_destroy.h"
#include "tqamsg/msg/message.h"
#include "tqamsg/msg/message_factory.h"
#include "tqamsg/soap/converter.h"
#include "tqamsg/util/c_text.h"

#include "tests/support/gateway.h"

#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace {

using tqa_test::converted;
using tqa_test::request;

constexpr char kNoOperation[] = "soap:Client: No TQAgent operation was specified";
constexpr char kNoOperator[] = "soap:Client: No TQAgent target operator was specified";
constexpr char kWrongHeader[] = "soap:Client: Wrong packet header";
constexpr char kUnreadableHeader[] =
    "soap:Client: Soap header cannot be converted to TQAgent message";
constexpr char kUnreadableBody[] =
    "soap:Client: Soap message body cannot be converted to TQAgent message";
constexpr char kVersionMismatch[] = "soap:VersionMismatch: Version mismatch";

// The message of an operation without parameters.
std::string message(const std::string& target, const std::string& operation,
                    const std::string& version = "4.0.0") {
    return "<packet" + (version.empty() ? "" : " version=\"" + version + "\"") + ">\n<target>" +
           target + "</target>\n<cookie>" + operation + "</cookie>\n<data>\n<" + target + ">\n<" +
           operation + "/>\n</" + target + ">\n</data>\n</packet>\n";
}

// The same without an element for the operator.
std::string messageWithoutOperator(const std::string& target, const std::string& operation) {
    return "<packet version=\"4.0.0\">\n" +
           (target == "system" ? "" : "<target>" + target + "</target>\n") + "<cookie>" +
           operation + "</cookie>\n<data>\n<" + operation + "/>\n</data>\n</packet>\n";
}

struct Case {
    const char* what;
    std::string request;
    std::string outcome;
};

void check(const std::initializer_list<Case>& cases) {
    for (const Case& one : cases) EXPECT_EQ(one.outcome, converted(one.request)) << one.what;
}

TEST(RequestTest, TheOperationsNamespaceNamesOperatorAndVersion) {
    check({
        {"a prefix declared on the operation", request(R"(<m:stop xmlns:m="http://b/4.0.0/vem"/>)"),
         message("vem", "stop")},
        {"the default namespace", request(R"(<stop xmlns="http://b/4.0.0/vem"/>)"),
         message("vem", "stop")},
        {"the default namespace behind a prefixed one",
         request(R"(<stop xmlns:a="http://b/1.0.0/filem" xmlns="http://b/4.0.0/vem"/>)"),
         message("vem", "stop")},
        {"names in any case", request(R"(<M:stop xmlns:m="HTTP://B/4.0.0/VEM"/>)"),
         message("vem", "stop")},
        {"only the last two segments count", request(R"(<stop xmlns="//a/b/4.0.0/vem"/>)"),
         message("vem", "stop")},
        {"no slash before the last segment but one", request(R"(<stop xmlns="4.0.0/vem"/>)"),
         message("vem", "stop", "")},
        {"no segment before the last", request(R"(<stop xmlns="/vem"/>)"),
         message("vem", "stop", "")},
        {"two parts in the version", request(R"(<stop xmlns="u/1.2/vem"/>)"),
         message("vem", "stop", "0.1.2")},
        {"other text than a version", request(R"(<stop xmlns="u/tqa/vem"/>)"),
         message("vem", "stop", "0.0.0")},
        {"an empty segment before the last", request(R"(<stop xmlns="u//vem"/>)"),
         message("vem", "stop", "")},
        {"an attribute that merely starts like the declaration",
         request(R"(<stop xmlnsx="u/4.0.0/vem"/>)"), message("vem", "stop")},
        {"another prefix that starts like the operation's",
         request(R"(<m:stop xmlns:mx="u/4.0.0/filem" xmlns:m="u/4.0.0/vem"/>)"),
         message("filem", "stop")},
        {"a declaration in front of the envelope",
         R"(<!-- xmlns:m="u/4.0.0/vem" -->)" + request("<m:stop />"), message("vem", "stop")},
        {"an operator that is no word", request(R"(<stop xmlns="u/4.0.0/painter"/>)"),
         messageWithoutOperator("painter", "stop")},
        {"no operator behind the last slash", request(R"(<stop xmlns="u/4.0.0/"/>)"),
         messageWithoutOperator("", "stop")},
    });
}

TEST(RequestTest, OperatorSystemGetsNoTarget) {
    const std::string wanted =
        "<packet version=\"4.0.0\">\n<cookie>stop</cookie>\n<data>\n<system>\n<stop/>\n</system>\n"
        "</data>\n</packet>\n";
    check({{"system", request(R"(<stop xmlns="u/4.0.0/system"/>)"), wanted},
           {"SyStEm", request(R"(<stop xmlns="u/4.0.0/SyStEm"/>)"), wanted}});
}

TEST(RequestTest, NoUsableNamespaceIsNoOperator) {
    check({
        {"no declaration", request("<m:stop/>"), kNoOperator},
        {"a declaration of another prefix", request(R"(<m:stop xmlns:a="u/4.0.0/vem"/>)"),
         kNoOperator},
        {"no default declaration", request(R"(<stop xmlns:a="u/4.0.0/vem"/>)"), kNoOperator},
        {"a default declaration further inside",
         request(R"(<stop a="1"><x xmlns="u/4.0.0/vem"></x></stop>)"), kNoOperator},
        {"a blank in the text only", request("<stop>a b</stop>"), kNoOperator},
        {"single quotes", request("<stop xmlns='u/4.0.0/vem'></stop>"), kNoOperator},
        {"single quotes on a prefix", request("<m:stop xmlns:m='u/4.0.0/vem'></m:stop>"),
         kNoOperator},
        {"an open quote", request("<m:stop xmlns:m=\"u/4.0.0/vem></m:stop>"), kNoOperator},
        {"an open quote in the default declaration", request("<stop xmlns=\"u/4.0.0/vem></stop>"),
         kNoOperator},
        {"no equals sign", request(R"(<stop xmlns "u/4.0.0/vem"></stop>)"), kNoOperator},
        {"an equals sign inside the value", request(R"(<m:stop xmlns:m "u=4.0.0/vem"></m:stop>)"),
         kNoOperator},
        {"a namespace without a slash", request(R"(<stop xmlns="vem"/>)"), kNoOperator},
        {"an empty namespace", request(R"(<stop xmlns=""/>)"), kNoOperator},
    });
}

TEST(RequestTest, NoUsableElementIsNoOperation) {
    check({
        {"an empty body", request(""), kNoOperation},
        {"text only", request("stop"), kNoOperation},
        {"no name", request(R"(< xmlns="u/4.0.0/vem"/>)"), kNoOperation},
        {"an empty tag", request("<>"), kNoOperation},
        {"an unprefixed element without an attribute", request("<stop></stop>"), kNoOperation},
        {"an unprefixed tag that ends inside the body end tag", request("<stop "), kNoOperation},
        {"a tag that does not end", request("<m:stop"), kNoOperation},
    });
}

TEST(RequestTest, CommentsAndSectionsBeforeTheOperationAreSteppedOver) {
    const std::string stop = R"(<stop xmlns="u/4.0.0/vem"/>)";
    check({
        {"a comment", request("<!-- a -->" + stop), message("vem", "stop")},
        {"tags in a comment", request("<!-- <a> --> <!----> " + stop), message("vem", "stop")},
        {"a section", request("<![CDATA[ <a> ]] > ]]>" + stop), message("vem", "stop")},
        {"another construct", request("<!ELEMENT a>" + stop), message("vem", "stop")},
        {"all of them", request("<!-- > --><![CDATA[>]]><!>" + stop), message("vem", "stop")},
        {"a comment behind the operation", request(stop + "<!-- a -->"), message("vem", "stop")},
        {"an open comment", request("<!-- a -- >" + stop), kNoOperation},
        {"a comment that ends in its start", request("<!-->" + stop), kNoOperation},
        {"an open section", request("<![CDATA[ a ]>" + stop), kNoOperation},
        {"only a comment", request("<!-- a -->"), kNoOperation},
    });
}

TEST(RequestTest, ManyCommentsBeforeTheOperationAreOnePass) {
    std::string comments;
    for (int i = 0; i < 100000; ++i) comments += "<!-- a --><!b>";
    EXPECT_EQ(message("vem", "stop"),
              converted(request(comments + R"(<stop xmlns="u/4.0.0/vem"/>)")));
    EXPECT_EQ(kNoOperation, converted(request(comments)));
}

TEST(RequestTest, TheOperationKeepsItsParameters) {
    EXPECT_EQ(
        "<packet version=\"4.0.0\">\n<target>vem</target>\n<cookie>start</cookie>\n<data>\n<vem>\n"
        "<start>\n<veid>101</veid>\n<name>a &lt; b </name>\n</start>\n</vem>\n</data>\n</packet>\n",
        converted(request("<m:start xmlns:m=\"u/4.0.0/vem\" xmlns:n=\"v\">\n<m:veid>101</m:veid>\n"
                          "<name xmlns=\"w\">a &lt; b </name>\n</m:start>\n")));
}

// Only the letters of the name itself fold; the tree is looked up as it stands.
TEST(RequestTest, TheOperationsNameIsLowerCase) {
    EXPECT_EQ(
        "<packet version=\"4.0.0\">\n<target>tqahost</target>\n<cookie>get_info</cookie>\n<data>\n"
        "<tqahost>\n<m:Get_Info><m:veid>5</m:veid></m:Get_Info>\n</tqahost>\n</data>\n</packet>\n",
        converted(
            request(R"(<m:Get_Info xmlns:m="u/4.0.0/TQAhost"><m:veid>5</m:veid></m:Get_Info>)")));
}

TEST(RequestTest, OnlyABlankOrTheTagsEndEndsTheName) {
    EXPECT_EQ(
        "<packet version=\"4.0.0\">\n<target>vem</target>\n<cookie>stop/</cookie>\n<data>\n"
        "<vem>\n<stop/>\n</vem>\n</data>\n</packet>\n",
        converted("<!-- xmlns:m=\"u/4.0.0/vem\" -->" + request("<m:stop/>")));
    EXPECT_EQ(
        "<packet version=\"4.0.0\">\n<target>vem</target>\n<cookie>stop\n</cookie>\n<data>\n"
        "<vem>\n<stop/>\n</vem>\n</data>\n</packet>\n",
        converted(request("<m:stop\n xmlns:m=\"u/4.0.0/vem\"/>")));
}

// docs/soap.md says these of clients; the envelope's habits are the envelope's tests.
TEST(RequestTest, HabitsOfClientsHaveTheirOutcomes) {
    const auto withName = [](const std::string& name) {
        return request("<start xmlns=\"u/4.0.0/vem\">" + name + "</start>");
    };
    const auto messageWith = [](const std::string& name) {
        return "<packet version=\"4.0.0\">\n<target>vem</target>\n<cookie>start</cookie>\n<data>\n"
               "<vem>\n<start>\n" +
               name + "\n</start>\n</vem>\n</data>\n</packet>\n";
    };
    check({
        {"a typed parameter", withName(R"(<name xsi:type="xsd:string">a</name>)"),
         messageWith("<name>a</name>")},
        {"a nil parameter", withName(R"(<name xsi:nil="true"></name>)"),
         messageWith("<name></name>")},
        {"a nil parameter as an empty tag", withName(R"(<name xsi:nil="true"/>)"), kUnreadableBody},
        {"a packet's attribute beside text", withName(R"(<name id="1">a</name>)"), kUnreadableBody},
        {"a reference", withName(R"(<name href="#1"></name>)"), kUnreadableBody},
        {"a section as a value", withName("<name><![CDATA[a]]></name>"), messageWith("<name/>")},
        {"comments between parameters", withName("<!-- a --><name>b</name><!-- c -->"),
         messageWith("<name>b</name>")},
        {"a second element in the body",
         request("<m:stop xmlns:m=\"u/4.0.0/vem\"></m:stop><m:start></m:start>"),
         "<packet version=\"4.0.0\">\n<target>vem</target>\n<cookie>stop</cookie>\n<data>\n<vem>\n"
         "<stop></stop>\n</vem>\n</data>\n</packet>\n"},
        {"one prefix bound twice",
         request("<p:stop xmlns:p=\"u/4.0.0/vem\"/>",
                 "<p:packet_header xmlns:p=\"u/4.0.0/protocol\"></p:packet_header>"),
         "<packet version=\"4.0.0\">\n<target>protocol</target>\n<cookie>stop</cookie>\n<data>\n"
         "<protocol>\n<stop/>\n</protocol>\n</data>\n</packet>\n"},
    });
}

TEST(RequestTest, AnUnreadableOperationIsRefused) {
    const std::string start = R"(<stop xmlns="u/4.0.0/vem">)";
    check({
        {"text behind a child", request(start + "<a/>b</stop>"), kUnreadableBody},
        {"an end tag that is missing", request(start + "<a>"), kUnreadableBody},
        {"an empty tag with attributes", request(start + R"(<veid xsi:nil="true"/></stop>)"),
         kUnreadableBody},
        {"an unknown attribute", request(start + R"(<veid colour="red"></veid></stop>)"),
         kUnreadableBody},
        {"an end tag as the operation", request(R"(</stop xmlns="u/4.0.0/vem"/>)"),
         kUnreadableBody},
    });
}

TEST(RequestTest, TheHeadersPacketBecomesTheRoot) {
    const std::string body = R"(<stop xmlns="u/4.0.0/vem"/>)";
    const std::string rest =
        "<target>vem</target>\n<data>\n<vem>\n<stop/>\n</vem>\n</data>\n</packet>\n";
    check({
        {"attributes and children",
         request(body,
                 "<packet_header xmlns=\"p\" id=\"5\" uid=\"0\"><origin>x</origin>"
                 "<session>s</session></packet_header>"),
         "<packet version=\"4.0.0\" uid=\"0\" id=\"5\">\n<origin>x</origin>\n<session>s</session>\n"
         "<cookie>stop</cookie>\n" +
             rest},
        {"an empty tag", request(body, R"(<packet_header id="1"/>)"),
         "<packet version=\"4.0.0\" id=\"1\">\n<cookie>stop</cookie>\n" + rest},
        {"an empty tag behind a blank", request(body, R"(<packet_header id="1" />)"),
         "<packet version=\"4.0.0\" id=\"1\">\n<cookie>stop</cookie>\n" + rest},
        {"an empty tag without attributes", request(body, "<packet_header/>"),
         "<packet version=\"4.0.0\">\n<cookie>stop</cookie>\n" + rest},
        {"any case", request(body, "<PACKET_Header id=\"1\"></packet_HEADER>"),
         "<packet version=\"4.0.0\" id=\"1\">\n<cookie>stop</cookie>\n" + rest},
        {"other headers around it",
         request(body, "<a/><packet_header id=\"1\"></packet_header><b/>"),
         "<packet version=\"4.0.0\" id=\"1\">\n<cookie>stop</cookie>\n" + rest},
        {"a cookie of its own is taken over",
         request(body, "<packet_header><cookie>mine</cookie></packet_header>"),
         "<packet version=\"4.0.0\">\n<cookie>stop</cookie>\n<cookie></cookie>\n" + rest},
        {"a cookie of elements stays",
         request(body, "<packet_header><cookie><id></id></cookie></packet_header>"),
         "<packet version=\"4.0.0\">\n<cookie>\n<id></id>\n</cookie>\n<cookie></cookie>\n" + rest},
        {"the version of the header gives way to that of the namespace",
         request(body, R"(<packet_header version="1.2.3"></packet_header>)"),
         "<packet version=\"4.0.0\">\n<cookie>stop</cookie>\n" + rest},
        {"no packet", request(body, "<a/>"), message("vem", "stop")},
        {"a prefixed packet counts as none",
         request(body, "<p:packet_header id=\"1\"></p:packet_header>"), message("vem", "stop")},
    });
}

TEST(RequestTest, AnUnreadableHeaderIsRefused) {
    const std::string body = R"(<stop xmlns="u/4.0.0/vem"/>)";
    check({
        {"no end", request(body, R"(<packet_header id="1">)"), kWrongHeader},
        {"an end without its start", request(body, "<packet_header x/packet_header>"),
         kWrongHeader},
        {"an open declaration", request(body, "<packet_header xmlns=\"u></packet_header>"),
         kWrongHeader},
        {"an unknown attribute", request(body, R"(<packet_header colour="red"></packet_header>)"),
         kUnreadableHeader},
        {"text behind a child", request(body, "<packet_header><id/>b</packet_header>"),
         kUnreadableHeader},
        {"text instead of children", request(body, "<packet_header>hello</packet_header>"),
         kUnreadableBody},
        {"a root that is no packet",
         request(body, "<packet_headerx></packet_headerx></packet_header>"), kUnreadableBody},
    });
}

TEST(RequestTest, WithoutAKnownEnvelopeTheVersionsMismatch) {
    check({
        {"nothing", "", kVersionMismatch},
        {"no envelope", "<packet/>", kVersionMismatch},
        {"an unknown version",
         R"(<s:Envelope xmlns:s="urn:e"><s:Body><stop xmlns="u/4.0.0/vem"/></s:Body></s:Envelope>)",
         kVersionMismatch},
        {"a version in other letters",
         "<s:Envelope xmlns:s=\"HTTP://www.w3.org/2003/05/soap-envelope\"><s:Body/></s:Body>",
         kVersionMismatch},
    });
}

// A converter and the message that it fills.
class ConverterTest : public testing::Test {
  protected:
    TQASoapConverter converter;
    auto_destroy<TQAMessage> message{TQAMsgFactory::createNew()};

    std::string reason() const {
        return converter.getFault() == nullptr ? "" : converter.getFault()->reason;
    }
};

TEST_F(ConverterTest, NoTextIsAVersionMismatch) {
    EXPECT_EQ(-1, converter.soapToTqamsg(nullptr, **message));
    EXPECT_EQ("Version mismatch", reason());
    EXPECT_EQ(SOAP_11, converter.getSoapVersion());
    EXPECT_EQ(TQASoapFault::VersionMismatch, converter.getFault()->code);
}

TEST_F(ConverterTest, FaultsAreMadeInTheRequestsVersion) {
    std::string text = request("");
    EXPECT_EQ(-1, converter.soapToTqamsg(text.c_str(), **message));
    EXPECT_NE(nullptr, dynamic_cast<TQASoapFault11*>(converter.getFault()));
    srch_repl(text, "http://schemas.xmlsoap.org/soap/envelope/",
              "http://www.w3.org/2003/05/soap-envelope");
    EXPECT_EQ(-1, converter.soapToTqamsg(text.c_str(), **message));
    EXPECT_EQ(SOAP_12, converter.getSoapVersion());
    EXPECT_NE(nullptr, dynamic_cast<TQASoapFault12*>(converter.getFault()));
}

TEST_F(ConverterTest, EachConversionDropsTheFaultBefore) {
    EXPECT_EQ(-1, converter.soapToTqamsg("", **message));
    EXPECT_NE("", reason());
    EXPECT_EQ(0,
              converter.soapToTqamsg(request(R"(<stop xmlns="u/4.0.0/vem"/>)").c_str(), **message));
    EXPECT_EQ("", reason());
    EXPECT_EQ("vem", message->getTarget());
}

TEST_F(ConverterTest, AHeaderMakesAFreshMessage) {
    EXPECT_EQ(0, converter.convertHeader("<packet_header id=\"1\"/>", **message));
    EXPECT_EQ(0, converter.convertHeader(nullptr, **message));
    std::string id;
    EXPECT_EQ(-1, message->getID(&id));
    EXPECT_EQ(0, converter.convertHeader("", **message));
    EXPECT_EQ(-1, converter.convertHeader("<packet_header", **message));
    EXPECT_EQ("Wrong packet header", reason());
}

TEST_F(ConverterTest, ABodyOfItsOwnNeedsAnEndTag) {
    const struct {
        const char* body;
        const char* reason;
    } cases[] = {
        {nullptr, "No TQAgent operation was specified"},
        {"", "No TQAgent operation was specified"},
        {"<", "No TQAgent operation was specified"},
        {"<s:Body>", "No TQAgent operation was specified"},
        {"<s:Body><", "No TQAgent operation was specified"},
        {R"(<s:Body><stop xmlns="u/4.0.0/vem"/>)", "Cannot parse soap message body"},
        {R"(</s:Body><stop xmlns="u/4.0.0/vem"/>)", "Cannot parse soap message body"},
    };
    for (const auto& one : cases) {
        ASSERT_EQ(0, converter.convertHeader("", **message));
        EXPECT_EQ(-1, converter.convertBody(one.body, **message)) << one.body;
        EXPECT_EQ(one.reason, reason()) << one.body;
    }
}

TEST_F(ConverterTest, SubclassesMayReplaceTheSteps) {
    struct Own : TQASoapConverter {
        std::string header;
        std::string body;
        int headerStatus = 0;
        int bodyStatus = 0;
        int convertHeader(const char* text, TQAMessage&) override {
            header = text;
            return headerStatus;
        }
        int convertBody(const char* text, TQAMessage&) override {
            body = text;
            return bodyStatus;
        }
    } own;
    const std::string text = request("b", "h");
    EXPECT_EQ(0, own.soapToTqamsg(text.c_str(), **message));
    EXPECT_EQ("<s:Header>h</s:Header>", own.header);
    EXPECT_EQ("<s:Body>b</s:Body>", own.body);
    own.bodyStatus = 7;
    EXPECT_EQ(-1, own.soapToTqamsg(text.c_str(), **message));
    own.headerStatus = 7;
    own.body = "not called";
    EXPECT_EQ(-1, own.soapToTqamsg(text.c_str(), **message));
    EXPECT_EQ("not called", own.body);
}

// Message and fault of one conversion.
std::string outcomeOf(TQASoapConverter& converter, const std::string& text) {
    const auto_destroy<TQAMessage> message(TQAMsgFactory::createNew());
    const int status = converter.soapToTqamsg(text.c_str(), **message);
    const tqa::CText printed(message->toText(nullptr, true, ""));
    std::string outcome = std::to_string(status) + (printed ? printed.get() : "");
    if (converter.getFault() != nullptr) outcome += converter.getFault()->reason;
    return outcome;
}

// They get their texts in copies, the converter itself does not.
TEST(ConverterTexts, SubclassesThatReplaceNothingConvertAlike) {
    struct Own : TQASoapConverter {
    } own;
    TQASoapConverter plain;
    const std::string text =
        request("<!--a--><m:start><veid xmlns=\"w\">5</veid></m:start>",
                "<packet_header xmlns=\"u\" id=\"1\"><origin xmlns:m=\"u/4.0.0/vem\">x</origin>"
                "</packet_header>");
    EXPECT_EQ('0', outcomeOf(plain, text)[0]);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string prefix = text.substr(0, i);
        ASSERT_EQ(outcomeOf(plain, prefix), outcomeOf(own, prefix)) << i;
        for (const char damage : {'<', '>', '"', '/', ' ', 'x'}) {
            std::string damaged = text;
            damaged[i] = damage;
            ASSERT_EQ(outcomeOf(plain, damaged), outcomeOf(own, damaged)) << i << damage;
        }
    }
}

TEST(RequestTest, LargeRequestsAreOnePassPerStep) {
    const int n = 100000;
    std::string declarations;
    std::string upperCase;
    std::string children;
    for (int i = 0; i < n; ++i) {
        const std::string number = std::to_string(i);
        declarations += " xmlns:a" + number + "=\"u/1.0.0/filem\"";
        upperCase += " XMLNS:b" + number + "=\"v\"";
        children += "<veid xmlns=\"w\">" + number + "</veid>";
    }
    const std::string text = converted(request(
        "<stop" + declarations + upperCase + " xmlns=\"u/4.0.0/vem\">" + children + "</stop>",
        "<packet_header" + declarations + upperCase + " id=\"1\"></packet_header>"));
    EXPECT_EQ(0u, text.find("<packet version=\"4.0.0\" id=\"1\">\n<cookie>stop</cookie>\n"));
    EXPECT_NE(std::string::npos, text.find("<veid>99999</veid>\n</stop>\n</vem>\n"));
}

}  // namespace
