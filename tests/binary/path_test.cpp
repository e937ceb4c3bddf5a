#include "tqamsg/binary/path.h"

#include "tests/util/out_of_memory.h"

#include <csignal>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Entries = std::vector<std::pair<int, int>>;

Entries entriesOf(BinaryPath& path) {
    Entries entries;
    for (const tqa::PathEntry& entry : path) entries.emplace_back(entry.id, entry.offset);
    return entries;
}

BinaryPath pathOf(int count) {
    BinaryPath path;
    for (int i = 0; i < count; ++i) path.push_back(1000 + i, 8 + 16 * i);
    return path;
}

TEST(BinaryPath, IsEmptyAtFirst) {
    BinaryPath path;
    EXPECT_EQ(path.size(), 0);
    EXPECT_TRUE(path.empty());
    EXPECT_EQ(path.begin(), path.end());
}

TEST(BinaryPath, GivesItsEntriesFromTheRootOn) {
    BinaryPath path;
    path.push_back(1398, 8);
    path.push_back(1307, 24);
    path.push_back(1002, 40);
    EXPECT_EQ(path.size(), 3);
    EXPECT_EQ(entriesOf(path), (Entries{{1398, 8}, {1307, 24}, {1002, 40}}));
    EXPECT_EQ(path[1].id, 1307);
    EXPECT_EQ(path[1].offset, 24);
    EXPECT_EQ(path.back().id, 1002);
    const BinaryPath& same = path;
    EXPECT_EQ(same[0].offset, 8);
    EXPECT_EQ(same.back().offset, 40);
}

TEST(BinaryPath, EntriesCanBeChangedInPlace) {
    BinaryPath path = pathOf(3);
    path.back() = {7, 70};
    path[0].offset = 9;
    for (tqa::PathEntry& entry : path) entry.offset += 1;
    EXPECT_EQ(entriesOf(path), (Entries{{1000, 10}, {1001, 25}, {7, 71}}));
}

TEST(BinaryPath, PoppingAndTruncatingKeepWhatIsInFront) {
    BinaryPath path = pathOf(10);
    path.pop_back();
    EXPECT_EQ(path.size(), 9);
    path.truncate(2);
    EXPECT_EQ(entriesOf(path), (Entries{{1000, 8}, {1001, 24}}));
    path.truncate(0);
    EXPECT_TRUE(path.empty());
    path.push_back(5, 50);
    EXPECT_EQ(entriesOf(path), (Entries{{5, 50}}));
}

TEST(BinaryPath, GrowsPastEveryStep) {
    for (const int count : {31, 32, 33, 63, 64, 65, 1000}) {
        BinaryPath path = pathOf(count);
        ASSERT_EQ(path.size(), count);
        for (int i = 0; i < count; ++i) {
            ASSERT_EQ(path[i].id, 1000 + i) << count;
            ASSERT_EQ(path[i].offset, 8 + 16 * i) << count;
        }
    }
}

TEST(BinaryPath, ExpandingKeepsTheEntries) {
    BinaryPath path = pathOf(2);
    for (int i = 0; i < 10; ++i) path.expand();
    EXPECT_EQ(entriesOf(path), (Entries{{1000, 8}, {1001, 24}}));
    path.push_back(5, 50);
    EXPECT_EQ(path.back().id, 5);
}

TEST(BinaryPath, ACopyIsIndependent) {
    for (const int count : {0, 1, 32, 33, 500}) {
        BinaryPath path = pathOf(count);
        const Entries before = entriesOf(path);
        BinaryPath copy(path);
        EXPECT_EQ(entriesOf(copy), before);
        copy.push_back(1, 1);
        EXPECT_EQ(entriesOf(path), before);
        path.truncate(0);
        EXPECT_EQ(copy.size(), count + 1);
    }
}

TEST(BinaryPath, AssignmentReplacesLongerAndShorterPaths) {
    for (const int from : {0, 5, 40, 200}) {
        for (const int to : {0, 5, 40, 200}) {
            BinaryPath source = pathOf(from);
            BinaryPath target = pathOf(to);
            target = source;
            EXPECT_EQ(entriesOf(target), entriesOf(source)) << from << " to " << to;
            target.push_back(1, 1);
            EXPECT_EQ(source.size(), from);
        }
    }
}

TEST(BinaryPath, AssigningAPathToItselfKeepsIt) {
    BinaryPath path = pathOf(40);
    const Entries before = entriesOf(path);
    const BinaryPath& same = path;
    path = same;
    EXPECT_EQ(entriesOf(path), before);
}

TEST(BinaryPath, HoldsAMillionLevels) {
    constexpr int kLevels = 1000000;
    BinaryPath path = pathOf(kLevels);
    const BinaryPath copy(path);
    ASSERT_EQ(copy.size(), kLevels);
    for (int i = 0; i < kLevels; ++i) ASSERT_EQ(copy[i].id, 1000 + i);
    while (!path.empty()) path.pop_back();
    EXPECT_EQ(copy.back().id, 1000 + kLevels - 1);
}

[[noreturn]] void pushUntilMemoryEnds() {
    tqa_test::starve();
    BinaryPath path;
    for (int i = 0; i < 500000000; ++i) path.push_back(i, i);
    _exit(0);
}

TEST(BinaryPathDeathTest, AGrowthThatFailsEndsTheProcess) {
    if (!TQA_CAN_STARVE) GTEST_SKIP() << "not under a sanitizer";
    EXPECT_EXIT(pushUntilMemoryEnds(), testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
