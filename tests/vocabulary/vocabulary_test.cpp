#include "tqamsg/vocabulary/vocabulary.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

// FNV-1a over the words in their order, each with its identifier.
std::uint64_t checksum(const auto& pairs) {
    std::uint64_t sum = 0xcbf29ce484222325;
    for (const auto& [word, id] : pairs)
        for (const char c : word + ' ' + std::to_string(id) + '\n')
            sum = (sum ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    return sum;
}

// Frozen: both ends of a connection share the words and their identifiers.
TEST(Vocabulary, ListsAreFrozen) {
    EXPECT_EQ(std::size(Map_TextIDMap_Array), 874U);
    EXPECT_EQ(std::size(Map_TextNSIDMap_Array), 62U);
    EXPECT_EQ(std::size(Map_AttrIDMap_Array), 10U);
    EXPECT_EQ(checksum(Map_TextIDMap_Array), 0xd8b545d12ba5ac00U);
    EXPECT_EQ(checksum(Map_TextNSIDMap_Array), 0x80395bfeb6558e50U);
    EXPECT_EQ(checksum(Map_AttrIDMap_Array), 0x5ed1a2b2451d1264U);
}

void expectInverse(const auto& ids, const auto& words) {
    ASSERT_EQ(std::size(ids), std::size(words));
    for (std::size_t i = 0; i < std::size(ids); ++i) {
        EXPECT_EQ(ids[i].key, words[i].value);
        EXPECT_EQ(ids[i].value, words[i].key);
    }
}

TEST(Vocabulary, TheTwoArraysOfAFamilyHoldTheSamePairsInTheSameOrder) {
    expectInverse(Map_TextIDMap_Array, Map_IDTextMap_Array);
    expectInverse(Map_TextNSIDMap_Array, Map_NSIDTextMap_Array);
    expectInverse(Map_AttrIDMap_Array, Map_IDAttrMap_Array);
}

void expectDictionaries(const auto& pairs, const auto& ids, const auto& words) {
    std::set<std::string> seenWords;
    std::set<int> seenIds;
    for (const auto& [word, id] : pairs) {
        EXPECT_TRUE(seenWords.insert(word).second) << word;
        EXPECT_TRUE(seenIds.insert(id).second) << id;
        ASSERT_NE(ids.find(word), ids.end()) << word;
        EXPECT_EQ(ids.find(word)->second, id) << word;
        ASSERT_NE(words.find(id), words.end()) << id;
        EXPECT_EQ(words.find(id)->second, word) << id;
    }
    EXPECT_EQ(ids.size(), std::size(pairs));
    EXPECT_EQ(words.size(), std::size(pairs));
}

TEST(Vocabulary, EveryWordRoundTripsThroughTheDictionaries) {
    expectDictionaries(Map_TextIDMap_Array, TextIDMap, IDTextMap);
    expectDictionaries(Map_TextNSIDMap_Array, TextNSIDMap, NSIDTextMap);
    expectDictionaries(Map_AttrIDMap_Array, AttrIDMap, IDAttrMap);
}

TEST(Vocabulary, IdentifiersAreConsecutiveInTheOrderOfTheList) {
    for (std::size_t i = 0; i < std::size(Map_TextIDMap_Array); ++i)
        EXPECT_EQ(Map_TextIDMap_Array[i].value, static_cast<int>(1001 + i));
    for (std::size_t i = 0; i < std::size(Map_TextNSIDMap_Array); ++i)
        EXPECT_EQ(Map_TextNSIDMap_Array[i].value, static_cast<int>(201 + i));
}

TEST(Vocabulary, WordsAreSmallLettersDigitsAndUnderscores) {
    constexpr std::string_view kAllowed = "abcdefghijklmnopqrstuvwxyz0123456789_";
    const auto check = [&](const auto& pairs) {
        for (const auto& [word, id] : pairs) {
            EXPECT_FALSE(word.empty()) << id;
            EXPECT_EQ(word.find_first_not_of(kAllowed), std::string::npos) << word;
        }
    };
    check(Map_TextIDMap_Array);
    check(Map_TextNSIDMap_Array);
    check(Map_AttrIDMap_Array);
}

TEST(Vocabulary, HoldsTheKnownTags) {
    const struct {
        const char* word;
        int id;
    } table[] = {
        {"alerts", 1001},
        {"veid", 1002},
        {"time", 1004},
        {"type", 1007},
        {"id", 1010},
        {"uid", 1030},
        {"family", 1050},
        {"model", 1051},
        {"service", 1100},
        {"timeout_limit", 1122},
        {"block", 1150},
        {"recursively", 1151},
        {"progress", 1175},
        {"dst_addr", 1200},
        {"src_ports", 1201},
        {"input_iface", 1203},
        {"insert", 1206},
        {"analize", 1220},
        {"version", 1223},
        {"interface", 1250},
        {"log", 1289},
        {"blocks", 1300},
        {"data", 1307},
        {"mail_template_list", 1325},
        {"mail_tempate_list", 1333},
        {"origin", 1337},
        {"message_fronter", 1358},
        {"packet", 1398},
        {"auth", 1399},
        {"cookie", 1400},
        {"target", 1401},
        {"priority", 1409},
        {"timeout", 1453},
        {"lomb_config", 1500},
        {"ve_private", 1550},
        {"regular", 1600},
        {"director", 1650},
        {"nbh", 1700},
        {"packet_header", 1724},
        {"webcp", 1750},
        {"support_channel", 1800},
        {"snapshot", 1850},
        {"vocabulary", 1871},
        {"objects", 1874},
    };
    for (const auto& [word, id] : table) {
        EXPECT_EQ(TextIDMap.at(word), id) << word;
        EXPECT_EQ(IDTextMap.at(id), word) << id;
    }
}

TEST(Vocabulary, HoldsTheKnownNamespacesAndAttributes) {
    EXPECT_EQ(TextNSIDMap.at("alerts"), 201);
    EXPECT_EQ(TextNSIDMap.at("types"), 246);
    EXPECT_EQ(TextNSIDMap.at("elemen"), 255);
    EXPECT_EQ(TextNSIDMap.at("authm"), 262);
    EXPECT_NE(TextNSIDMap.at("alerts"), TextIDMap.at("alerts"));

    const struct {
        const char* word;
        int id;
    } attributes[] = {
        {"version", 101},  {"id", 102},  {"priority", 103}, {"time", 104},          {"type", 105},
        {"progress", 106}, {"log", 110}, {"timeout", 107},  {"timeout_limit", 108}, {"uid", 109}};
    std::size_t position = 0;
    for (const auto& [word, id] : attributes) {
        EXPECT_EQ(AttrIDMap.at(word), id) << word;
        EXPECT_EQ(IDAttrMap.at(id), word) << id;
        EXPECT_EQ(Map_AttrIDMap_Array[position++].key, word);
        EXPECT_EQ(TextIDMap.count(word), 1U) << word;
    }
}

TEST(Vocabulary, FiftyFourNamespacesAreTagsToo) {
    int both = 0;
    for (const auto& [word, id] : Map_TextNSIDMap_Array) both += TextIDMap.count(word) == 1 ? 1 : 0;
    EXPECT_EQ(both, 54);
}

TEST(Vocabulary, KnowsNothingElse) {
    for (const int id : {0, 1000, 1875, 201, 101}) EXPECT_EQ(IDTextMap.count(id), 0U) << id;
    for (const int id : {0, 200, 263}) EXPECT_EQ(NSIDTextMap.count(id), 0U) << id;
    for (const int id : {0, 100, 111}) EXPECT_EQ(IDAttrMap.count(id), 0U) << id;
    EXPECT_EQ(TextIDMap.count("Alerts"), 0U);
    EXPECT_EQ(TextNSIDMap.count("Alerts"), 0U);
    EXPECT_EQ(TextNSIDMap.count("element"), 0U);
    EXPECT_EQ(AttrIDMap.count("Version"), 0U);
    EXPECT_EQ(TextIDMap.count(""), 0U);
}

TEST(Vocabulary, IdentifiersHaveNames) {
    EXPECT_EQ(tqa::Tag_packet, TextIDMap.at("packet"));
    EXPECT_EQ(tqa::Tag_default, TextIDMap.at("default"));
    EXPECT_EQ(tqa::Ns_types, TextNSIDMap.at("types"));
    EXPECT_EQ(tqa::Attr_log, AttrIDMap.at("log"));
}

}  // namespace
