#include "tqamsg/msg/message_iterator.h"

#include "tqamsg/util/c_text.h"

#include "tests/support/fake_message.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using tqa_test::copyOf;
using tqa_test::fake;
using tqa_test::FakeIterator;
using tqa_test::FakeMessage;
using tqa_test::FakePtr;
using tqa_test::text;

// An id that is not the current element's.
constexpr int kSomeId = 7;

// Knows ids as well as names: the id of a name is its length.
class IdIterator : public FakeIterator {
  public:
    using FakeIterator::FakeIterator;
    using FakeIterator::getValue;
    using FakeIterator::newChild;
    using FakeIterator::seek;

    int seek(int id) override {
        if (firstChild() != 0) return -1;
        while (static_cast<int>(curName().size()) != id) {
            if (nextSibling() != 0) return seekUp() - 1;
        }
        return 0;
    }
    int newChild(int id, int ns) override {
        return newChild(std::string(static_cast<std::size_t>(id), 'n'), std::to_string(ns));
    }
    int getValue(std::string* value, int id) override {
        if (seek(id) != 0) return -1;
        const int status = getValue(value, "");
        seekUp();
        return status;
    }
};

// --- the message it walks -----------------------------------------------------------------------

TEST(MessageIterator, KnowsItsMessage) {
    const FakePtr message = fake("(packet)");
    EXPECT_EQ(FakeIterator(message.get()).getMessage(), message.get());
}

TEST(MessageIterator, LeavesItsMessageAloneWhenItEnds) {
    const FakePtr message = fake("(packet)");
    delete message->newIterator();
    EXPECT_EQ(text(*message), "(packet)");
    EXPECT_EQ(message->counter(), 1);
}

TEST(MessageIterator, GoesToTheRootFromAnywhere) {
    const FakePtr message = fake("(packet (data (vem)))");
    FakeIterator it(message.get());
    ASSERT_EQ(it.seek("data/vem"), 0);
    EXPECT_EQ(it.seekRoot(), 0);
    EXPECT_EQ(it.where(), "/packet");
}

TEST(MessageIterator, ExportsTheWholeMessageFromAnywhere) {
    const FakePtr message = fake("(packet (data (vem)))");
    FakeIterator it(message.get());
    ASSERT_EQ(it.seek("data/vem"), 0);
    const tqa::CText printed(it.toText());
    EXPECT_STREQ(printed.get(), "(packet (data (vem)))");
    char* bytes = nullptr;
    int length = 0;
    ASSERT_EQ(it.decode(&bytes, &length), 0);
    const tqa::CText owned(bytes);
    EXPECT_EQ(std::string(bytes, static_cast<std::size_t>(length)), "(packet (data (vem)))");
}

// --- private content ----------------------------------------------------------------------------

TEST(MessageIterator, GivesASharedMessageItsOwnContentBeforeAChange) {
    const FakePtr first = fake("(packet)");
    const FakePtr second = copyOf(*first);
    FakeIterator it(second.get());
    EXPECT_EQ(it.validateInternals(), 0);
    EXPECT_NE(second->tree, first->tree);
    EXPECT_FALSE(first->multiReference());
    EXPECT_EQ(it.invalidations(), 1);
}

TEST(MessageIterator, LeavesAnUnsharedMessageAsItIsBeforeAChange) {
    const FakePtr message = fake("(packet)");
    const auto content = message->tree;
    FakeIterator it(message.get());
    EXPECT_EQ(it.validateInternals(), 0);
    EXPECT_EQ(message->tree, content);
    EXPECT_EQ(it.invalidations(), 0);
}

TEST(MessageIterator, ChangesNothingWhenASharedContentCannotBeCopied) {
    const FakePtr first = fake("(packet)");
    const FakePtr second = copyOf(*first);
    second->failCopyInternals = true;
    FakeIterator it(second.get());
    EXPECT_EQ(it.newChild("data", ""), -1);
    EXPECT_EQ(it.invalidations(), 0);
    EXPECT_EQ(text(*first), "(packet)");
    EXPECT_EQ(text(*second), "(packet)");
}

TEST(MessageIterator, AWriteThroughACopyLeavesTheOthersAlone) {
    const FakePtr first = fake("(packet (data))");
    const FakePtr second = copyOf(*first);
    FakeIterator before(first.get());
    FakeIterator it(second.get());
    ASSERT_EQ(it.seek("data"), 0);
    EXPECT_EQ(it.newChild("vem", ""), 0);
    EXPECT_EQ(text(*second), "(packet (data (vem)))");
    EXPECT_EQ(text(*first), "(packet (data))");
    EXPECT_EQ(before.seek("data/vem"), -1);
}

// Stands on no message.
class Lost : public FakeIterator {
  public:
    explicit Lost(FakeMessage* walked) : FakeIterator(walked) { message = nullptr; }
};

TEST(MessageIterator, CannotChangeWithoutAMessage) {
    const FakePtr message = fake("(packet)");
    EXPECT_EQ(Lost(message.get()).validateInternals(), -1);
}

// --- presence -----------------------------------------------------------------------------------

TEST(MessageIterator, TellsWhetherAChildIsThereWithoutMoving) {
    const FakePtr message = fake("(packet (data (vem)))");
    FakeIterator it(message.get());
    EXPECT_EQ(it.seekPresence("data"), 0);
    EXPECT_EQ(it.seekPresence("data/vem"), 0);
    EXPECT_EQ(it.seekPresence("src"), -1);
    EXPECT_EQ(it.where(), "/packet");
}

TEST(MessageIterator, TellsWhetherAChildIsThereByIdWithoutMoving) {
    const FakePtr message = fake("(packet (data))");
    IdIterator it(message.get());
    EXPECT_EQ(it.seekPresence(4), 0);
    EXPECT_EQ(it.seekPresence(5), -1);
    EXPECT_EQ(it.where(), "/packet");
}

TEST(MessageIterator, MakesSureOfAChildOnce) {
    const FakePtr message = fake("(packet)");
    FakeIterator it(message.get());
    EXPECT_EQ(it.putChild("data", "types"), 0);
    EXPECT_EQ(it.putChild("data", "vem"), 0);
    EXPECT_EQ(it.where(), "/packet");
    EXPECT_EQ(text(*message), "(packet (data:types))");
}

TEST(MessageIterator, MakesSureOfAChildByIdOnce) {
    const FakePtr message = fake("(packet (data))");
    IdIterator it(message.get());
    EXPECT_EQ(it.putChild(4, 201), 0);
    EXPECT_EQ(it.putChild(3, 201), 0);
    EXPECT_EQ(it.putChild(3, 202), 0);
    EXPECT_EQ(it.where(), "/packet");
    EXPECT_EQ(text(*message), "(packet (data) (nnn:201))");
}

TEST(MessageIterator, SaysWhenAChildCannotBeMade) {
    const FakePtr message = fake("(packet)");
    message->writesLeft = 0;
    EXPECT_EQ(FakeIterator(message.get()).putChild("data", ""), -1);
    EXPECT_EQ(IdIterator(message.get()).putChild(4, 0), -1);
    EXPECT_EQ(text(*message), "(packet)");
}

// --- booleans -----------------------------------------------------------------------------------

TEST(MessageIterator, ReadsBooleans) {
    const struct {
        const char* text;
        bool value;
    } rows[] = {
        {"0", false}, {"", false},   {"false", false}, {"1", true},      {"true", true},
        {"00", true}, {"off", true}, {"False", true},  {"FALSE", true},  {"no", true},
        {" 0", true}, {"0 ", true},  {" ", true},      {"falsey", true}, {"-0", true},
    };
    for (const auto& row : rows) {
        const FakePtr message = fake("(packet (data \"" + std::string(row.text) + "\"))");
        IdIterator it(message.get());
        for (const bool before : {false, true}) {
            bool byName = before;
            bool byId = before;
            bool current = before;
            EXPECT_EQ(it.getValue(&byName, "data"), 0) << row.text;
            EXPECT_EQ(it.getValue(&byId, 4), 0) << row.text;
            ASSERT_EQ(it.seek("data"), 0);
            // Id 0 goes by the empty name.
            EXPECT_EQ(it.getValue(&current, 0), 0) << row.text;
            it.seekUp();
            EXPECT_EQ(byName, row.value) << row.text;
            EXPECT_EQ(byId, row.value) << row.text;
            EXPECT_EQ(current, row.value) << row.text;
        }
    }
}

TEST(MessageIterator, LeavesABooleanAloneThatCannotBeRead) {
    const FakePtr message = fake("(packet (data (vem)))");
    IdIterator it(message.get());
    bool value = true;
    EXPECT_EQ(it.getValue(&value, "data"), -1);
    EXPECT_EQ(it.getValue(&value, "src"), -1);
    EXPECT_EQ(it.getValue(&value, 4), -1);
    EXPECT_EQ(it.getValue(&value, 0), -1);
    EXPECT_EQ(FakeIterator(message.get()).getValue(&value, kSomeId), -1);
    EXPECT_TRUE(value);
}

// --- a kind without ids -------------------------------------------------------------------------

TEST(MessageIterator, CannotMoveByIdInAKindWithoutIds) {
    const FakePtr message = fake("(packet (data))");
    FakeIterator it(message.get());
    for (const int id : {0, kSomeId}) {
        EXPECT_EQ(it.seek(id), -1);
        EXPECT_EQ(it.firstChild(id), -1);
        EXPECT_EQ(it.nextSibling(id), -1);
        EXPECT_EQ(it.newChild(id, 0), -1);
        EXPECT_EQ(it.seekPresence(id), -1);
        EXPECT_EQ(it.putChild(id, 0), -1);
        EXPECT_EQ(it.putValue("text", 4, id), -1);
        EXPECT_EQ(it.putValueBase64("text", 4, id), -1);
    }
    EXPECT_EQ(it.where(), "/packet");
    EXPECT_EQ(text(*message), "(packet (data))");
}

TEST(MessageIterator, ReadsTheCurrentElementByIdZero) {
    const FakePtr message = fake("(veid \"12\")");
    FakeIterator it(message.get());
    std::string text;
    std::string bytes;
    int number = 0;
    bool flag = false;
    long long big = 0;
    double real = 0;
    long time = 0;
    EXPECT_EQ(it.getValue(&text, 0), 0);
    EXPECT_EQ(it.getValueBase64(&bytes, 0), 0);
    EXPECT_EQ(it.getValue(&number, 0), 0);
    EXPECT_EQ(it.getValue(&flag, 0), 0);
    EXPECT_EQ(it.getValueLongLong(&big, 0), 0);
    EXPECT_EQ(it.getValueDouble(&real, 0), 0);
    EXPECT_EQ(it.getValueTime(&time, 0), 0);
    EXPECT_EQ(text, "12");
    EXPECT_EQ(bytes, "12");
    EXPECT_EQ(number, 12);
    EXPECT_TRUE(flag);
    EXPECT_EQ(big, 12);
    EXPECT_EQ(real, 12.0);
    EXPECT_EQ(time, 12);
}

TEST(MessageIterator, ReadsNothingByOtherIds) {
    const FakePtr message = fake("(veid \"12\")");
    FakeIterator it(message.get());
    std::string text = "before";
    int number = 1;
    bool flag = false;
    long long big = 2;
    double real = 3;
    long time = 4;
    EXPECT_EQ(it.getValue(&text, kSomeId), -1);
    EXPECT_EQ(it.getValueBase64(&text, kSomeId), -1);
    EXPECT_EQ(it.getValue(&number, kSomeId), -1);
    EXPECT_EQ(it.getValue(&flag, kSomeId), -1);
    EXPECT_EQ(it.getValueLongLong(&big, kSomeId), -1);
    EXPECT_EQ(it.getValueDouble(&real, kSomeId), -1);
    EXPECT_EQ(it.getValueTime(&time, kSomeId), -1);
    EXPECT_EQ(text, "before");
    EXPECT_EQ(number, 1);
    EXPECT_FALSE(flag);
    EXPECT_EQ(big, 2);
    EXPECT_EQ(real, 3.0);
    EXPECT_EQ(time, 4);
}

TEST(MessageIterator, WritesTheCurrentElementByIdZero) {
    const std::string bytes = "data";
    const FakePtr message = fake("(veid)");
    FakeIterator it(message.get());
    EXPECT_EQ(it.putValue(5, 0), 0);
    EXPECT_EQ(text(*message), "(veid \"5\")");
    EXPECT_EQ(it.putValue(bytes, 0), 0);
    EXPECT_EQ(text(*message), "(veid \"data\")");
    EXPECT_EQ(it.putValueLongLong(6, 0), 0);
    EXPECT_EQ(text(*message), "(veid \"6\")");
    EXPECT_EQ(it.putValueDouble(0.5, 0), 0);
    EXPECT_EQ(text(*message), "(veid \"0.500000\")");
    EXPECT_EQ(it.putValueTime(7, 0), 0);
    EXPECT_EQ(text(*message), "(veid \"7\")");
    EXPECT_EQ(it.putValueBase64(bytes, 0), 0);
    EXPECT_EQ(text(*message), "(veid \"data\")");
}

TEST(MessageIterator, WritesNothingByOtherIds) {
    const std::string bytes = "data";
    const FakePtr message = fake("(veid \"12\")");
    FakeIterator it(message.get());
    EXPECT_EQ(it.putValue(5, kSomeId), -1);
    EXPECT_EQ(it.putValue(bytes, kSomeId), -1);
    EXPECT_EQ(it.putValueLongLong(6, kSomeId), -1);
    EXPECT_EQ(it.putValueDouble(0.5, kSomeId), -1);
    EXPECT_EQ(it.putValueTime(7, kSomeId), -1);
    EXPECT_EQ(it.putValueBase64(bytes, kSomeId), -1);
    EXPECT_EQ(text(*message), "(veid \"12\")");
}

}  // namespace
