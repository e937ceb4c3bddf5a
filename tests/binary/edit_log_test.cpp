#include "tqamsg/binary/edit_log.h"

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace {

constexpr int kNowhere = std::numeric_limits<int>::max();

TEST(EditLog, SaysNothingMovedWhenNothingWasEdited) {
    tqa::EditLog log;
    EXPECT_EQ(log.movedFrom(log.count()), kNowhere);
    log.add(24);
    EXPECT_EQ(log.movedFrom(log.count()), kNowhere);
}

TEST(EditLog, KnowsTheLeastOffsetOfFewEdits) {
    tqa::EditLog log;
    log.add(100);
    log.add(50);
    log.add(200);
    EXPECT_EQ(log.movedFrom(0), 50);
    EXPECT_EQ(log.movedFrom(1), 50);
    EXPECT_EQ(log.movedFrom(2), 200);
}

TEST(EditLog, KeepsEditsFromTheBackToTheFrontApartFromWhatWasBefore) {
    tqa::EditLog log;
    log.add(24);
    const std::uint64_t before = log.count();
    for (int offset = 8000; offset >= 48; offset -= 8) {
        log.add(offset);
        EXPECT_EQ(log.movedFrom(before), offset);
    }
    EXPECT_EQ(log.movedFrom(0), 24);
}

// It may forget and say that more has moved, never less.
TEST(EditLog, NeverNamesAnOffsetBehindTheFirstThatMoved) {
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        tqa::EditLog log;
        std::vector<int> offsets;
        for (int i = 0; i < 40; ++i) {
            offsets.push_back(static_cast<int>(random() % 30) * 8);
            log.add(offsets.back());
            for (std::size_t since = 0; since < offsets.size(); ++since) {
                const auto first = offsets.begin() + static_cast<std::ptrdiff_t>(since);
                EXPECT_LE(log.movedFrom(since), *std::min_element(first, offsets.end()));
            }
        }
    }
}

}  // namespace
