// Running out of memory is a failure result, and leaves what was there.

#include "tests/util/out_of_memory.h"

#include "tqamsg/msg/message_factory.h"
#include "tqamsg/vocabulary/word_ids.h"

#include "tests/support/failing_new.h"
#include "tests/support/messages.h"

#include <cstdlib>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;
using tqa::Kind;

const std::string kLong(100, 'x');
const std::string kContent =
    message(container(1398, intElement(1002, 5) + stringElement(1003, kLong)));
const std::string kOther = message(container(1327));

// An operation on a message that shares its content; an iterator stands on the root. 0, or what
// else tells of its failure.
struct Operation {
    const char* what;
    int (*run)(TQABinary& m, TQABinaryIterator& at);
};

const Operation kOperations[] = {
    {"create", [](TQABinary& m, auto&) { return m.create(1327); }},
    {"encode",
     [](TQABinary& m, auto&) {
         const Block block(kOther);
         return m.encode(block.data(), block.size(), nullptr);
     }},
    {"fromText",
     [](TQABinary& m, auto&) {
         char text[] = "<data/>";
         return m.fromText(text, nullptr);
     }},
    {"encode at",
     [](TQABinary& m, auto& at) {
         const Block block(kOther);
         return m.encode(block.data(), block.size(), &at);
     }},
    {"fromText at",
     [](TQABinary& m, auto& at) {
         char text[] = "<data/>";
         return m.fromText(text, &at);
     }},
    {"newIterator",
     [](TQABinary& m, auto&) {
         const std::unique_ptr<TQAMessageIterator> it(m.newIterator());
         return it == nullptr ? -1 : 0;
     }},
    {"newIterator of an iterator",
     [](TQABinary&, auto& at) {
         const std::unique_ptr<TQAMessageIterator> it(at.newIterator());
         return it == nullptr ? -1 : 0;
     }},
    {"hardcopy", [](TQABinary& m, auto&) { return m.hardcopy(); }},
    {"newChild", [](auto&, auto& at) { return at.newChild(1002, 0); }},
    {"putValue", [](auto&, auto& at) { return at.putValue(6, 1002); }},
    {"putValueTime", [](auto&, auto& at) { return at.putValueTime(6, 1002); }},
    {"deleteFromChild",
     [](auto&, auto& at) { return at.seek(1002) == 0 ? at.deleteFromChild() : 1; }},
    {"setTimeout", [](TQABinary& m, auto&) { return m.setTimeout(6); }},
    {"setVersion", [](TQABinary& m, auto&) { return m.setVersion(6); }},
    {"setOrigin", [](TQABinary& m, auto&) { return m.setOrigin("vem"); }},
    {"a long text",
     [](auto&, auto& at) {
         std::string value;
         return at.getValue(&value, 1003);
     }},
    {"a long attribute text",
     [](auto&, auto& at) {
         std::string value;
         return at.getAttr(&value, 1003);
     }},
};

// Fails the first allocation, then the second, until the operation needs no more.
TEST(OutOfMemory, EveryOperationFailsAndLeavesWhatWasThere) {
    if (!FailingNew::works()) GTEST_SKIP() << "operator new is not the test's";
    for (const Operation& operation : kOperations) {
        int allocations = -1;
        for (bool failed = true; failed;) {
            const Message m = load(kContent);
            const Message witness = copyOf(m);
            const Cursor at = cursor(m);
            int status = 0;
            {
                const FailingNew failing(++allocations);
                status = operation.run(*m, *at);
                failed = failing.hasFailed();
            }
            EXPECT_EQ(status, failed ? -1 : 0) << operation.what << ' ' << allocations;
            EXPECT_EQ(bytes(witness), kContent) << operation.what << ' ' << allocations;
            if (!failed) continue;
            EXPECT_EQ(bytes(m), kContent) << operation.what << ' ' << allocations;
            at->seekRoot();
            EXPECT_EQ(operation.run(*m, *at), 0) << operation.what << ' ' << allocations;
            EXPECT_EQ(bytes(witness), kContent) << operation.what << ' ' << allocations;
        }
        EXPECT_GT(allocations, 0) << operation.what << " needs no memory";
    }
}

TEST(OutOfMemory, AMessageMadeWithoutMemoryCanBeUsedLater) {
    if (!FailingNew::works()) GTEST_SKIP() << "operator new is not the test's";
    // The message's own allocation comes first, its counter's and its record's after it.
    for (const int allocations : {1, 2}) {
        TQAMessage* made = nullptr;
        {
            const FailingNew failing(allocations);
            made = TQAMsgFactory::createNew();
            EXPECT_TRUE(failing.hasFailed());
        }
        const Message m(dynamic_cast<TQABinary*>(made));
        ASSERT_NE(m, nullptr);
        EXPECT_EQ(bytes(m), "");
        EXPECT_EQ(cursor(m)->putValue(5, 1002), -1);
        const Message copy(dynamic_cast<TQABinary*>(m->copy(false)));
        EXPECT_EQ(copy == nullptr, allocations == 1);  // without a counter nothing can be shared
        ASSERT_EQ(m->create("packet"), 0);
        EXPECT_EQ(cursor(m)->putValue(5, 1002), 0);
        const Message later = copyOf(m);
        EXPECT_EQ(tree(later), "1398:50(1002:1=05000000)");
    }
}

TEST(OutOfMemory, ACopyIsWholeOrNotMadeAtAll) {
    if (!FailingNew::works()) GTEST_SKIP() << "operator new is not the test's";
    const Message m = load(kContent);
    for (int allocations = 0; allocations < 3; ++allocations) {
        TQAMessage* made = nullptr;
        {
            const FailingNew failing(allocations);
            made = m->copy(false);
            EXPECT_TRUE(failing.hasFailed());
        }
        // What the new message would have had of its own is not needed.
        EXPECT_EQ(made == nullptr, allocations == 0);
        const Message copy(dynamic_cast<TQABinary*>(made));
        EXPECT_EQ(m->multiReference(), copy != nullptr);
        EXPECT_EQ(copy == nullptr ? kContent : bytes(copy), kContent);
    }
}

TEST(OutOfMemory, TheFactoryGivesNull) {
    if (!FailingNew::works()) GTEST_SKIP() << "operator new is not the test's";
    const Block block(kContent);
    const FailingNew failing(0);
    TQAMessage* made = TQAMessage::Factory->newMessage(block.data(), block.size());
    EXPECT_EQ(made, nullptr);
}

// --- buffers that cannot grow -------------------------------------------------------------------

// More than any heap that a test leaves behind, in every form.
struct Big {
    std::string value = std::string(1 << 26, 'x');
    std::string encoded = message(container(1398, stringElement(1002, value)));
    std::string text = "<packet>" + value + "</packet>";
};

using Act = bool (*)(TQABinary& m, TQABinaryIterator& at, Big& big);

// Acts on a message in a process that gets no more memory; its status is 0 if all was as expected.
[[noreturn]] void runStarved(Act act) {
    const Message m = load(kContent);
    const Cursor at = cursor(m);
    Big big;
    tqa_test::starve();
    _exit(act(*m, *at, big) ? 0 : 2);
}

void expectRight(Act act) {
    if (!TQA_CAN_STARVE) GTEST_SKIP() << "not under a sanitizer";
    EXPECT_EXIT(runStarved(act), testing::ExitedWithCode(0), "");
}

TEST(OutOfMemoryDeathTest, AppendingStopsWithAFailure) {
    expectRight([](TQABinary& m, TQABinaryIterator& at, Big&) {
        int count = 0;
        while (at.putValue(count, 2000 + count) == 0) ++count;
        // What went in is still there, and a change that needs no room goes on.
        int value = -1;
        const bool kept = at.getValue(&value, 2000 + count - 1) == 0 && value == count - 1;
        return count > 0 && kept && at.getValue(&value, 2000 + count) == -1 &&
               m.setID(std::string(20, 'x')) == -1 && at.putValue(6, 1002) == 0 &&
               at.getValue(&value, 1002) == 0 && value == 6;
    });
}

TEST(OutOfMemoryDeathTest, AValueThatCannotGrowStays) {
    expectRight([](TQABinary&, TQABinaryIterator& at, Big& big) {
        int value = -1;
        return at.putValue(big.value, 1002) == -1 && at.putValue(big.value, 1004) == -1 &&
               at.putValueXML(big.value, 1005) == -1 && at.getValue(&value, 1002) == 0 &&
               value == 5 && at.seek(1004) == -1;
    });
}

TEST(OutOfMemoryDeathTest, AMessageThatCannotBeLoadedIsRefused) {
    expectRight([](TQABinary& m, TQABinaryIterator&, Big& big) {
        const auto size = static_cast<int>(big.encoded.size());
        return m.encode(big.encoded.data(), size, nullptr) == -1 &&
               m.fromText(big.text.data(), nullptr) == -1 && m.create("packet") == 0;
    });
}

TEST(OutOfMemoryDeathTest, ASubtreeThatCannotBeAddedLeavesTheMessageAsItWas) {
    expectRight([](TQABinary&, TQABinaryIterator& at, Big& big) {
        const auto size = static_cast<int>(big.encoded.size());
        return at.encodeToChild(big.encoded.data(), size) == -1 && at.seek(1398) == -1 &&
               at.seek(1002) == 0;
    });
}

// What the heap still holds, down to the small blocks that it keeps by size.
void takeAll() {
    for (std::size_t size = 1 << 20; size > 0; size = size > 2048 ? size / 2 : size - 8) {
        while (void* volatile taken = std::malloc(size)) (void)taken;
    }
}

TEST(OutOfMemoryDeathTest, WithoutAnyMemoryNothingIsMade) {
    expectRight([](TQABinary& m, TQABinaryIterator&, Big&) {
        takeAll();
        char unset = 0;
        char* exported = &unset;
        int len = 0;
        return m.decode(&exported, &len, nullptr) == -1 && exported == nullptr &&
               m.toText(nullptr, false, {}) == nullptr && m.copy(false) == nullptr &&
               m.newIterator() == nullptr && m.newMessage() == nullptr;
    });
}

TEST(OutOfMemory, ALongNameIsNotThrown) {
    if (!FailingNew::works()) GTEST_SKIP() << "operator new is not the test's";
    const Message m = create("tqmigrate_v2v_deserializer");
    const Cursor at = cursor(m);
    {
        const FailingNew failing(0);
        EXPECT_NO_THROW(at->curName());
    }
    EXPECT_EQ(at->curName(), "tqmigrate_v2v_deserializer");
}

}  // namespace
