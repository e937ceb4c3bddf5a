#include "tqamsg/util/small_stack.h"

#include "tests/util/out_of_memory.h"

#include <cstdint>
#include <random>
#include <type_traits>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

namespace {

using tqa::SmallStack;

static_assert(!std::is_copy_constructible_v<SmallStack<int, 4>>);

struct Entry {
    std::int32_t id;
    double value;
    bool operator==(const Entry&) const = default;
};

TEST(SmallStack, IsEmptyAtFirst) {
    SmallStack<int, 4> stack;
    EXPECT_TRUE(stack.empty());
    EXPECT_EQ(stack.size(), 0U);
}

TEST(SmallStack, GivesBackWhatCameLast) {
    SmallStack<Entry, 2> stack;
    for (int i = 0; i < 100; ++i) ASSERT_TRUE(stack.push({i, i / 2.0}));
    EXPECT_EQ(stack.size(), 100U);
    for (int i = 99; i >= 0; --i) {
        EXPECT_EQ(stack.top(), (Entry{i, i / 2.0}));
        stack.pop();
    }
    EXPECT_TRUE(stack.empty());
}

TEST(SmallStack, CountsPositionsFromTheOldest) {
    SmallStack<int, 2> stack;
    for (int i = 0; i < 10; ++i) stack.push(i);
    for (std::size_t i = 0; i < 10; ++i) EXPECT_EQ(stack[i], static_cast<int>(i));
    stack[3] = 33;
    stack.top() = 99;
    const SmallStack<int, 2>& same = stack;
    EXPECT_EQ(same[3], 33);
    EXPECT_EQ(same.top(), 99);
}

TEST(SmallStack, TruncatesButNeverGrows) {
    SmallStack<int, 4> stack;
    for (int i = 0; i < 10; ++i) stack.push(i);
    stack.truncate(20);
    EXPECT_EQ(stack.size(), 10U);
    stack.truncate(3);
    EXPECT_EQ(stack.size(), 3U);
    EXPECT_EQ(stack.top(), 2);
    stack.truncate(0);
    EXPECT_TRUE(stack.empty());
    stack.push(7);
    EXPECT_EQ(stack.top(), 7);
}

TEST(SmallStack, TakesItsOwnEntriesWhileItGrows) {
    SmallStack<int, 1> stack;
    stack.push(42);
    for (int i = 0; i < 1000; ++i) ASSERT_TRUE(stack.push(stack[0]));
    for (std::size_t i = 0; i < stack.size(); ++i) ASSERT_EQ(stack[i], 42);
}

TEST(SmallStack, AgreesWithAVectorOnRandomScripts) {
    std::mt19937 random(7);
    SmallStack<unsigned int, 8> stack;
    std::vector<unsigned int> oracle;
    for (int step = 0; step < 20000; ++step) {
        const auto value = static_cast<unsigned int>(random());
        if (value % 16 == 0) {
            const std::size_t size = value / 16 % (oracle.size() + 1);
            stack.truncate(size);
            oracle.resize(size);
        } else if (value % 3 == 0 && !oracle.empty()) {
            stack.pop();
            oracle.pop_back();
        } else {
            ASSERT_TRUE(stack.push(value));
            oracle.push_back(value);
        }
        ASSERT_EQ(stack.size(), oracle.size());
        ASSERT_EQ(stack.empty(), oracle.empty());
        if (!oracle.empty()) {
            ASSERT_EQ(stack.top(), oracle.back());
            const std::size_t at = value % oracle.size();
            ASSERT_EQ(stack[at], oracle[at]);
        }
    }
}

[[noreturn]] void pushUntilMemoryEnds() {
    tqa_test::starve();
    SmallStack<std::size_t, 4> stack;
    std::size_t next = 0;
    while (stack.push(next)) ++next;
    bool intact = stack.size() == next && next >= 4;
    for (std::size_t i = 0; i < next; ++i) intact = intact && stack[i] == i;
    _exit(intact ? 0 : 2);
}

TEST(SmallStackDeathTest, StaysAsItWasWhenMemoryEnds) {
    if (!TQA_CAN_STARVE) GTEST_SKIP() << "not under a sanitizer";
    EXPECT_EXIT(pushUntilMemoryEnds(), testing::ExitedWithCode(0), "");
}

}  // namespace
