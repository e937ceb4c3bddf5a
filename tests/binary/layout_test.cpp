#include "tqamsg/binary/layout.h"

#include "tests/support/messages.h"

#include <limits>

#include <gtest/gtest.h>

namespace {

using tqa::ElementView;
using tqa::Kind;
using tqa_test::Block;
using tqa_test::container;
using tqa_test::element;
using tqa_test::fromHex;
using tqa_test::hex;
using tqa_test::intElement;
using tqa_test::message;

constexpr Kind kKinds[] = {Kind::Untyped, Kind::Int,  Kind::String,    Kind::LongLong, Kind::Double,
                           Kind::Base64,  Kind::Time, Kind::Container, Kind::Unparsed};
constexpr int kMax = std::numeric_limits<std::int32_t>::max();

ElementView viewOf(const Block& block) {
    return ElementView::find(block.data(), block.data() + block.size());
}

// The bytes of an element header with any length in it.
std::string header(int id, Kind kind, int length) {
    std::string bytes(12, '\0');
    tqa::writeElementHeader(bytes.data(), id, tqa::kindWord(kind), length);
    return bytes;
}

// --- the rules ----------------------------------------------------------------------------------

TEST(Layout, KindNumbersAreFrozen) {
    const int numbers[] = {0, 1, 2, 3, 4, 5, 6, 50, 51};
    for (std::size_t i = 0; i < std::size(kKinds); ++i) {
        EXPECT_EQ(static_cast<int>(kKinds[i]), numbers[i]);
    }
}

TEST(Layout, AnElementTakesAMultipleOfEightBytes) {
    const struct {
        std::int64_t length, size;
    } cases[] = {
        {0, 16},  {1, 16},  {3, 16},  {4, 24},  {7, 24},      {8, 24},      {9, 24},
        {11, 24}, {12, 32}, {19, 32}, {20, 40}, {4083, 4096}, {4084, 4104}, {kMax, 2147483664},
    };
    for (const auto& c : cases) EXPECT_EQ(tqa::elementSize(c.length), c.size) << c.length;
}

TEST(Layout, ContainersAndPayloadsOfEightBytesStartAtSixteen) {
    for (const Kind kind : kKinds) {
        for (const int length : {0, 1, 4, 7, 8, 9, 16, kMax}) {
            const bool late = length == 8 || kind == Kind::Container;
            EXPECT_EQ(tqa::payloadOffset(length, kind), late ? 16 : 12)
                << static_cast<int>(kind) << ", " << length;
        }
    }
}

TEST(Layout, AValueLeavesAtLeastOneByteOfItsElement) {
    for (int length = 0; length < 100; ++length) {
        const auto end = tqa::payloadOffset(length, Kind::String) + length;
        EXPECT_LE(end, tqa::elementSize(length) - (length == 8 ? 0 : 1)) << length;
        EXPECT_EQ(tqa::elementSize(length) % 8, 0) << length;
    }
}

TEST(Layout, OnlyAContainersLengthCanSayMoreThanItHolds) {
    for (int length = 0; length < 100; ++length) {
        EXPECT_EQ(tqa::payloadSize(length, Kind::String), length);
        const int rest = length % 8 < 4 ? length % 8 : 0;  // of blank text that gave way
        EXPECT_EQ(tqa::payloadSize(length, Kind::Container), length - rest) << length;
    }
    EXPECT_EQ(tqa::payloadSize(kMax, Kind::Untyped), kMax);
}

TEST(Layout, AContainersSizeIsItsChildrensPlusSixteen) {
    for (int total = 0; total < 200; total += 8) EXPECT_EQ(tqa::elementSize(total), total + 16);
}

TEST(Layout, ATextOfSevenCharactersStartsLaterThanItsNeighbours) {
    EXPECT_EQ(hex(tqa_test::stringElement(1002, "sixsix")),
              "EA030000 02000000\n"
              "07000000 73697873\n"
              "69780000 00000000\n");
    EXPECT_EQ(hex(tqa_test::stringElement(1002, "seven77")),
              "EA030000 02000000\n"
              "08000000 00000000\n"
              "73657665 6E373700\n");
    EXPECT_EQ(hex(tqa_test::stringElement(1002, "eight888")),
              "EA030000 02000000\n"
              "09000000 65696768\n"
              "74383838 00000000\n");
}

TEST(Layout, TheSecondFieldIsKindAndNamespace) {
    EXPECT_EQ(tqa::kindWord(Kind::Container), 50U);
    EXPECT_EQ(tqa::kindWord(Kind::Int, 246), 0x00F60001U);
    EXPECT_EQ(tqa::kindWord(Kind::Untyped, 0xFFFF), 0xFFFF0000U);
    EXPECT_EQ(tqa::kindOf(0x00F60033U), Kind::Unparsed);
}

// --- loads and stores ---------------------------------------------------------------------------

TEST(Layout, LoadsAndStoresAtAnyAddress) {
    for (std::size_t shift = 0; shift < 8; ++shift) {
        const Block block(std::string(shift + 8, '\x11'));
        tqa::store<std::int64_t>(block.data() + shift, 0x0102030405060708);
        EXPECT_EQ(tqa::load<std::int64_t>(block.data() + shift), 0x0102030405060708);
        EXPECT_EQ(tqa::load<std::uint16_t>(block.data() + shift), 0x0708);
        tqa::store<std::int32_t>(block.data() + shift, -2);
        EXPECT_EQ(tqa::load<std::int64_t>(block.data() + shift), 0x01020304FFFFFFFE);
    }
}

TEST(Layout, WritersPutEachFieldInItsPlace) {
    std::string bytes(32, '\xEE');
    tqa::writeMessageHeader(bytes.data());
    tqa::writeElementHeader(bytes.data() + 8, 1398, tqa::kindWord(Kind::String, 246), 5);
    tqa::writePayload(bytes.data() + 8, Kind::String, "abcd", 5);
    EXPECT_EQ(hex(bytes),
              "98BADCFE 00000000\n"
              "76050000 0200F600\n"
              "05000000 61626364\n"
              "00EEEEEE EEEEEEEE\n");
    tqa::writeKind(bytes.data() + 8, Kind::Container);
    tqa::writeLength(bytes.data() + 8, 2);
    EXPECT_EQ(hex(bytes.substr(8, 16)), "76050000 3200F600\n02000000 61626364\n");
    tqa::writeKindWord(bytes.data() + 8, tqa::kindWord(Kind::Int));
    tqa::writeLength(bytes.data() + 8, 4);
    tqa::writePayload(bytes.data() + 8, Kind::Int, "wxyz", 4);
    EXPECT_EQ(hex(bytes.substr(8, 16)), "76050000 01000000\n04000000 7778797A\n");
}

TEST(Layout, PayloadsOfEightBytesAreWrittenAtSixteen) {
    std::string bytes(24, '\xEE');
    tqa::writePayload(bytes.data(), Kind::Double, "12345678", 8);
    EXPECT_EQ(bytes, std::string(16, '\xEE') + "12345678");
    tqa::writePayload(bytes.data(), Kind::Untyped, nullptr, 0);
    EXPECT_EQ(bytes, std::string(16, '\xEE') + "12345678");
}

TEST(Layout, WholeElementsAreWrittenOverWhateverWasThere) {
    for (std::size_t length = 0; length < 40; ++length) {
        const std::string text(length, 't');
        const std::string expected = element(1002, Kind::Unparsed, text + '\0');
        const Block block(std::string(expected.size(), '\xEE'));
        tqa::writeTextElement(block.data(), 1002, Kind::Unparsed, text);
        EXPECT_EQ(hex({block.data(), expected.size()}), hex(expected)) << length;
    }
    const Block block(std::string(16, '\xEE'));
    tqa::writeEmptyElement(block.data(), 1002, tqa::kindWord(Kind::Untyped, 246));
    EXPECT_EQ(std::string_view(block.data(), 16), element(1002, Kind::Untyped, {}, 246));
}

TEST(Layout, AnOpenElementBecomesAnOrdinaryOne) {
    for (const int length : {0, 24}) {
        const Block block(element(1002, Kind::Untyped));
        tqa::writeOpenElement(block.data(), {-1, 0xFFFFFFFF, 250});
        EXPECT_EQ(tqa::readOpenElement(block.data()).around, -1);
        EXPECT_EQ(tqa::readOpenElement(block.data()).nameAt, 0xFFFFFFFFU);
        EXPECT_EQ(tqa::readOpenElement(block.data()).nameLength, 250);
        tqa::writeClosedElement(block.data(), length);
        EXPECT_EQ(hex({block.data(), 16}), length == 0 ? "EA030000 00000000\n00000000 00000000\n"
                                                       : "EA030000 32000000\n18000000 00000000\n");
    }
}

// --- views --------------------------------------------------------------------------------------

TEST(ElementView, AnEmptyViewIsFalse) {
    EXPECT_FALSE(ElementView());
    EXPECT_FALSE(ElementView().firstChild());
    EXPECT_FALSE(ElementView().childWithId(0));
}

TEST(ElementView, ShowsTheFields) {
    const Block block(element(-5, Kind::String, std::string("abc\0", 4), 246));
    const ElementView view = viewOf(block);
    ASSERT_TRUE(view);
    EXPECT_EQ(view.id(), -5);
    EXPECT_EQ(view.kind(), Kind::String);
    EXPECT_EQ(view.ns(), 246);
    EXPECT_EQ(view.word(), 0x00F60002U);
    EXPECT_EQ(view.length(), 4);
    EXPECT_FALSE(view.isContainer());
    EXPECT_EQ(view.begin(), block.data());
    EXPECT_EQ(view.end(), block.data() + 24);
    EXPECT_EQ(view.size(), 24);
    EXPECT_EQ(view.payload(), block.data() + 12);
    EXPECT_EQ(view.bytes(), std::string_view("abc\0", 4));
    EXPECT_EQ(view.text(), "abc");
}

TEST(ElementView, ExistsOnlyIfTheWholeElementIsThere) {
    const std::string whole = intElement(1002, 5);
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const Block block(whole.substr(0, size));
        EXPECT_EQ(static_cast<bool>(viewOf(block)), size == whole.size()) << size;
    }
}

TEST(ElementView, ALengthThatDoesNotFitHidesTheElement) {
    const struct {
        int length;
        bool fits;
    } cases[] = {
        {-1, false},        {std::numeric_limits<int>::min(), false},
        {0, true},          {11, true},
        {12, false},        {kMax, false},
        {kMax - 12, false},
    };
    for (const auto& c : cases) {
        std::string bytes = header(1002, Kind::String, c.length);
        bytes.resize(24);
        const Block block(bytes);
        EXPECT_EQ(static_cast<bool>(viewOf(block)), c.fits) << c.length;
    }
}

TEST(ElementView, ARangeThatEndsBeforeItBeginsHoldsNothing) {
    const Block block(intElement(1002, 5));
    EXPECT_FALSE(ElementView::find(block.data() + 24, block.data()));
    EXPECT_FALSE(ElementView::find(block.data() + 24, block.data() + 24));
}

TEST(ElementView, IsReadFromAnyAddress) {
    for (std::size_t shift = 0; shift < 8; ++shift) {
        const Block block(std::string(shift, 'x') + intElement(1002, 0x01020304));
        const ElementView view =
            ElementView::find(block.data() + shift, block.data() + block.size());
        std::int32_t value = 0;
        ASSERT_TRUE(view.number(&value)) << shift;
        EXPECT_EQ(value, 0x01020304);
    }
}

TEST(ElementView, ATextEndsAtItsFirstZeroByteOrAtItsLength) {
    const struct {
        std::string_view payload, text;
    } cases[] = {
        {{}, ""},
        {{"\0", 1}, ""},
        {{"ab\0", 3}, "ab"},
        {{"a\0b\0", 4}, "a"},
        {{"abc", 3}, "abc"},            // no zero byte: the one behind it is padding
        {{"eight888", 8}, "eight888"},  // nor any padding
    };
    for (const auto& c : cases) {
        std::string bytes = element(1002, Kind::Untyped, c.payload);
        for (std::size_t i = static_cast<std::size_t>(tqa::payloadOffset(
                                 static_cast<int>(c.payload.size()), Kind::Untyped)) +
                             c.payload.size();
             i < bytes.size(); ++i) {
            bytes[i] = 'p';
        }
        const Block block(bytes);
        EXPECT_EQ(viewOf(block).text(), c.text) << c.payload;
    }
}

TEST(ElementView, ANumberNeedsItsWholeWidth) {
    for (std::size_t length = 0; length <= 12; ++length) {
        const Block block(element(
            1002, Kind::Int, std::string("\1\2\3\4\5\6\7\x8\x9\xA\xB\xC", 12).substr(0, length)));
        const ElementView view = viewOf(block);
        std::int32_t narrow = -1;
        std::int64_t wide = -1;
        EXPECT_EQ(view.number(&narrow), length >= 4) << length;
        EXPECT_EQ(view.number(&wide), length >= 8) << length;
        EXPECT_EQ(narrow, length >= 4 ? 0x04030201 : -1) << length;
        EXPECT_EQ(wide, length >= 8 ? 0x0807060504030201 : -1) << length;
    }
}

TEST(ElementView, WalksTheChildrenOfAContainer) {
    const Block block(container(1398, intElement(103, 7) + container(1327) + intElement(1002, 5)));
    const ElementView root = viewOf(block);
    std::string ids;
    for (ElementView child = root.firstChild(); child; child = child.next(root.end())) {
        ids += std::to_string(child.id()) + ' ';
    }
    EXPECT_EQ(ids, "103 1327 1002 ");
    EXPECT_EQ(root.childrenBegin(), block.data() + 16);
    EXPECT_EQ(root.childWithId(1327).begin(), block.data() + 16 + 24);
    EXPECT_FALSE(root.childWithId(1328));
}

TEST(ElementView, FindsAnIdFromWhereItStandsOn) {
    const Block block(
        container(1398, intElement(1002, 5) + intElement(1003, 6) + intElement(1002, 7)));
    const ElementView root = viewOf(block);
    const ElementView first = root.childWithId(1002);
    EXPECT_EQ(first.withId(1002, root.end()).begin(), first.begin());
    const ElementView second = first.next(root.end()).withId(1002, root.end());
    EXPECT_EQ(second.begin(), block.data() + 16 + 48);
    EXPECT_FALSE(second.next(root.end()));
    EXPECT_FALSE(first.withId(1003, first.end()));
}

TEST(ElementView, OnlyContainersWithPayloadHaveChildren) {
    for (const Kind kind : kKinds) {
        const Block full(element(1398, kind, intElement(1002, 5)));
        EXPECT_EQ(static_cast<bool>(viewOf(full).firstChild()), kind == Kind::Container)
            << static_cast<int>(kind);
    }
    const Block empty(container(1398));
    EXPECT_FALSE(viewOf(empty).firstChild());
}

TEST(ElementView, AContainersRestOfBlankTextMovesNothing) {
    // Text of length 1 to 3 gives way to children but leaves its length behind.
    for (const int rest : {1, 2, 3}) {
        std::string bytes = container(1398, intElement(1002, 5) + intElement(1003, 6));
        tqa::writeLength(bytes.data(), tqa::load<std::int32_t>(bytes.data() + 8) + rest);
        const Block block(bytes);
        const ElementView root = viewOf(block);
        EXPECT_EQ(root.size(), 16 + 48);
        EXPECT_EQ(root.childWithId(1003).begin(), block.data() + 16 + 24);
        EXPECT_FALSE(root.childWithId(1003).next(root.end()));
        EXPECT_EQ(root.bytes(), intElement(1002, 5) + intElement(1003, 6));
        std::string bare = header(1398, Kind::Container, rest);
        bare.resize(16);
        const Block childless(bare);
        EXPECT_FALSE(viewOf(childless).firstChild());
        EXPECT_EQ(viewOf(childless).bytes(), "");
        EXPECT_EQ(viewOf(childless).text(), "");
    }
}

TEST(ElementView, AChildThatReachesOutOfItsParentIsNotThere) {
    std::string bytes = container(1398, container(1327, intElement(1002, 5)) + intElement(1003, 6));
    tqa::writeLength(bytes.data() + 16 + 16, 12);  // 32 bytes, but the parent has 24
    const Block block(bytes);
    EXPECT_FALSE(viewOf(block).childWithId(1327).firstChild());
    EXPECT_TRUE(viewOf(block).childWithId(1003));
}

// --- framing ------------------------------------------------------------------------------------

TEST(Layout, TheMagicIsRecognisedByItsFourBytes) {
    const std::string magic = fromHex("98BADCFE");
    for (std::size_t size = 0; size < 4; ++size) {
        const Block block(magic.substr(0, size));
        EXPECT_FALSE(tqa::startsWithMagic(block.data(), block.size())) << size;
    }
    const Block whole(magic);
    EXPECT_TRUE(tqa::startsWithMagic(whole.data(), 4));
    for (std::size_t i = 0; i < 4; ++i) {
        std::string wrong = magic;
        wrong[i] ^= 1;
        EXPECT_FALSE(tqa::startsWithMagic(wrong.data(), 4)) << i;
    }
}

TEST(Layout, TheSizeOfAMessageComesFromItsRoot) {
    const std::string whole = message(container(1398, intElement(103, 7)));
    const Block more(whole + "rest");
    EXPECT_EQ(tqa::wholeMessageSize(more.data(), more.size()), 48);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const Block part(whole.substr(0, size));
        EXPECT_EQ(tqa::wholeMessageSize(part.data(), part.size()), 0) << size;
    }
}

TEST(Layout, NoRootLengthOverflowsTheMessagesSize) {
    const struct {
        int length, size;
    } cases[] = {
        {-1, 0},   {std::numeric_limits<int>::min(), 0},
        {0, 24},   {3, 24},
        {4, 32},   {11, 32},
        {12, 40},  {20, 0},
        {kMax, 0}, {kMax - 7, 0},
    };
    for (const auto& c : cases) {
        std::string bytes = message(header(1398, Kind::Container, c.length));
        bytes.resize(40);
        const Block block(bytes);
        EXPECT_EQ(tqa::wholeMessageSize(block.data(), block.size()), c.size) << c.length;
    }
}

// What a received length says beyond or below the room is kept or made good, never made worse.
TEST(Layout, AContainersLengthFollowsTheRoomOfItsChildren) {
    const struct {
        int length, delta, expected;
    } cases[] = {
        {0, 16, 16},  {16, 24, 40}, {40, -16, 24}, {1, 16, 17}, {3, 16, 19},  {19, -16, 3},
        {12, -16, 0}, {15, -16, 0}, {12, 16, 32},  {13, 0, 16}, {17, -16, 1},
    };
    for (const auto& c : cases) {
        std::string bytes(16, '\0');
        tqa::writeElementHeader(bytes.data(), 1398, tqa::kindWord(Kind::Container), c.length);
        tqa::addToChildren(bytes.data(), c.delta);
        EXPECT_EQ(tqa::load<std::int32_t>(bytes.data() + 8), c.expected) << c.length;
    }
}

// A text ends at its first zero byte, whichever bytes stand before it and wherever it stands in a
// word.
TEST(ElementView, ATextOfAnyBytesEndsAtItsFirstZeroByte) {
    for (int byte = 1; byte < 256; ++byte) {
        for (std::size_t before = 0; before < 20; ++before) {
            std::string payload(20, static_cast<char>(byte));
            payload[before] = '\0';
            const std::string bytes = tqa_test::element(1026, Kind::String, payload);
            const auto view = tqa::ElementView::find(bytes.data(), bytes.data() + bytes.size());
            ASSERT_EQ(view.text(), payload.substr(0, before)) << byte << ' ' << before;
        }
    }
}

}  // namespace
