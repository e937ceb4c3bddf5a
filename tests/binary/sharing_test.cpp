// Messages that share one content: what each of them sees, in every order of writing and ending.

#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/fake_message.h"
#include "tests/support/messages.h"
#include "tests/util/out_of_memory.h"

#include <algorithm>
#include <array>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;
using tqa::Kind;

const std::string kContent = message(container(1398, intElement(1002, 5)));
const std::string kOther = message(container(1327));

int write(const Message& m, int value) {
    return cursor(m)->putValue(value, tqa::Tag_veid);
}

std::string written(int value) {
    return message(container(1398, intElement(1002, value)));
}

// A message whose content can't be copied while it is stubborn, and with a counter to look at.
class Stubborn : public TQABinary {
  public:
    TQAMessage* newMessage() override { return new Stubborn; }
    int copyInternals() override { return stubborn ? -1 : TQABinary::copyInternals(); }
    int counter() const { return *refcount; }

    bool stubborn = false;
};

using StubbornPtr = std::unique_ptr<Stubborn, DestroyMessage>;

StubbornPtr stubborn() {
    StubbornPtr m(new Stubborn);
    const Block block(kContent);
    EXPECT_EQ(m->encode(block.data(), block.size(), nullptr), 0);
    m->stubborn = true;
    return m;
}

StubbornPtr copyOf(const StubbornPtr& m) {
    StubbornPtr copy(static_cast<Stubborn*>(m->copy(false)));
    copy->stubborn = true;
    return copy;
}

// --- copies -------------------------------------------------------------------------------------

TEST(Sharing, ACopySharesUntilItIsDestroyed) {
    const Message m = load(kContent);
    EXPECT_FALSE(m->multiReference());
    {
        const Message copy = copyOf(m);
        EXPECT_TRUE(m->multiReference());
        EXPECT_TRUE(copy->multiReference());
        EXPECT_EQ(bytes(copy), kContent);
    }
    EXPECT_FALSE(m->multiReference());
    EXPECT_EQ(bytes(m), kContent);
}

TEST(Sharing, CopyIgnoresItsArgument) {
    const Message m = load(kContent);
    for (const bool deep : {false, true}) {
        const Message copy(static_cast<TQABinary*>(m->copy(deep)));
        EXPECT_TRUE(copy->multiReference());
        EXPECT_EQ(bytes(copy), kContent);
    }
}

TEST(Sharing, ACopyHasTheAccessList) {
    const Message m = load(kContent);
    m->auth.addVE(4);
    const Message copy = copyOf(m);
    EXPECT_TRUE(copy->auth.checkAccess(4));
    EXPECT_FALSE(copy->auth.checkAccess(5));
}

TEST(Sharing, SavingTheAccessListOfACopyLeavesTheOtherAlone) {
    const Message m = load(kContent);
    const Message copy = copyOf(m);
    copy->auth.addVE(4);
    EXPECT_EQ(tree(copy), "1398:50(1002:1=05000000 1399:50(1098:50.246(1002:1=04000000)))");
    EXPECT_EQ(bytes(m), kContent);
    EXPECT_FALSE(m->multiReference());
}

TEST(Sharing, WritingSeparatesTheWriterFromTheOthers) {
    const Message m = load(kContent);
    const Message second = copyOf(m);
    const Message third = copyOf(second);
    ASSERT_EQ(write(second, 6), 0);
    EXPECT_FALSE(second->multiReference());
    EXPECT_TRUE(m->multiReference());
    EXPECT_TRUE(third->multiReference());
    EXPECT_EQ(bytes(m), kContent);
    EXPECT_EQ(bytes(second), written(6));
    EXPECT_EQ(bytes(third), kContent);
    ASSERT_EQ(write(m, 7), 0);
    EXPECT_FALSE(third->multiReference());
    ASSERT_EQ(write(third, 8), 0);
    EXPECT_EQ(bytes(m), written(7));
    EXPECT_EQ(bytes(second), written(6));
    EXPECT_EQ(bytes(third), written(8));
}

// Every operation of an iterator that changes something.
TEST(Sharing, EveryWriteGetsAContentOfItsOwn) {
    using Write = int (*)(TQABinaryIterator&);
    const Write writes[] = {
        [](TQABinaryIterator& at) { return at.newChild(1003, 0); },
        [](TQABinaryIterator& at) { return at.newChild("alert", "types"); },
        [](TQABinaryIterator& at) { return at.putChild(1003, 0); },
        [](TQABinaryIterator& at) { return at.putChild("alert", ""); },
        [](TQABinaryIterator& at) { return at.putValue(1, 1003); },
        [](TQABinaryIterator& at) { return at.putValue(1, 1002); },
        [](TQABinaryIterator& at) { return at.putValue("x", 1, 1003); },
        [](TQABinaryIterator& at) { return at.putValue(std::string("x"), 1003); },
        [](TQABinaryIterator& at) { return at.putValueBase64("x", 1, 1003); },
        [](TQABinaryIterator& at) { return at.putValueBase64(std::string("x"), 1003); },
        [](TQABinaryIterator& at) { return at.putValueLongLong(1, 1003); },
        [](TQABinaryIterator& at) { return at.putValueDouble(1, 1003); },
        [](TQABinaryIterator& at) { return at.putValueTime(1, 1003); },
        [](TQABinaryIterator& at) { return at.putValueXML("<x/>", 1003); },
        [](TQABinaryIterator& at) { return at.putValue(1, std::string("alert")); },
        [](TQABinaryIterator& at) { return at.putValue(std::string("x"), std::string("alert")); },
        [](TQABinaryIterator& at) {
            return at.putValueBase64(std::string("x"), std::string("alert"));
        },
        [](TQABinaryIterator& at) { return at.putValueLongLong(1, std::string("alert")); },
        [](TQABinaryIterator& at) { return at.putValueDouble(1, std::string("alert")); },
        [](TQABinaryIterator& at) { return at.putValueTime(1, std::string("alert")); },
        [](TQABinaryIterator& at) { return at.putAttr(1, 103); },
        [](TQABinaryIterator& at) { return at.putAttr(std::string("x"), 102); },
        [](TQABinaryIterator& at) { return at.putAttrTime(1, 104); },
        [](TQABinaryIterator& at) {
            const Block block(kOther);
            return at.encodeToChild(block.data(), block.size());
        },
        [](TQABinaryIterator& at) {
            const Block block(std::string("<alert/>") + '\0');
            return at.fromTextToChild(block.data());
        },
        [](TQABinaryIterator& at) { return at.seek(1002) == 0 ? at.deleteFromChild() : -1; },
        [](TQABinaryIterator& at) {
            const Block block(kOther);
            return at.getMessage()->encode(block.data(), block.size(), &at);
        },
        [](TQABinaryIterator& at) {
            const Block block(std::string("<alert/>") + '\0');
            return at.getMessage()->fromText(block.data(), &at);
        },
    };
    for (const Write& change : writes) {
        const auto index = &change - writes;
        const Message m = load(kContent);
        const Message copy = copyOf(m);
        ASSERT_EQ(change(*cursor(copy)), 0) << index;
        EXPECT_EQ(bytes(m), kContent) << index;
        EXPECT_NE(tree(copy), tree(m)) << index;
        EXPECT_FALSE(m->multiReference()) << index;
        EXPECT_FALSE(copy->multiReference()) << index;
    }
}

TEST(Sharing, HeaderFieldsAreWritesToo) {
    const Message m = load(kContent);
    const Message copy = copyOf(m);
    ASSERT_EQ(copy->setTimeout(30), 0);
    ASSERT_EQ(copy->setOrigin("vem"), 0);
    EXPECT_EQ(bytes(m), kContent);
}

TEST(Sharing, IteratorsFollowTheirMessageToItsOwnContent) {
    const Message m = load(
        message(container(1398, container(1307, intElement(1002, 5)) + stringElement(1003, "x"))));
    const Message copy = copyOf(m);
    const Cursor before = cursorAt(copy, "data/veid");
    const Cursor other = cursorAt(copy, "alert");
    const Cursor ofOriginal = cursorAt(m, "data/veid");
    ASSERT_EQ(other->putValue(std::string("y"), 0), 0);
    ASSERT_EQ(before->putValue(6, 0), 0);
    int value = 0;
    EXPECT_EQ(ofOriginal->getValue(&value, 0), 0);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(before->getValue(&value, 0), 0);
    EXPECT_EQ(value, 6);
    ASSERT_EQ(ofOriginal->putValue(7, 0), 0);
    EXPECT_EQ(tree(m), "1398:50(1307:50(1002:1=07000000) 1003:2=7800)");
    EXPECT_EQ(tree(copy), "1398:50(1307:50(1002:1=06000000) 1003:2=7900)");
}

// --- starting over ------------------------------------------------------------------------------

TEST(Sharing, StartingOverLeavesTheOthersTheirs) {
    const struct {
        const char* how;
        int (*start)(TQABinary&);
        int status;
        std::string expected;
    } cases[] = {
        {"create by id", [](TQABinary& m) { return m.create(1327); }, 0, "1327:50()"},
        {"create by name", [](TQABinary& m) { return m.create("packet"); }, 0, "1398:50()"},
        {"init",
         [](TQABinary& m) {
             const Block block(kOther);
             return m.init(block.data(), block.size());
         },
         0, "1327:50()"},
        {"encode",
         [](TQABinary& m) {
             const Block block(kOther);
             return m.encode(block.data(), block.size(), nullptr);
         },
         0, "1327:50()"},
        {"fromText",
         [](TQABinary& m) {
             const Block block(std::string("<data/>") + '\0');
             return m.fromText(block.data(), nullptr);
         },
         0, "1307:0="},
        {"fromText that fails",
         [](TQABinary& m) {
             const Block block(std::string("<data/") + '\0');
             return m.fromText(block.data(), nullptr);
         },
         -1, "1307:0="},
    };
    for (const auto& c : cases) {
        const Message m = load(kContent);
        const Message copy = copyOf(m);
        const Message third = copyOf(m);
        EXPECT_EQ(c.start(*copy), c.status) << c.how;
        EXPECT_EQ(tree(copy), c.expected) << c.how;
        EXPECT_EQ(bytes(m), kContent) << c.how;
        EXPECT_FALSE(copy->multiReference()) << c.how;
        EXPECT_TRUE(m->multiReference()) << c.how;
        ASSERT_EQ(write(third, 6), 0);
        EXPECT_FALSE(m->multiReference()) << c.how;
        EXPECT_EQ(bytes(m), kContent) << c.how;
    }
}

TEST(Sharing, AFailedParseAtAnIteratorLeavesTheOthersTheirs) {
    const Message m = load(kContent);
    const Message copy = copyOf(m);
    const Block broken(std::string("<data><veid>5</veid><id>") + '\0');
    EXPECT_EQ(cursor(copy)->fromTextToChild(broken.data()), -1);
    EXPECT_EQ(bytes(m), kContent);
    const Message later = copyOf(copy);
    EXPECT_EQ(tree(later), "1307:50(1002:0=3500 1010:0=)");
    ASSERT_EQ(later->create("packet"), 0);
    EXPECT_EQ(tree(copy), "1307:50(1002:0=3500 1010:0=)");
}

// --- messages without content -------------------------------------------------------------------

TEST(Sharing, WithoutContentThereIsNothingToCopy) {
    const Message m = emptyMessage();
    EXPECT_EQ(m->copyInternals(), -1);
    EXPECT_EQ(m->hardcopy(), -1);
    EXPECT_EQ(write(m, 5), -1);
    ASSERT_EQ(m->create("packet"), 0);
    EXPECT_EQ(write(m, 5), 0);
    EXPECT_EQ(bytes(m), kContent);
}

TEST(Sharing, CopiesOfNothingGoTheirOwnWays) {
    const Message m = emptyMessage();
    const Message second = copyOf(m);
    const Message third = copyOf(m);
    EXPECT_EQ(second->hardcopy(), -1);
    EXPECT_EQ(write(second, 5), -1);
    ASSERT_EQ(second->create("packet"), 0);
    EXPECT_EQ(bytes(m), "");
    EXPECT_EQ(bytes(third), "");
    ASSERT_EQ(m->create("data"), 0);
    EXPECT_EQ(tree(m), "1307:50()");
    EXPECT_EQ(tree(second), "1398:50()");
    EXPECT_EQ(bytes(third), "");
}

TEST(Sharing, AReleasedContentIsGoneForThisMessageOnly) {
    const Message m = load(kContent);
    const Message copy = copyOf(m);
    EXPECT_EQ(copy->releaseInternals(), 0);
    EXPECT_EQ(copy->releaseInternals(), 0);
    EXPECT_EQ(copy->copyInternals(), -1);
    EXPECT_EQ(write(copy, 6), -1);
    EXPECT_EQ(bytes(m), kContent);
    ASSERT_EQ(copy->create("data"), 0);
    EXPECT_EQ(tree(copy), "1307:50()");
    EXPECT_EQ(bytes(m), kContent);
    EXPECT_FALSE(m->multiReference());
}

TEST(Sharing, ACopyOfAReleasedMessageHasNothing) {
    const Message m = load(kContent);
    m->releaseInternals();
    const Message copy = copyOf(m);
    EXPECT_EQ(bytes(copy), "");
    ASSERT_EQ(copy->create("packet"), 0);
    EXPECT_EQ(bytes(m), "");
}

// --- assignInternals ----------------------------------------------------------------------------

TEST(Sharing, AssigningInternalsSharesOneContent) {
    const Message m = load(kContent);
    const Message other = load(kOther);
    ASSERT_EQ(other->assignInternals(m.get()), 0);
    EXPECT_EQ(bytes(other), kContent);
    ASSERT_EQ(write(other, 6), 0);
    EXPECT_EQ(bytes(m), kContent);
    EXPECT_EQ(bytes(other), written(6));
}

TEST(Sharing, AssigningInternalsOfItselfKeepsThem) {
    const Message m = load(kContent);
    ASSERT_EQ(m->assignInternals(m.get()), 0);
    EXPECT_EQ(bytes(m), kContent);
    ASSERT_EQ(write(m, 6), 0);
    EXPECT_EQ(bytes(m), written(6));
}

TEST(Sharing, AssigningNoInternalsLeavesNone) {
    const Message m = load(kContent);
    const Message released = load(kOther);
    released->releaseInternals();
    ASSERT_EQ(m->assignInternals(released.get()), 0);
    EXPECT_EQ(bytes(m), "");
}

TEST(Sharing, OnlyBinaryInternalsCanBeAssigned) {
    const Message m = load(kContent);
    const FakePtr fake = tqa_test::fake("(packet)");
    EXPECT_EQ(m->assignInternals(fake.get()), -1);
    EXPECT_EQ(m->assignInternals(nullptr), -1);
    EXPECT_EQ(bytes(m), kContent);
}

TEST(Sharing, TheSourceOfAnAssignmentMayEndFirst) {
    const Message m = load(kOther);
    {
        const Message source = load(kContent);
        ASSERT_EQ(m->assignInternals(source.get()), 0);
    }
    EXPECT_EQ(bytes(m), kContent);
}

TEST(Sharing, ASecondRecordWithTheSameStampIsNoticed) {
    const Message m = load(message(container(1398, container(1307) + intElement(1002, 5))));
    const Cursor at = cursorAt(m, "veid");
    const Message other = load(kContent);  // as many changes, another place
    ASSERT_EQ(m->assignInternals(other.get()), 0);
    EXPECT_EQ(at->validateStamp(), -1);
    int value = 0;
    EXPECT_EQ(at->getValue(&value, 0), -1);
    EXPECT_EQ(at->seek("/veid"), 0);
    EXPECT_EQ(at->getValue(&value, 0), 0);
}

// --- failed copies ------------------------------------------------------------------------------

// Kept: order of hardcopy().
TEST(FailedHardcopy, TheCounterIsOneLowerAfterwards) {
    const StubbornPtr m = stubborn();
    const StubbornPtr second = copyOf(m);
    const StubbornPtr third = copyOf(m);
    EXPECT_EQ(m->counter(), 3);
    EXPECT_EQ(second->hardcopy(), -1);
    EXPECT_EQ(m->counter(), 2);
    EXPECT_EQ(second->counter(), 2);
    EXPECT_EQ(second->hardcopy(), -1);
    EXPECT_EQ(third->counter(), 1);
    EXPECT_FALSE(third->multiReference());
}

TEST(FailedHardcopy, AWriteFailsAndEveryHolderStaysReadable) {
    const StubbornPtr m = stubborn();
    const StubbornPtr second = copyOf(m);
    for (int round = 0; round < 5; ++round) {
        for (Stubborn* each : {m.get(), second.get()}) {
            const Cursor at = cursor(*each);
            EXPECT_EQ(at->putValue(6, tqa::Tag_veid), -1);
            EXPECT_EQ(at->newChild(tqa::Tag_data, 0), -1);
            EXPECT_EQ(at->seek("veid"), 0);
            EXPECT_EQ(at->deleteFromChild(), -1);
            EXPECT_EQ(bytes(*m), kContent);
            EXPECT_EQ(bytes(*second), kContent);
        }
    }
}

TEST(FailedHardcopy, ALaterWriteGetsItsOwnCopy) {
    const StubbornPtr m = stubborn();
    const StubbornPtr second = copyOf(m);
    const StubbornPtr third = copyOf(m);
    EXPECT_EQ(cursor(*second)->putValue(6, tqa::Tag_veid), -1);
    EXPECT_EQ(cursor(*third)->putValue(6, tqa::Tag_veid), -1);
    third->stubborn = false;
    EXPECT_EQ(cursor(*third)->putValue(6, tqa::Tag_veid), 0);
    EXPECT_EQ(bytes(*m), kContent);
    EXPECT_EQ(bytes(*second), kContent);
    EXPECT_EQ(bytes(*third), written(6));
    EXPECT_EQ(cursor(*second)->putValue(7, tqa::Tag_veid), -1);
    second->stubborn = false;
    EXPECT_EQ(cursor(*second)->putValue(7, tqa::Tag_veid), 0);
    EXPECT_EQ(bytes(*m), kContent);
    EXPECT_EQ(bytes(*second), written(7));
    EXPECT_EQ(cursor(*m)->putValue(8, tqa::Tag_veid), 0);  // nobody shares with it any more
    EXPECT_EQ(bytes(*m), written(8));
}

TEST(FailedHardcopy, ALaterCopyCountsEverybodyAgain) {
    const StubbornPtr m = stubborn();
    const StubbornPtr second = copyOf(m);
    EXPECT_EQ(second->hardcopy(), -1);
    EXPECT_EQ(second->hardcopy(), -1);
    EXPECT_EQ(m->counter(), 0);
    const StubbornPtr third = copyOf(second);
    EXPECT_EQ(m->counter(), 3);
    EXPECT_TRUE(m->multiReference());
}

TEST(FailedHardcopy, StartingOverStillLeavesTheOthersTheirs) {
    const StubbornPtr m = stubborn();
    const StubbornPtr second = copyOf(m);
    EXPECT_EQ(second->hardcopy(), -1);
    EXPECT_EQ(second->hardcopy(), -1);
    ASSERT_EQ(second->create("data"), 0);
    EXPECT_EQ(bytes(*m), kContent);
    EXPECT_EQ(tree(bytes(*second)), "1307:50()");
    EXPECT_EQ(second->counter(), 1);
}

// Three holders; some of them fail to get a copy, some write, and all end, in every order.
TEST(FailedHardcopy, HoldersCanEndInAnyOrder) {
    std::array<int, 3> order = {0, 1, 2};
    do {
        for (int failures = 0; failures < 27; ++failures) {
            for (int writers = 0; writers < 8; ++writers) {
                std::vector<StubbornPtr> holders;
                holders.push_back(stubborn());
                holders.push_back(copyOf(holders[0]));
                holders.push_back(copyOf(holders[1]));
                std::array<std::string, 3> expected = {kContent, kContent, kContent};
                for (std::size_t i = 0, left = static_cast<std::size_t>(failures); i < 3;
                     ++i, left /= 3) {
                    for (std::size_t n = 0; n < left % 3; ++n)
                        EXPECT_EQ(holders[i]->hardcopy(), -1);
                }
                for (std::size_t i = 0; i < 3; ++i) {
                    if ((writers >> i & 1) == 0) continue;
                    holders[i]->stubborn = false;
                    const int value = 10 + static_cast<int>(i);
                    ASSERT_EQ(cursor(*holders[i])->putValue(value, tqa::Tag_veid), 0);
                    expected[i] = written(value);
                }
                for (const int ending : order) {
                    for (std::size_t i = 0; i < 3; ++i) {
                        const bool ended = holders[i] == nullptr;
                        ASSERT_EQ(ended ? expected[i] : bytes(*holders[i]), expected[i]);
                    }
                    holders[static_cast<std::size_t>(ending)].reset();
                }
            }
        }
    } while (std::next_permutation(order.begin(), order.end()));
}

// --- memory exhaustion --------------------------------------------------------------------------

[[noreturn]] void writeSharedWithoutMemory() {
    const std::string value(1 << 26, 'x');  // more than the heap keeps for later
    const Message m = load(message(container(1398, stringElement(1002, value))));
    const Message copy = copyOf(m);
    const Cursor at = cursor(copy);
    tqa_test::starve();
    bool right = at->putValue(5, tqa::Tag_id) == -1;
    right = right && at->newChild(tqa::Tag_id, 0) == -1 && copy->setTimeout(5) == -1;
    right = right && at->seek("veid") == 0 && at->deleteFromChild() == -1;
    for (const Message* each : {&m, &copy}) {
        right = right && cursor(*each)->seek("veid") == 0 && cursor(*each)->seek("id") == -1;
    }
    _exit(right ? 0 : 2);
}

TEST(SharingDeathTest, AWriteWithoutMemoryForACopyFails) {
    if (!TQA_CAN_STARVE) GTEST_SKIP() << "not under a sanitizer";
    EXPECT_EXIT(writeSharedWithoutMemory(), testing::ExitedWithCode(0), "");
}

[[noreturn]] void copyUntilMemoryEnds() {
    const Message m = load(kContent);
    tqa_test::starve();
    std::array<TQAMessage*, 32> last = {};
    std::size_t copies = 0;
    while (TQAMessage* copy = m->copy(false)) last[copies++ % last.size()] = copy;
    if (copies < last.size()) _exit(2);
    for (TQAMessage* copy : last) copy->destroy();  // makes room to look
    _exit(m->multiReference() && bytes(m) == kContent ? 0 : 2);
}

TEST(SharingDeathTest, CopyingGivesNullWhenMemoryEnds) {
    if (!TQA_CAN_STARVE) GTEST_SKIP() << "not under a sanitizer";
    EXPECT_EXIT(copyUntilMemoryEnds(), testing::ExitedWithCode(0), "");
}

// Saving looks for the root's "auth", and with the flag every look expands raw children.
TEST(Decode, ExportsTheIteratorsElementAlthoughSavingCouldExpandRawChildren) {
    const Message m = parse("<packet><auth></auth><target>vem</target><zz/></packet>");
    ASSERT_EQ(cursor(m)->putValueXML("<session>s</session>", 1748), 0);
    const Cursor at = cursorAt(m, "target");
    TQABinaryIterator::Policy = TQABinaryIterator::kExpandRaw;
    m->auth.addVE(4);
    char* encoded = nullptr;
    int length = 0;
    const int status = at->decodeFromChild(&encoded, &length);
    TQABinaryIterator::Policy = 0;
    const tqa::CText owned(encoded);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(text(load({encoded, static_cast<std::size_t>(length)})), "<target>vem</target>\n");
    EXPECT_EQ(at->curName(), "target");
}

TEST(Decode, RefusesAnIteratorOfAnotherMessage) {
    const Message m = parse("<packet><target>vem</target></packet>");
    const Message other = copyOf(m);
    char* encoded = nullptr;
    int length = 0;
    EXPECT_EQ(other->decode(&encoded, &length, cursorAt(m, "target").get()), -1);
    EXPECT_EQ(other->toText(cursorAt(m, "target").get(), false, ""), nullptr);
}

}  // namespace
