// The three editing operations, at the level of paths and bytes.

#include "tqamsg/binary/verify.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/messages.h"

#include <climits>
#include <initializer_list>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;
using tqa::Kind;
using tqa::kindWord;

constexpr int kRoot = 8;  // where the root lies

BinaryPath path(std::initializer_list<int> offsets) {
    BinaryPath made;
    for (const int offset : offsets) made.push_back(0, offset);
    return made;
}

int word(Kind kind, int ns = 0) {
    return static_cast<int>(kindWord(kind, ns));
}

int insert(const Message& m, BinaryPath& at, int id, Kind kind, std::string_view payload) {
    return m->insertID(at, id, word(kind), payload.data(), static_cast<int>(payload.size()));
}

int replace(const Message& m, BinaryPath& at, Kind kind, std::string_view payload) {
    return m->insertValue(at, word(kind), payload.data(), static_cast<int>(payload.size()));
}

// --- insertID -----------------------------------------------------------------------------------

TEST(InsertID, AppendsAChildAndPushesItsEntry) {
    const Message m = create("packet");
    BinaryPath at = path({kRoot});
    ASSERT_EQ(insert(m, at, tqa::Tag_veid, Kind::Int, number(5)), 0);
    EXPECT_EQ(hex(m),
              "98BADCFE 00000000\n"
              "76050000 32000000\n"
              "18000000 00000000\n"
              "EA030000 01000000\n"
              "04000000 05000000\n"
              "00000000 00000000\n");
    ASSERT_EQ(at.size(), 2);
    EXPECT_EQ(at[0].offset, kRoot);
    EXPECT_EQ(at.back().id, tqa::Tag_veid);
    EXPECT_EQ(at.back().offset, 24);
    const std::string exported = bytes(m);
    EXPECT_EQ(TQABinary::isComplete(exported.data(), 48), 48);
}

TEST(InsertID, TheNewElementIsTheLastChild) {
    const Message m = create("packet");
    for (const int id : {1002, 1003, 1002}) {
        BinaryPath at = path({kRoot});
        ASSERT_EQ(insert(m, at, id, Kind::Int, number(id)), 0);
    }
    EXPECT_EQ(tree(m), "1398:50(1002:1=EA030000 1003:1=EB030000 1002:1=EA030000)");
}

TEST(InsertID, WritesTheWholeSecondField) {
    const Message m = create("packet");
    BinaryPath at = path({kRoot});
    ASSERT_EQ(m->insertID(at, -7, word(Kind::String, 0xFFFF), "ab", 3), 0);
    EXPECT_EQ(tree(m), "1398:50(-7:2.65535=616200)");
}

TEST(InsertID, PayloadsOfEightBytesAndContainersGoToSixteen) {
    const Message m = create("packet");
    BinaryPath at = path({kRoot});
    ASSERT_EQ(insert(m, at, 1002, Kind::String, std::string("seven77", 8)), 0);
    at.pop_back();
    ASSERT_EQ(insert(m, at, 1003, Kind::Container, intElement(1004, 6)), 0);
    EXPECT_EQ(hex(m),
              "98BADCFE 00000000\n"
              "76050000 32000000\n"
              "40000000 00000000\n"
              "EA030000 02000000\n"
              "08000000 00000000\n"
              "73657665 6E373700\n"
              "EB030000 32000000\n"
              "18000000 00000000\n"
              "EC030000 01000000\n"
              "04000000 06000000\n"
              "00000000 00000000\n");
}

TEST(InsertID, CorrectsTheLengthOfEveryElementAround) {
    const Message m = load(message(nested(1398, 4)));
    BinaryPath at = path({8, 24, 40, 56});
    ASSERT_EQ(insert(m, at, 1002, Kind::Int, number(5)), 0);
    EXPECT_EQ(bytes(m), message(nested(1398, 4, intElement(1002, 5))));
    EXPECT_EQ(at.back().offset, 72);
}

TEST(InsertID, MovesWhatFollowsTheParent) {
    const Message m = load(message(container(1398, container(1327) + intElement(1002, 5))));
    BinaryPath at = path({8, 24});
    ASSERT_EQ(insert(m, at, 1003, Kind::Int, number(6)), 0);
    EXPECT_EQ(tree(m), "1398:50(1327:50(1003:1=06000000) 1002:1=05000000)");
}

TEST(InsertID, AnEmptyUntypedElementBecomesAContainer) {
    const Message m = load(message(container(1398, element(1327, Kind::Untyped, {}, 246))));
    BinaryPath at = path({8, 24});
    ASSERT_EQ(insert(m, at, 1002, Kind::Int, number(5)), 0);
    EXPECT_EQ(bytes(m), message(container(1398, container(1327, intElement(1002, 5), 246))));
}

TEST(InsertID, AnElementThatHoldsAValueRefusesChildren) {
    for (const Kind kind : {Kind::Int, Kind::String, Kind::LongLong, Kind::Double, Kind::Base64,
                            Kind::Time, Kind::Unparsed, Kind{7}, Kind{0x3232}}) {
        for (const std::size_t length : {0U, 1U, 4U, 8U}) {
            const std::string before =
                message(container(1398, element(1327, kind, std::string(length, '\0'))));
            const Message m = load(before);
            BinaryPath at = path({8, 24});
            EXPECT_EQ(insert(m, at, 1002, Kind::Int, number(5)), -1) << static_cast<int>(kind);
            EXPECT_EQ(bytes(m), before);
            EXPECT_EQ(at.size(), 2);
        }
    }
}

TEST(InsertID, APathOfNothingMakesTheRootOfAMessageThatHasNone) {
    const Message m = create("packet");
    BinaryPath at = path({kRoot});
    ASSERT_EQ(m->deleteID(at), 0);
    ASSERT_TRUE(at.empty());
    ASSERT_EQ(insert(m, at, 1327, Kind::Untyped, std::string("x", 2)), 0);
    EXPECT_EQ(bytes(m), message(element(1327, Kind::Untyped, std::string("x", 2))));
    EXPECT_EQ(at.back().offset, kRoot);
}

TEST(InsertID, APathOfNothingFailsBesideARootAndWithoutContent) {
    const Message m = create("packet");
    BinaryPath nothing;
    EXPECT_EQ(insert(m, nothing, 1327, Kind::Container, {}), -1);
    EXPECT_EQ(bytes(m), message(container(1398)));
    EXPECT_EQ(insert(emptyMessage(), nothing, 1327, Kind::Container, {}), -1);
    EXPECT_TRUE(nothing.empty());
}

TEST(InsertID, RefusesImpossiblePayloads) {
    const Message m = create("packet");
    for (const int length : {-1, INT_MIN, INT_MAX, INT_MAX - 11}) {
        BinaryPath at = path({kRoot});
        EXPECT_EQ(m->insertID(at, 1002, word(Kind::String), "x", length), -1) << length;
        EXPECT_EQ(at.size(), 1);
    }
    BinaryPath at = path({kRoot});
    EXPECT_EQ(m->insertID(at, 1002, word(Kind::String), nullptr, 1), -1);
    EXPECT_EQ(bytes(m), message(container(1398)));
}

TEST(InsertID, PaddingKeepsWhatTheMoveLeftThere) {
    const Message m =
        load(message(container(1398, container(1327) + intElement(1002, 0x44332211))));
    BinaryPath at = path({8, 24});
    ASSERT_EQ(insert(m, at, 1003, Kind::String, std::string("ab", 3)), 0);
    EXPECT_EQ(hex(m),
              "98BADCFE 00000000\n"
              "76050000 32000000\n"
              "38000000 00000000\n"
              "2F050000 32000000\n"
              "10000000 00000000\n"
              "EB030000 02000000\n"
              "03000000 61620044\n"  // the last byte was the moved number's
              "EA030000 01000000\n"
              "04000000 11223344\n"
              "00000000 00000000\n");
}

TEST(InsertID, GoesOnWhileTheBufferGrows) {
    const Message m = create("packet");
    std::string children;
    for (int i = 0; i < 1000; ++i) {
        BinaryPath at = path({kRoot});
        ASSERT_EQ(insert(m, at, 1001 + i, Kind::Int, number(i)), 0);
        children += intElement(1001 + i, i);
    }
    EXPECT_EQ(bytes(m), message(container(1398, children)));
}

// --- blank text under children ------------------------------------------------------------------

// A root that holds an Untyped element with this text, and something behind it.
Message withText(std::string_view text) {
    const std::string payload = std::string(text) + '\0';
    return load(
        message(container(1398, element(1327, Kind::Untyped, payload, 246) + intElement(1003, 6))));
}

std::string tagAndFields(const Message& m) {
    return hex(bytes(m).substr(24, 16));
}

TEST(BlankText, OfUpToThreeBytesGivesWayAndLeavesItsLengthBehind) {
    const struct {
        const char *text, *header;
    } cases[] = {
        {"", "2F050000 3200F600\n19000000 00000000\n"},
        {" ", "2F050000 3200F600\n1A000000 20000000\n"},
        {"\t\n", "2F050000 3200F600\n1B000000 090A0000\n"},
    };
    for (const auto& c : cases) {
        const Message m = withText(c.text);
        BinaryPath at = path({8, 24});
        ASSERT_EQ(insert(m, at, 1002, Kind::Int, number(5)), 0);
        EXPECT_EQ(tagAndFields(m), c.header);
        EXPECT_EQ(tree(m), "1398:50(1327:50.246(1002:1=05000000) 1003:1=06000000)");
        EXPECT_EQ(bytes(m).size(), 8U + 16 + 16 + 24 + 24);
        EXPECT_EQ(at.back().offset, 40);
    }
}

TEST(BlankText, ThatTakesRoomIsRemovedFirst) {
    for (const char* text : {"   ", "    ", "\n\t \r\n\t ", "            "}) {
        const Message m = withText(text);
        BinaryPath at = path({8, 24});
        ASSERT_EQ(insert(m, at, 1002, Kind::Int, number(5)), 0) << text;
        EXPECT_EQ(tagAndFields(m).substr(0, 27), "2F050000 3200F600\n18000000 ");
        EXPECT_EQ(tree(m), "1398:50(1327:50.246(1002:1=05000000) 1003:1=06000000)");
        EXPECT_EQ(bytes(m).size(), 8U + 16 + 16 + 24 + 24);
        EXPECT_EQ(at.back().offset, 40);
    }
}

TEST(BlankText, AnyOtherTextStays) {
    for (const char* text : {"x", " x", "x ", "\v", "\xA0", "   \n  x", "&#32;"}) {
        const Message m = withText(text);
        const std::string before = bytes(m);
        BinaryPath at = path({8, 24});
        EXPECT_EQ(insert(m, at, 1002, Kind::Int, number(5)), -1) << text;
        EXPECT_EQ(bytes(m), before);
        EXPECT_EQ(at.size(), 2);
    }
}

TEST(BlankText, OfAnotherKindStays) {
    const std::string before = message(container(1398, stringElement(1327, " ")));
    const Message m = load(before);
    BinaryPath at = path({8, 24});
    EXPECT_EQ(insert(m, at, 1002, Kind::Int, number(5)), -1);
    EXPECT_EQ(bytes(m), before);
}

TEST(BlankText, ATextWithoutItsZeroByteIsJudgedByItsLength) {
    for (const std::string_view payload : {" ", "   ", "        "}) {
        const Message m =
            load(message(container(1398, element(1327, Kind::Untyped, payload) +
                                             element(1003, Kind::Untyped, std::string("x", 2)))));
        BinaryPath at = path({8, 24});
        ASSERT_EQ(insert(m, at, 1002, Kind::Int, number(5)), 0);
        EXPECT_EQ(tree(m), "1398:50(1327:50(1002:1=05000000) 1003:0=7800)");
    }
}

TEST(BlankText, ChildrenUnderItCanComeAndGo) {
    for (const char* text : {"", " ", "  ", "   ", "                "}) {
        const Message m = withText(text);
        for (int round = 0; round < 3; ++round) {
            BinaryPath at = path({8, 24});
            ASSERT_EQ(insert(m, at, 1002, Kind::Int, number(5)), 0);
            BinaryPath again = path({8, 24});
            ASSERT_EQ(insert(m, again, 1004, Kind::String, std::string("ab", 3)), 0);
            EXPECT_EQ(tree(m),
                      "1398:50(1327:50.246(1002:1=05000000 1004:2=616200) 1003:1=06000000)");
            ASSERT_EQ(m->deleteID(again), 0);
            ASSERT_EQ(m->deleteID(at), 0);
            EXPECT_EQ(tree(m), "1398:50(1327:50.246() 1003:1=06000000)");
        }
    }
}

// --- insertValue --------------------------------------------------------------------------------

TEST(InsertValue, ChangesTheSizeOfEveryElementAround) {
    const struct {
        std::size_t length;
        int delta;
    } cases[] = {{0, -8}, {3, -8}, {4, 0}, {7, 0}, {8, 0}, {11, 0}, {12, 8}, {28, 24}};
    for (const auto& c : cases) {
        const Message m = load(
            message(container(1398, container(1327, intElement(1002, 5)) + intElement(1003, 6))));
        BinaryPath at = path({8, 24, 40});
        const std::string value(c.length, 'v');
        ASSERT_EQ(replace(m, at, Kind::String, value), 0) << c.length;
        const std::string now = bytes(m);
        EXPECT_EQ(tqa::load<std::int32_t>(now.data() + 8 + 8), 64 + c.delta);
        EXPECT_EQ(tqa::load<std::int32_t>(now.data() + 24 + 8), 24 + c.delta);
        EXPECT_EQ(tree(now),
                  tree(message(container(1398, container(1327, element(1002, Kind::String, value)) +
                                                   intElement(1003, 6)))));
        EXPECT_EQ(at.size(), 3);
        EXPECT_EQ(at.back().offset, 40);
    }
}

TEST(InsertValue, ReplacingAValueClearsItsNamespace) {
    const Message m =
        load(message(container(1398, element(1002, Kind::Untyped, std::string("1", 2), 246))));
    BinaryPath at = path({8, 24});
    ASSERT_EQ(replace(m, at, Kind::Int, number(5)), 0);
    EXPECT_EQ(tree(m), "1398:50(1002:1=05000000)");
}

TEST(InsertValue, TakesANamespaceInItsKindAsItStands) {
    const Message m = load(message(container(1398, intElement(1002, 5))));
    BinaryPath at = path({8, 24});
    ASSERT_EQ(m->insertValue(at, word(Kind::Int, 246), number(6).data(), 4), 0);
    EXPECT_EQ(tree(m), "1398:50(1002:1.246=06000000)");
}

TEST(InsertValue, TheValueMovesToSixteenAndBack) {
    const Message m = load(message(container(1398, stringElement(1002, "sixsix"))));
    BinaryPath at = path({8, 24});
    ASSERT_EQ(replace(m, at, Kind::String, std::string("seven77", 8)), 0);
    EXPECT_EQ(hex(bytes(m).substr(24)),
              "EA030000 02000000\n"
              "08000000 73697873\n"  // what was there stays
              "73657665 6E373700\n");
    ASSERT_EQ(replace(m, at, Kind::String, std::string("eight888", 9)), 0);
    EXPECT_EQ(hex(bytes(m).substr(24)),
              "EA030000 02000000\n"
              "09000000 65696768\n"
              "74383838 00373700\n");
}

TEST(InsertValue, PaddingKeepsWhatTheOldValueLeftThere) {
    const Message m =
        load(message(container(1398, stringElement(1002, "abcdefghijk") + intElement(1003, 6))));
    BinaryPath at = path({8, 24});
    ASSERT_EQ(replace(m, at, Kind::String, std::string("xy", 3)), 0);
    EXPECT_EQ(hex(m),
              "98BADCFE 00000000\n"
              "76050000 32000000\n"
              "28000000 00000000\n"
              "EA030000 02000000\n"
              "03000000 78790064\n"
              "EB030000 01000000\n"
              "04000000 06000000\n"
              "00000000 00000000\n");
}

TEST(InsertValue, AContainerKeepsItsChildren) {
    for (const std::string& children : {std::string(), intElement(1002, 5)}) {
        const std::string before = message(container(1398, container(1327, children)));
        const Message m = load(before);
        BinaryPath at = path({8, 24});
        EXPECT_EQ(replace(m, at, Kind::Int, number(5)), -1);
        EXPECT_EQ(bytes(m), before);
    }
}

TEST(InsertValue, AnUntypedRootCanTakeAValue) {
    const Message m = load(message(element(1398, Kind::Untyped)));
    BinaryPath at = path({kRoot});
    ASSERT_EQ(replace(m, at, Kind::Int, number(5)), 0);
    EXPECT_EQ(bytes(m), message(intElement(1398, 5)));
}

TEST(InsertValue, RefusesImpossiblePayloads) {
    const std::string before = message(container(1398, intElement(1002, 5)));
    const Message m = load(before);
    BinaryPath at = path({8, 24});
    for (const int length : {-1, INT_MIN, INT_MAX, INT_MAX - 11}) {
        EXPECT_EQ(m->insertValue(at, word(Kind::String), "x", length), -1) << length;
    }
    EXPECT_EQ(m->insertValue(at, word(Kind::String), nullptr, 1), -1);
    EXPECT_EQ(bytes(m), before);
}

TEST(InsertValue, GrowsTheBuffer) {
    const Message m = load(message(container(1398, intElement(1002, 5) + intElement(1003, 6))));
    BinaryPath at = path({8, 24});
    const std::string value(10000, 'v');
    ASSERT_EQ(replace(m, at, Kind::String, value), 0);
    EXPECT_EQ(
        tree(m),
        tree(message(container(1398, element(1002, Kind::String, value) + intElement(1003, 6)))));
}

// --- deleteID -----------------------------------------------------------------------------------

TEST(DeleteID, RemovesTheSubtreeAndPopsItsEntry) {
    const Message m = load(message(container(
        1398, intElement(1002, 5) + container(1327, nested(1308, 3)) + intElement(1003, 6))));
    BinaryPath at = path({8, 48});
    ASSERT_EQ(m->deleteID(at), 0);
    EXPECT_EQ(bytes(m), message(container(1398, intElement(1002, 5) + intElement(1003, 6))));
    ASSERT_EQ(at.size(), 1);
    EXPECT_EQ(at.back().offset, kRoot);
}

TEST(DeleteID, CorrectsTheLengthOfEveryElementAround) {
    const Message m = load(message(nested(1398, 4, intElement(1002, 5) + intElement(1003, 6))));
    BinaryPath at = path({8, 24, 40, 56, 72});
    ASSERT_EQ(m->deleteID(at), 0);
    EXPECT_EQ(bytes(m), message(nested(1398, 4, intElement(1003, 6))));
    EXPECT_EQ(at.back().offset, 56);
}

TEST(DeleteID, TheRootGoesTooAndLeavesNothingToExport) {
    const Message m = load(message(container(1398, intElement(1002, 5))));
    BinaryPath at = path({kRoot});
    ASSERT_EQ(m->deleteID(at), 0);
    EXPECT_TRUE(at.empty());
    EXPECT_EQ(bytes(m), "");
    EXPECT_EQ(text(m), "(no text)");
    EXPECT_EQ(m->deleteID(at), -1);
}

// --- the stamp ----------------------------------------------------------------------------------

// A message with an iterator that an insertion has pushed off its element unnoticed: it finds out
// when the stamp changes.
struct Unaware {
    Message m =
        load(message(container(1398, container(1327) + intElement(1002, 5) + intElement(1003, 6))));
    Cursor at = cursorAt(m, "veid");

    Unaware() {
        BinaryPath first = path({8, 24});
        EXPECT_EQ(insert(m, first, 1004, Kind::Int, number(7)), 0);
        EXPECT_EQ(at->validateStamp(), 0);
    }
};

TEST(Stamp, AnInsertionThatFitsDoesNotChangeIt) {
    const Unaware state;
    BinaryPath root = path({kRoot});
    ASSERT_EQ(insert(state.m, root, 1005, Kind::Int, number(8)), 0);
    EXPECT_EQ(state.at->validateStamp(), 0);
}

TEST(Stamp, AnInsertionThatGrowsTheBufferChangesIt) {
    const Unaware state;
    BinaryPath root = path({kRoot});
    ASSERT_EQ(insert(state.m, root, 1005, Kind::String, std::string(5000, 'x')), 0);
    EXPECT_EQ(state.at->validateStamp(), -1);
}

TEST(Stamp, AReplacementChangesItOnlyWhenTheBufferGrows) {
    const Unaware state;
    BinaryPath last = path({8, 88});
    ASSERT_EQ(replace(state.m, last, Kind::String, std::string(100, 'x')), 0);
    EXPECT_EQ(state.at->validateStamp(), 0);
    ASSERT_EQ(replace(state.m, last, Kind::String, std::string(5000, 'x')), 0);
    EXPECT_EQ(state.at->validateStamp(), -1);
}

TEST(Stamp, DeletingAlwaysChangesIt) {
    const Unaware state;
    BinaryPath last = path({8, 88});
    ASSERT_EQ(state.m->deleteID(last), 0);
    EXPECT_EQ(state.at->validateStamp(), -1);
}

TEST(Stamp, AFailedDeletionDoesNotChangeIt) {
    const Unaware state;
    BinaryPath nowhere;
    ASSERT_EQ(state.m->deleteID(nowhere), -1);
    EXPECT_EQ(state.at->validateStamp(), 0);
}

// --- paths that lie -----------------------------------------------------------------------------

TEST(Editing, APathThatLeavesTheMessageChangesNothing) {
    const std::string before =
        message(container(1398, container(1327, intElement(1002, 5)) + intElement(1003, 6)));
    const std::initializer_list<int> paths[] = {
        {},
        {0},
        {-8},
        {INT_MIN},
        {INT_MAX},
        {static_cast<int>(before.size())},      // behind the last byte
        {static_cast<int>(before.size()) - 8},  // no room for a header
        {8, 8},                                 // an element inside itself
        {8, 0},
        {8, -1},
        {8, INT_MIN},
        {8, INT_MAX},
        {8, static_cast<int>(before.size())},
        {8, 24, 64},  // behind its parent's end
        {8, 24, 24},
        {8, 64, 40},  // inside a value
        {8, 64, 80},
        {8, 24, 40, 56},
        {24, 8},
    };
    for (const auto& offsets : paths) {
        const Message m = load(before);
        BinaryPath at = path(offsets);
        const int size = at.size();
        EXPECT_EQ(insert(m, at, 1004, Kind::Int, number(7)), -1);
        EXPECT_EQ(replace(m, at, Kind::Int, number(7)), -1);
        EXPECT_EQ(m->deleteID(at), -1);
        EXPECT_EQ(at.size(), size);
        EXPECT_EQ(bytes(m), before);
    }
}

TEST(Editing, AMessageWithoutContentRefusesEverything) {
    const Message m = emptyMessage();
    for (const auto& offsets : {std::initializer_list<int>{}, {8}, {8, 24}}) {
        BinaryPath at = path(offsets);
        EXPECT_EQ(insert(m, at, 1004, Kind::Int, number(7)), -1);
        EXPECT_EQ(replace(m, at, Kind::Int, number(7)), -1);
        EXPECT_EQ(m->deleteID(at), -1);
    }
    EXPECT_EQ(m->releaseInternals(), 0);
    BinaryPath at = path({8});
    EXPECT_EQ(insert(m, at, 1004, Kind::Int, number(7)), -1);
    EXPECT_EQ(replace(m, at, Kind::Int, number(7)), -1);
    EXPECT_EQ(m->deleteID(at), -1);
}

// --- long messages ------------------------------------------------------------------------------

// In a long message it depends on the place which bytes a deletion moves. The children of one
// element beside a list of what they should hold.
class LongMessage : public testing::Test {
  protected:
    LongMessage() { data_->newChild("data", ""); }

    void append(const std::string& value) {
        EXPECT_EQ(data_->newChild(tqa::Tag_name, 0), 0);
        EXPECT_EQ(data_->putValue(value, 0), 0);
        data_->seekUp();
        expected_.push_back(value);
    }
    void remove(std::size_t index) {
        EXPECT_EQ(childAt(index)->deleteFromChild(), 0);
        expected_.erase(expected_.begin() + static_cast<std::ptrdiff_t>(index));
    }
    void change(std::size_t index, const std::string& value) {
        EXPECT_EQ(childAt(index)->putValue(value, 0), 0);
        expected_[index] = value;
    }
    std::size_t count() const { return expected_.size(); }

    void expectAll() {
        std::vector<std::string> found;
        std::string value;
        const Cursor it = copyOf(data_);
        for (int status = it->firstChild(); status == 0; status = it->nextSibling()) {
            EXPECT_EQ(it->getValue(&value, 0), 0);
            found.push_back(value);
        }
        EXPECT_TRUE(found == expected_);
        const std::string exported = bytes(message_);
        EXPECT_EQ(tqa::verify(exported.data(), static_cast<int>(exported.size()), nullptr), 0);
    }

  private:
    Cursor childAt(std::size_t index) const {
        Cursor it = copyOf(data_);
        EXPECT_EQ(it->firstChild(), 0);
        while (index-- > 0) EXPECT_EQ(it->nextSibling(), 0);
        return it;
    }

    const Message message_ = create("packet");
    const Cursor data_ = cursor(message_);
    std::vector<std::string> expected_;
};

TEST_F(LongMessage, DeletionsMoveTheOthersAsTheyAre) {
    constexpr std::size_t kChildren = 500;
    std::mt19937 random(1);
    const auto below = [&](std::size_t n) { return random() % n; };
    const auto anyValue = [&] {
        return std::string(below(60), static_cast<char>('a' + below(26)));
    };
    for (std::size_t i = 0; i < kChildren; ++i) append(anyValue());
    for (int step = 0; step < 1500; ++step) {
        if (count() > kChildren / 2 && below(3) != 0) {
            // Near the start more often than not.
            remove(below(1 + below(count())));
        } else if (below(2) == 0) {
            append(anyValue());
        } else {
            change(below(count()), anyValue());
        }
        if (step % 50 == 0) expectAll();
    }
    while (count() > 0) remove(0);
    expectAll();
}

}  // namespace
