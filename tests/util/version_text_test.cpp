#include "tqamsg/util/version_text.h"

#include <climits>
#include <cstdio>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

using namespace std::string_view_literals;

TEST(VersionText, FoldsGroupsOfDigits) {
    const struct {
        std::string_view text;
        int version;
    } table[] = {
        {"4.1.2", 40102},
        {"4.0.0", 40000},
        {"3.0.3", 30003},
        {"4.1", 401},
        {"4.0", 400},
        {"1.2", 102},
        {"1.2.3.4", 1020304},
        {"4..1", 40001},
        {"", 0},
        {".", 0},
        {"7", 7},
        {"7.", 700},
        {".7", 7},
        {"4.100.2", 50002},
        {"4-1_2", 40102},
        {"v4.1", 401},
        {"-4.1", 401},
        {"4.1.2\n", 4010200},
        {"4\0001"sv, 401},
        {"004.01.02", 40102},
    };
    for (const auto& [text, version] : table)
        EXPECT_EQ(tqa::textToVersion(text), version) << testing::PrintToString(text);
}

TEST(VersionText, WrapsWhenItDoesNotFit) {
    EXPECT_EQ(tqa::textToVersion("2147483647"), 2147483647);
    EXPECT_EQ(tqa::textToVersion("2147483648"), INT_MIN);
    EXPECT_EQ(tqa::textToVersion("4294967297"), 1);
    EXPECT_EQ(tqa::textToVersion(std::string(100000, '.')), 0);
}

TEST(VersionText, WritesThreeParts) {
    for (const int version :
         {0, 1, 40102, 400, 30003, 1020304, 99, 100, 9999, 10000, -1, -40102, INT_MAX, INT_MIN}) {
        char expected[64];
        std::snprintf(expected, sizeof expected, "%d.%d.%d", version / 10000, (version / 100) % 100,
                      version % 100);
        char room[tqa::kVersionTextMax];
        EXPECT_EQ(tqa::versionToText(version, room), expected);
    }
    char room[tqa::kVersionTextMax];
    EXPECT_EQ(tqa::versionToText(40102, room), "4.1.2");
    EXPECT_EQ(tqa::versionToText(401, room), "0.4.1");
}

TEST(VersionText, EveryThreePartVersionComesBack) {
    char room[tqa::kVersionTextMax];
    for (int version = 0; version < 200000; ++version)
        ASSERT_EQ(tqa::textToVersion(tqa::versionToText(version, room)), version);
}

}  // namespace
