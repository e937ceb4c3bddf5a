// Raw children and how they become elements.

#include "tqamsg/binary/binary.h"
#include "tqamsg/binary/binary_iterator.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/messages.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using tqa::Kind;
using tqa::Tag_data;
using tqa::Tag_list;
using tqa::Tag_veid;
using tqa::Tag_vem;
using tqa_test::bytes;
using tqa_test::container;
using tqa_test::copyOf;
using tqa_test::Cursor;
using tqa_test::cursor;
using tqa_test::cursorAt;
using tqa_test::element;
using tqa_test::intElement;
using tqa_test::load;
using tqa_test::Message;
using tqa_test::message;
using tqa_test::parse;
using tqa_test::stringElement;
using tqa_test::text;

constexpr std::uint32_t kExpand = TQABinaryIterator::kExpandRaw;
constexpr std::uint32_t kMustParse = TQABinaryIterator::kRawMustParse;

// An iterator on the root with these flags.
Cursor cursorWith(std::uint32_t flags, const Message& m) {
    TQABinaryIterator::Policy = flags;
    Cursor it = cursor(m);
    TQABinaryIterator::Policy = 0;
    return it;
}

std::string raw(const std::string& xml) {
    return element(0, Kind::Unparsed, xml + '\0');
}

// A "data" with these children.
Message dataWith(const std::string& children) {
    return load(message(container(Tag_data, children)));
}

std::string inData(const std::string& lines) {
    return "<data>\n" + lines + "</data>\n";
}

// --- when ---------------------------------------------------------------------------------------

TEST(RawChildren, StayRawWithoutTheFlag) {
    const Message m = dataWith(raw("<vem/>"));
    const std::string before = bytes(m);
    const Cursor it = cursor(m);
    EXPECT_EQ(it->firstChild(), 0);
    EXPECT_EQ(it->curID(), 0);
    EXPECT_EQ(it->curName(), "");
    it->seekUp();
    EXPECT_EQ(it->seek(Tag_vem), -1);
    EXPECT_EQ(it->seek("vem"), -1);
    EXPECT_EQ(bytes(m), before);
    const Cursor strict = cursorWith(kMustParse, m);
    EXPECT_EQ(strict->firstChild(), 0);
    EXPECT_EQ(bytes(m), before);
}

TEST(RawChildren, AreExpandedByAMoveToTheFirstChild) {
    const Message m = dataWith(raw("<vem><veid>5</veid></vem>") + intElement(Tag_veid, 7));
    const Cursor it = cursorWith(kExpand, m);
    EXPECT_EQ(it->firstChild(), 0);
    EXPECT_EQ(it->curName(), "veid");
    EXPECT_EQ(it->nextSibling(), 0);
    EXPECT_EQ(it->curName(), "vem");
    EXPECT_EQ(text(m), inData("<veid>7</veid>\n<vem>\n<veid>5</veid>\n</vem>\n"));
}

TEST(RawChildren, AreExpandedByEverySearchForAChild) {
    for (int search = 0; search < 6; ++search) {
        const Message m = dataWith(raw("<veid>5</veid>"));
        const Cursor it = cursorWith(kExpand, m);
        int number = 0;
        switch (search) {
            case 0:
                EXPECT_EQ(it->seek(Tag_veid), 0);
                break;
            case 1:
                EXPECT_EQ(it->seek("veid"), 0);
                break;
            case 2:
                EXPECT_EQ(it->firstChild("veid"), 0);
                break;
            case 3:
                EXPECT_EQ(it->getValue(&number, Tag_veid), 0);
                EXPECT_EQ(number, 5);
                break;
            case 4:
                EXPECT_EQ(it->seekPresence(Tag_veid), 0);
                break;
            default:
                // No move, but a search all the same.
                EXPECT_EQ(it->seek(0), 0);
        }
        EXPECT_EQ(text(m), inData("<veid>5</veid>\n")) << search;
        EXPECT_EQ(cursor(m)->seek(Tag_veid), 0) << search;
    }
}

TEST(RawChildren, OfOtherElementsStayRaw) {
    const Message m =
        dataWith(container(Tag_list, raw("<veid>1</veid>")) + raw("<vem/>") + raw("<list/>"));
    const Cursor it = cursorWith(kExpand, m);
    ASSERT_EQ(it->seek(Tag_list), 0);
    EXPECT_EQ(cursorAt(m, "list")->seek(Tag_veid), -1);
    ASSERT_EQ(it->seek(Tag_veid), 0);
    EXPECT_EQ(cursorAt(m, "list")->seek(Tag_veid), 0);
}

TEST(RawChildren, OfAnExpandedElementAreExpandedWhenItIsEntered) {
    const Message m = dataWith("");
    const Cursor it = cursorWith(kExpand, m);
    const std::string inner = container(Tag_vem, raw("<veid>5</veid>"));
    const std::string outer = element(0, Kind::Unparsed, message(inner));
    std::string list = message(container(Tag_list, outer));
    ASSERT_EQ(it->encodeToChild(list.data(), static_cast<int>(list.size())), 0);
    EXPECT_EQ(it->seek("list/vem/veid"), 0);
    EXPECT_EQ(it->curName(), "veid");
}

TEST(RawChildren, TheFlagsComeWithTheIterator) {
    const Message m = dataWith(raw("<vem/>"));
    const Cursor plain = cursor(m);
    const Cursor expanding = cursorWith(kExpand, m);
    const Cursor copy = copyOf(expanding);
    EXPECT_EQ(plain->seek(Tag_vem), -1);
    EXPECT_EQ(copy->seek(Tag_vem), 0);
}

// --- what ---------------------------------------------------------------------------------------

TEST(ParseUnknown, PutsTheElementsBehindTheOthersInTheirOrder) {
    const Message m =
        dataWith(raw("<veid>1</veid>") + stringElement(Tag_list, "a") + raw("\n <veid>2</veid>") +
                 raw("<vem/>") + stringElement(Tag_list, "b") + raw("<veid>3</veid>"));
    const Cursor it = cursor(m);
    EXPECT_EQ(it->parseUnknown(), 0);
    EXPECT_EQ(text(m), inData("<list>a</list>\n<list>b</list>\n<veid>1</veid>\n<veid>2</veid>\n"
                              "<vem/>\n<veid>3</veid>\n"));
    EXPECT_EQ(it->curID(), Tag_data);
    EXPECT_EQ(it->validateStamp(), 0);
    EXPECT_EQ(it->parseUnknown(), 0);
}

TEST(ParseUnknown, ExpandsWhatWasPutAsXml) {
    const Message m = parse("<data><vem/></data>");
    const Cursor it = cursor(m);
    ASSERT_EQ(it->newChild(0, 0), 0);
    ASSERT_EQ(it->putValueXML("  <list><veid>5</veid></list> rest", 0), 0);
    it->seekUp();
    EXPECT_EQ(it->parseUnknown(), 0);
    EXPECT_EQ(text(m), inData("<vem/>\n<list>\n<veid>5</veid>\n</list>\n"));
}

TEST(ParseUnknown, ExpandsBinaryMessages) {
    const std::string held = message(container(Tag_vem, intElement(Tag_veid, 5), tqa::Ns_types));
    const Message m = dataWith(element(0, Kind::Unparsed, held) + intElement(Tag_veid, 7));
    EXPECT_EQ(cursor(m)->parseUnknown(), 0);
    EXPECT_EQ(tqa_test::tree(m),
              tqa_test::tree(message(container(
                  Tag_data, intElement(Tag_veid, 7) +
                                container(Tag_vem, intElement(Tag_veid, 5), tqa::Ns_types)))));
}

TEST(ParseUnknown, ExpandsTextsOfEverySize) {
    // A text of eight bytes lies elsewhere in its element; a long one makes the buffer grow.
    for (const std::size_t size : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 20U, 5000U, 100000U}) {
        const std::string value(size, 'v');
        const Message m = dataWith(raw("<vem>" + value + "</vem>"));
        const Cursor it = cursor(m);
        EXPECT_EQ(it->parseUnknown(), 0);
        EXPECT_EQ(it->seek(Tag_vem), 0) << size;
        std::string stored = "other";
        EXPECT_EQ(it->getValue(&stored, 0), 0);
        EXPECT_EQ(stored, value);
    }
    const Message seven = dataWith(raw("<veid/>") + raw("<list/> ") + raw("<vem/>"));
    EXPECT_EQ(cursor(seven)->parseUnknown(), 0);
    EXPECT_EQ(text(seven), inData("<veid/>\n<list/>\n<vem/>\n"));
}

TEST(ParseUnknown, ExpandsManyChildrenInOrder) {
    std::string children;
    std::string lines;
    for (int i = 0; i < 3000; ++i) {
        const std::string veid = "<veid>" + std::to_string(i) + "</veid>";
        children += raw(veid);
        lines += veid + "\n";
    }
    const Message m = dataWith(children);
    EXPECT_EQ(cursor(m)->parseUnknown(), 0);
    EXPECT_EQ(text(m), inData(lines));
}

TEST(ParseUnknown, WithoutRawChildrenChangesNothing) {
    const Message m = parse("<data id=\"1\"><vem/></data>");
    const std::string before = bytes(m);
    EXPECT_EQ(cursor(m)->parseUnknown(), 0);
    EXPECT_EQ(bytes(m), before);
    EXPECT_EQ(cursor(tqa_test::create("data"))->parseUnknown(), 0);
}

// --- what stays raw -----------------------------------------------------------------------------

struct Stubborn {
    const char* what;
    std::string child;
};

std::vector<Stubborn> stubbornChildren() {
    return {
        {"malformed text", raw("<vem>")},
        {"no element", raw("text")},
        {"no text", raw("")},
        {"nothing", element(0, Kind::Unparsed)},
        {"text without a zero byte", element(0, Kind::Unparsed, "<vem/>")},
        {"an unknown name", raw("<zz>1</zz>")},
        {"an unknown empty tag", raw(" <zz/>")},
        {"a cut message", element(0, Kind::Unparsed, message(container(Tag_vem)).substr(0, 23))},
        {"a message with a raw root", element(0, Kind::Unparsed, message(raw("<vem/>")))},
        {"a message with an unnamed root", element(0, Kind::Unparsed, message(container(0)))},
        {"an unnamed text", element(0, Kind::Untyped, "<vem/>\0"s)},
        {"an unnamed empty element", element(0, Kind::Untyped)},
        {"an unnamed number", intElement(0, 5)},
        {"an unnamed node", container(0, intElement(Tag_veid, 5))},
        {"an unnamed element of another kind", element(0, Kind{52}, "<vem/>\0"s)},
    };
}

TEST(ParseUnknown, EndsAtTheFirstChildThatStaysRaw) {
    for (const auto& [what, child] : stubbornChildren()) {
        for (const std::uint32_t flags : {0U, kExpand, kMustParse, kExpand | kMustParse}) {
            const std::string rest = raw("<list/>");
            const Message m = dataWith(raw("<veid>1</veid>") + child + rest);
            const Cursor it = cursorWith(flags, m);
            const int result = (flags & kMustParse) != 0 ? -1 : 0;
            EXPECT_EQ(it->parseUnknown(), result) << what << ' ' << flags;
            EXPECT_EQ(it->curID(), Tag_data);
            const std::string expanded = element(Tag_veid, Kind::Untyped, "1\0"s);
            EXPECT_EQ(tqa_test::tree(m),
                      tqa_test::tree(message(container(Tag_data, child + rest + expanded))))
                << what << ' ' << flags;
        }
    }
}

TEST(RawChildren, ThatStayRawFailAMoveToTheFirstChildOnlyWhenTheyMustParse) {
    for (const auto& [what, child] : stubbornChildren()) {
        const Message m = dataWith(child + intElement(Tag_veid, 5));
        const Cursor strict = cursorWith(kExpand | kMustParse, m);
        EXPECT_EQ(strict->firstChild(), -1) << what;
        EXPECT_EQ(strict->curID(), Tag_data) << what;
        // A search goes on all the same.
        EXPECT_EQ(strict->seek(Tag_veid), 0) << what;
        const Cursor lenient = cursorWith(kExpand, m);
        EXPECT_EQ(lenient->firstChild(), 0) << what;
        EXPECT_EQ(lenient->curID(), 0) << what;
    }
}

TEST(ParseUnknown, ReadsWithTheFlagsOfNewMessages) {
    const Message m = dataWith(raw("<vem><zz>1</zz></vem>"));
    TQABinary::Policy = TQABinary::kRefuseUnknown;
    const int refused = cursorWith(kMustParse, m)->parseUnknown();
    TQABinary::Policy = TQABinary::kDropUnknown;
    const int dropped = cursorWith(kMustParse, m)->parseUnknown();
    TQABinary::Policy = 0;
    EXPECT_EQ(refused, -1);
    EXPECT_EQ(dropped, 0);
    EXPECT_EQ(text(m), inData("<vem/>\n"));
}

// --- where --------------------------------------------------------------------------------------

TEST(ParseUnknown, NeedsANodeToStandOn) {
    const Message m = dataWith(intElement(Tag_veid, 5) + raw("<vem/>"));
    const Cursor value = cursorAt(m, "veid");
    EXPECT_EQ(value->parseUnknown(), -1);
    const Cursor onRaw = cursorAt(m, "veid");
    ASSERT_EQ(onRaw->nextSibling(), 0);
    EXPECT_EQ(onRaw->parseUnknown(), -1);
    const Message empty = tqa_test::emptyMessage();
    EXPECT_EQ(cursor(empty)->parseUnknown(), -1);
    EXPECT_EQ(text(m), inData("<veid>5</veid>\n<vem/>\n"));
}

TEST(ParseUnknown, NeedsAnIteratorThatIsNotStale) {
    const Message m = load(
        message(container(Tag_data, intElement(Tag_veid, 5) + container(Tag_list, raw("<vem/>")))));
    const Cursor it = cursorAt(m, "list");
    ASSERT_EQ(cursorAt(m, "veid")->deleteFromChild(), 0);
    EXPECT_EQ(it->parseUnknown(), -1);
    EXPECT_EQ(text(m), inData("<list>\n<vem/>\n</list>\n"));
}

TEST(ParseUnknown, MovesWhatFollowsInsideTheMessage) {
    const Message m = load(message(container(
        Tag_data, container(Tag_list, raw("<veid>1</veid>") + raw("<vem><veid>2</veid></vem>")) +
                      stringElement(Tag_vem, "behind"))));
    const Cursor it = cursorAt(m, "list");
    EXPECT_EQ(it->parseUnknown(), 0);
    EXPECT_EQ(text(m), inData("<list>\n<veid>1</veid>\n<vem>\n<veid>2</veid>\n</vem>\n</list>\n"
                              "<vem>behind</vem>\n"));
    EXPECT_EQ(it->nextSibling(), 0);
    EXPECT_EQ(it->curName(), "vem");
}

TEST(ParseUnknown, TakesNoMoreRoomThanTheElementNeeds) {
    // Of 4096 bytes 16 are left, and 24 after the expansion.
    const std::string fill = stringElement(1005, std::string(3980, 'x'));
    const Message m = load(message(container(1398, element(Tag_list, Kind::Untyped) +
                                                       element(Tag_data, Kind::Untyped) + fill +
                                                       element(0, Kind::Unparsed, "<ve/>\0"s))));
    ASSERT_EQ(bytes(m).size(), 4080U);
    ASSERT_EQ(cursor(m)->parseUnknown(), 0);
    const Cursor other = cursorAt(m, "data");
    const Cursor list = cursorAt(m, "list");
    ASSERT_EQ(list->newChild(Tag_veid, 0), 0);
    EXPECT_EQ(other->validateStamp(), 0);
    // Only now the buffer grows, which others notice.
    ASSERT_EQ(list->newChild(Tag_veid, 0), 0);
    EXPECT_EQ(other->validateStamp(), -1);
}

TEST(ParseUnknown, ChangesASharedContentForEveryHolder) {
    const Message first = dataWith(raw("<veid>5</veid>") + raw("<zz/>"));
    const Message second = copyOf(first);
    const Cursor other = cursor(first);
    EXPECT_EQ(cursor(second)->parseUnknown(), 0);
    EXPECT_TRUE(first->multiReference());
    EXPECT_EQ(text(first), inData("<zz/>\n<veid>5</veid>\n"));
    EXPECT_EQ(text(second), text(first));
    EXPECT_EQ(other->seek(Tag_veid), 0);
}

TEST(ParseUnknown, ChangesASharedContentThatGrowsForEveryHolder) {
    const std::string value(100000, 'v');
    const Message first = dataWith(raw("<vem>" + value + "</vem>"));
    const Message second = copyOf(first);
    const Cursor other = cursor(first);
    EXPECT_EQ(cursor(second)->parseUnknown(), 0);
    EXPECT_EQ(text(first), inData("<vem>" + value + "</vem>\n"));
    EXPECT_EQ(other->seek(Tag_vem), 0);
}

}  // namespace
