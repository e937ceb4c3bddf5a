// Some two hundred messages and their texts, each damaged in every simple way: cut at every length,
// every bit wrong, every length field set to what is likely to be mistaken. Whatever still loads is
// walked, read, printed, changed, exported and loaded again. Each test takes a share of the
// messages.

#include "tqamsg/binary/verify.h"

#include "tests/support/seeds.h"
#include "tests/support/usage.h"

#include <climits>
#include <cstdio>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;
using tqa::ElementView;

constexpr std::size_t kShares = 8;

// How much was damaged, and how much of that still loaded and was used.
struct Count {
    int damaged = 0;
    int used = 0;
};

class DamagedSeeds : public testing::TestWithParam<std::size_t> {
  protected:
    // Hands the share's seeds to `damage` and prints the counts.
    static void run(const char* what, const std::function<void(const Seed&, Count&)>& damage) {
        const std::vector<Seed> seeds = seedMessages();
        ASSERT_GE(seeds.size(), 200U);
        Count count;
        for (std::size_t i = GetParam(); i < seeds.size() && !HasFailure(); i += kShares) {
            SCOPED_TRACE(seeds[i].name);
            damage(seeds[i], count);
        }
        EXPECT_GT(count.damaged, 0);
        std::printf("%s: %d damaged, %d of them used\n", what, count.damaged, count.used);
    }
};

INSTANTIATE_TEST_SUITE_P(, DamagedSeeds, testing::Range<std::size_t>(0, kShares));

// Hands every version of `whole` with one wrong bit to `use`.
void flipEachBit(const std::string& whole, const std::function<void(const std::string&)>& use) {
    std::string damaged = whole;
    for (std::size_t bit = 0; bit < 8 * whole.size() && !testing::Test::HasFailure(); ++bit) {
        SCOPED_TRACE(bit);
        char& byte = damaged[bit / 8];
        byte = static_cast<char>(byte ^ 1 << bit % 8);
        use(damaged);
        byte = whole[bit / 8];
    }
}

// --- bytes --------------------------------------------------------------------------------------

void loadAndUse(const std::string& encoded, Count& count) {
    const int variation = count.damaged++;
    const Message m = tryLoad(encoded);
    if (m == nullptr) return;
    ++count.used;
    if (tqa::verify(encoded.data(), static_cast<int>(encoded.size()), nullptr) == 0) {
        EXPECT_EQ(bytes(m).substr(tqa::kRootOffset), encoded.substr(tqa::kRootOffset));
    }
    useBriefly(m, variation);
}

// An element of a sound message, and the end of the one around it; offsets.
struct Place {
    std::size_t at;
    std::size_t end;
};

std::vector<Place> placesIn(const std::string& encoded) {
    const char* start = encoded.data();
    const ElementView root = ElementView::find(start + tqa::kRootOffset, start + encoded.size());
    std::vector<Place> places = {{tqa::kRootOffset, encoded.size()}};
    std::vector<ElementView> open = {root};
    while (!open.empty()) {
        const ElementView parent = open.back();
        open.pop_back();
        for (auto child = parent.firstChild(); child; child = child.next(parent.end())) {
            places.push_back({static_cast<std::size_t>(child.begin() - start),
                              static_cast<std::size_t>(parent.end() - start)});
            open.push_back(child);
        }
    }
    return places;
}

// The lengths that are likely to be mistaken.
std::set<std::int32_t> lengthsFor(const std::string& encoded, const Place& place) {
    const ElementView element =
        ElementView::find(encoded.data() + place.at, encoded.data() + place.end);
    const int value = element.length();
    const auto payload = element.payload() - encoded.data();
    const auto whole = static_cast<int>(static_cast<std::ptrdiff_t>(place.end) - payload);
    std::set<std::int32_t> lengths = {-1,        0,         1,         7,         8,       9,
                                      value - 1, value + 1, whole - 1, whole + 1, INT_MAX, INT_MIN};
    lengths.erase(value);
    return lengths;
}

TEST(SeedMessages, AreSound) {
    for (const Seed& seed : seedMessages()) {
        const auto size = static_cast<int>(seed.encoded.size());
        EXPECT_EQ(tqa::verify(seed.encoded.data(), size, nullptr), 0) << seed.name;
    }
}

TEST_P(DamagedSeeds, AnyPrefixIsRefused) {
    run("prefixes", [](const Seed& seed, Count& count) {
        for (std::size_t size = 0; size < seed.encoded.size(); ++size) {
            const std::string cut = seed.encoded.substr(0, size);
            ++count.damaged;
            EXPECT_EQ(tryLoad(cut), nullptr) << size;
            EXPECT_EQ(tqa::verify(cut.data(), static_cast<int>(size), nullptr), -1) << size;
        }
    });
}

TEST_P(DamagedSeeds, AnyBitMayBeWrong) {
    run("bits", [](const Seed& seed, Count& count) {
        flipEachBit(seed.encoded, [&](const std::string& damaged) { loadAndUse(damaged, count); });
    });
}

TEST_P(DamagedSeeds, AnyLengthMayBeWrong) {
    run("lengths", [](const Seed& seed, Count& count) {
        for (const Place& place : placesIn(seed.encoded)) {
            for (const std::int32_t length : lengthsFor(seed.encoded, place)) {
                std::string damaged = seed.encoded;
                tqa::writeLength(damaged.data() + place.at, length);
                loadAndUse(damaged, count);
            }
        }
    });
}

// --- texts --------------------------------------------------------------------------------------

// A failed read leaves something too, which is used as well.
void readAndUse(const std::string& xml, Count& count) {
    const Message m = tryRead(xml);
    if (!bytes(m).empty()) ++count.used;
    useBriefly(m, count.damaged++);
}

TEST_P(DamagedSeeds, AnyBeginningOfATextIsRead) {
    run("beginnings of texts", [](const Seed& seed, Count& count) {
        for (std::size_t size = 0; size < seed.xml.size(); ++size) {
            readAndUse(seed.xml.substr(0, size), count);
        }
    });
}

TEST_P(DamagedSeeds, AnyBitOfATextMayBeWrong) {
    run("bits of texts", [](const Seed& seed, Count& count) {
        flipEachBit(seed.xml, [&](const std::string& damaged) { readAndUse(damaged, count); });
    });
}

}  // namespace
