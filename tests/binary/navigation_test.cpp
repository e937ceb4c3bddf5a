// Moves of the binary iterator, and the children it makes.

#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/messages.h"

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;
using tqa::Kind;

// packet( id=1 data( veid=2 ve( veid=3 ) veid=4 ) cookie="x" )
Message sample() {
    return load(message(container(
        tqa::Tag_packet,
        intElement(tqa::Tag_id, 1) +
            container(tqa::Tag_data, intElement(tqa::Tag_veid, 2) +
                                         container(tqa::Tag_ve, intElement(tqa::Tag_veid, 3)) +
                                         intElement(tqa::Tag_veid, 4)) +
            stringElement(tqa::Tag_cookie, "x"))));
}

// The names from the root to where the iterator stands, and its value if it is a number.
std::string where(const Cursor& at) {
    const Cursor probe = copyOf(at);
    std::string path;
    int value = 0;
    if (probe->getValue(&value, 0) == 0 && probe->curName() != "cookie") {
        path = '=' + std::to_string(value);
    }
    while (probe->curID() != 0) {
        path.insert(0, '/' + probe->curName());
        probe->seekUp();
    }
    return path;
}

// --- a new message ------------------------------------------------------------------------------

TEST(Navigation, ANewMessageHasARootAndNothingElse) {
    const Message m = create(1234);
    const Cursor at = cursor(m);
    EXPECT_EQ(at->curID(), 1234);
    EXPECT_EQ(at->firstChild(), -1);
    EXPECT_EQ(at->firstChild(1002), -1);
    EXPECT_EQ(at->nextSibling(), -1);
    EXPECT_EQ(at->nextSibling(1002), -1);
    EXPECT_EQ(at->seek(1234), -1);
    EXPECT_EQ(at->seekRoot(), 0);
    EXPECT_EQ(at->curID(), 1234);
}

// --- down and across ----------------------------------------------------------------------------

TEST(Navigation, WalksAllChildrenInOrder) {
    const Message m = sample();
    const Cursor walk = cursorAt(m, "data");
    ASSERT_EQ(walk->firstChild(), 0);
    EXPECT_EQ(where(walk), "/packet/data/veid=2");
    ASSERT_EQ(walk->nextSibling(), 0);
    EXPECT_EQ(where(walk), "/packet/data/ve");
    ASSERT_EQ(walk->nextSibling(), 0);
    EXPECT_EQ(where(walk), "/packet/data/veid=4");
    EXPECT_EQ(walk->nextSibling(), -1);
    EXPECT_EQ(where(walk), "/packet/data/veid=4");
}

TEST(Navigation, TheFirstOfSeveralChildrenIsFoundById) {
    const Message m = sample();
    for (const bool byName : {false, true}) {
        const Cursor at = cursorAt(m, "data");
        ASSERT_EQ(byName ? at->firstChild("veid") : at->firstChild(tqa::Tag_veid), 0);
        EXPECT_EQ(where(at), "/packet/data/veid=2");
        ASSERT_EQ(byName ? at->nextSibling("veid") : at->nextSibling(tqa::Tag_veid), 0);
        EXPECT_EQ(where(at), "/packet/data/veid=4");
        EXPECT_EQ(byName ? at->nextSibling("veid") : at->nextSibling(tqa::Tag_veid), -1);
        EXPECT_EQ(where(at), "/packet/data/veid=4");
    }
}

TEST(Navigation, OnlyDirectChildrenAreFound) {
    const Message m = sample();
    const Cursor at = cursor(m);
    EXPECT_EQ(at->seek(tqa::Tag_veid), -1);
    EXPECT_EQ(at->firstChild(tqa::Tag_ve), -1);
    EXPECT_EQ(where(at), "/packet");
    ASSERT_EQ(at->seek(tqa::Tag_data), 0);
    EXPECT_EQ(at->seek(tqa::Tag_data), -1);
    EXPECT_EQ(at->nextSibling(tqa::Tag_id), -1);  // siblings before it are not looked at
    EXPECT_EQ(where(at), "/packet/data");
}

TEST(Navigation, ValuesHaveNoChildren) {
    for (const Kind kind : {Kind::Untyped, Kind::Int, Kind::String, Kind::LongLong, Kind::Double,
                            Kind::Base64, Kind::Time, Kind::Unparsed}) {
        const Message m = load(message(container(1398, element(1307, kind, intElement(1002, 5)))));
        const Cursor at = cursorAt(m, "data");
        EXPECT_EQ(at->firstChild(), -1) << static_cast<int>(kind);
        EXPECT_EQ(at->firstChild(1002), -1);
        EXPECT_EQ(at->seek(1002), -1);
        EXPECT_EQ(at->curID(), 1307);
    }
}

TEST(Navigation, IdZeroNamesTheCurrentElement) {
    const Message m = sample();
    const Cursor at = cursorAt(m, "data/ve");
    EXPECT_EQ(at->seek(0), 0);
    EXPECT_EQ(at->firstChild(0), 0);
    EXPECT_EQ(at->nextSibling(0), 0);
    EXPECT_EQ(where(at), "/packet/data/ve");
    const Cursor value = cursorAt(m, "data/veid");
    EXPECT_EQ(value->seek(0), 0);
    EXPECT_EQ(where(value), "/packet/data/veid=2");
}

TEST(Navigation, TheRootHasNoSiblings) {
    const Message m = sample();
    const Cursor at = cursor(m);
    EXPECT_EQ(at->nextSibling(), -1);
    EXPECT_EQ(at->nextSibling("packet"), -1);
    EXPECT_EQ(at->nextSibling(0), 0);
    EXPECT_EQ(where(at), "/packet");
}

TEST(Navigation, UnknownWordsLeadNowhere) {
    const Message m = sample();
    const Cursor at = cursorAt(m, "data/veid");
    for (const char* word : {"", "Veid", "veid ", "no_such_word", "alerts/veid", "types"}) {
        EXPECT_EQ(at->firstChild(word), -1) << word;
        EXPECT_EQ(at->nextSibling(word), -1) << word;
        EXPECT_EQ(at->newChild(word, ""), -1) << word;
    }
    EXPECT_EQ(where(at), "/packet/data/veid=2");
    EXPECT_EQ(tree(m), tree(sample()));
}

// --- up -----------------------------------------------------------------------------------------

TEST(Navigation, MovesUpAndToTheRoot) {
    const Message m = sample();
    const Cursor at = cursorAt(m, "data/ve/veid");
    EXPECT_EQ(at->seekUp(), 0);
    EXPECT_EQ(where(at), "/packet/data/ve");
    EXPECT_EQ(at->seekRoot(), 0);
    EXPECT_EQ(where(at), "/packet");
    EXPECT_EQ(at->seekRoot(), 0);
    EXPECT_EQ(where(at), "/packet");
}

// Kept: seekUp().
TEST(Navigation, SeekUpOnTheRootLeavesTheIteratorStandingNowhere) {
    const Message m = sample();
    const Cursor at = cursor(m);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(at->seekUp(), 0);
    EXPECT_EQ(at->curID(), 0);
    EXPECT_EQ(at->firstChild(), -1);
    EXPECT_EQ(at->seek(tqa::Tag_data), -1);
    EXPECT_EQ(at->seek("/data"), -1);
    EXPECT_EQ(at->nextSibling(), -1);
    EXPECT_EQ(at->newChild(tqa::Tag_data, 0), -1);
    EXPECT_EQ(at->putValue(5, tqa::Tag_veid), -1);
    EXPECT_EQ(at->deleteFromChild(), -1);
    EXPECT_EQ(tree(m), tree(sample()));
    at->invalidate();  // only a check brings it back
    EXPECT_EQ(at->seek("data"), 0);
    EXPECT_EQ(where(at), "/packet/data");
}

// --- paths --------------------------------------------------------------------------------------

TEST(Paths, LeadFromTheElementOrFromTheRoot) {
    const struct {
        const char *from, *path;
        int status;
        const char* to;
    } cases[] = {
        {"/", "", 0, "/packet"},
        {"/", "/", 0, "/packet"},
        {"/", "data", 0, "/packet/data"},
        {"/", "data/ve/veid", 0, "/packet/data/ve/veid=3"},
        {"/", "/data/ve/veid", 0, "/packet/data/ve/veid=3"},
        {"/", "/data/ve/", 0, "/packet/data/ve"},  // a slash behind does no harm
        {"/", "data/", 0, "/packet/data"},
        {"data", "ve/veid", 0, "/packet/data/ve/veid=3"},
        {"data/ve", "", 0, "/packet/data/ve"},
        {"data/ve", "/", 0, "/packet"},
        {"data/ve", "/id", 0, "/packet/id=1"},
        {"data/ve/veid", "/data/veid", 0, "/packet/data/veid=2"},
        // What fails stays.
        {"data/ve", "/data/no_such_word", -1, "/packet/data/ve"},
        {"data/ve", "/data/cookie", -1, "/packet/data/ve"},
        {"data/ve", "/cookie/veid", -1, "/packet/data/ve"},
        {"data/ve", "veid/veid", -1, "/packet/data/ve"},
        {"data", "ve/no_such_word", -1, "/packet/data"},
        {"data", "ve/id", -1, "/packet/data"},
        {"data/ve/veid", "/no_such_word", -1, "/packet/data/ve/veid=3"},
        {"/", "no_such_word", -1, "/packet"},
        {"/", "packet", -1, "/packet"},
        {"/", "/packet/data", -1, "/packet"},
        {"/", "DATA", -1, "/packet"},
        {"/", " data", -1, "/packet"},
        {"data", ".", -1, "/packet/data"},
        {"data", "..", -1, "/packet/data"},
        {"data", "veid[1]", -1, "/packet/data"},
        {"/", "types:data", -1, "/packet"},
    };
    const Message m = sample();
    for (const auto& c : cases) {
        const Cursor at = cursorAt(m, c.from);
        EXPECT_EQ(at->seek(c.path), c.status) << c.from << ", " << c.path;
        EXPECT_EQ(where(at), c.to) << c.from << ", " << c.path;
    }
}

// Kept: seek().
TEST(Paths, AnEmptyComponentEndsTheWalkWhereItStands) {
    const Message m = sample();
    const struct {
        const char *path, *to;
    } cases[] = {
        {"data//ve", "/packet/data"},
        {"data//no_such_word", "/packet/data"},
        {"//data", "/packet"},
        {"//", "/packet"},
        {"/data/ve//veid", "/packet/data/ve"},
        {"data////", "/packet/data"},
    };
    for (const auto& c : cases) {
        const Cursor at = cursor(m);
        EXPECT_EQ(at->seek(c.path), 0) << c.path;
        EXPECT_EQ(where(at), c.to) << c.path;
    }
}

TEST(Paths, AFailedWalkFromTheRootComesBackFromFarBelow) {
    const Message m = load(message(nested(tqa::Tag_data, 100, intElement(tqa::Tag_veid, 5))));
    const Cursor at = cursor(m);
    while (at->firstChild() == 0) continue;
    EXPECT_EQ(at->curName(), "veid");
    EXPECT_EQ(at->seek("/data/data/id"), -1);
    int value = 0;
    EXPECT_EQ(at->getValue(&value, 0), 0);
    EXPECT_EQ(value, 5);
    for (int i = 0; i < 99; ++i) at->seekUp();
    EXPECT_EQ(at->curName(), "data");
    EXPECT_EQ(at->seek("/"), 0);
    EXPECT_EQ(at->nextSibling(), -1);
}

TEST(Paths, WordsLongerThanAnyFail) {
    const Message m = sample();
    const Cursor at = cursorAt(m, "data");
    for (const std::size_t length : {255U, 256U, 257U, 100000U}) {
        EXPECT_EQ(at->seek(std::string(length, 'x')), -1);
        EXPECT_EQ(at->seek("ve/" + std::string(length, 'x') + "/veid"), -1);
        EXPECT_EQ(at->seek("ve" + std::string(length, '\0')), -1);
    }
    EXPECT_EQ(where(at), "/packet/data");
}

TEST(Paths, AlwaysTakeTheFirstChildWithAWord) {
    const Message m = load(message(container(
        1398, container(tqa::Tag_ve) + container(tqa::Tag_ve, intElement(tqa::Tag_veid, 3)))));
    EXPECT_EQ(cursor(m)->seek("ve/veid"), -1);
    EXPECT_EQ(cursor(m)->seek("ve"), 0);
}

// --- new children -------------------------------------------------------------------------------

TEST(NewChild, IsEnteredAndFoundAgain) {
    const Message m = create("packet");
    const Cursor at = cursor(m);
    ASSERT_EQ(at->newChild(7, 0), 0);
    EXPECT_EQ(at->curID(), 7);
    EXPECT_EQ(at->seekUp(), 0);
    EXPECT_EQ(at->curID(), 1398);
    EXPECT_EQ(at->firstChild(), 0);
    EXPECT_EQ(at->curID(), 7);
    EXPECT_EQ(at->seekUp(), 0);
    EXPECT_EQ(at->seek(7), 0);
    EXPECT_EQ(at->curID(), 7);
    EXPECT_EQ(bytes(m), message(container(1398, element(7, Kind::Untyped))));
}

TEST(NewChild, IsAppendedLast) {
    const Message m = sample();
    const Cursor at = cursorAt(m, "data");
    ASSERT_EQ(at->newChild("alert", ""), 0);
    EXPECT_EQ(at->nextSibling(), -1);
    EXPECT_EQ(tree(cursorAt(m, "data")),
              "1307:50(1002:1=02000000 1555:50(1002:1=03000000) 1002:1=04000000 1003:0=)");
}

TEST(NewChild, HasItsNamespace) {
    const Message m = create("packet");
    EXPECT_EQ(cursor(m)->newChild("veid", ""), 0);
    EXPECT_EQ(cursor(m)->newChild("veid", "types"), 0);
    EXPECT_EQ(cursor(m)->newChild("veid", "authm"), 0);
    EXPECT_EQ(cursor(m)->newChild(1002, 65535), 0);
    EXPECT_EQ(cursor(m)->newChild("veid", "no_such_word"), -1);
    EXPECT_EQ(cursor(m)->newChild("veid", "veid"), -1);  // a tag word is no namespace word
    EXPECT_EQ(tree(m), "1398:50(1002:0= 1002:0.246= 1002:0.262= 1002:0.65535=)");
}

TEST(NewChild, TurnsAnEmptyElementIntoAContainer) {
    const Message m = create("packet");
    const Cursor at = cursor(m);
    for (int level = 0; level < 50; ++level) ASSERT_EQ(at->newChild("data", "types"), 0);
    ASSERT_EQ(at->putValue(5, 0), 0);
    ASSERT_EQ(at->seekRoot(), 0);
    for (int level = 0; level < 50; ++level) ASSERT_EQ(at->seek("data"), 0);
    EXPECT_EQ(at->firstChild(), -1);
    EXPECT_EQ(at->newChild("data", ""), -1);
    EXPECT_EQ(at->curName(), "data");
}

TEST(NewChild, AValueRefusesOneAndKeepsTheIterator) {
    const Message m = sample();
    const Cursor at = cursorAt(m, "data/veid");
    EXPECT_EQ(at->newChild("veid", ""), -1);
    EXPECT_EQ(at->newChild(1002, 0), -1);
    EXPECT_EQ(where(at), "/packet/data/veid=2");
    EXPECT_EQ(tree(m), tree(sample()));
}

TEST(NewChild, BlankTextGivesWayAndOtherTextStays) {
    const struct {
        const char* text;
        int status;
    } cases[] = {{"", 0},        {" ", 0},         {"  ", 0},       {"   ", 0},
                 {"       ", 0}, {"\n", 0},        {"\n \t\r ", 0}, {"x", -1},
                 {" x", -1},     {"x       ", -1}, {"0", -1}};
    for (const auto& c : cases) {
        const Message m =
            parse("<packet><data>" + std::string(c.text) + "</data><id>7</id></packet>");
        const std::string before = tree(m);
        const Cursor at = cursorAt(m, "data");
        EXPECT_EQ(at->newChild("veid", ""), c.status) << c.text;
        EXPECT_EQ(at->curName(), c.status == 0 ? "veid" : "data");
        EXPECT_EQ(tree(m), c.status == 0 ? "1398:50(1307:50(1002:0=) 1010:0=3700)" : before);
    }
}

TEST(NewChild, GoesOnWhileTheBufferGrows) {
    const Message m = create("packet");
    const Cursor at = cursor(m);
    for (int i = 0; i < 2000; ++i) {
        ASSERT_EQ(at->newChild(tqa::Tag_data, 0), 0);
        if (i % 7 != 0) at->seekUp();
    }
    int depth = 0;
    while (at->curID() != 0) {
        at->seekUp();
        ++depth;
    }
    EXPECT_EQ(depth, 1 + 2000 / 7 + 1);
    EXPECT_EQ(bytes(m).size(), 8U + 16 * 2001);
}

// --- deep and wide messages ---------------------------------------------------------------------

TEST(DeepMessages, AMillionLevelsAreWalkedAndDestroyed) {
    constexpr int kLevels = 1000000;
    const Message m = load(message(nested(tqa::Tag_data, kLevels, intElement(tqa::Tag_veid, 5))));
    const Cursor at = cursor(m);
    for (int level = 1; level < kLevels; ++level) {
        ASSERT_EQ(level % 2 == 0 ? at->firstChild() : at->seek(tqa::Tag_data), 0) << level;
    }
    int value = 0;
    EXPECT_EQ(at->getValue(&value, tqa::Tag_veid), 0);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(at->nextSibling(), -1);

    // A change, a check of the whole way and a private copy at the far end.
    const Cursor second = copyOf(at);
    const Message copy = copyOf(m);
    ASSERT_EQ(at->putValue(6, tqa::Tag_veid), 0);
    EXPECT_EQ(second->validateStamp(), 0);
    EXPECT_EQ(second->getValue(&value, tqa::Tag_veid), 0);
    EXPECT_EQ(value, 6);
    EXPECT_EQ(bytes(copy).substr(bytes(copy).size() - 12, 4), number(5));
    EXPECT_EQ(bytes(second), message(container(tqa::Tag_data, intElement(tqa::Tag_veid, 6))));
    ASSERT_EQ(at->deleteFromChild(), 0);
    EXPECT_EQ(second->validateStamp(), -1);

    EXPECT_EQ(at->seek("/data/data"), 0);
    EXPECT_EQ(at->deleteFromChild(), 0);
    EXPECT_EQ(at->deleteFromChild(), 0);
    EXPECT_EQ(tree(m), "1307:50()");
}

TEST(DeepMessages, AMillionSiblingsAreWalked) {
    constexpr int kSiblings = 1000000;
    std::string children;
    children.reserve(kSiblings * 24);
    const std::string child = intElement(tqa::Tag_veid, 5);
    for (int i = 0; i < kSiblings; ++i) children += child;
    children += container(tqa::Tag_data);
    const Message m = load(message(container(tqa::Tag_packet, children)));
    const Cursor at = cursor(m);
    ASSERT_EQ(at->firstChild(), 0);
    int count = 1;
    while (at->nextSibling("veid") == 0) ++count;
    EXPECT_EQ(count, kSiblings);
    EXPECT_EQ(at->nextSibling(), 0);
    EXPECT_EQ(at->curName(), "data");
    EXPECT_EQ(at->nextSibling(), -1);
}

// Reading through a path expands raw children on the way, which moves what stands behind them.
TEST(SeekPath, APositionThatMovedOnTheWayIsCheckedAgain) {
    const Message m = parse("<packet><origin>vem</origin></packet>");
    TQABinaryIterator::Policy = TQABinaryIterator::kExpandRaw;
    const Cursor at = cursor(m);
    TQABinaryIterator::Policy = 0;
    ASSERT_EQ(at->firstChild(), 0);
    const Cursor raw = cursor(m);
    ASSERT_EQ(raw->newChild(0, 0), 0);
    ASSERT_EQ(raw->putValueXML("<session>s</session>", 0), 0);
    ASSERT_EQ(cursor(m)->putValue(3, tqa::Tag_cookie), 0);
    ASSERT_EQ(at->nextSibling(), 0);
    ASSERT_EQ(at->nextSibling(), 0);
    ASSERT_EQ(at->curID(), tqa::Tag_cookie);

    std::string origin;
    EXPECT_EQ(at->getValue(&origin, "/origin"), 0);
    EXPECT_EQ(origin, "vem");
    EXPECT_EQ(
        text(m),
        "<packet>\n<origin>vem</origin>\n<cookie>3</cookie>\n<session>s</session>\n</packet>\n");
    int cookie = 0;
    EXPECT_EQ(at->getValue(&cookie, 0), -1);  // the cookie lies where the raw child was
}

}  // namespace
