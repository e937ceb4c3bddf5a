// Making, framing, loading and exporting binary messages. Sharing has a file of its own.

#include "tqamsg/binary/binary.h"

#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/fake_message.h"
#include "tests/support/messages.h"

#include <climits>
#include <type_traits>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;
using tqa::Kind;

const std::string kSmall = message(container(1398, intElement(1002, 5)));  // 48 bytes

std::string terminated(std::string_view text) {
    return std::string(text) + '\0';
}

int encode(const Message& m, std::string_view encoded, TQAMessageIterator* at = nullptr) {
    const Block block(encoded);
    return m->encode(block.data(), block.size(), at);
}

int encodeAt(const Message& m, const std::string& path, std::string_view encoded) {
    return encode(m, encoded, cursorAt(m, path).get());
}

// --- identity -----------------------------------------------------------------------------------

TEST(Binary, IsRegisteredUnderItsName) {
    EXPECT_STREQ(emptyMessage()->messageType(), "TQABinary");
    EXPECT_STREQ(TQABinary::MessageType, "TQABinary");
}

TEST(Binary, FlagsAreOffAtFirst) {
    EXPECT_EQ(TQABinary::Policy, 0U);
    EXPECT_EQ(TQABinaryIterator::Policy, 0U);
}

TEST(Binary, NewMessagesAndIteratorsAreBinary) {
    const Message m = create("packet");
    const Message other(dynamic_cast<TQABinary*>(m->newMessage()));
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(bytes(other), "");
    EXPECT_FALSE(other->multiReference());
    const std::unique_ptr<TQAMessageIterator> it(m->newIterator());
    ASSERT_NE(dynamic_cast<TQABinaryIterator*>(it.get()), nullptr);
    EXPECT_EQ(it->getMessage(), m.get());
    EXPECT_EQ(it->curName(), "packet");
}

// --- create -------------------------------------------------------------------------------------

TEST(Binary, CreatedMessagesAreTwentyFourBytes) {
    EXPECT_EQ(hex(create(1398)),
              "98BADCFE 00000000\n"
              "76050000 32000000\n"
              "00000000 00000000\n");
    EXPECT_EQ(bytes(create("packet")), bytes(create(1398)));
}

TEST(Binary, TheRootsIdIsNotLookedUp) {
    for (const int id : {0, -1, 7, 101, 999999, INT_MAX, INT_MIN}) {
        EXPECT_EQ(bytes(create(id)), message(container(id)));
    }
}

TEST(Binary, AnUnknownNameCreatesNothing) {
    const Message m = load(kSmall);
    for (const char* name : {"", "Packet", "packet ", "no_such_word", "types:packet"}) {
        EXPECT_EQ(m->create(name), -1) << name;
    }
    EXPECT_EQ(m->create(nullptr), -1);
    EXPECT_EQ(bytes(m), kSmall);
    const Message never = emptyMessage();
    EXPECT_EQ(never->create("no_such_word"), -1);
    EXPECT_EQ(bytes(never), "");
}

TEST(Binary, CreatingForgetsTheAccessList) {
    const Message m = create("packet");
    m->auth.addVE(4);
    EXPECT_FALSE(m->auth.checkAccess(5));
    ASSERT_EQ(m->create("packet"), 0);
    EXPECT_TRUE(m->auth.checkAccess(5));
    EXPECT_EQ(tree(m), "1398:50()");
}

// --- nothing of an earlier message reaches a later one ------------------------------------------

// Has held a long secret, and then this.
Message startedOver(int (*start)(TQABinary&)) {
    Message m = create("packet");
    cursor(m)->putValue(std::string(3000, '\xA5'), tqa::Tag_data);
    EXPECT_EQ(start(*m), 0);
    return m;
}

TEST(Binary, StartingOverLeavesNothingOfTheEarlierMessage) {
    const struct {
        const char* how;
        int (*start)(TQABinary&);
    } cases[] = {
        {"create", [](TQABinary& m) { return m.create("packet"); }},
        {"encode",
         [](TQABinary& m) {
             const Block block(message(container(1398)));
             return m.encode(block.data(), block.size(), nullptr);
         }},
        {"init",
         [](TQABinary& m) {
             const Block block(message(container(1398)));
             return m.init(block.data(), block.size());
         }},
        {"fromText",
         [](TQABinary& m) {
             const Block block(terminated("<packet/>"));
             return m.fromText(block.data(), nullptr);
         }},
    };
    for (const auto& c : cases) {
        const Message m = startedOver(c.start);
        const Cursor at = cursor(m);
        ASSERT_EQ(at->putValue(std::string("x"), tqa::Tag_veid), 0);
        ASSERT_EQ(at->putValue(6, tqa::Tag_id), 0);
        ASSERT_EQ(at->newChild(tqa::Tag_data, 0), 0);
        EXPECT_EQ(bytes(m), message(container(1398, stringElement(tqa::Tag_veid, "x") +
                                                        intElement(tqa::Tag_id, 6) +
                                                        element(tqa::Tag_data, Kind::Untyped))))
            << c.how;
    }
}

TEST(Binary, AFailedParseLeavesNothingToALaterMessage) {
    const std::string secret(3000, '\xA5');
    for (const std::string& xml :
         {"<packet><data>" + secret + "</data><id>", "<packet><data>" + secret,
          "<packet id=\"" + secret + "\"><data", "<packet><zz>" + secret + "</zz><id x=\"\"/>",
          "<packet><data>" + secret + "</data><id/>x</packet>"}) {
        const Message m = emptyMessage();
        const Block block(terminated(xml));
        ASSERT_EQ(m->fromText(block.data(), nullptr), -1);
        ASSERT_EQ(m->create("packet"), 0);
        for (int i = 0; i < 180; ++i) {
            ASSERT_EQ(cursor(m)->putValue(std::string(static_cast<std::size_t>(i % 13), 'x'),
                                          tqa::Tag_veid + i),
                      0);
        }
        EXPECT_EQ(bytes(m).find('\xA5'), std::string::npos) << xml.substr(0, 20);
    }
}

TEST(Binary, DeletedBytesDoNotReachALaterMessage) {
    const Message m = create("packet");
    const Cursor at = cursor(m);
    at->putValue(std::string(3000, '\xA5'), tqa::Tag_data);
    ASSERT_EQ(at->seek(tqa::Tag_data), 0);
    ASSERT_EQ(at->deleteFromChild(), 0);
    ASSERT_EQ(m->create("packet"), 0);
    for (int i = 0; i < 20; ++i) cursor(m)->putValue(std::string("x"), tqa::Tag_veid + i);
    EXPECT_EQ(bytes(m).find('\xA5'), std::string::npos);
}

// --- framing ------------------------------------------------------------------------------------

TEST(Framing, AMessageIsCompleteWithItsLastByte) {
    for (const std::string& whole : {message(container(1398)), kSmall}) {
        const int size = static_cast<int>(whole.size());
        for (int len = 0; len < size; ++len) {
            const Block part(whole.substr(0, static_cast<std::size_t>(len)));
            EXPECT_EQ(TQABinary::isComplete(part.data(), len), 0) << len;
        }
        const Block all(whole);
        EXPECT_EQ(TQABinary::isComplete(all.data(), size), size);
        const Block more(whole + "next");
        EXPECT_EQ(TQABinary::isComplete(more.data(), more.size()), size);
    }
}

TEST(Framing, ATextIsCompleteWithItsZeroByte) {
    const Block text(terminated("abc") + "next");
    for (int len = 0; len < 4; ++len) EXPECT_EQ(TQABinary::isComplete(text.data(), len), 0);
    for (int len = 4; len <= 8; ++len) EXPECT_EQ(TQABinary::isComplete(text.data(), len), 4);
    const Block nothing(terminated(""));
    EXPECT_EQ(TQABinary::isComplete(nothing.data(), 1), 1);
}

TEST(Framing, TheTestReadsNothingBehindTheBytes) {
    const std::string magic = fromHex("98BADCFE");
    for (std::size_t size = 0; size <= magic.size(); ++size) {
        const Block block(magic.substr(0, size));
        EXPECT_EQ(TQABinary::isComplete(block.data(), block.size()), 0) << size;
    }
    EXPECT_EQ(TQABinary::isComplete(nullptr, 5), 0);
    EXPECT_EQ(TQABinary::isComplete(magic.data(), 0), 0);
    EXPECT_EQ(TQABinary::isComplete(magic.data(), -1), 0);
    EXPECT_EQ(TQABinary::isComplete(magic.data(), INT_MIN), 0);
}

TEST(Framing, AlmostTheMagicIsText) {
    const Block block(fromHex("98BADCFF") + terminated("x"));
    EXPECT_EQ(TQABinary::isComplete(block.data(), block.size()), 6);
    const Block early(fromHex("98BA00FE 00"));
    EXPECT_EQ(TQABinary::isComplete(early.data(), early.size()), 3);
}

TEST(Framing, NoMessageOfAnImpossibleLengthIsEverComplete) {
    for (const int length : {-1, INT_MIN, INT_MIN + 7, INT_MAX, INT_MAX - 19}) {
        std::string damaged = kSmall;
        tqa::writeLength(damaged.data() + tqa::kRootOffset, length);
        const Block block(damaged);
        EXPECT_EQ(TQABinary::isComplete(block.data(), block.size()), 0) << length;
        const Message m = emptyMessage();
        EXPECT_EQ(m->encode(block.data(), block.size(), nullptr), -1);
    }
}

TEST(Framing, TheKindIsTheMagic) {
    const Block whole(kSmall);
    EXPECT_EQ(TQABinary::isOfTheKind(whole.data()), 1);
    EXPECT_EQ(TQABinary::isOfTheKind(nullptr), 0);
    const std::string magic = fromHex("98BADCFE");
    for (std::size_t i = 0; i < 4; ++i) {
        // The block ends with the first byte that differs.
        const Block block(magic.substr(0, i) + '\0');
        EXPECT_EQ(TQABinary::isOfTheKind(block.data()), 0) << i;
    }
}

// --- encode -------------------------------------------------------------------------------------

TEST(Encode, LoadsBytes) {
    const Message m = emptyMessage();
    ASSERT_EQ(encode(m, kSmall), 0);
    EXPECT_EQ(bytes(m), kSmall);
}

TEST(Encode, LoadsText) {
    const Message m = emptyMessage();
    ASSERT_EQ(encode(m, terminated("<packet><veid>5</veid></packet>")), 0);
    EXPECT_EQ(tree(m), "1398:50(1002:0=3500)");
}

TEST(Encode, InitDoesTheSame) {
    for (const std::string& encoded : {kSmall, terminated("<packet><veid>5</veid></packet>")}) {
        const Message m = emptyMessage();
        const Block block(encoded);
        ASSERT_EQ(m->init(block.data(), block.size()), 0);
        EXPECT_EQ(bytes(m), bytes(load(encoded)));
    }
}

TEST(Encode, WhatFollowsTheMessageIsNotLookedAt) {
    const Message m = emptyMessage();
    ASSERT_EQ(encode(m, kSmall + std::string(100, '\xFF')), 0);
    EXPECT_EQ(bytes(m), kSmall);
    ASSERT_EQ(encode(m, terminated("<packet/>") + "<"), 0);
    EXPECT_EQ(tree(m), "1398:0=");
}

TEST(Encode, ReservedBytesAreNotReadAndLeaveAsZero) {
    std::string marked = kSmall;
    tqa::store<std::uint32_t>(marked.data() + 4, 0xABABABAB);
    const Message m = emptyMessage();
    ASSERT_EQ(encode(m, marked), 0);
    EXPECT_EQ(bytes(m), kSmall);
}

TEST(Encode, IncompleteBytesChangeNothing) {
    const Message m = load(kSmall);
    for (std::size_t size = 0; size < kSmall.size(); ++size) {
        EXPECT_EQ(encode(m, kSmall.substr(0, size)), -1) << size;
    }
    EXPECT_EQ(encode(m, "<packet/>"), -1);
    EXPECT_EQ(encode(m, ""), -1);
    EXPECT_EQ(m->encode(nullptr, 10, nullptr), -1);
    EXPECT_EQ(bytes(m), kSmall);
}

TEST(Encode, MalformedTextFails) {
    const Message m = load(kSmall);
    EXPECT_EQ(encode(m, terminated("<packet>")), -1);
    EXPECT_EQ(encode(m, terminated("")), -1);
}

TEST(Encode, ReplacesWhatTheMessageHeld) {
    const Message m = load(message(container(1398, stringElement(1002, std::string(9000, 'x')))));
    ASSERT_EQ(encode(m, kSmall), 0);
    EXPECT_EQ(bytes(m), kSmall);
}

TEST(Encode, AppendsTheRootBelowAnIterator) {
    const Message m = load(message(container(1398, container(1307) + intElement(1003, 6))));
    const Cursor at = cursorAt(m, "data");
    ASSERT_EQ(encode(m, message(container(1327, intElement(1002, 5), 246)), at.get()), 0);
    ASSERT_EQ(encode(m, message(intElement(1002, 7)), at.get()), 0);
    EXPECT_EQ(tree(m),
              "1398:50(1307:50(1327:50.246(1002:1=05000000) 1002:1=07000000) 1003:1=06000000)");
    EXPECT_EQ(at->curName(), "data");
    EXPECT_EQ(at->seek("veid"), 0);
}

TEST(Encode, AContainerThatKeptTheLengthOfBlankTextIsAppendedAsItIs) {
    const Message source = parse("<packet><data> </data></packet>");
    ASSERT_EQ(cursorAt(source, "data")->putValue(5, tqa::Tag_veid), 0);
    const Message m = parse("<packet><src></src><dst>x</dst></packet>");
    ASSERT_EQ(encodeAt(m, "src", bytes(cursorAt(source, "data"))), 0);
    const std::string added = bytes(cursorAt(m, "src/data"));
    EXPECT_EQ(tqa::load<std::int32_t>(added.data() + 16), 24 + 2);
    EXPECT_EQ(tree(m), "1398:50(1649:50(1307:50(1002:1=05000000)) 1652:0=7800)");
}

TEST(Encode, AppendsTextBelowAnIterator) {
    const Message m = create("packet");
    const Cursor at = cursor(m);
    ASSERT_EQ(encode(m, terminated("<data><veid>5</veid></data>"), at.get()), 0);
    EXPECT_EQ(tree(m), "1398:50(1307:50(1002:0=3500))");
    EXPECT_EQ(at->curName(), "packet");
}

TEST(Encode, AppendsEveryKindOfRoot) {
    for (const Kind kind : {Kind::Untyped, Kind::Int, Kind::String, Kind::LongLong, Kind::Double,
                            Kind::Base64, Kind::Time, Kind::Container, Kind::Unparsed}) {
        for (const std::size_t length : {0U, 8U, 16U}) {
            const std::string root = element(1327, kind, std::string(length, '\0'), 246);
            const Message m = create("packet");
            ASSERT_EQ(encodeAt(m, "/", message(root)), 0) << static_cast<int>(kind);
            EXPECT_EQ(bytes(m), message(container(1398, root)));
        }
    }
}

TEST(Encode, AnElementThatHoldsAValueTakesNoChild) {
    for (const std::string& encoded : {kSmall, terminated("<data/>")}) {
        const Message m = load(kSmall);
        const Cursor at = cursorAt(m, "veid");
        EXPECT_EQ(encode(m, encoded, at.get()), -1);
        EXPECT_EQ(bytes(m), kSmall);
        EXPECT_EQ(at->curName(), "veid");
    }
}

TEST(Encode, IncompleteBytesBelowAnIteratorChangeNothing) {
    const Message m = load(kSmall);
    const Cursor at = cursor(m);
    EXPECT_EQ(encode(m, kSmall.substr(0, 47), at.get()), -1);
    EXPECT_EQ(encode(m, "<data/>", at.get()), -1);
    EXPECT_EQ(bytes(m), kSmall);
}

TEST(Encode, NeedsAnIteratorOfItsOwn) {
    const Message m = load(kSmall);
    const Message other = load(kSmall);
    const FakePtr fake = tqa_test::fake("(packet)");
    FakeIterator foreign(fake.get());
    for (const std::string& encoded : {kSmall, terminated("<data/>")}) {
        EXPECT_EQ(encode(m, encoded, cursor(other).get()), -1);
        EXPECT_EQ(encode(m, encoded, &foreign), -1);
    }
    EXPECT_EQ(bytes(m), kSmall);
    EXPECT_EQ(bytes(other), kSmall);
}

TEST(Encode, AnIteratorThatStandsNowhereTakesNothing) {
    const Message m = load(kSmall);
    const Cursor at = cursor(m);
    at->seekUp();
    EXPECT_EQ(encode(m, kSmall, at.get()), -1);
    EXPECT_EQ(bytes(m), kSmall);
    const Message never = emptyMessage();
    EXPECT_EQ(encode(never, kSmall, cursor(never).get()), -1);
    EXPECT_EQ(encode(never, terminated("<data/>"), cursor(never).get()), -1);
}

// Kept: docs of fromText().
TEST(FromText, AFailedParseAtAnIteratorLeavesTheMessageOnThePartialContent) {
    const Message m = load(kSmall);
    for (int round = 0; round < 3; ++round) {
        const Block broken(terminated("<data><veid>5</veid><id>"));
        EXPECT_EQ(m->fromText(broken.data(), cursor(m).get()), -1);
        EXPECT_EQ(tree(m), "1307:50(1002:0=3500 1010:0=)");
    }
    ASSERT_EQ(m->create("packet"), 0);
    EXPECT_EQ(tree(m), "1398:50()");
}

// Who still reads what the message held before can go on.
TEST(FromText, AFailedParseAtAnIteratorSetsTheFormerContentAside) {
    const std::string text(1 << 20, 'x');
    const Message m = load(message(container(1398, stringElement(1002, text))));
    const std::string_view former = tqa::elementOf(*m).firstChild().text();
    for (int round = 0; round < 3; ++round) {
        const Block broken(terminated("<data><id>"));
        ASSERT_EQ(m->fromText(broken.data(), cursor(m).get()), -1);
        EXPECT_TRUE(former == text) << round;
    }
}

// --- decode -------------------------------------------------------------------------------------

TEST(Decode, ExportsTheWholeMessage) {
    char* exported = nullptr;
    int len = 0;
    ASSERT_EQ(create("packet")->decode(&exported, &len, nullptr), 0);
    const tqa::CText owner(exported);
    EXPECT_EQ(hex(std::string_view(exported, static_cast<std::size_t>(len))),
              "98BADCFE 00000000\n"
              "76050000 32000000\n"
              "00000000 00000000\n");
}

TEST(Decode, ExportsTheElementOfAnIteratorAsAMessage) {
    const Message m = load(message(container(
        1398, container(1307, stringElement(1002, "seven77") + intElement(1003, 6), 246))));
    EXPECT_EQ(bytes(cursor(m)), bytes(m));
    EXPECT_EQ(bytes(cursorAt(m, "data")),
              message(container(1307, stringElement(1002, "seven77") + intElement(1003, 6), 246)));
    EXPECT_EQ(bytes(cursorAt(m, "data/veid")), message(stringElement(1002, "seven77")));
    EXPECT_EQ(bytes(cursorAt(m, "data/alert")), message(intElement(1003, 6)));
}

TEST(Decode, WithoutContentThereIsNothingToExport) {
    const Message never = emptyMessage();
    EXPECT_EQ(bytes(never), "");
    EXPECT_EQ(bytes(cursor(never)), "");
    const Message released = create("packet");
    released->releaseInternals();
    EXPECT_EQ(bytes(released), "");
    EXPECT_EQ(text(released), "(no text)");
}

TEST(Decode, AnIteratorThatStandsNowhereOrElsewhereExportsNothing) {
    const Message m = create("packet");
    const Cursor at = cursor(m);
    at->seekUp();
    EXPECT_EQ(bytes(at), "");
    EXPECT_EQ(text(at), "(no text)");
    const FakePtr fake = tqa_test::fake("(packet)");
    FakeIterator foreign(fake.get());
    char* exported = nullptr;
    int len = 0;
    EXPECT_EQ(m->decode(&exported, &len, &foreign), -1);
    EXPECT_EQ(m->toText(&foreign, false, ""), nullptr);
}

// --- saving the access list before an export ----------------------------------------------------

TEST(Decode, SavesAChangedAccessListFirst) {
    const Message m = create("packet");
    m->auth.addVE(4);
    EXPECT_EQ(tree(m), "1398:50(1399:50(1098:50.246(1002:1=04000000)))");
    EXPECT_EQ(tree(m), "1398:50(1399:50(1098:50.246(1002:1=04000000)))");
}

TEST(Decode, FailsWhenTheAccessListCannotBeSaved) {
    const std::string before = message(stringElement(1398, "text"));
    const Message m = load(before);
    EXPECT_EQ(bytes(m), before);
    m->auth.addVE(4);
    EXPECT_EQ(bytes(m), "");
    EXPECT_EQ(bytes(cursor(m)), "");
    EXPECT_EQ(text(m), "(no text)");
    m->auth.reset();
    EXPECT_EQ(bytes(m), before);
}

TEST(Decode, ExportsTheElementOnWhichTheIteratorStoodBeforeTheAccessListWasSaved) {
    const std::string blank(4, ' ');
    const std::string big(4000, 'x');  // saving grows the buffer
    const struct {
        std::string xml, path, expected;
    } cases[] = {
        {"<packet><data>d</data></packet>", "data", "<data>d</data>\n"},
        {"<packet><data>d</data><auth/></packet>", "data", "<data>d</data>\n"},
        {"<packet><auth/><data>d</data></packet>", "data", "<data>d</data>\n"},
        {"<packet><auth/><data><veid>5</veid></data></packet>", "data/veid", "<veid>5</veid>\n"},
        {"<packet><auth><ve_list><veid>4</veid></ve_list></auth><data>d</data></packet>", "data",
         "<data>d</data>\n"},
        {"<packet><auth><ve_list><veid>4</veid></ve_list></auth></packet>", "auth/ve_list",
         "<ve_list>\n<veid>4</veid>\n</ve_list>\n"},
        {"<packet><auth>" + blank + "</auth><data>d</data></packet>", "data", "<data>d</data>\n"},
        {"<packet><auth>" + blank + blank + blank + blank + "</auth><data>d</data></packet>",
         "data", "<data>d</data>\n"},
        {"<packet><auth></auth><data>d</data></packet>", "data", "<data>d</data>\n"},
        {"<packet><auth/><id>" + big + "</id><data>d</data></packet>", "data", "<data>d</data>\n"},
        {"<packet><id>" + big + "</id><data>d</data></packet>", "data", "<data>d</data>\n"},
        {"<packet><data>d</data></packet>", "/",
         "<packet>\n<data>d</data>\n<auth>\n<ve_list>\n<veid>9</veid>\n</ve_list>\n</auth>\n"
         "</packet>\n"},
    };
    for (const auto& c : cases) {
        const Message printed = parse(c.xml);
        const Cursor at = cursorAt(printed, c.path);
        printed->auth.addVE(9);
        EXPECT_EQ(text(at), c.expected) << c.xml;
        EXPECT_EQ(text(at), c.expected) << c.xml;
        EXPECT_EQ(at->validateStamp(), 0) << c.xml;

        const Message exported = parse(c.xml);
        const Cursor there = cursorAt(exported, c.path);
        exported->auth.addVE(9);
        EXPECT_EQ(text(load(bytes(there))), c.expected) << c.xml;
    }
}

TEST(Decode, AnIteratorInsideTheListStaysThere) {
    const Message m = parse(
        "<packet><auth><ve_list><veid>4</veid><veid>5</veid></ve_list></auth><data/></packet>");
    const Cursor at = cursorAt(m, "auth/ve_list/veid");
    ASSERT_EQ(at->nextSibling(), 0);
    m->auth.addVE(9);
    EXPECT_EQ(text(at), "<veid>5</veid>\n");
}

TEST(Binary, AnAccessListWithoutAContentToHoldItMakesTheTextFail) {
    const Message m = emptyMessage();
    m->auth.addVE(5);
    EXPECT_EQ(text(m), "(no text)");
}

}  // namespace
