#include "tqamsg/util/hash_map.h"

#include <string>
#include <type_traits>

#include <gtest/gtest.h>

namespace {

using Words = HashMap<std::string, int>;
using Numbers = HashMap<int, std::string>;

static_assert(std::is_aggregate_v<Words::MapElem>);

TEST(HashMap, HoldsThePairsOfItsArray) {
    const Words::MapElem pairs[] = {{"alerts", 1001}, {"veid", 1002}, {"", 7}};
    const Words map(pairs, 3);
    EXPECT_EQ(map.size(), 3U);
    EXPECT_EQ(map.find("alerts")->second, 1001);
    EXPECT_EQ(map.find("veid")->second, 1002);
    EXPECT_EQ(map.find("")->second, 7);
    EXPECT_EQ(map.find("Alerts"), map.end());
}

TEST(HashMap, TakesAsManyPairsAsTold) {
    const Numbers::MapElem pairs[] = {{1, "one"}, {2, "two"}};
    EXPECT_EQ(Numbers(pairs, 1).size(), 1U);
    EXPECT_TRUE(Numbers(pairs, 0).empty());
    EXPECT_TRUE(Numbers(nullptr, 0).empty());
    EXPECT_TRUE(Numbers(pairs, -1).empty());
}

TEST(HashMap, KeepsTheLastValueOfARepeatedKey) {
    const Words::MapElem pairs[] = {{"a", 1}, {"b", 2}, {"a", 3}};
    const Words map(pairs, 3);
    EXPECT_EQ(map.size(), 2U);
    EXPECT_EQ(map.at("a"), 3);
}

TEST(HashMap, KeyedAccessAddsAnEmptyValue) {
    const Numbers::MapElem pairs[] = {{1, "one"}};
    Numbers map(pairs, 1);
    EXPECT_EQ(map[5], "");
    EXPECT_EQ(map.size(), 2U);
    EXPECT_EQ(map[1], "one");
}

TEST(HashMap, HashesTextsByFivesAndIntegersToThemselves) {
    const tqa::MapHash hash;
    EXPECT_EQ(hash(std::string()), 0U);
    EXPECT_EQ(hash(std::string("a")), 97U);
    EXPECT_EQ(hash(std::string("ab")), 5U * 97U + 98U);
    EXPECT_EQ(hash(std::string("abc")), 5U * (5U * 97U + 98U) + 99U);
    EXPECT_EQ(hash(1001), 1001U);
}

TEST(HashMap, EveryKeyIsUnique) {
    // "aF" and "bA" have one hash.
    const Words::MapElem pairs[] = {{"aF", 1}, {"bA", 2}};
    const Words map(pairs, 2);
    EXPECT_EQ(tqa::MapHash()(std::string("aF")), tqa::MapHash()(std::string("bA")));
    EXPECT_EQ(map.at("aF"), 1);
    EXPECT_EQ(map.at("bA"), 2);
}

}  // namespace
