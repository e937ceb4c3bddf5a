#include "tqamsg/binary/text_reader.h"

#include "tqamsg/binary/element_at.h"
#include "tqamsg/vocabulary/lookup.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/fake_message.h"
#include "tests/support/guarded_text.h"
#include "tests/support/messages.h"
#include "tests/util/out_of_memory.h"

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using tqa::ElementView;
using tqa::Kind;
using tqa_test::Cursor;
using tqa_test::cursor;
using tqa_test::cursorAt;
using tqa_test::emptyMessage;
using tqa_test::GuardedText;
using tqa_test::Message;
using tqa_test::parse;
using tqa_test::text;

// --- what is stored -----------------------------------------------------------------------------

std::string nameOf(ElementView element) {
    if (element.kind() == Kind::Unparsed && element.id() == 0) return "raw";
    const std::string_view attribute = tqa::attributeWord(element.id());
    if (!attribute.empty()) return "@" + std::string(attribute);
    return std::string(tqa::tagWord(element.id()));
}

std::string shapeOf(ElementView element);

std::string childrenOf(ElementView element) {
    std::string out;
    for (ElementView child = element.firstChild(); child; child = child.next(element.end())) {
        out += (out.empty() ? "(" : " ") + shapeOf(child);
    }
    return out + (out.empty() ? "()" : ")");
}

// An element as the reader may have stored it: `data(@id="m1" veid="5" list raw="<zz/>")`.
std::string shapeOf(ElementView element) {
    const std::string name = nameOf(element) + (element.ns() == 0 ? "" : "?");
    if (element.isContainer()) return name + childrenOf(element);
    const bool isText = element.kind() == Kind::Untyped || element.kind() == Kind::Unparsed;
    if (!isText) return name + "?";
    if (element.length() == 0) return name;
    const std::string_view stored = element.bytes();
    // One zero byte, at the end.
    if (stored.find('\0') != stored.size() - 1) return name + "?";
    return name + "=\"" + std::string(element.text()) + "\"";
}

std::string shapeOf(const Message& message) {
    const std::string encoded = tqa_test::bytes(message);
    if (encoded.empty()) return "nothing";
    return shapeOf(
        ElementView::find(encoded.data() + tqa::kRootOffset, encoded.data() + encoded.size()));
}

// What the text becomes, "-" when it is refused.
std::string read(std::string_view xml) {
    const Message m = emptyMessage();
    const GuardedText guarded(xml);
    return m->fromText(guarded.data(), nullptr) == 0 ? shapeOf(m) : "-";
}

// Sets the flags of messages while it lives.
class WithPolicy {
  public:
    explicit WithPolicy(std::uint32_t flags) { TQABinary::Policy = flags; }
    WithPolicy(const WithPolicy&) = delete;
    WithPolicy& operator=(const WithPolicy&) = delete;
    ~WithPolicy() { TQABinary::Policy = 0; }
};

TEST(TextReader, StoresElements) {
    const struct {
        const char* xml;
        const char* stored;
    } rows[] = {
        // Empty tags and texts.
        {"<data/>", "data"},
        {"<data />", "data"},
        {"<data \t\r\n/>", "data"},
        {"<data></data>", "data=\"\""},
        {"<data> </data>", "data=\" \""},
        {"<data >x</data>", "data=\"x\""},
        {"<data\n>x</data>", "data=\"x\""},
        {"<data> \t\r\n</data>", "data=\" \t\r\n\""},
        {"<data>text</data>", "data=\"text\""},
        {"<data> \n text \t</data>", "data=\" \n text \t\""},
        {"<data>1234567</data>", "data=\"1234567\""},
        {"<data>\xC3\xA4\xFF</data>", "data=\"\xC3\xA4\xFF\""},
        {"<data>\x01\x0B</data>", "data=\"\x01\x0B\""},

        // Text is stored as it stands.
        {"<data>&lt;</data>", "data=\"&lt;\""},
        {"<data>&nothing; & &#60;</data>", "data=\"&nothing; & &#60;\""},
        {"<data>a>b\"'</data>", "data=\"a>b\"'\""},
        {"<data>text<vem/></data>", "data=\"text<vem/>\""},
        {"<data>x<vem>y</vem></data>", "data=\"x<vem>y</vem>\""},
        {"<data>x<!-- </data> --></data>", "data=\"x<!-- \""},
        {"<data>x<data>y</data></data>", "data=\"x<data>y\""},
        {"<data>x</data >y</data>", "data=\"x</data >y\""},
        {"<data>x</vem></data>", "data=\"x</vem>\""},
        {"<data>x</datum></data></data>", "data=\"x</datum>\""},
        {"<data>x< /data></data>", "data=\"x< /data>\""},
        {"<data>x</</data>", "data=\"x</\""},
        {"<data>x<</data>", "data=\"x<\""},

        // Children.
        {"<data><vem/></data>", "data(vem)"},
        {"<data><vem/><veid>5</veid><list></list></data>", "data(vem veid=\"5\" list=\"\")"},
        {"<data>\n <vem/>\t<veid> 5</veid>\r\n</data>", "data(vem veid=\" 5\")"},
        {"<data><data><data><data>x</data></data></data></data>", "data(data(data(data=\"x\")))"},
        {"<data><vem></vem></data>", "data(vem=\"\")"},
        {"<vem><veid>1</veid></vem>", "vem(veid=\"1\")"},

        // Attributes.
        {"<data id=\"1\"></data>", "data(@id=\"1\")"},
        {"<data id=\"\"></data>", "data(@id=\"\")"},
        {"<data  id=\"1\" uid=\"2\"\n\tlog=\"on\" ></data>",
         "data(@id=\"1\" @uid=\"2\" @log=\"on\")"},
        {"<data id=\"1\"uid=\"2\"></data>", "data(@id=\"1\" @uid=\"2\")"},
        {"<data id=\"1\" id=\"2\"></data>", "data(@id=\"1\" @id=\"2\")"},
        {"<data id=\" <a b='c'/>&lt; \n\"></data>", "data(@id=\" <a b='c'/>&lt; \n\")"},
        {"<data id=\"1\"><vem/></data>", "data(@id=\"1\" vem)"},
        {"<data id=\"1\"> <vem uid=\"2\"></vem> </data>", "data(@id=\"1\" vem(@uid=\"2\"))"},
        {"<data version=\"4.1.2\" id=\"1\" priority=\"2\" time=\"3\" type=\"4\" progress=\"5\""
         " timeout=\"6\" timeout_limit=\"7\" uid=\"8\" log=\"9\"></data>",
         "data(@version=\"4.1.2\" @id=\"1\" @priority=\"2\" @time=\"3\" @type=\"4\""
         " @progress=\"5\" @timeout=\"6\" @timeout_limit=\"7\" @uid=\"8\" @log=\"9\")"},
        // Blank text may stand beside them, and is not stored.
        {"<data id=\"1\"> \t\r\n</data>", "data(@id=\"1\")"},

        // Names with a colon.
        {"<p:list/>", "list"},
        {"<p:list>1</p:list>", "list=\"1\""},
        {"<p:list>1</list></p:list>", "list=\"1</list>\""},
        {"<p:data><q:veid>1</q:veid><veid/></p:data>", "data(veid=\"1\" veid)"},
        {"<:list/>", "list"},
        {"<data xmlns:p=\"x\">text</data>", "data=\"text\""},
        {"<data xmlns:p=\"x\" id=\"1\" p:uid=\"2\"><vem/></data>", "data(@id=\"1\" vem)"},
        {"<data xmlns:p=\"x\"></data>", "data=\"\""},

        // Declarations and comments.
        {"<?xml version=\"1.0\"?><data/>", "data"},
        {" \n\t<?xml version=\"1.0\"?>\r\n<!DOCTYPE data>\n<!-- x -->\n<data/>", "data"},
        {"<!><?><data/>", "data"},
        {"<!-- a > <data/> -->", "data"},
        {"<?x a > <data/> ?>", "data"},
        {"<data><!-- a > <vem/> </data> -->", "data(vem)"},
        {"<data><!-- x --></data>", "data"},
        {"<data> <!-- x --> </data>", "data"},
        {"<data><!-- x --><vem/></data>", "data(vem)"},
        {"<data><vem/><!-- x --> <?y?></data>", "data(vem)"},
        {"<data><vem/><!-- x --><veid>1</veid></data>", "data(vem veid=\"1\")"},
        {"<data id=\"1\"><!-- x --></data>", "data(@id=\"1\")"},
        {"<data><!-- x --><!-- y --> </data>", "data"},

        // What follows is not looked at.
        {"<data/>garbage <<<", "data"},
        {"<data>1</data><vem/>", "data=\"1\""},
        {"<data><vem/></data></data>", "data(vem)"},

        // An end tag may be missing where the text ends after a child.
        {"<data><vem/>", "data(vem)"},
        {"<data><vem/> \n", "data(vem)"},
        {"<data><veid>1</veid>", "data(veid=\"1\")"},
        {"<packet><data id=\"1\"><vem/>", "packet(data(@id=\"1\" vem))"},
    };
    for (const auto& row : rows) EXPECT_EQ(read(row.xml), row.stored) << row.xml;
}

TEST(TextReader, RefusesMalformedText) {
    const char* const rows[] = {
        // Nothing to store.
        "",
        " ",
        " \t\r\n",
        "text",
        "text <data/>",
        "</data>",
        " </data>",
        "<!-- x --></data>",
        "<?xml version=\"1.0\"?>",
        "<!-- x -->",
        "<!--",
        "<?xml",
        "<!",
        "<?",
        "<!-- x --> ",
        "&lt;data/>",
        // Names.
        "<",
        "<>",
        "< data/>",
        "</",
        "<//>",
        "</>",
        "<data",
        "<data ",
        "<data/",
        "<data /",
        "<data/x>",
        "<data //>",
        "<data / >",
        "<data/ >",
        "<\"data\"",
        // A comment ends at its first ">".
        "<!-- a > b --><data/>",
        "<data><!-- a > b --><vem/></data>",
        "<data><vem/><!-- a > b --></data>",
        // So do processing instructions and declarations.
        "<?x a > b?><data/>",
        "<!DOCTYPE data [<!ELEMENT data ANY>]><data/>",
        // Attributes.
        "<data id",
        "<data id=",
        "<data id=\"",
        "<data id=\"1",
        "<data id=\"1\"",
        "<data id=\"1\" ",
        "<data id=\"1\" uid",
        "<data id></data>",
        "<data id ></data>",
        "<data id='1'></data>",
        "<data id=1></data>",
        "<data id = \"1\"></data>",
        "<data id =\"1\"></data>",
        "<data id= \"1\"></data>",
        "<data =\"1\"></data>",
        "<data id=\"1\"/>",
        "<data id=\"1\" />",
        "<data xmlns:p=\"x\"/>",
        "<data id=\"1\"/></data>",
        "<data veid=\"1\"></data>",
        "<data xmlns=\"x\"></data>",
        "<data ID=\"1\"></data>",
        "<data id=\"1\" veid=\"1\"></data>",
        "<data id=\"1\"><vem veid=\"1\"/></data>",
        "<data id=\"a\"b\"></data>",
        // Text beside attributes.
        "<data id=\"1\">x</data>",
        "<data id=\"1\"> x </data>",
        "<data id=\"1\">x<vem/></data>",
        "<data id=\"1\">&#32;</data>",
        // Text beside children.
        "<data><vem/>text</data>",
        "<data><vem/> text</data>",
        "<data> <vem/>text<vem/></data>",
        "<data><vem/>text",
        "<data><!-- x -->text</data>",
        // Ends.
        "<data>",
        "<data> ",
        "<data>text",
        "<data>text<",
        "<data>text</",
        "<data>text</data",
        "<data>text</vem>",
        "<data></vem>",
        "<data> </vem></data>",
        "<data></DATA>",
        "<data></data ",
        "<data></ data>",
        "<data></data >",
        "<data></data\n>",
        "<data><vem/></packet>",
        "<data><vem/></vem></data>",
        "<data><vem/></dat></data>",
        "<data><vem/></data ></data>",
        "<data><vem/><",
        "<data><vem/></",
        "<data><vem/></data",
        "<data><vem>",
        "<data><vem/><veid>",
        "<data><vem></data>",
        "<data><vem></data></vem>",
        "<data><vem/><!-- x -->",
        "<data><vem/><!--",
        "<p:list>1</list>",
        "<list>1</p:list>",
        "<data><",
        "<data><!",
        "<data><!-- x -->",
        "<data><?x?> ",
        "<data id=\"1\">",
        "<data id=\"1\"> ",
        "<data id=\"1\"><",
        "<data id=\"1\"></dat>",
    };
    for (const char* xml : rows) EXPECT_EQ(read(xml), "-") << xml;
}

TEST(TextReader, RefusesTextThatEndsTooEarly) {
    // A "|" stands where the text may end, white space apart: behind whole children of elements
    // with known names.
    const char* const rows[] = {
        "<data/>|",
        "<data />|",
        "<data></data>|",
        "<data>text</data>|",
        "<data id=\"1\" uid=\"2\"></data>|",
        "<data id=\"1\" > </data>|",
        "<?xml version=\"1.0\"?> <!-- x --> <data/>|",
        "<packet id=\"1\">\n<data> <vem/>| <veid>5</veid>|\n</data>|\n<list/>|</packet>|",
        "<packet><!-- x --><data><vem/>|<!-- y --><vem/>|</data>|</packet>|",
        "<packet><p:list>x</p:list>|</packet>|",
        "<zz/>|",
        "<zz>text</zz>|",
        "<zz id='1'>",
        "<zz any=\"1\"> <data/> <yy><xx/></yy></zz>|",
        "<data><zz/>|<yy><vem/> <data><vem/></data> </yy>|</data>|",
        "<data><zz><data><vem/></data></zz>|</data>|",
        "<data xmlns:p=\"x\"><p:veid>5</p:veid>|</data>|",
    };
    for (const std::string_view row : rows) {
        std::string xml;
        bool complete = false;
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (row[i] == '|') continue;
            xml += row[i];
            const bool blank = row[i] == ' ' || row[i] == '\n';
            complete = (complete && blank) || row.substr(i + 1, 1) == "|";
            EXPECT_EQ(read(xml) != "-", complete) << xml;
        }
    }
}

TEST(TextReader, TextThatIsNullIsRefused) {
    EXPECT_EQ(emptyMessage()->fromText(nullptr, nullptr), -1);
}

// --- unknown names ------------------------------------------------------------------------------

TEST(TextReader, TreatsUnknownElementsByTheMessagesFlags) {
    const struct {
        const char* xml;
        const char* kept;     // no flags
        const char* dropped;  // kDropUnknown
    } rows[] = {
        {"<zz/>", "raw=\"<zz/>\"", "raw=\"<zz/>\""},
        {"<zz />", "raw=\"<zz />\"", "raw=\"<zz />\""},
        {"<zz>1</zz>", "raw=\"<zz>1</zz>\"", "-"},
        {"<zz></zz>", "raw=\"<zz></zz>\"", "-"},
        {"<zz> </zz>rest", "raw=\"<zz> </zz>\"", "-"},
        {" \n<!-- x --><zz/>rest", "raw=\" \n<!-- x --><zz/>\"", "raw=\" \n<!-- x --><zz/>\""},
        {"<data><zz>1</zz></data>", "data(raw=\"<zz>1</zz>\")", "data"},
        {"<data><zz/></data>", "data(raw=\"<zz/>\")", "data(raw=\"<zz/>\")"},
        {"<data>\n <zz>1</zz>\n</data>", "data(raw=\"\n <zz>1</zz>\")", "data"},
        {"<data><vem/> <zz/> <yy>1</yy> <veid/></data>",
         "data(vem raw=\" <zz/>\" raw=\" <yy>1</yy>\" veid)", "data(vem raw=\" <zz/>\" veid)"},
        {"<data><vem/><!-- x --> <zz/></data>", "data(vem raw=\"<!-- x --> <zz/>\")",
         "data(vem raw=\"<!-- x --> <zz/>\")"},
        {"<data id=\"1\"> <zz>1</zz></data>", "data(@id=\"1\" raw=\" <zz>1</zz>\")",
         "data(@id=\"1\")"},
        // Nothing below an unknown name is looked up.
        {"<data><zz><veid>1</veid><yy/></zz></data>", "data(raw=\"<zz><veid>1</veid><yy/></zz>\")",
         "data"},
        {"<data><zz any=\"1\" id=\"2\">x</zz></data>",
         "data(raw=\"<zz any=\"1\" id=\"2\">x</zz>\")", "data"},
        {"<data><zz><data any=\"1\">text</data><vem/></zz><vem/></data>",
         "data(raw=\"<zz><data any=\"1\">text</data><vem/></zz>\" vem)", "data(vem)"},
        {"<data><zz><zz>1</zz></zz></data>", "data(raw=\"<zz><zz>1</zz></zz>\")", "data"},
        {"<data><zz>x<zz>1</zz></data>", "data(raw=\"<zz>x<zz>1</zz>\")", "data"},
        {"<data><zz> <!-- x --> </zz></data>", "data(raw=\"<zz> <!-- x --> </zz>\")", "data"},
        // Names of other cases and of unknown parts.
        {"<Data/>", "raw=\"<Data/>\"", "raw=\"<Data/>\""},
        {"<p:zz/>", "raw=\"<p:zz/>\"", "raw=\"<p:zz/>\""},
        {"<p:q:data/>", "raw=\"<p:q:data/>\"", "raw=\"<p:q:data/>\""},
        {"<data:/>", "raw=\"<data:/>\"", "raw=\"<data:/>\""},
        {"<id/>", "id", "id"},
        {"<da<ta/>", "raw=\"<da<ta/>\"", "raw=\"<da<ta/>\""},
        {"<\"data\"/>", "raw=\"<\"data\"/>\"", "raw=\"<\"data\"/>\""},
        {"<data<vem/></data>", "raw=\"<data<vem/>\"", "raw=\"<data<vem/>\""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(read(row.xml), row.kept) << row.xml;
        {
            const WithPolicy drop(TQABinary::kDropUnknown);
            EXPECT_EQ(read(row.xml), row.dropped) << row.xml;
        }
        for (const std::uint32_t also : {0U, 1U}) {
            const WithPolicy refuse(TQABinary::kRefuseUnknown | also);
            const bool known = std::string(row.kept).find("raw") == std::string::npos;
            EXPECT_EQ(read(row.xml), known ? row.kept : "-") << row.xml;
        }
    }
}

TEST(TextReader, RefusesMalformedUnknownElements) {
    const char* const rows[] = {
        "<zz",
        "<zz>",
        "<zz>1",
        "<zz>1</yy>",
        "<zz><yy/>",
        "<zz><yy></zz>",
        "<zz><yy/>x</zz>",
        "<zz x='1'></zz>",
        "<zz x=\"1\"/>",
        "<zz x></zz>",
        "<zz/x>",
        "<data><zz></data>",
        "<data><zz>",
        "<data><zz><vem/></data>",
        "<zz><data></zz>",
        "<zz><vem/> ",
        "<zz><data><vem/>",
        "<zz><!-- x -->",
        "<data><zz><vem/>",
        "<zz></></zz>",
        "<zz><></zz>",
    };
    for (const std::uint32_t flags : {0U, 1U, 2U, 3U}) {
        const WithPolicy policy(flags);
        for (const char* xml : rows) EXPECT_EQ(read(xml), "-") << xml << ' ' << flags;
    }
}

TEST(TextReader, TextBesideAttributesIsNotJudgedInsideUnknownElements) {
    EXPECT_EQ(read("<zz id=\"1\">text</zz>"), "raw=\"<zz id=\"1\">text</zz>\"");
    EXPECT_EQ(read("<zz><data id=\"1\">text</data></zz>"),
              "raw=\"<zz><data id=\"1\">text</data></zz>\"");
}

TEST(TextReader, AMessageTakesTheFlagsWhenItIsMade) {
    const Message before = emptyMessage();
    const WithPolicy refuse(TQABinary::kRefuseUnknown);
    const Message after = emptyMessage();
    EXPECT_EQ(before->fromText(GuardedText("<zz/>").data(), nullptr), 0);
    EXPECT_EQ(after->fromText(GuardedText("<zz/>").data(), nullptr), -1);
}

// --- long names and texts -----------------------------------------------------------------------

TEST(TextReader, NamesHaveUpTo250Characters) {
    const std::string longest(250, 'n');
    const std::string prefix(245, 'p');
    EXPECT_EQ(read("<" + longest + "/>"), "raw=\"<" + longest + "/>\"");
    EXPECT_EQ(read("<" + longest + ">1</" + longest + ">"),
              "raw=\"<" + longest + ">1</" + longest + ">\"");
    EXPECT_EQ(read("<data><zz><" + longest + "/></zz></data>"),
              "data(raw=\"<zz><" + longest + "/></zz>\")");
    EXPECT_EQ(read("<" + prefix + ":list>1</" + prefix + ":list>"), "list=\"1\"");

    EXPECT_EQ(read("<" + longest + "n/>"), "-");
    EXPECT_EQ(read("<" + longest + "n>1</" + longest + "n>"), "-");
    EXPECT_EQ(read("<data><zz><" + longest + "n/></zz></data>"), "-");
    EXPECT_EQ(read("<p" + prefix + ":list/>"), "-");
}

TEST(TextReader, AttributesHaveNamesAndValuesOfAnyLength) {
    const std::string name(1000, 'n');
    const std::string value(100000, 'v');
    EXPECT_EQ(read("<data x:" + name + "=\"1\" id=\"" + value + "\"></data>"),
              "data(@id=\"" + value + "\")");
}

TEST(TextReader, StoresTextsOfEverySize) {
    for (std::size_t size = 0; size < 40; ++size) {
        const std::string value(size, 'v');
        EXPECT_EQ(read("<data id=\"" + value + "\"><veid>" + value + "</veid></data>"),
                  "data(@id=\"" + value + "\" veid=\"" + value + "\")");
        EXPECT_EQ(read("<data>" + value + "</data>"), "data=\"" + value + "\"");
    }
    const std::string large(1000000, 'v');
    EXPECT_EQ(read("<data><veid>" + large + "</veid></data>"), "data(veid=\"" + large + "\")");
}

TEST(TextReader, FindsEveryMarkAtEveryDistance) {
    for (std::size_t distance = 0; distance < 70; ++distance) {
        const std::string pad(distance, 'v');
        const std::string space(distance, ' ');
        // Marks that are none on the way to the one that counts.
        for (const char* almost :
             {"", "<", "</", "</dat", "</data", "</data<", "</Data>", "</vem>"}) {
            const std::string value = pad + almost;
            EXPECT_EQ(read("<data>x" + value + "</data>"), "data=\"x" + value + "\"");
            EXPECT_EQ(read("<data>x" + value), "-");
            EXPECT_EQ(read("<zz>x" + value + "</zz>"), "raw=\"<zz>x" + value + "</zz>\"");
        }
        EXPECT_EQ(read("<data>" + space + "</data>"), "data=\"" + space + "\"");
        EXPECT_EQ(read("<data" + space + ">" + space + "<vem" + space + "/>" + space + "</data>"),
                  "data(vem)");
        EXPECT_EQ(read(space + "<!--" + pad + "-->" + space + "<data/>"), "data");
        EXPECT_EQ(read("<data " + space + "id=\"" + pad + "\"" + space + "></data>"),
                  "data(@id=\"" + pad + "\")");
        EXPECT_EQ(read("<data p:" + pad + "=\"1\" id=\"2\"></data>"), "data(@id=\"2\")");
        EXPECT_EQ(read("<z" + pad + "/>"), "raw=\"<z" + pad + "/>\"");
    }
}

TEST(TextReader, KnowsEveryWord) {
    for (int id = tqa::kFirstTagId; id < tqa::kEndTagId; ++id) {
        const std::string word(tqa::tagWord(id));
        EXPECT_EQ(read("<" + word + "/>"), word);
        EXPECT_EQ(read("<p:" + word + ">1</p:" + word + ">"), word + "=\"1\"");
        // Nearly the word is another one, or none.
        for (const std::string& other :
             {word + "x", word.substr(1), word.substr(0, word.size() - 1)}) {
            const bool known = !other.empty() && tqa::tagId(other) != 0;
            if (known || other.empty()) continue;
            EXPECT_EQ(read("<" + other + "/>"), "raw=\"<" + other + "/>\"");
        }
    }
}

TEST(TextReader, StoresManyElements) {
    std::string xml = "<data>";
    std::string stored;
    for (int i = 0; i < 10000; ++i) {
        xml += "<veid>" + std::to_string(i) + "</veid>";
        stored += (i == 0 ? "" : " ") + ("veid=\"" + std::to_string(i)) + "\"";
    }
    EXPECT_EQ(read(xml + "</data>"), "data(" + stored + ")");
}

// --- the message --------------------------------------------------------------------------------

TEST(TextReader, ReplacesWhatTheMessageHeld) {
    const Message m = parse("<packet><data>secret</data></packet>");
    EXPECT_EQ(m->fromText(GuardedText("<vem/>").data(), nullptr), 0);
    EXPECT_EQ(text(m), "<vem/>\n");
    EXPECT_EQ(tqa_test::bytes(m).size(), 24U);
}

TEST(TextReader, LeavesWhatWasReadBeforeTheFault) {
    const struct {
        const char* xml;
        const char* left;
    } rows[] = {
        {"", "nothing"},
        {"text", "nothing"},
        {"</data>", "nothing"},
        {"<data", "nothing"},
        {"<data>", "data"},
        {"<data>text", "data"},
        {"<data id=\"1\" x=\"2\">", "data(@id=\"1\")"},
        {"<data id=\"1\">text</data>", "data(@id=\"1\")"},
        {"<data><vem/>text</data>", "data(vem)"},
        {"<data><vem/><zz>", "data(vem)"},
        {"<packet><data><veid>5</veid><list>", "packet(data(veid=\"5\" list))"},
        {"<packet><data><veid>5</veid></data><zz/><vem/></data>",
         "packet(data(veid=\"5\") raw=\"<zz/>\" vem)"},
    };
    for (const auto& row : rows) {
        const Message m = parse("<packet><data>secret</data></packet>");
        EXPECT_EQ(m->fromText(GuardedText(row.xml).data(), nullptr), -1) << row.xml;
        EXPECT_EQ(shapeOf(m), row.left) << row.xml;
        EXPECT_EQ(tqa_test::bytes(m).find("secret"), std::string::npos);
        EXPECT_EQ(m->fromText(GuardedText("<vem/>").data(), nullptr), 0) << row.xml;
        EXPECT_EQ(shapeOf(m), "vem") << row.xml;
    }
}

TEST(TextReader, LeavesOtherHoldersTheirContent) {
    for (const char* xml : {"<vem/>", "<vem>", ""}) {
        const Message first = parse("<packet><data/></packet>");
        const Message second = copyOf(first);
        second->fromText(GuardedText(xml).data(), nullptr);
        EXPECT_EQ(text(first), "<packet>\n<data/>\n</packet>\n") << xml;
    }
}

// --- below an iterator --------------------------------------------------------------------------

TEST(TextReaderBelow, AppendsTheElementAndStays) {
    const Message m = parse("<packet><data><vem/></data><list/></packet>");
    const Cursor it = cursorAt(m, "data");
    EXPECT_EQ(m->fromText(GuardedText(" <veid id=\"1\"></veid>rest").data(), it.get()), 0);
    EXPECT_EQ(shapeOf(m), "packet(data(vem veid(@id=\"1\")) list)");
    EXPECT_EQ(it->curName(), "data");
    EXPECT_EQ(it->seek("veid"), 0);
}

TEST(TextReaderBelow, AppendsRawElements) {
    const Message m = parse("<packet/>");
    const Cursor it = cursor(m);
    EXPECT_EQ(m->fromText(GuardedText(" <zz>1</zz>").data(), it.get()), 0);
    EXPECT_EQ(shapeOf(m), "packet(raw=\" <zz>1</zz>\")");
}

TEST(TextReaderBelow, BlankTextGivesWayAndOtherTextStays) {
    const struct {
        const char* xml;
        int result;
        const char* stored;
    } rows[] = {
        {"<data/>", 0, "data(vem)"},
        {"<data></data>", 0, "data(vem)"},
        {"<data> </data>", 0, "data(vem)"},
        {"<data>\n\n\t\r \n\n\n</data>", 0, "data(vem)"},
        {"<data>x</data>", -1, "data=\"x\""},
        {"<data>long text</data>", -1, "data=\"long text\""},
        {"<data><list/></data>", 0, "data(list vem)"},
        {"<data id=\"1\"></data>", 0, "data(@id=\"1\" vem)"},
    };
    for (const auto& row : rows) {
        const Message m = parse(row.xml);
        const Cursor it = cursor(m);
        EXPECT_EQ(m->fromText(GuardedText("<vem/>").data(), it.get()), row.result) << row.xml;
        EXPECT_EQ(shapeOf(m), row.stored) << row.xml;
    }
}

TEST(TextReaderBelow, AFailureLeavesTheMessageOnWhatWasRead) {
    const Message m = parse("<packet><data/></packet>");
    const Cursor it = cursorAt(m, "data");
    EXPECT_EQ(m->fromText(GuardedText("<vem><veid>5</veid><list>").data(), it.get()), -1);
    EXPECT_EQ(shapeOf(m), "vem(veid=\"5\" list)");
    EXPECT_EQ(it->validateStamp(), -1);
    EXPECT_EQ(it->newChild("list", ""), -1);
    EXPECT_EQ(cursor(m)->curName(), "vem");
    EXPECT_EQ(m->create("packet"), 0);
    EXPECT_EQ(shapeOf(m), "packet()");
}

TEST(TextReaderBelow, ManyFailuresLeakNothing) {
    const Message m = parse("<packet><data/></packet>");
    for (int i = 0; i < 100; ++i) {
        const Cursor it = cursor(m);
        EXPECT_EQ(m->fromText(GuardedText("<packet><data>" + std::to_string(i)).data(), it.get()),
                  -1);
        EXPECT_EQ(shapeOf(m), "packet(data)");
    }
}

TEST(TextReaderBelow, AFailureThatStoredNothingLeavesNothing) {
    for (const char* xml : {"", " ", "</packet>", "text"}) {
        const Message m = parse("<packet/>");
        EXPECT_EQ(m->fromText(GuardedText(xml).data(), cursor(m).get()), -1);
        EXPECT_EQ(shapeOf(m), "nothing") << xml;
        EXPECT_EQ(m->fromText(GuardedText("<vem/>").data(), nullptr), 0);
        EXPECT_EQ(shapeOf(m), "vem");
    }
    const WithPolicy drop(TQABinary::kDropUnknown);
    const Message m = parse("<packet/>");
    EXPECT_EQ(m->fromText(GuardedText("<zz>1</zz>").data(), cursor(m).get()), -1);
    EXPECT_EQ(shapeOf(m), "nothing");
}

TEST(TextReaderBelow, OtherHoldersKeepTheirContent) {
    for (const char* xml : {"<vem/>", "<vem>"}) {
        const Message first = parse("<packet><data/></packet>");
        const Message second = copyOf(first);
        const Cursor it = cursorAt(second, "data");
        second->fromText(GuardedText(xml).data(), it.get());
        EXPECT_EQ(shapeOf(first), "packet(data)") << xml;
        EXPECT_FALSE(first->multiReference());
    }
}

TEST(TextReaderBelow, NeedsContentAndAnIteratorOnIt) {
    const Message empty = emptyMessage();
    EXPECT_EQ(empty->fromText(GuardedText("<vem/>").data(), cursor(empty).get()), -1);
    const Message m = parse("<packet/>");
    const Message other = parse("<packet/>");
    EXPECT_EQ(m->fromText(GuardedText("<vem/>").data(), cursor(other).get()), -1);
    const auto fake = tqa_test::fake("(packet)");
    tqa_test::FakeIterator stranger(fake.get());
    EXPECT_EQ(m->fromText(GuardedText("<vem/>").data(), &stranger), -1);
    EXPECT_EQ(shapeOf(m), "packet");
}

// --- one element below a path -------------------------------------------------------------------

class ReadElement : public testing::Test {
  protected:
    ReadElement() { path_.push_back(tqa::Tag_packet, tqa::kRootOffset); }

    // The result, and how many characters were read.
    int readInto(const char* xml, bool skip = false) {
        const GuardedText guarded(xml);
        char* at = guarded.data();
        const int result = message_->fromText(at, path_, skip);
        read_ = static_cast<int>(at - guarded.data());
        return result;
    }

    const Message message_ = parse("<packet><data/></packet>");
    BinaryPath path_;
    int read_ = -1;
};

TEST_F(ReadElement, AppendsItAndMovesPastIt) {
    EXPECT_EQ(readInto(" <veid>5</veid> <vem/>"), 0);
    EXPECT_EQ(read_, 15);
    EXPECT_EQ(path_.size(), 1);
    EXPECT_EQ(shapeOf(message_), "packet(data veid=\"5\")");
}

TEST_F(ReadElement, TakesNoEndTag) {
    EXPECT_EQ(readInto("</packet>"), 0);
    EXPECT_EQ(read_, 0);
    EXPECT_EQ(shapeOf(message_), "packet(data)");
}

TEST_F(ReadElement, IsOnlyCheckedWhenSkipped) {
    EXPECT_EQ(readInto("<veid any=\"1\"><zz/></veid> ", true), 0);
    EXPECT_EQ(read_, 26);
    EXPECT_EQ(readInto("<veid any=\"1\"><zz/>x</veid>", true), -1);
    EXPECT_EQ(readInto("<veid x='1'></veid>", true), -1);
    EXPECT_EQ(shapeOf(message_), "packet(data)");
}

TEST_F(ReadElement, BecomesTheRootOfAMessageWithoutOne) {
    message_->fromText(GuardedText("").data(), nullptr);
    path_.pop_back();
    EXPECT_EQ(readInto("<vem><veid>5</veid></vem>"), 0);
    EXPECT_EQ(path_.size(), 0);
    EXPECT_EQ(shapeOf(message_), "vem(veid=\"5\")");
}

TEST_F(ReadElement, GoesBelowTheElementOfThePath) {
    path_.push_back(tqa::Tag_data, tqa::kRootOffset + tqa::kEmptyElementSize);
    EXPECT_EQ(readInto("<zz/>"), 0);
    EXPECT_EQ(readInto("<vem/>"), 0);
    EXPECT_EQ(path_.size(), 2);
    EXPECT_EQ(shapeOf(message_), "packet(data(raw=\"<zz/>\" vem))");
}

TEST_F(ReadElement, CannotGoBelowAValue) {
    path_.push_back(tqa::Tag_data, tqa::kRootOffset + tqa::kEmptyElementSize);
    ASSERT_EQ(message_->insertValue(path_, static_cast<int>(Kind::String), "x", 2), 0);
    EXPECT_EQ(readInto("<vem/>"), -1);
    EXPECT_EQ(readInto("</data>"), -1);
    EXPECT_EQ(readInto("<vem/>", true), 0);
}

TEST_F(ReadElement, MayBeDropped) {
    const WithPolicy drop(TQABinary::kDropUnknown);
    const Message m = parse("<packet><data/></packet>");
    const GuardedText guarded("<zz>1</zz><vem/>");
    char* at = guarded.data();
    EXPECT_EQ(m->fromText(at, path_, false), 0);
    EXPECT_EQ(at - guarded.data(), 10);
    EXPECT_EQ(m->fromText(at, path_, false), 0);
    EXPECT_EQ(shapeOf(m), "packet(data vem)");
}

// --- no memory ----------------------------------------------------------------------------------

[[noreturn]] void readWithoutMemory(char* xml, bool below) {
    const Message m = parse("<packet/>");
    const Cursor it = cursor(m);
    tqa_test::starve();
    _exit(m->fromText(xml, below ? it.get() : nullptr) == -1 ? 0 : 1);
}

TEST(TextReaderDeathTest, RefusesWhatMemoryCannotHold) {
    if (!TQA_CAN_STARVE) GTEST_SKIP() << "not under a sanitizer";
    std::string text = "<data>" + std::string(50 << 20, 'x') + "</data>";
    EXPECT_EXIT(readWithoutMemory(text.data(), false), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(readWithoutMemory(text.data(), true), testing::ExitedWithCode(0), "");
    std::string deep;
    for (int i = 0; i < 3000000; ++i) deep += "<data>";
    for (int i = 0; i < 3000000; ++i) deep += "</data>";
    EXPECT_EXIT(readWithoutMemory(deep.data(), false), testing::ExitedWithCode(0), "");
}

}  // namespace
