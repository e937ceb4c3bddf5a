#include "tqamsg/soap/namespaces.h"

#include "tqamsg/soap/converter.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

namespace {

using tqa::IgnoreCaseString;

constexpr char kSoap11[] = "http://schemas.xmlsoap.org/soap/envelope/";
constexpr char kSoap12[] = "http://www.w3.org/2003/05/soap-envelope";

SoapVersion version(int number) {
    return static_cast<SoapVersion>(number);
}

TEST(SoapVersionTest, TheMapHoldsTheListInOrder) {
    EXPECT_EQ(kSoap11, Map_SoapVersionMap_Array[0].key);
    EXPECT_EQ(SOAP_11, Map_SoapVersionMap_Array[0].value);
    EXPECT_EQ(kSoap12, Map_SoapVersionMap_Array[1].key);
    EXPECT_EQ(SOAP_12, Map_SoapVersionMap_Array[1].value);
    EXPECT_EQ(2u, SoapVersionMap.size());
    EXPECT_EQ(1, SoapVersionMap.find(kSoap11)->second);
    EXPECT_EQ(2, SoapVersionMap.find(kSoap12)->second);
}

TEST(SoapVersionTest, AnEnvelopeNamespaceIsMatchedLetterByLetter) {
    EXPECT_EQ(SOAP_11, tqa::soapVersionOf(kSoap11));
    EXPECT_EQ(SOAP_12, tqa::soapVersionOf(kSoap12));
    EXPECT_FALSE(tqa::soapVersionOf("http://www.w3.org/2003/05/SOAP-envelope"));
    EXPECT_FALSE(tqa::soapVersionOf("http://www.w3.org/2003/05/soap-envelope/"));
    EXPECT_FALSE(tqa::soapVersionOf(""));
}

TEST(SoapVersionTest, UnsupportedVersionsHaveNoNamespace) {
    EXPECT_EQ(kSoap11, TQASoapConverter::getSoapURIByVersion(SOAP_11));
    EXPECT_EQ(kSoap12, TQASoapConverter::getSoapURIByVersion(SOAP_12));
    EXPECT_EQ("", TQASoapConverter::getSoapURIByVersion(version(0)));
    EXPECT_EQ("", TQASoapConverter::getSoapURIByVersion(version(3)));
    EXPECT_EQ("", TQASoapConverter::getSoapURIByVersion(version(-1)));
}

TEST(NamespaceBaseTest, TheVersionChoosesTheBase) {
    const std::string current = tqa::kNamespaceBase;
    const std::string legacy = tqa::kLegacyNamespaceBase;
    EXPECT_NE(current, legacy);
    EXPECT_EQ(current + "3.0.3/", TQASoapConverter::getTQAWsdlURI(30003));
    EXPECT_EQ(current + "4.0.0/", TQASoapConverter::getTQAWsdlURI(40000));
    EXPECT_EQ(current + "12.34.56/", TQASoapConverter::getTQAWsdlURI(123456));
    EXPECT_EQ(legacy + "3.0.2/", TQASoapConverter::getTQAWsdlURI(30002));
    EXPECT_EQ(legacy + "2.5.12/", TQASoapConverter::getTQAWsdlURI(20512));
    EXPECT_EQ(legacy + "0.0.0/", TQASoapConverter::getTQAWsdlURI(0));
}

TEST(QuotedValueTest, TheFirstClosedPairOfQuotesCounts) {
    const std::string_view text = R"(a="x" b="" c="y)";
    EXPECT_EQ("x", tqa::findQuoted(text, 0)->of(text));
    EXPECT_EQ("x", tqa::findQuoted(text, 2)->of(text));
    EXPECT_EQ(" b=", tqa::findQuoted(text, 3)->of(text));
    EXPECT_EQ("", tqa::findQuoted(text, 6)->of(text));
    EXPECT_FALSE(tqa::findQuoted(text, 10));
    EXPECT_FALSE(tqa::findQuoted(text, std::string_view::npos));
    EXPECT_FALSE(tqa::findQuoted("", 0));
}

std::string without(const std::string& text) {
    IgnoreCaseString result(text.data(), text.size());
    EXPECT_EQ(-1, TQASoapConverter::removeNamespaces(result));
    return {result.data(), result.size()};
}

TEST(RemoveNamespacesTest, DeclarationsGoWithTheBlankBeforeThem) {
    const struct {
        const char* text;
        const char* result;
    } cases[] = {
        {"", ""},
        {R"(<a id="5">)", R"(<a id="5">)"},
        {R"(<a xmlns="u" id="5">)", R"(<a id="5">)"},
        {R"(<a id="5" xmlns="u">)", R"(<a id="5">)"},
        {R"(<m:a xmlns:m="u"/>)", "<m:a/>"},
        {R"(<a XMLNS:M="u" XmlNs="v"><b xmlns="">t</b></a>)", "<a><b>t</b></a>"},
        {R"(<a xmlns = "u">)", "<a>"},
        {"<a\nxmlns=\"u\">", "<a\nxmlns=\"u\">"},
        // No closing quote: the rest of the text goes.
        {R"(<a xmlns="u><b c=>)", "<a"},
        {R"(<a x="" xmlns="u><b xmlns>)", R"(<a x="")"},
        // No quote at all: only the word goes.
        {"<a xmlns=u xmlns:b=v>", "<a=u:b=v>"},
        {" xmlns", ""},
        // Whatever stands between the word and the next quotes goes as well.
        {R"(<a xmlns='u'>t "q" s</a>)", "<a s</a>"},
        {R"(a xmlns xmlns="u" b)", "a b"},
    };
    for (const auto& one : cases) EXPECT_EQ(one.result, without(one.text)) << one.text;
}

// The rule itself: repeated erasing.
std::string eraseOneByOne(const std::string& text) {
    IgnoreCaseString s(text.data(), text.size());
    for (std::size_t p = 0; (p = s.find(" xmlns", p)) != s.npos;) {
        std::size_t end = p + 6;
        const std::size_t q1 = s.find('"', p);
        if (q1 != s.npos) {
            const std::size_t q2 = s.find('"', q1 + 1);
            end = q2 == s.npos ? s.size() : q2 + 1;
        }
        s.erase(p, end - p);
    }
    return {s.data(), s.size()};
}

TEST(RemoveNamespacesTest, GivesWhatErasingOneByOneGives) {
    const char* const pieces[] = {" xmlns", " XMLNS:m", "\"", "\"", "=", " ", "xml", "ns", "<a>"};
    std::mt19937 random(20060307);
    for (int round = 0; round < 50000; ++round) {
        std::string text;
        for (std::size_t i = random() % 14; i > 0; --i)
            text += pieces[random() % std::size(pieces)];
        ASSERT_EQ(eraseOneByOne(text), without(text)) << text;
    }
}

// Texts are gone through in pieces; nothing must depend on where one ends.
TEST(RemoveNamespacesTest, DeclarationsOfLongTextsAreFoundWhereverTheyStand) {
    for (const std::size_t around : {std::size_t{16} << 10, std::size_t{32} << 10})
        for (std::size_t at = around - 40; at < around + 20; ++at) {
            const std::string front(at, 'x');
            const std::string back(40000, ' ');
            ASSERT_EQ(front + ">" + back, without(front + R"( xmlns:a="b">)" + back)) << at;
            ASSERT_EQ(front + "=" + back, without(front + " xmlns=" + back)) << at;
            ASSERT_EQ(front + " xmln" + back, without(front + " xmln" + back)) << at;
        }
    const std::string longValue(100000, 'v');
    EXPECT_EQ("<a b>", without("<a xmlns=\"" + longValue + "\" b>"));
    EXPECT_EQ("<a", without("<a xmlns=\"" + longValue));
}

TEST(RemoveNamespacesTest, ACopyLeavesTheTextAsItIs) {
    const std::string text = R"(<a xmlns="u" id="5"><b xmlns:c="v"/></a>)";
    const std::string before = text;
    std::string copy(text.size(), '#');
    char* const end = tqa::copyWithoutNamespaces(text, copy.data());
    EXPECT_EQ(R"(<a id="5"><b/></a>)", std::string(copy.data(), end));
    EXPECT_EQ('#', *end);
    EXPECT_EQ(before, text);
}

TEST(RemoveNamespacesTest, ManyDeclarationsAreOnePass) {
    std::string closed;
    std::string unquoted;
    for (int i = 0; i < 300000; ++i) {
        closed += R"( xmlns:a="u" b="c")";
        unquoted += " xmlns";
    }
    EXPECT_EQ(300000u * 6, without(closed).size());
    EXPECT_EQ("\"", without("\"" + unquoted));
}

}  // namespace
