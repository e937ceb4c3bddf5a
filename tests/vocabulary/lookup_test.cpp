#include "tqamsg/vocabulary/lookup.h"

#include "tqamsg/vocabulary/vocabulary.h"

#include <climits>
#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

// The three families with their look-ups and, as the oracle, their dictionaries.
struct Family {
    const char* name;
    int (*id)(std::string_view) noexcept;
    std::string_view (*word)(int) noexcept;
    const HashMap<std::string, int>& ids;
    const HashMap<int, std::string>& words;
    int count;
};

std::ostream& operator<<(std::ostream& out, const Family& family) {
    return out << family.name;
}

class Lookup : public testing::TestWithParam<Family> {
  protected:
    int id(std::string_view word) const { return GetParam().id(word); }
    // Looks the word up in an allocation of exactly its size, so that a read beyond it is seen.
    int idOfExact(std::string_view word) const {
        const auto exact = std::make_unique<char[]>(word.size());
        word.copy(exact.get(), word.size());
        return id({exact.get(), word.size()});
    }
    int expectedId(const std::string& word) const {
        const auto found = GetParam().ids.find(word);
        return found == GetParam().ids.end() ? 0 : found->second;
    }
};

INSTANTIATE_TEST_SUITE_P(Families, Lookup,
                         testing::Values(Family{"tags", tqa::tagId, tqa::tagWord, TextIDMap,
                                                IDTextMap, 874},
                                         Family{"namespaces", tqa::namespaceId, tqa::namespaceWord,
                                                TextNSIDMap, NSIDTextMap, 62},
                                         Family{"attributes", tqa::attributeId, tqa::attributeWord,
                                                AttrIDMap, IDAttrMap, 10}),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_P(Lookup, GivesWhatTheDictionariesHold) {
    int count = 0;
    for (const auto& [word, id] : GetParam().ids) {
        EXPECT_EQ(idOfExact(word), id) << word;
        EXPECT_EQ(GetParam().word(id), word);
        EXPECT_EQ(GetParam().word(id).data()[word.size()], '\0');
        ++count;
    }
    EXPECT_EQ(count, GetParam().count);
}

TEST_P(Lookup, GivesNoWordForOtherIdentifiers) {
    for (int id = -10; id < 3000; ++id) {
        const auto found = GetParam().words.find(id);
        EXPECT_EQ(GetParam().word(id), found == GetParam().words.end() ? "" : found->second) << id;
    }
    EXPECT_EQ(GetParam().word(INT_MAX), "");
    EXPECT_EQ(GetParam().word(INT_MIN), "");
}

TEST_P(Lookup, TakesNoNearMiss) {
    constexpr std::string_view kOthers = "ae_1zA\x80";
    const auto check = [this](const std::string& text) {
        ASSERT_EQ(idOfExact(text), expectedId(text)) << testing::PrintToString(text);
    };
    for (const auto& [word, id] : GetParam().ids) {
        check(word + '\0');
        check(word + word);
        for (std::size_t at = 0; at <= word.size(); ++at) {
            check(word.substr(0, at));
            check(word.substr(at));
            check(std::string(word).erase(at, 1));
            for (const char c : kOthers) {
                check(std::string(word).insert(at, 1, c));
                if (at < word.size()) check(std::string(word).replace(at, 1, 1, c));
            }
        }
    }
}

TEST_P(Lookup, TakesNothingOddForAWord) {
    EXPECT_EQ(id(""), 0);
    EXPECT_EQ(id(std::string_view()), 0);
    EXPECT_EQ(id(" "), 0);
    EXPECT_EQ(id(std::string(1, '\0')), 0);
    EXPECT_EQ(id(std::string(1 << 20, 'x')), 0);
    for (int a = 0; a < 256; ++a) {
        for (int b = 0; b < 256; ++b) {
            const std::string two = {static_cast<char>(a), static_cast<char>(b)};
            ASSERT_EQ(id(two), expectedId(two)) << a << ' ' << b;
        }
    }
}

TEST(LookupLetterCase, MustBeExact) {
    EXPECT_EQ(tqa::tagId("alerts"), 1001);
    EXPECT_EQ(tqa::tagId("Alerts"), 0);
    EXPECT_EQ(tqa::namespaceId("ALERTS"), 0);
    EXPECT_EQ(tqa::attributeId("Version"), 0);
}

// What an initialiser of another file gets, before main and before the dictionaries may stand.
const int tagBeforeMain = tqa::tagId("packet_header");
const std::string wordBeforeMain(tqa::namespaceWord(262));

TEST(LookupBeforeMain, Works) {
    EXPECT_EQ(tagBeforeMain, 1724);
    EXPECT_EQ(wordBeforeMain, "authm");
}

}  // namespace
