#include "tqamsg/binary/internals.h"

#include "tqamsg/binary/layout.h"

#include "tests/support/messages.h"
#include "tests/util/out_of_memory.h"

#include <cstring>
#include <limits>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

using tqa_test::Block;
using tqa_test::container;
using tqa_test::intElement;
using tqa_test::message;

const std::string kMessage = message(container(1398, intElement(103, 7)));  // 48 bytes

// Appends `n` bytes of this value, as an edit would.
void fill(TQABinaryInternals& record, int n, char value) {
    ASSERT_NE(record.expand(n), nullptr);
    std::memset(record.append(n), value, static_cast<std::size_t>(n));
}

std::string contentOf(const TQABinaryInternals& record) {
    return {record.buf, static_cast<std::size_t>(record.used)};
}

bool isZero(const char* begin, const char* end) {
    for (; begin != end; ++begin) {
        if (*begin != 0) return false;
    }
    return true;
}

TEST(BinaryInternals, StartsWithoutABuffer) {
    const TQABinaryInternals record;
    EXPECT_EQ(record.buf, nullptr);
    EXPECT_EQ(record.stamp, 0);
    EXPECT_EQ(record.capacity, 0);
    EXPECT_EQ(record.used, 0);
    EXPECT_FALSE(record.isShared());
}

TEST(BinaryInternals, TheFirstGrowthTakesWholePages) {
    const struct {
        int n, capacity;
    } cases[] = {{1, 4096}, {4095, 4096}, {4096, 4096}, {4097, 8192}, {100000, 102400}};
    for (const auto& c : cases) {
        TQABinaryInternals record;
        EXPECT_EQ(record.expand(c.n), record.buf);
        ASSERT_NE(record.buf, nullptr);
        EXPECT_EQ(record.capacity, c.capacity) << c.n;
        EXPECT_EQ(record.stamp, 1);
        EXPECT_EQ(record.used, 0);
    }
}

TEST(BinaryInternals, GrowsWhenTheLastByteWouldBeTaken) {
    const struct {
        int n, capacity;
    } cases[] = {{95, 4096}, {96, 8192}, {4095, 8192}, {4096, 8192}, {4097, 12288}, {8192, 12288}};
    for (const auto& c : cases) {
        TQABinaryInternals record;
        fill(record, 4000, 'x');
        ASSERT_NE(record.expand(c.n), nullptr);
        EXPECT_EQ(record.capacity, c.capacity) << c.n;
        EXPECT_EQ(record.stamp, c.capacity == 4096 ? 1 : 2) << c.n;
        EXPECT_EQ(contentOf(record), std::string(4000, 'x'));
    }
}

// How much room was taken at once changes nothing that can be seen.
TEST(BinaryInternals, GrowsInTheSameStepsWhateverWasExpected) {
    for (const std::int64_t expected :
         {std::int64_t{0}, std::int64_t{100}, std::int64_t{100'000}, std::int64_t{100'000'000}}) {
        TQABinaryInternals record;
        record.expect(expected);
        for (const int capacity : {4096, 8192, 16384, 32768}) {
            ASSERT_NE(record.expand(capacity / 2), nullptr);
            EXPECT_EQ(record.capacity, capacity) << expected;
            record.resize(capacity / 2 + (capacity > 4096 ? 0 : 1));
        }
        EXPECT_EQ(record.stamp, 4) << expected;
    }
}

TEST(BinaryInternals, BytesThatComeIntoUseAreZero) {
    TQABinaryInternals record;
    fill(record, 4000, 'x');
    ASSERT_NE(record.expand(96), nullptr);
    record.resize(96);
    EXPECT_EQ(record.used, 4096);
    EXPECT_TRUE(isZero(record.buf + 4000, record.buf + 4096));
}

TEST(BinaryInternals, BytesThatWereInUseBeforeKeepTheirValue) {
    TQABinaryInternals record;
    fill(record, 100, 'x');
    record.resize(-60);
    record.resize(100);
    EXPECT_EQ(contentOf(record), std::string(100, 'x') + std::string(40, '\0'));
}

// --- taking bytes out ---------------------------------------------------------------------------

constexpr int kLong = 100'000;

// Bytes that tell where they stood.
std::string numbered(int n) {
    std::string bytes;
    for (int i = 0; i < n; ++i) bytes += static_cast<char>('0' + i % 61);
    return bytes;
}

void fillNumbered(TQABinaryInternals& record, int n) {
    ASSERT_NE(record.expand(n), nullptr);
    std::memcpy(record.append(n), numbered(n).data(), static_cast<std::size_t>(n));
}

TEST(BinaryInternals, WhatIsTakenOutGoesWhereverItStood) {
    for (const int size : {100, kLong}) {
        for (const int from : {0, 24, size / 2, size - 30}) {
            TQABinaryInternals record;
            fillNumbered(record, size);
            std::string expected = numbered(size);
            for (int n : {8, 16, 2}) {
                record.remove(from, n);
                expected.erase(static_cast<std::size_t>(from), static_cast<std::size_t>(n));
                ASSERT_TRUE(contentOf(record) == expected) << size << ' ' << from << ' ' << n;
            }
        }
    }
}

// Not to copy the rest each time is no more than a matter of time.
TEST(BinaryInternals, ABufferThatLostItsStartGrowsInTheSameSteps) {
    TQABinaryInternals record;
    fillNumbered(record, kLong);
    const int capacity = record.capacity;
    const int stamp = record.stamp;
    char* const block = record.block;
    record.remove(24, 8000);
    EXPECT_NE(record.buf, block);
    const std::string left = contentOf(record);
    ASSERT_NE(record.expand(capacity - record.used - 1), nullptr);
    EXPECT_EQ(record.buf, block);
    EXPECT_EQ(record.capacity, capacity);
    EXPECT_EQ(record.stamp, stamp);
    EXPECT_TRUE(contentOf(record) == left);

    record.remove(24, 8000);
    ASSERT_NE(record.expand(capacity - record.used), nullptr);
    EXPECT_EQ(record.capacity, 2 * capacity);
    EXPECT_EQ(record.stamp, stamp + 1);
    EXPECT_TRUE(contentOf(record) == left.substr(0, 24) + left.substr(8024));
}

TEST(BinaryInternals, ClearingWipesWhatStoodBeforeTheStart) {
    TQABinaryInternals record;
    fillNumbered(record, kLong);
    const int capacity = record.capacity;
    record.remove(24, 8000);
    record.clear();
    EXPECT_EQ(record.capacity, capacity);
    EXPECT_TRUE(isZero(record.buf, record.buf + kLong));
}

TEST(BinaryInternals, ExpandingByNothingGivesTheBufferThatIsThere) {
    TQABinaryInternals record;
    EXPECT_EQ(record.expand(0), nullptr);
    EXPECT_EQ(record.expand(-1), nullptr);
    EXPECT_EQ(record.expand(std::numeric_limits<std::int32_t>::min()), nullptr);
    fill(record, 8, 'x');
    EXPECT_EQ(record.expand(0), record.buf);
    EXPECT_EQ(record.expand(-5000), record.buf);
    EXPECT_EQ(record.stamp, 1);
    EXPECT_EQ(record.capacity, 4096);
}

TEST(BinaryInternals, ABufferThatWouldPassTwoGibibytesDoesNotGrow) {
    TQABinaryInternals record;
    fill(record, 100, 'x');
    char* before = record.buf;
    for (const std::int64_t n :
         {tqa::kMaxCapacity, tqa::kMaxCapacity - 99, std::int64_t{0x7FFFFFFF},
          std::int64_t{0x7FFFFFFF} + 21, std::int64_t{1} << 40}) {
        EXPECT_EQ(record.expand(n), nullptr) << n;
    }
    EXPECT_EQ(record.buf, before);
    EXPECT_EQ(record.capacity, 4096);
    EXPECT_EQ(record.used, 100);
    EXPECT_EQ(record.stamp, 1);
}

TEST(BinaryInternals, TheStampGoesOnFromItsLargestValue) {
    TQABinaryInternals record;
    record.stamp = std::numeric_limits<std::int32_t>::max();
    record.changeStamp();
    EXPECT_EQ(record.stamp, std::numeric_limits<std::int32_t>::min());
}

// --- loading and copying ------------------------------------------------------------------------

TEST(BinaryInternals, TakesInAWholeMessage) {
    const Block block(kMessage);
    TQABinaryInternals record;
    EXPECT_EQ(record.copy(block.data(), block.size()), record.buf);
    EXPECT_EQ(contentOf(record), kMessage);
    EXPECT_EQ(record.capacity, 4096);
    EXPECT_EQ(record.stamp, 1);
}

TEST(BinaryInternals, TheSizeComesFromTheMessage) {
    const Block block(kMessage + std::string(1000, 'x'));
    TQABinaryInternals record;
    ASSERT_NE(record.copy(block.data(), block.size()), nullptr);
    EXPECT_EQ(contentOf(record), kMessage);
}

TEST(BinaryInternals, TakesInNoMessageOfNegativeLength) {
    std::string damaged = kMessage;
    tqa::writeLength(damaged.data() + tqa::kRootOffset, -1);
    const Block block(damaged);
    TQABinaryInternals record;
    EXPECT_EQ(record.copy(block.data(), block.size()), nullptr);
    EXPECT_EQ(record.buf, nullptr);
}

TEST(BinaryInternals, ACopyHasABufferOfItsOwn) {
    TQABinaryInternals record;
    fill(record, 5000, 'x');
    TQABinaryInternals copy(record);
    ASSERT_NE(copy.buf, nullptr);
    EXPECT_NE(copy.buf, record.buf);
    EXPECT_EQ(contentOf(copy), std::string(5000, 'x'));
    EXPECT_EQ(copy.capacity, 8192);
    EXPECT_EQ(copy.stamp, 1);
    EXPECT_FALSE(copy.isShared());
    record.buf[0] = 'y';
    EXPECT_EQ(contentOf(copy), std::string(5000, 'x'));
}

TEST(BinaryInternals, ACopyOfNothingHasNoBuffer) {
    const TQABinaryInternals never;
    EXPECT_EQ(TQABinaryInternals(never).buf, nullptr);
    TQABinaryInternals cleared;
    fill(cleared, 100, 'x');
    cleared.clear();
    const TQABinaryInternals copy(cleared);
    EXPECT_EQ(copy.buf, nullptr);
    EXPECT_EQ(copy.used, 0);
}

// --- clearing -----------------------------------------------------------------------------------

TEST(BinaryInternals, ClearingKeepsTheBufferAndChangesTheStamp) {
    TQABinaryInternals record;
    fill(record, 100, 'x');
    char* before = record.buf;
    record.clear();
    EXPECT_EQ(record.used, 0);
    EXPECT_EQ(record.stamp, 2);
    EXPECT_EQ(record.capacity, 4096);
    EXPECT_EQ(record.buf, before);
}

TEST(BinaryInternals, ClearingAnEmptyRecordChangesTheStampOnly) {
    TQABinaryInternals record;
    record.clear();
    EXPECT_EQ(record.stamp, 1);
    EXPECT_EQ(record.buf, nullptr);
}

TEST(BinaryInternals, ClearingWipesWhatWasEverUsed) {
    TQABinaryInternals record;
    fill(record, 3000, 'x');
    record.resize(-2900);  // as a deletion does
    fill(record, 50, 'y');
    EXPECT_FALSE(isZero(record.buf + 150, record.buf + 3000));
    record.clear();
    EXPECT_TRUE(isZero(record.buf, record.buf + 3000));
    fill(record, 10, 'z');
    record.clear();
    EXPECT_TRUE(isZero(record.buf, record.buf + 3000));
}

// --- sharing ------------------------------------------------------------------------------------

TEST(BinaryInternals, TheLastHolderEndsTheRecord) {
    auto* record = new TQABinaryInternals;
    fill(*record, 8, 'x');
    record->hold();
    EXPECT_TRUE(record->isShared());
    TQABinaryInternals::drop(record);
    EXPECT_FALSE(record->isShared());
    EXPECT_EQ(contentOf(*record), std::string(8, 'x'));
    TQABinaryInternals::drop(record);
    TQABinaryInternals::drop(nullptr);
}

// --- memory exhaustion --------------------------------------------------------------------------

[[noreturn]] void growUntilMemoryEnds() {
    TQABinaryInternals record;
    fill(record, 100, 'x');
    tqa_test::starve();
    int capacity = 0;
    int stamp = 0;
    char* before = nullptr;
    do {
        capacity = record.capacity;
        stamp = record.stamp;
        before = record.buf;
    } while (record.expand(record.capacity) != nullptr);
    const bool intact = record.capacity == capacity && record.stamp == stamp &&
                        record.buf == before && contentOf(record) == std::string(100, 'x');
    _exit(intact ? 0 : 2);
}

TEST(BinaryInternalsDeathTest, AGrowthThatFailsChangesNothing) {
    if (!TQA_CAN_STARVE) GTEST_SKIP() << "not under a sanitizer";
    EXPECT_EXIT(growUntilMemoryEnds(), testing::ExitedWithCode(0), "");
}

[[noreturn]] void copyWithoutMemory() {
    TQABinaryInternals record;
    fill(record, 1 << 24, 'x');
    tqa_test::starve();
    const TQABinaryInternals copy(record);
    _exit(copy.buf == nullptr && copy.used == 0 && copy.capacity == 0 ? 0 : 2);
}

TEST(BinaryInternalsDeathTest, ACopyThatFailsHasNoBuffer) {
    if (!TQA_CAN_STARVE) GTEST_SKIP() << "not under a sanitizer";
    EXPECT_EXIT(copyWithoutMemory(), testing::ExitedWithCode(0), "");
}

TEST(BinaryInternals, TheCountOfACopyIsNotUsed) {
    TQABinaryInternals record;
    EXPECT_NE(record.copy(kMessage.data(), 0), nullptr);
    EXPECT_EQ(contentOf(record), kMessage);
}

TEST(BinaryInternals, ACopyOfAnEmptyOneIsEmpty) {
    const TQABinaryInternals empty;
    const TQABinaryInternals copy(empty);
    EXPECT_EQ(copy.used, 0);
}

}  // namespace
