#include "tqamsg/soap/envelope.h"

#include "tests/support/xml.h"

#include <cstdlib>
#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace {

using Envelope = std::unique_ptr<TQASoapEnvelope>;

Envelope parse(const std::string& text) {
    return Envelope(TQASoapEnvelope::fromText(text.c_str()));
}

std::string taken(char* text) {
    std::string result(text);
    std::free(text);
    return result;
}

TEST(EnvelopeTest, ARequestIsTakenApartWithItsTags) {
    const Envelope envelope = parse(
        "<?xml version=\"1.0\"?>\n<s:Envelope xmlns:s=\"urn:e\">\n<s:Header>h</s:Header>\n"
        "<s:Body>b</s:Body>\n</s:Envelope>");
    ASSERT_TRUE(envelope);
    EXPECT_EQ("urn:e", envelope->uri);
    EXPECT_EQ("<s:Header>h</s:Header>", envelope->header);
    EXPECT_EQ("<s:Body>b</s:Body>", envelope->body);
}

TEST(EnvelopeTest, NamesMatchInAnyCaseAndTextsKeepTheirOwn) {
    const Envelope envelope = parse(
        "<SOAP-ENV:ENVELOPE "
        "xmlns:soap-env=\"http://Example/E\"><Soap-Env:HEADER>H</SOAP-env:header>"
        "<soap-env:body>B</SOAP-ENV:BODY></SOAP-ENV:ENVELOPE>");
    ASSERT_TRUE(envelope);
    EXPECT_EQ("http://Example/E", envelope->uri);
    EXPECT_EQ("<Soap-Env:HEADER>H</SOAP-env:header>", envelope->header);
    EXPECT_EQ("<soap-env:body>B</SOAP-ENV:BODY>", envelope->body);
}

TEST(EnvelopeTest, WhatIsTakenForWhat) {
    struct {
        const char* what;
        const char* text;
        const char* uri;
        const char* header;
        const char* body;
    } const cases[] = {
        {"no header", R"(<s:Envelope xmlns:s="u"><s:Body>b</s:Body></s:Envelope>)", "u", "",
         "<s:Body>b</s:Body>"},
        {"a header without end", R"(<s:Envelope xmlns:s="u"><s:Header>h<s:Body>b</s:Body>)", "u",
         "", "<s:Body>b</s:Body>"},
        {"a header end tag with a blank counts as none",
         R"(<s:Envelope xmlns:s="u"><s:Header>h</s:Header ><s:Body>b</s:Body>)", "u", "",
         "<s:Body>b</s:Body>"},
        {"the declaration stands on a later element",
         R"(<s:Envelope ><s:Body xmlns:s="u">b</s:Body>)", nullptr, "", ""},
        {"the declaration stands on a later element, the body behind it",
         R"(<s:Envelope ><x xmlns:s="u"/><s:Body>b</s:Body>)", "u", "", "<s:Body>b</s:Body>"},
        {"an attribute that merely starts like the declaration",
         R"(<s:Envelope xmlns:soapenc="v" xmlns:s="u"><s:Body>b</s:Body>)", "v", "",
         "<s:Body>b</s:Body>"},
        {"an empty prefix", R"(<:Envelope xmlns:="u"><:Body>b</:Body>)", "u", "",
         "<:Body>b</:Body>"},
        {"an empty URI", R"(<s:Envelope xmlns:s=""><s:Body>b</s:Body>)", "", "",
         "<s:Body>b</s:Body>"},
        {"only the first body counts",
         R"(<s:Envelope xmlns:s="u"><s:Body>a</s:Body><s:Body>b</s:Body>)", "u", "",
         "<s:Body>a</s:Body>"},
        {"a header behind the body moves the search for the body",
         R"(<s:Envelope xmlns:s="u"><s:Body>a</s:Body><s:Header>h</s:Header>)", nullptr, "", ""},
        {"a body start tag with attributes",
         R"(<s:Envelope xmlns:s="u"><s:Body id="1">b</s:Body >)", "u", "",
         R"(<s:Body id="1">b</s:Body )"},
        {"the text ends with the body's end tag", R"(<s:Envelope xmlns:s="u"><s:Body>b</s:Body)",
         "u", "", "<s:Body>b</s:Body"},
        {"no blank behind the word", R"(<s:Envelope><s:Body>b</s:Body></s:Envelope>)", nullptr, "",
         ""},
        {"a line break behind the word",
         "<s:Envelope\nxmlns:s=\"u\"><s:Body>b</s:Body></s:Envelope>", nullptr, "", ""},
        {"no prefix", R"(<Envelope xmlns="u"><Body>b</Body></Envelope>)", nullptr, "", ""},
        {"no tag", R"(s:Envelope xmlns:s="u"><s:Body>b</s:Body>)", nullptr, "", ""},
        {"no declaration", R"(<s:Envelope a="u"><s:Body>b</s:Body>)", nullptr, "", ""},
        {"single quotes", "<s:Envelope xmlns:s='u'><s:Body>b</s:Body>", nullptr, "", ""},
        {"an open quote", R"(<s:Envelope xmlns:s="u><s:Body>b</s:Body>)", nullptr, "", ""},
        {"no body", R"(<s:Envelope xmlns:s="u"></s:Envelope>)", nullptr, "", ""},
        {"a body without end", R"(<s:Envelope xmlns:s="u"><s:Body>b</s:Envelope>)", nullptr, "",
         ""},
        {"nothing", "", nullptr, "", ""},
    };
    for (const auto& one : cases) {
        const Envelope envelope = parse(one.text);
        ASSERT_EQ(one.uri != nullptr, envelope != nullptr) << one.what;
        if (!envelope) continue;
        EXPECT_EQ(one.uri, envelope->uri) << one.what;
        EXPECT_EQ(one.header, envelope->header) << one.what;
        EXPECT_EQ(one.body, envelope->body) << one.what;
    }
    EXPECT_EQ(nullptr, TQASoapEnvelope::fromText(nullptr));
}

TEST(EnvelopeTest, AnEnvelopeIsPutTogetherAroundItsTexts) {
    TQASoapEnvelope envelope("urn:e");
    envelope.header = "<h/>\n";
    envelope.body = "<b/>\n";
    const std::string start =
        "<soap:Envelope xmlns:soap=\"urn:e\" xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\" "
        "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">\n";
    const std::string end = "<soap:Body>\n<b/>\n</soap:Body>\n</soap:Envelope>";
    EXPECT_EQ(start + "<soap:Header>\n<h/>\n</soap:Header>\n" + end, taken(envelope.assembly()));
    EXPECT_EQ(taken(envelope.assembly()), taken(envelope.toText()));
    envelope.header.clear();
    EXPECT_EQ(start + end, taken(envelope.toText()));
    EXPECT_TRUE(tqa_test::Xml(taken(envelope.toText())).wellFormed());
}

TEST(EnvelopeTest, WhatWasTakenApartIsWrappedAnew) {
    const Envelope envelope = parse(
        R"(<s:Envelope xmlns:s="urn:e"><s:Header>h</s:Header><s:Body>b</s:Body></s:Envelope>)");
    const std::string text = taken(envelope->toText());
    EXPECT_NE(std::string::npos,
              text.find("<soap:Header>\n<s:Header>h</s:Header></soap:Header>\n"));
    EXPECT_NE(std::string::npos, text.find("<soap:Body>\n<s:Body>b</s:Body></soap:Body>\n"));
}

// An envelope writes itself through its virtual assembly().
TEST(EnvelopeTest, ToTextAsksTheClass) {
    struct Shouting : TQASoapEnvelope {
        using TQASoapEnvelope::TQASoapEnvelope;
        char* assembly() override { return strdup("HELLO"); }
    };
    Shouting envelope("urn:e");
    EXPECT_EQ("HELLO", taken(envelope.toText()));
}

// The sender chooses the prefix, so the searched tags can be as long as half the request.
TEST(EnvelopeTest, LongPrefixesAreSearchedInOnePass) {
    std::string prefix;
    for (int i = 0; i < 100000; ++i) prefix += "xmlns:";
    const std::string text =
        "<" + prefix + "p:Envelope " + prefix + prefix + "q=\"u\"><" + prefix + ":Body>";
    EXPECT_FALSE(parse(text));
}

}  // namespace
