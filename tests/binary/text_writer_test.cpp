#include "tqamsg/binary/text_writer.h"

#include "tqamsg/msg/auto_destroy.h"
#include "tqamsg/util/c_text.h"
#include "tqamsg/vocabulary/lookup.h"
#include "tqamsg/vocabulary/vocabulary.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/fake_message.h"
#include "tests/support/messages.h"
#include "tests/support/plain_text.h"
#include "tests/util/out_of_memory.h"

#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using tqa::Attr_id;
using tqa::Attr_priority;
using tqa::Attr_time;
using tqa::Attr_uid;
using tqa::Attr_version;
using tqa::Kind;
using tqa::Tag_auth;
using tqa::Tag_data;
using tqa::Tag_list;
using tqa::Tag_origin;
using tqa::Tag_packet;
using tqa::Tag_target;
using tqa::Tag_veid;
using tqa_test::bytes;
using tqa_test::container;
using tqa_test::create;
using tqa_test::Cursor;
using tqa_test::cursor;
using tqa_test::cursorAt;
using tqa_test::element;
using tqa_test::intElement;
using tqa_test::load;
using tqa_test::Message;
using tqa_test::message;
using tqa_test::number;
using tqa_test::parse;
using tqa_test::plainText;
using tqa_test::stringElement;
using tqa_test::text;

// What a message with this root prints.
std::string printed(const std::string& root) {
    return text(load(message(root)));
}

// The same with namespaces.
std::string printedWithNamespaces(const std::string& root, const std::string& base = "urn:") {
    const Message m = load(message(root));
    const tqa::CText all(m->toText(nullptr, true, base));
    return all == nullptr ? "(no text)" : all.get();
}

// --- one element --------------------------------------------------------------------------------

TEST(TextWriter, PrintsAnElementByItsKind) {
    const struct {
        const char* what;
        std::string payload;
        Kind kind;
        const char* text;
    } rows[] = {
        {"no value", "", Kind::Untyped, "<veid/>\n"},
        {"no value of an unknown kind", "", Kind{77}, "<veid/>\n"},
        {"no value of a number", "", Kind::Int, "<veid/>\n"},
        {"an empty node", "", Kind::Container, "<veid/>\n"},

        {"an empty text", "\0"s, Kind::Untyped, "<veid></veid>\n"},
        {"text in XML form", "a<b&c>\"'&lt;\0"s, Kind::Untyped, "<veid>a<b&c>\"'&lt;</veid>\n"},
        {"text that ends early", "ab\0cd\0"s, Kind::Untyped, "<veid>ab</veid>\n"},
        {"text without a zero byte", "abcd"s, Kind::Untyped, "<veid>abcd</veid>\n"},

        {"0", number<std::int32_t>(0), Kind::Int, "<veid>0</veid>\n"},
        {"-1", number<std::int32_t>(-1), Kind::Int, "<veid>-1</veid>\n"},
        {"INT_MAX", number<std::int32_t>(2147483647), Kind::Int, "<veid>2147483647</veid>\n"},
        {"INT_MIN", number<std::int32_t>(-2147483647 - 1), Kind::Int, "<veid>-2147483648</veid>\n"},
        {"a number cut short", "\1\1\1"s, Kind::Int, "<veid></veid>\n"},
        {"a number that is too long", "\1\0\0\0\7\7\7\7"s, Kind::Int, "<veid>1</veid>\n"},

        {"an empty plain text", "\0"s, Kind::String, "<veid></veid>\n"},
        {"plain text", "a<b&c>\"'&lt;\0"s, Kind::String,
         "<veid>a&lt;b&amp;c&gt;\"'&amp;lt;</veid>\n"},
        {"plain text of six characters", "123456\0"s, Kind::String, "<veid>123456</veid>\n"},
        {"plain text of seven characters", "1234567\0"s, Kind::String, "<veid>1234567</veid>\n"},
        {"plain text of eight characters", "12345678\0"s, Kind::String, "<veid>12345678</veid>\n"},
        {"plain text that ends early", "<\0>\0"s, Kind::String, "<veid>&lt;</veid>\n"},
        {"plain text without a zero byte", "a<bc"s, Kind::String, "<veid>a&lt;bc</veid>\n"},

        {"LLONG_MIN", number(std::numeric_limits<std::int64_t>::min()), Kind::LongLong,
         "<veid>-9223372036854775808</veid>\n"},
        {"LLONG_MAX", number(std::numeric_limits<std::int64_t>::max()), Kind::LongLong,
         "<veid>9223372036854775807</veid>\n"},
        {"a long number cut short", "\1\1\1\1\1\1\1"s, Kind::LongLong, "<veid></veid>\n"},

        {"0.5", number(0.5), Kind::Double, "<veid>0.500000</veid>\n"},
        {"-1e10", number(-1e10), Kind::Double, "<veid>-10000000000.000000</veid>\n"},
        {"a real number cut short", "\1\1\1\1\1\1\1"s, Kind::Double, "<veid></veid>\n"},

        {"no bytes", "\0"s, Kind::Base64, "<veid></veid>\n"},
        {"one byte", "A\0"s, Kind::Base64, "<veid>QQ==</veid>\n"},
        {"two bytes", "AB\0"s, Kind::Base64, "<veid>QUI=</veid>\n"},
        {"three bytes", "ABC\0"s, Kind::Base64, "<veid>QUJD</veid>\n"},
        {"any byte behind them", "ABCD"s, Kind::Base64, "<veid>QUJD</veid>\n"},
        {"zero bytes", "\0\0\0\0"s, Kind::Base64, "<veid>AAAA</veid>\n"},
        {"seven bytes", "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\0"s, Kind::Base64,
         "<veid>/////////w==</veid>\n"},

        {"a time", "2005-06-07T08:09:10+0000\0"s, Kind::Time,
         "<veid>2005-06-07T08:09:10+0000</veid>\n"},
        {"a time that is none", "a<b&c\0"s, Kind::Time, "<veid>a<b&c</veid>\n"},

        {"raw XML", "<zz a='1'>&</zz>\0"s, Kind::Unparsed, "<zz a='1'>&</zz>\n"},
        {"empty raw XML", "\0"s, Kind::Unparsed, "\n"},
        {"raw XML without a zero byte", "<zz>"s, Kind::Unparsed, "<zz>\n"},

        {"a kind behind the numbers", "text\0"s, Kind{7}, "<veid></veid>\n"},
        {"a kind before the node's", "text\0"s, Kind{49}, "<veid></veid>\n"},
        {"a kind behind the raw one", "text\0"s, Kind{52}, "<veid></veid>\n"},
        {"the last kind", "text\0"s, Kind{65535}, "<veid></veid>\n"},
    };
    for (const auto& row : rows) {
        const std::string root = element(Tag_veid, row.kind, row.payload);
        EXPECT_EQ(printed(root), row.text) << row.what;
        EXPECT_EQ(printedWithNamespaces(root), row.text) << row.what;
        EXPECT_EQ(printed(container(Tag_data, root)), "<data>\n"s + row.text + "</data>\n")
            << row.what;
    }
}

TEST(TextWriter, PrintsNothingForRawXmlWithoutPayload) {
    EXPECT_EQ(printed(element(Tag_veid, Kind::Unparsed)), "");
    EXPECT_EQ(printed(container(Tag_data, element(0, Kind::Unparsed) + element(Tag_veid, {}))),
              "<data>\n<veid/>\n</data>\n");
}

TEST(TextWriter, PrintsALongNumberWhole) {
    const std::string all = printed(element(Tag_veid, Kind::Double, number(-1e300)));
    EXPECT_EQ(all.size(), "<veid></veid>\n"s.size() + 1 + 301 + 7);
}

TEST(TextWriter, PrintsTextsOfEverySizeUpToTheirZeroByte) {
    for (std::size_t size = 1; size < 40; ++size) {
        for (std::size_t end = 0; end <= size; ++end) {
            std::string payload(size, 'v');
            if (end < size) payload[end] = '\0';
            const std::string expected = "<veid>" + std::string(end, 'v') + "</veid>\n";
            for (const Kind kind : {Kind::Untyped, Kind::String, Kind::Time}) {
                const std::string child = element(Tag_veid, kind, payload);
                EXPECT_EQ(printed(child), expected);
                EXPECT_EQ(printed(container(Tag_data, child + child)),
                          "<data>\n" + expected + expected + "</data>\n");
            }
        }
    }
}

TEST(TextWriter, PrintsEveryWord) {
    for (int id = tqa::kFirstTagId; id < tqa::kEndTagId; ++id) {
        const std::string word(tqa::tagWord(id));
        EXPECT_EQ(printed(element(id, Kind::Untyped)), "<" + word + "/>\n");
        EXPECT_EQ(printed(intElement(id, 1)), "<" + word + ">1</" + word + ">\n");
    }
}

TEST(TextWriter, AnElementWithoutAWordIsInvalid) {
    for (const int id : {201, 262, 263, 1000, 1875, 2147483647}) {
        EXPECT_EQ(printed(element(id, Kind::Untyped)), "<INVALID_TAG/>\n") << id;
        EXPECT_EQ(printed(element(id, Kind::String, "x\0"s)), "<INVALID_TAG>x</INVALID_TAG>\n")
            << id;
        EXPECT_EQ(printed(container(id, intElement(Tag_veid, 1))),
                  "<INVALID_TAG>\n<veid>1</veid>\n</INVALID_TAG>\n")
            << id;
    }
}

// --- nodes and attributes -----------------------------------------------------------------------

TEST(TextWriter, PrintsOneElementALine) {
    EXPECT_EQ(
        printed(container(Tag_packet, element(Attr_id, Kind::Untyped, "m1\0"s) +
                                          intElement(Attr_priority, 0) +
                                          element(Tag_target, Kind::Untyped, "tqagent\0"s) +
                                          container(Tag_data, element(Tag_list, Kind::Untyped)))),
        "<packet priority=\"0\" id=\"m1\">\n"
        "<target>tqagent</target>\n"
        "<data>\n"
        "<list/>\n"
        "</data>\n"
        "</packet>\n");
}

TEST(TextWriter, AttributesPrintInReverse) {
    EXPECT_EQ(
        printed(container(Tag_packet, stringElement(Attr_id, "a") + stringElement(Attr_uid, "b") +
                                          stringElement(Attr_version, "c"))),
        "<packet version=\"c\" uid=\"b\" id=\"a\">\n</packet>\n");
}

TEST(TextWriter, AttributesAreFoundAmongTheChildren) {
    EXPECT_EQ(printed(container(Tag_packet, element(Tag_list, Kind::Untyped) +
                                                stringElement(Attr_id, "a") +
                                                container(Tag_data, stringElement(Attr_id, "d")) +
                                                stringElement(Attr_uid, "b"))),
              "<packet uid=\"b\" id=\"a\">\n"
              "<list/>\n"
              "<data id=\"d\">\n"
              "</data>\n"
              "</packet>\n");
}

// Trees of small containers, and of small ones in large ones, in which every so many elements one
// is an attribute, at any place and depth.
std::string treeWithAttributes(std::mt19937& random, int depth, std::uint_fast32_t oneIn) {
    std::string children;
    for (auto left = random() % 9; left > 0; --left) {
        switch (random() % (depth > 0 ? 5 : 3)) {
            case 0:
                children +=
                    random() % oneIn == 0 ? intElement(Attr_uid, 7) : intElement(tqa::Tag_id, 8);
                break;
            case 1:
                children += stringElement(tqa::Tag_name, std::string(random() % 80, 'x'));
                break;
            case 2:
                children += element(Tag_list, Kind::Untyped);
                break;
            default:
                children += treeWithAttributes(random, depth - 1, oneIn);
        }
    }
    // The second word is too long for the quick way.
    return container(random() % 3 != 0 ? tqa::Tag_vem : tqa::Tag_template_consistency, children);
}

TEST(TextWriter, FindsAttributesAtEveryPlaceAndDepth) {
    std::mt19937 random(20061);
    for (int i = 0; i < 2000; ++i) {
        const int depth = static_cast<int>(random() % 9);
        const auto oneIn = 1 + random() % 40;
        const std::string sent =
            message(container(Tag_packet, treeWithAttributes(random, depth, oneIn) +
                                              treeWithAttributes(random, depth, oneIn)));
        const Message m = load(sent);
        EXPECT_EQ(text(m), plainText(sent, false, ""));
        const tqa::CText spaced(m->toText(nullptr, true, "urn:"));
        EXPECT_EQ(spaced.get(), plainText(sent, true, "urn:"));
    }
}

TEST(TextWriter, AnElementWithAttributesOnlyHasAnEndTag) {
    EXPECT_EQ(printed(container(Tag_data, stringElement(Attr_id, "a"))),
              "<data id=\"a\">\n</data>\n");
}

TEST(TextWriter, PrintsManyAttributes) {
    std::string attributes;
    std::string expected;
    for (int i = 0; i < 1000; ++i) {
        attributes += intElement(Attr_uid, i);
        expected.insert(0, " uid=\"" + std::to_string(i) + "\"");
    }
    EXPECT_EQ(printed(container(Tag_data, attributes)), "<data" + expected + ">\n</data>\n");
}

TEST(TextWriter, PrintsAnAttributeByItsKind) {
    const struct {
        const char* what;
        std::string payload;
        Kind kind;
        const char* text;
    } rows[] = {
        {"no value", "", Kind::String, "id=\"\""},
        {"an empty text", "\0"s, Kind::Untyped, "id=\"\""},
        {"text in XML form", "<&>\0"s, Kind::Untyped, "id=\"<&>\""},
        {"plain text", "<&>\0"s, Kind::String, "id=\"&lt;&amp;&gt;\""},
        {"a quote, which ends it early", "a\"b\0"s, Kind::String, "id=\"a\"b\""},
        {"a number", number<std::int32_t>(-7), Kind::Int, "id=\"-7\""},
        {"a long number", number<std::int64_t>(7), Kind::LongLong, "id=\"7\""},
        {"a real number", number(0.5), Kind::Double, "id=\"0.500000\""},
        {"bytes", "ABC\0"s, Kind::Base64, "id=\"QUJD\""},
        {"a time", "1970-01-01T00:00:00+0000\0"s, Kind::Time, "id=\"1970-01-01T00:00:00+0000\""},
        {"an empty node", "", Kind::Container, "id=\"\""},
        {"an unknown kind", "text\0"s, Kind{9}, "id=\"\""},
    };
    for (const auto& row : rows) {
        const std::string attribute = element(Attr_id, row.kind, row.payload);
        EXPECT_EQ(printed(container(Tag_data, attribute)), "<data "s + row.text + ">\n</data>\n")
            << row.what;
        // As a root it has no start tag to stand in.
        EXPECT_EQ(printed(attribute), " "s + row.text) << row.what;
    }
}

TEST(TextWriter, RawXmlIsNoAttributeWhateverItsId) {
    for (const int id : {0, Attr_id + 0, Tag_veid + 0}) {
        EXPECT_EQ(printed(container(Tag_data, element(id, Kind::Unparsed, "<zz/>\0"s))),
                  "<data>\n<zz/>\n</data>\n")
            << id;
    }
}

TEST(TextWriter, AnAttributeWithoutAWordIsInvalid) {
    for (const int id : {200, 111, 100, 1, 0, -1, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(printed(container(Tag_data, intElement(id, 5))),
                  "<data INVALID_TAG=\"5\">\n</data>\n")
            << id;
    }
}

TEST(TextWriter, StopsWhereTheBytesMakeNoSense) {
    std::string cut = element(Tag_list, Kind::Untyped) + element(Tag_veid, Kind::Untyped, "text");
    cut.resize(cut.size() - 8);
    EXPECT_EQ(printed(container(Tag_data, cut)), "<data>\n<list/>\n</data>\n");
    std::string wrong = element(Tag_list, Kind::Untyped) + element(Tag_veid, Kind::Untyped);
    wrong.replace(24, 4, number<std::int32_t>(-1));
    EXPECT_EQ(printed(container(Tag_data, wrong)), "<data>\n<list/>\n</data>\n");
}

// --- namespaces ---------------------------------------------------------------------------------

constexpr int kSystem = tqa::Ns_system;
constexpr int kVem = tqa::Ns_vem;

TEST(TextWriter, ANamespaceIsDeclaredByItsElementAndUsedByItsDescendants) {
    static_assert(kSystem == 231);
    EXPECT_EQ(
        printedWithNamespaces(container(Tag_data,
                                        intElement(Tag_veid, 1) +
                                            container(Tag_list, element(Tag_auth, Kind::Untyped)),
                                        kSystem),
                              "http://base/"),
        "<data xmlns:system=\"http://base/system\">\n"
        "<system:veid>1</system:veid>\n"
        "<system:list>\n"
        "<system:auth/>\n"
        "</system:list>\n"
        "</data>\n");
}

TEST(TextWriter, ANamespaceInsideAnotherLastsAsLongAsItsElement) {
    EXPECT_EQ(
        printedWithNamespaces(container(
            Tag_data, container(Tag_list, intElement(Tag_veid, 1), kVem) + intElement(Tag_veid, 2),
            kSystem)),
        "<data xmlns:system=\"urn:system\">\n"
        "<system:list xmlns:vem=\"urn:vem\">\n"
        "<vem:veid>1</vem:veid>\n"
        "</system:list>\n"
        "<system:veid>2</system:veid>\n"
        "</data>\n");
}

TEST(TextWriter, ValuesAndEmptyElementsDeclareTheirNamespaceToo) {
    EXPECT_EQ(printedWithNamespaces(
                  container(Tag_data, element(Tag_veid, Kind::String, "1\0"s, kVem) +
                                          element(Tag_list, Kind::Untyped, "", kVem) +
                                          element(Tag_auth, Kind::Container, "", kVem))),
              "<data>\n"
              "<veid xmlns:vem=\"urn:vem\">1</veid>\n"
              "<list xmlns:vem=\"urn:vem\"/>\n"
              "<auth xmlns:vem=\"urn:vem\"/>\n"
              "</data>\n");
}

TEST(TextWriter, AttributesFollowTheDeclarationAndHaveNoPrefix) {
    EXPECT_EQ(
        printedWithNamespaces(container(
            Tag_data, stringElement(Attr_id, "a") + element(Attr_uid, Kind::String, "b\0"s, kVem),
            kSystem)),
        "<data xmlns:system=\"urn:system\" uid=\"b\" id=\"a\">\n</data>\n");
}

TEST(TextWriter, OnlyKnownNamespacesAreDeclared) {
    const std::string child = element(Tag_veid, Kind::Untyped);
    for (const int ns : {0, 1, 200, 263, 998, 999, 1398, 65535}) {
        EXPECT_EQ(printedWithNamespaces(container(Tag_data, child, ns)),
                  "<data>\n<veid/>\n</data>\n")
            << ns;
    }
    EXPECT_EQ(printedWithNamespaces(container(Tag_data, child, 201)),
              "<data xmlns:alerts=\"urn:alerts\">\n<alerts:veid/>\n</data>\n");
    EXPECT_EQ(printedWithNamespaces(container(Tag_data, child, 262)),
              "<data xmlns:authm=\"urn:authm\">\n<authm:veid/>\n</data>\n");
}

TEST(TextWriter, AnUnknownNamespaceKeepsThePrefixAroundIt) {
    EXPECT_EQ(printedWithNamespaces(
                  container(Tag_data, container(Tag_list, intElement(Tag_veid, 1), 999), kVem)),
              "<data xmlns:vem=\"urn:vem\">\n"
              "<vem:list>\n"
              "<vem:veid>1</vem:veid>\n"
              "</vem:list>\n"
              "</data>\n");
}

TEST(TextWriter, AnUnknownElementInAKnownNamespaceHasNoWord) {
    EXPECT_EQ(printedWithNamespaces(element(1000, Kind::String, "x\0"s, kVem)),
              "< xmlns:vem=\"urn:vem\">x</>\n");
    EXPECT_EQ(printedWithNamespaces(
                  container(Tag_data, element(1000, Kind::String, "x\0"s, kVem), kSystem)),
              "<data xmlns:system=\"urn:system\">\n"
              "<system: xmlns:vem=\"urn:vem\">x</system:>\n"
              "</data>\n");
    EXPECT_EQ(printedWithNamespaces(container(Tag_data, element(111, Kind::String, "x\0"s, kVem))),
              "<data =\"x\">\n</data>\n");
}

TEST(TextWriter, AnUnknownElementBelowANamespaceIsInvalid) {
    EXPECT_EQ(printedWithNamespaces(container(Tag_data, element(1000, Kind::Untyped), kVem)),
              "<data xmlns:vem=\"urn:vem\">\n<vem:INVALID_TAG/>\n</data>\n");
}

TEST(TextWriter, RawXmlStaysAsItIsInsideANamespace) {
    EXPECT_EQ(printedWithNamespaces(
                  container(Tag_data, element(0, Kind::Unparsed, "<zz/>\0"s, kSystem), kVem)),
              "<data xmlns:vem=\"urn:vem\">\n<zz/>\n</data>\n");
}

TEST(TextWriter, NamesArePlainWithoutTheFlag) {
    const std::string root = container(
        Tag_data, container(Tag_list, element(1000, Kind::Untyped, "", kVem), kVem), kSystem);
    EXPECT_EQ(printed(root), "<data>\n<list>\n<INVALID_TAG/>\n</list>\n</data>\n");
    const Message m = load(message(root));
    const tqa::CText all(m->toText(nullptr, false, "urn:"));
    EXPECT_STREQ(all.get(), printed(root).c_str());
}

// --- from where ---------------------------------------------------------------------------------

TEST(TextWriter, PrintsTheElementOfAnIterator) {
    const Message m = parse("<packet id=\"m1\"><data><veid>5</veid></data><zz/></packet>");
    EXPECT_EQ(text(cursorAt(m, "data")), "<data>\n<veid>5</veid>\n</data>\n");
    EXPECT_EQ(text(cursorAt(m, "data/veid")), "<veid>5</veid>\n");
    EXPECT_EQ(text(cursor(m)), text(m));
    const Cursor attribute = cursor(m);
    ASSERT_EQ(attribute->seek(Attr_id), 0);
    EXPECT_EQ(text(attribute), " id=\"m1\"");
    const Cursor raw = cursorAt(m, "data");
    ASSERT_EQ(raw->nextSibling(), 0);
    EXPECT_EQ(text(raw), "<zz/>\n");
}

TEST(TextWriter, AnIteratorsElementHasNoPrefixFromAround) {
    const Message m =
        load(message(container(Tag_data, container(Tag_list, intElement(Tag_veid, 1)), kVem)));
    const Cursor it = cursorAt(m, "list");
    const tqa::CText part(m->toText(it.get(), true, "urn:"));
    EXPECT_STREQ(part.get(), "<list>\n<veid>1</veid>\n</list>\n");
}

TEST(TextWriter, PrintsNothingWithoutContent) {
    const Message empty = tqa_test::emptyMessage();
    EXPECT_EQ(empty->toText(nullptr, false, ""), nullptr);
    const Cursor nowhere = cursor(empty);
    EXPECT_EQ(empty->toText(nowhere.get(), false, ""), nullptr);
}

TEST(TextWriter, PrintsNothingForAnIteratorThatStandsNowhere) {
    const Message m = create("packet");
    const Cursor it = cursor(m);
    it->seekUp();
    EXPECT_EQ(m->toText(it.get(), false, ""), nullptr);
}

TEST(TextWriter, PrintsNothingForAnIteratorOfAnotherKind) {
    const Message m = create("packet");
    const auto other = tqa_test::fake("(packet)");
    tqa_test::FakeIterator it(other.get());
    EXPECT_EQ(m->toText(&it, false, ""), nullptr);
}

TEST(TextWriter, ChangesNothing) {
    const Message m = parse("<packet id=\"m1\"><data>a&amp;b</data><zz/></packet>");
    const Message copy = copyOf(m);
    const std::string before = bytes(m);
    EXPECT_EQ(text(m), text(copy));
    EXPECT_TRUE(m->multiReference());
    EXPECT_EQ(bytes(m), before);
}

// --- the access list ----------------------------------------------------------------------------

TEST(TextWriter, WritesTheAccessListFirst) {
    const Message m = create("packet");
    m->auth.addVE(4);
    EXPECT_EQ(text(m),
              "<packet>\n<auth>\n<ve_list>\n<veid>4</veid>\n</ve_list>\n</auth>\n</packet>\n");
    EXPECT_FALSE(m->auth.isChanged());
}

TEST(TextWriter, PrintsWhereTheIteratorStoodBeforeTheAccessListWasWritten) {
    const char* const xml =
        "<packet><origin>vem</origin><auth><ve_list><veid>3</veid></ve_list></auth>"
        "<data><veid>5</veid></data></packet>";
    const struct {
        const char* path;
        const char* text;
    } rows[] = {
        {"origin", "<origin>vem</origin>\n"},
        {"auth/ve_list", "<ve_list>\n<veid>3</veid>\n</ve_list>\n"},
        {"data", "<data>\n<veid>5</veid>\n</data>\n"},
        {"data/veid", "<veid>5</veid>\n"},
    };
    for (const auto& row : rows) {
        // A long list makes the buffer grow as well, a shared content is copied first.
        for (const int count : {1, 2000}) {
            for (const bool shared : {false, true}) {
                const Message m = parse(xml);
                const Message other = shared ? copyOf(m) : nullptr;
                const Cursor it = cursorAt(m, row.path);
                for (int i = 1; i <= count; ++i) m->auth.addVE(2 * i);
                EXPECT_EQ(text(it), row.text) << row.path;
                EXPECT_EQ(it->curName(),
                          std::string(row.path).substr(std::string(row.path).find_last_of('/') + 1))
                    << row.path;
                EXPECT_EQ(text(it), row.text) << row.path;
            }
        }
    }
}

TEST(TextWriter, PrintsTheElementOfAnIteratorOnTheAccessList) {
    const Message m = parse("<packet><auth> </auth><data/></packet>");
    const Cursor it = cursorAt(m, "auth");
    m->auth.addVE(4);
    EXPECT_EQ(text(it), "<auth>\n<ve_list>\n<veid>4</veid>\n</ve_list>\n</auth>\n");
}

TEST(TextWriter, PrintsNothingWhenTheAccessListCannotBeWritten) {
    const Message m = parse("<packet><auth>text</auth></packet>");
    m->auth.addVE(4);
    EXPECT_EQ(m->toText(nullptr, false, ""), nullptr);
    EXPECT_TRUE(m->auth.isChanged());
}

// --- single elements ----------------------------------------------------------------------------

class SingleElement : public testing::Test {
  protected:
    int print(int insertAt = 0, bool namespaces = false, const std::string& prefix = "") {
        return message_->toText(out_, offset_, 0, insertAt, namespaces, prefix, "urn:");
    }

    const Message message_ = load(message(
        container(Tag_data, stringElement(Attr_id, "m1") + element(0, Kind::Unparsed, "<zz/>\0"s) +
                                element(Tag_list, Kind::Untyped, "", kVem))));
    std::string out_;
    int offset_ = tqa::kRootOffset;
};

TEST_F(SingleElement, IsAppendedAndSteppedOver) {
    out_ = "before ";
    EXPECT_EQ(print(), 1000);
    EXPECT_EQ(out_, "before <data id=\"m1\">\n<zz/>\n<list/>\n</data>\n");
    EXPECT_EQ(offset_, static_cast<int>(bytes(message_).size()));
    EXPECT_EQ(print(), -1);
}

TEST_F(SingleElement, IsInsertedWhenItIsAnAttribute) {
    offset_ += tqa::kEmptyElementSize;
    out_ = "<data></data>";
    EXPECT_EQ(print(5), 100);
    EXPECT_EQ(out_, "<data id=\"m1\"></data>");
    EXPECT_EQ(offset_, tqa::kRootOffset + 2 * tqa::kEmptyElementSize);
}

TEST_F(SingleElement, WalksOverItsSiblings) {
    offset_ += tqa::kEmptyElementSize;
    EXPECT_EQ(print(), 100);
    EXPECT_EQ(print(), 100);
    EXPECT_EQ(print(), 1000);
    EXPECT_EQ(print(), -1);
    EXPECT_EQ(out_, " id=\"m1\"<zz/>\n<list/>\n");
}

TEST_F(SingleElement, HasThePrefixGiven) {
    EXPECT_EQ(print(0, true, "system"), 1000);
    EXPECT_EQ(out_,
              "<system:data id=\"m1\">\n<zz/>\n<system:list xmlns:vem=\"urn:vem\"/>\n"
              "</system:data>\n");
}

TEST_F(SingleElement, HasNoPrefixWithoutNamespaces) {
    EXPECT_EQ(print(0, false, "system"), 1000);
    EXPECT_EQ(out_, "<data id=\"m1\">\n<zz/>\n<list/>\n</data>\n");
}

TEST_F(SingleElement, MustLieInTheMessage) {
    for (const int offset : {-1, 0, 7, 1000000, std::numeric_limits<int>::max()}) {
        offset_ = offset;
        EXPECT_EQ(print(), -1) << offset;
        EXPECT_EQ(offset_, offset);
    }
    EXPECT_EQ(out_, "");
}

// --- escaping -----------------------------------------------------------------------------------

TEST(Escape, ReplacesThreeCharacters) {
    const struct {
        const char* plain;
        const char* escaped;
    } rows[] = {
        {"", ""},
        {"plain \"quoted\" 'text'\n", "plain \"quoted\" 'text'\n"},
        {"<", "&lt;"},
        {">", "&gt;"},
        {"&", "&amp;"},
        {"a<b&c", "a&lt;b&amp;c"},
        {"<<>>&&", "&lt;&lt;&gt;&gt;&amp;&amp;"},
        {"&lt;", "&amp;lt;"},
        {"x<", "x&lt;"},
        {"<x", "&lt;x"},
        {"\xC3\xA4<\xFF", "\xC3\xA4&lt;\xFF"},
    };
    for (const auto& row : rows) EXPECT_EQ(TQABinary::escape(row.plain), row.escaped);
    EXPECT_EQ(TQABinary::escape(nullptr), "");
}

TEST(Escape, FindsThemAtEveryPlace) {
    for (std::size_t size = 1; size < 70; ++size) {
        for (std::size_t at = 0; at < size; ++at) {
            std::string plain(size, 'v');
            plain[at] = '&';
            std::string escaped = plain;
            EXPECT_EQ(TQABinary::escape(plain.c_str()), escaped.insert(at + 1, "amp;"));
            plain[size - 1 - at] = '<';
            EXPECT_EQ(TQABinary::escape(plain.c_str()).size(),
                      size + 3 + (size - 1 - at == at ? 0 : 4));
        }
    }
}

// --- the dictionaries ---------------------------------------------------------------------------

std::string strangers() {
    std::string children;
    for (int id = -300; id < 3000; id += 7) {
        children += element(id, Kind::String, "x\0"s, (id + 300) % 1100);
    }
    return message(container(1000, children, 997));
}

TEST(TextWriter, LeavesTheDictionariesAsTheyAre) {
    const std::size_t tags = IDTextMap.size();
    const std::size_t namespaces = NSIDTextMap.size();
    const std::size_t attributes = IDAttrMap.size();
    const Message m = load(strangers());
    EXPECT_NE(text(m), "(no text)");
    const tqa::CText withNamespaces(m->toText(nullptr, true, "urn:"));
    EXPECT_NE(withNamespaces, nullptr);
    EXPECT_EQ(IDTextMap.size(), tags);
    EXPECT_EQ(NSIDTextMap.size(), namespaces);
    EXPECT_EQ(IDAttrMap.size(), attributes);
}

TEST(TextWriter, PrintsInSeveralThreadsAtOnce) {
    const std::string encoded = strangers();
    const std::string expected = text(load(encoded));
    std::vector<std::string> printed(4);
    std::vector<std::thread> threads;
    for (std::string& out : printed) {
        threads.emplace_back([&] {
            for (int i = 0; i < 20; ++i) out = text(load(encoded));
        });
    }
    for (std::thread& each : threads) each.join();
    for (const std::string& out : printed) EXPECT_EQ(out, expected);
}

// --- no memory ----------------------------------------------------------------------------------

[[noreturn]] void printWithoutMemory(TQABinary& large) {
    tqa_test::starve();
    _exit(large.toText(nullptr, false, "") == nullptr ? 0 : 1);
}

TEST(TextWriterDeathTest, PrintsNothingWhenMemoryEnds) {
    if (!TQA_CAN_STARVE) GTEST_SKIP() << "not under a sanitizer";
    const Message large = load(message(stringElement(Tag_data, std::string(50 << 20, '<'))));
    EXPECT_EXIT(printWithoutMemory(*large), testing::ExitedWithCode(0), "");
}

TEST(TextWriter, AHeaderAttributeThatHoldsElementsPrintsWithoutThem) {
    EXPECT_EQ(printed(container(Tag_packet, container(tqa::Attr_id, intElement(Tag_veid, 5)) +
                                                intElement(Tag_list, 6))),
              "<packet id=\"\">\n<list>6</list>\n</packet>\n");
}

TEST(TextWriter, ARawElementWithoutTextPrintsNothing) {
    for (const int id : {0, static_cast<int>(Tag_veid)}) {
        const Message m = load(
            message(container(Tag_packet, element(id, Kind::Unparsed) + intElement(Tag_list, 6))));
        EXPECT_EQ(text(m), "<packet>\n<list>6</list>\n</packet>\n") << id;
    }
}

}  // namespace
