#include "tqamsg/host/id_range_array.h"

#include "tests/util/out_of_memory.h"

#include <bitset>
#include <cstdlib>
#include <new>
#include <ostream>
#include <random>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

constexpr unsigned int kMax = 4294967295U;

using Ranges = std::vector<std::pair<unsigned int, unsigned int>>;

Ranges rangesOf(const IDRangeArray& ids) {
    Ranges ranges;
    for (auto range = ids.begin_range(); range != ids.end(); ++range) ranges.push_back(*range);
    return ranges;
}

IDRangeArray arrayOf(const Ranges& ranges) {
    IDRangeArray ids;
    for (const auto& [first, last] : ranges) ids.insert(first, last);
    return ids;
}

TEST(IDRangeArray, IsEmptyAtFirst) {
    const IDRangeArray ids;
    EXPECT_TRUE(ids.begin_range() == ids.end());
    EXPECT_FALSE(ids.contain(0));
    EXPECT_FALSE(ids.contain(kMax));
    EXPECT_FALSE(ids.contain(0, kMax));
}

struct InsertCase {
    const char* what;
    Ranges inserted;
    Ranges expected;
};

std::ostream& operator<<(std::ostream& out, const InsertCase& c) {
    return out << c.what;
}

class IDRangeArrayInsert : public testing::TestWithParam<InsertCase> {};

TEST_P(IDRangeArrayInsert, KeepsAscendingRangesThatNeverTouch) {
    EXPECT_EQ(rangesOf(arrayOf(GetParam().inserted)), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table, IDRangeArrayInsert,
    testing::Values(
        InsertCase{"a single id", {{5, 5}}, {{5, 5}}},
        InsertCase{"a range", {{10, 20}}, {{10, 20}}},
        InsertCase{"a reversed range is none", {{20, 10}}, {}},
        InsertCase{"the widest reversed range is none", {{kMax, 0}}, {}},
        InsertCase{"in descending order", {{10, 20}, {5, 5}, {1, 2}}, {{1, 2}, {5, 5}, {10, 20}}},
        InsertCase{"twice the same id", {{5, 5}, {5, 5}}, {{5, 5}}},
        InsertCase{"an id inside", {{10, 20}, {15, 15}}, {{10, 20}}},
        InsertCase{"an id at an end", {{10, 20}, {10, 10}, {20, 20}}, {{10, 20}}},
        InsertCase{"ids side by side", {{5, 5}, {6, 6}}, {{5, 6}}},
        InsertCase{"ids side by side, downwards", {{6, 6}, {5, 5}}, {{5, 6}}},
        InsertCase{"an id between two", {{5, 5}, {7, 7}, {6, 6}}, {{5, 7}}},
        InsertCase{"ids one apart", {{5, 5}, {7, 7}}, {{5, 5}, {7, 7}}},
        InsertCase{"adjacent above", {{10, 20}, {21, 30}}, {{10, 30}}},
        InsertCase{"adjacent below", {{21, 30}, {10, 20}}, {{10, 30}}},
        InsertCase{"overlapping above", {{10, 20}, {15, 30}}, {{10, 30}}},
        InsertCase{"overlapping below", {{15, 30}, {10, 20}}, {{10, 30}}},
        InsertCase{"within", {{10, 30}, {15, 20}}, {{10, 30}}},
        InsertCase{"around one", {{15, 20}, {10, 30}}, {{10, 30}}},
        InsertCase{"around several", {{1, 1}, {3, 4}, {6, 6}, {9, 9}, {2, 7}}, {{1, 7}, {9, 9}}},
        InsertCase{"from inside one to inside another", {{1, 5}, {8, 12}, {4, 9}}, {{1, 12}}},
        InsertCase{"the smallest id", {{0, 0}, {1, 1}}, {{0, 1}}},
        InsertCase{"the smallest id last", {{1, 1}, {0, 0}}, {{0, 1}}},
        InsertCase{"the largest id", {{kMax, kMax}}, {{kMax, kMax}}},
        InsertCase{
            "beside the largest id", {{kMax, kMax}, {kMax - 1, kMax - 1}}, {{kMax - 1, kMax}}},
        InsertCase{"the largest id last", {{kMax - 1, kMax - 1}, {kMax, kMax}}, {{kMax - 1, kMax}}},
        InsertCase{"both ends do not touch", {{kMax, kMax}, {0, 0}}, {{0, 0}, {kMax, kMax}}},
        InsertCase{"everything", {{7, 7}, {0, kMax}, {9, 9}}, {{0, kMax}}}));

TEST(IDRangeArray, ContainsIdsAndRangesInsideOneOfItsRanges) {
    const IDRangeArray ids = arrayOf({{3, 3}, {10, 20}, {22, 30}});
    for (const unsigned int id : {3U, 10U, 15U, 20U, 22U, 30U}) EXPECT_TRUE(ids.contain(id)) << id;
    for (const unsigned int id : {0U, 2U, 4U, 9U, 21U, 31U, kMax})
        EXPECT_FALSE(ids.contain(id)) << id;

    for (const auto& [first, last] : Ranges{{3, 3}, {10, 20}, {11, 19}, {10, 10}, {22, 30}})
        EXPECT_TRUE(ids.contain(first, last)) << first << '-' << last;
    for (const auto& [first, last] : Ranges{
             {2, 3}, {3, 4}, {3, 10}, {9, 10}, {18, 25}, {20, 22}, {30, 31}, {31, 40}, {0, kMax}})
        EXPECT_FALSE(ids.contain(first, last)) << first << '-' << last;
}

TEST(IDRangeArray, NeverContainsAReversedRange) {
    const IDRangeArray all = arrayOf({{0, kMax}});
    EXPECT_TRUE(all.contain(0, kMax));
    EXPECT_FALSE(all.contain(20, 10));
    EXPECT_FALSE(all.contain(kMax, 0));
}

TEST(IDRangeArray, ContainsASetWhenItContainsAllOfIt) {
    const IDRangeArray ids = arrayOf({{3, 3}, {10, 20}});
    EXPECT_TRUE(ids.contain(IDRangeArray()));
    EXPECT_TRUE(IDRangeArray().contain(IDRangeArray()));
    EXPECT_FALSE(IDRangeArray().contain(ids));
    EXPECT_TRUE(ids.contain(ids));
    EXPECT_TRUE(ids.contain(arrayOf({{3, 3}, {12, 14}, {20, 20}})));
    EXPECT_FALSE(ids.contain(arrayOf({{3, 3}, {12, 21}})));
    EXPECT_FALSE(ids.contain(arrayOf({{1, 1}, {3, 3}})));
}

TEST(IDRangeArray, TakesAllRangesOfAnotherSet) {
    IDRangeArray ids = arrayOf({{3, 3}, {10, 20}});
    ids.insert(arrayOf({{4, 9}, {40, 50}}));
    EXPECT_EQ(rangesOf(ids), (Ranges{{3, 20}, {40, 50}}));
    ids.insert(IDRangeArray());
    EXPECT_EQ(rangesOf(ids), (Ranges{{3, 20}, {40, 50}}));
}

TEST(IDRangeArray, TakesItselfWithoutAChange) {
    IDRangeArray ids = arrayOf({{3, 3}, {10, 20}});
    ids.insert(ids);
    EXPECT_EQ(rangesOf(ids), (Ranges{{3, 3}, {10, 20}}));
}

TEST(IDRangeArray, ClearsAndFillsAgain) {
    IDRangeArray ids = arrayOf({{3, 3}, {10, 20}});
    ids.clear();
    EXPECT_TRUE(ids.begin_range() == ids.end());
    ids.insert(7);
    EXPECT_EQ(rangesOf(ids), (Ranges{{7, 7}}));
}

TEST(IDRangeArray, AssignmentAndCopyAreIndependentOfTheOriginal) {
    IDRangeArray original = arrayOf({{3, 3}, {10, 20}});
    const IDRangeArray copy(original);
    IDRangeArray assigned = arrayOf({{100, 200}});
    assigned = original;
    original.insert(4, 9);
    EXPECT_EQ(rangesOf(copy), (Ranges{{3, 3}, {10, 20}}));
    EXPECT_EQ(rangesOf(assigned), (Ranges{{3, 3}, {10, 20}}));
    EXPECT_EQ(rangesOf(original), (Ranges{{3, 20}}));
}

TEST(IDRangeArray, SurvivesAssignmentToItself) {
    IDRangeArray ids = arrayOf({{3, 3}, {10, 20}});
    const IDRangeArray& same = ids;
    ids = same;
    EXPECT_EQ(rangesOf(ids), (Ranges{{3, 3}, {10, 20}}));
}

TEST(IDRangeArray, StepReturnsTheIteratorItself) {
    const IDRangeArray ids = arrayOf({{3, 3}, {10, 20}});
    auto range = ids.begin_range();
    EXPECT_EQ(&++range, &range);
    EXPECT_EQ(*range, std::make_pair(10U, 20U));
    EXPECT_TRUE(++range == ids.end());
}

// A bit for each id: slow and obvious.
class Oracle {
  public:
    static constexpr unsigned int kIds = 300;

    void insert(unsigned int first, unsigned int last) {
        for (unsigned int id = first; id <= last; ++id) bits[id] = true;
    }
    bool contain(unsigned int first, unsigned int last) const {
        for (unsigned int id = first; id <= last; ++id)
            if (!bits[id]) return false;
        return first <= last;
    }
    Ranges ranges() const {
        Ranges found;
        for (unsigned int id = 0; id < kIds; ++id) {
            if (!bits[id]) continue;
            if (id > 0 && bits[id - 1])
                found.back().second = id;
            else
                found.emplace_back(id, id);
        }
        return found;
    }

  private:
    std::bitset<kIds> bits;
};

TEST(IDRangeArray, AgreesWithABitForEachIdOnRandomScripts) {
    std::mt19937 random(20060307);
    const auto below = [&random](unsigned int n) {
        return static_cast<unsigned int>(random() % n);
    };
    for (int script = 0; script < 200; ++script) {
        IDRangeArray ids;
        Oracle oracle;
        // Every other script works at the upper end of the ids, where adding 1 wraps.
        const unsigned int base = script % 2 == 0 ? 0 : kMax - (Oracle::kIds - 1);
        for (int step = 0; step < 60; ++step) {
            const unsigned int first = below(Oracle::kIds);
            const unsigned int last = std::min(first + below(8), Oracle::kIds - 1);
            ids.insert(base + first, base + last);
            oracle.insert(first, last);

            Ranges expected = oracle.ranges();
            for (auto& range : expected) range = {base + range.first, base + range.second};
            ASSERT_EQ(rangesOf(ids), expected) << "script " << script << " step " << step;
            const unsigned int a = below(Oracle::kIds), b = below(Oracle::kIds);
            ASSERT_EQ(ids.contain(base + a, base + b), oracle.contain(a, b)) << a << '-' << b;
            ASSERT_EQ(ids.contain(base + a), oracle.contain(a, a)) << a;
        }
    }
}

// Fills the heap with ranges until there is no room for another one, and looks at what is left.
[[noreturn]] void fillUntilMemoryEnds() {
    IDRangeArray ids;
    unsigned int next = 0;
    tqa_test::starve();
    try {
        for (;; next += 2) ids.insert(next);
    } catch (const std::bad_alloc&) {
        unsigned int expected = 0;
        for (auto range = ids.begin_range(); range != ids.end(); ++range, expected += 2)
            if (*range != std::make_pair(expected, expected)) std::_Exit(2);
        std::_Exit(expected == next && next > 0 ? 0 : 3);
    }
}

TEST(IDRangeArrayDeathTest, StaysValidWhenMemoryEnds) {
    if (!TQA_CAN_STARVE) GTEST_SKIP() << "not under a sanitizer";
    EXPECT_EXIT(fillUntilMemoryEnds(), testing::ExitedWithCode(0), "");
}

}  // namespace
