#include "tqamsg/soap/fault.h"

#include "tqamsg/soap/convert_context.h"

#include "tests/support/xml.h"

#include <cstdlib>
#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace {

using Fault = std::unique_ptr<TQASoapFault>;

Fault create(int version, int code, const std::string& reason) {
    return Fault(TQASoapFault::createSoapFault(static_cast<SoapVersion>(version),
                                               static_cast<TQASoapFault::Code>(code), reason));
}

std::string textOf(TQASoapFault& fault) {
    char* const text = fault.toText();
    std::string result(text);
    std::free(text);
    return result;
}

std::string wrapped(const std::string& uri, const std::string& body) {
    return "<soap:Envelope xmlns:soap=\"" + uri +
           "\" xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\" "
           "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">\n<soap:Body>\n" +
           body + "</soap:Body>\n</soap:Envelope>";
}

TEST(FaultTest, ASoap11FaultHasCodeAndString) {
    const Fault fault = create(1, 3, "it broke");
    EXPECT_EQ(wrapped("http://schemas.xmlsoap.org/soap/envelope/",
                      "<soap:Fault>\n<faultcode>soap:Server</faultcode>\n"
                      "<faultstring>it broke</faultstring>\n</soap:Fault>\n"),
              textOf(*fault));
}

TEST(FaultTest, ASoap12FaultHasCodeAndReason) {
    const Fault fault = create(2, 2, "it broke");
    EXPECT_EQ(wrapped("http://www.w3.org/2003/05/soap-envelope",
                      "<soap:Fault>\n<soap:Code>\n<soap:Value>soap:Sender</soap:Value>\n"
                      "</soap:Code>\n<soap:Reason>\n<soap:Text>it broke</soap:Text>\n"
                      "</soap:Reason>\n</soap:Fault>\n"),
              textOf(*fault));
}

TEST(FaultTest, ADetailStandsBehindTheReason) {
    const Fault old = create(1, 3, "r");
    const Fault current = create(2, 3, "r");
    old->detail = current->detail = "<error/>\n";
    EXPECT_NE(std::string::npos,
              textOf(*old).find("</faultstring>\n<detail>\n<error/>\n</detail>\n</soap:Fault>\n"));
    EXPECT_NE(
        std::string::npos,
        textOf(*current).find("</soap:Reason>\n<detail>\n<error/>\n</detail>\n</soap:Fault>\n"));
    EXPECT_TRUE(tqa_test::Xml(textOf(*old)).wellFormed());
    EXPECT_EQ("1", tqa_test::Xml(textOf(*current))
                       .value("count(/soap12:Envelope/soap12:Body/soap12:Fault/detail/error)"));
}

TEST(FaultTest, ReasonAndDetailAreNotEscaped) {
    const Fault old = create(1, 3, "a < b & \"c\"");
    const Fault current = create(2, 3, "a < b & \"c\"");
    old->detail = current->detail = "d < e & f\n";
    EXPECT_NE(std::string::npos,
              textOf(*old).find("<faultstring>a < b & \"c\"</faultstring>\n<detail>\nd < e & f\n"
                                "</detail>\n"));
    EXPECT_NE(std::string::npos, textOf(*current).find("<soap:Text>a < b & \"c\"</soap:Text>\n"
                                                       "</soap:Reason>\n<detail>\nd < e & f\n"
                                                       "</detail>\n"));
}

TEST(FaultTest, WritingTwiceGivesTheSame) {
    for (const int version : {1, 2}) {
        const Fault fault = create(version, 0, "r");
        const std::string once = textOf(*fault);
        EXPECT_EQ(once, textOf(*fault));
    }
}

TEST(FaultTest, CodesHaveNamesInEachVersion) {
    struct Plain : TQASoapFault {
        Plain() : TQASoapFault("urn:e", Server, "r") {}
        char* toText() override { return nullptr; }
    };
    const Plain plain;
    const Fault old = create(1, 0, "");
    const Fault current = create(2, 0, "");
    const struct {
        int code;
        const char* common;
        const char* soap11;
        const char* soap12;
    } names[] = {{0, "VersionMismatch", "VersionMismatch", "VersionMismatch"},
                 {1, "MustUnderstand", "MustUnderstand", "MustUnderstand"},
                 {2, "", "Client", "Sender"},
                 {3, "", "Server", "Receiver"},
                 {4, "", "", ""},
                 {-1, "", "", ""}};
    for (const auto& name : names) {
        const auto code = static_cast<TQASoapFault::Code>(name.code);
        EXPECT_EQ(name.common, plain.faultCodeToString(code));
        EXPECT_EQ(name.soap11, old->faultCodeToString(code));
        EXPECT_EQ(name.soap12, current->faultCodeToString(code));
    }
}

TEST(FaultTest, AnUnknownCodePrintsEmpty) {
    EXPECT_NE(std::string::npos, textOf(*create(1, 7, "r")).find("<faultcode>soap:</faultcode>"));
    EXPECT_NE(std::string::npos, textOf(*create(2, 7, "r")).find("<soap:Value>soap:</soap:Value>"));
}

TEST(FaultTest, AnUnsupportedVersionHasNoFaults) {
    for (const int version : {-1, 0, 3}) EXPECT_EQ(nullptr, create(version, 0, "r"));
}

// Says when it is deleted.
struct Mortal : TQASoapFault11 {
    explicit Mortal(bool* deleted) : TQASoapFault11(Client, "r"), deleted_(deleted) {}
    ~Mortal() override { *deleted_ = true; }
    bool* deleted_;
};

TEST(ConvertContextTest, OnlyTheLastFaultIsKept) {
    bool firstDeleted = false;
    bool secondDeleted = false;
    {
        TQASoapConvertContext context;
        EXPECT_EQ(nullptr, context.getFault());
        context.setFault(new Mortal(&firstDeleted));
        context.setFault(context.getFault());
        EXPECT_FALSE(firstDeleted);
        TQASoapFault* const second = new Mortal(&secondDeleted);
        context.setFault(second);
        EXPECT_TRUE(firstDeleted);
        EXPECT_EQ(second, context.getFault());
        context.setFault(nullptr);
        EXPECT_TRUE(secondDeleted);
        EXPECT_EQ(nullptr, context.getFault());
        secondDeleted = false;
        context.setFault(new Mortal(&secondDeleted));
    }
    EXPECT_TRUE(secondDeleted);
}

TEST(ConvertContextTest, InitStartsOver) {
    bool deleted = false;
    TQASoapConvertContext context;
    EXPECT_EQ(SOAP_11, context.getSoapVersion());
    context.setSoapVersion(SOAP_12);
    context.setFault(new Mortal(&deleted));
    context.setMessage("Text");
    EXPECT_EQ(SOAP_12, context.getSoapVersion());
    EXPECT_EQ("text", context.getMessage());
    EXPECT_EQ("Text", context.viewMessage());
    context.init();
    EXPECT_EQ(SOAP_11, context.getSoapVersion());
    EXPECT_EQ(nullptr, context.getFault());
    EXPECT_TRUE(deleted);
    EXPECT_EQ("", context.getMessage());
}

}  // namespace
