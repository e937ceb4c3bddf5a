#include "tqamsg/host/log_path.h"

#include <climits>
#include <string>

#include <gtest/gtest.h>

namespace {

class LogPath : public testing::Test {
  protected:
    ~LogPath() override { tqa::setAgentLogPath("./"); }
};

TEST_F(LogPath, IsTheCurrentDirectoryAtFirst) {
    EXPECT_STREQ(getAgentLogPath(""), "./");
}

TEST_F(LogPath, GetsTheMissingSlash) {
    EXPECT_EQ(tqa::setAgentLogPath("/var/log/agent"), 0);
    EXPECT_STREQ(getAgentLogPath(""), "/var/log/agent/");
    EXPECT_EQ(tqa::setAgentLogPath("/var/log/"), 0);
    EXPECT_STREQ(getAgentLogPath(""), "/var/log/");
    EXPECT_EQ(tqa::setAgentLogPath("/"), 0);
    EXPECT_STREQ(getAgentLogPath(""), "/");
}

TEST_F(LogPath, KeepsItsAddress) {
    const char* const before = getAgentLogPath("");
    EXPECT_EQ(tqa::setAgentLogPath("/var/log/agent"), 0);
    EXPECT_EQ(getAgentLogPath(""), before);
    EXPECT_STREQ(before, "/var/log/agent/");
}

TEST_F(LogPath, IsTheSameForEveryArgument) {
    EXPECT_EQ(getAgentLogPath("other"), getAgentLogPath(""));
    EXPECT_EQ(getAgentLogPath(nullptr), getAgentLogPath(""));
}

TEST_F(LogPath, CopiesTheText) {
    std::string dir = "/tmp/one/";
    EXPECT_EQ(tqa::setAgentLogPath(dir.c_str()), 0);
    dir.assign("/changed/");
    EXPECT_STREQ(getAgentLogPath(""), "/tmp/one/");
}

TEST_F(LogPath, MayBeSetToItself) {
    EXPECT_EQ(tqa::setAgentLogPath("/tmp/one"), 0);
    EXPECT_EQ(tqa::setAgentLogPath(getAgentLogPath("")), 0);
    EXPECT_STREQ(getAgentLogPath(""), "/tmp/one/");
    EXPECT_EQ(tqa::setAgentLogPath(getAgentLogPath("") + 4), 0);
    EXPECT_STREQ(getAgentLogPath(""), "/one/");
}

TEST_F(LogPath, RefusesNoTextAndTooLongOnes) {
    EXPECT_EQ(tqa::setAgentLogPath("/tmp/one/"), 0);
    EXPECT_EQ(tqa::setAgentLogPath(nullptr), -1);
    EXPECT_EQ(tqa::setAgentLogPath(""), -1);
    EXPECT_EQ(tqa::setAgentLogPath(std::string(PATH_MAX, 'd').c_str()), -1);
    EXPECT_EQ(tqa::setAgentLogPath(std::string(PATH_MAX - 1, 'd').c_str()), -1);
    EXPECT_EQ(tqa::setAgentLogPath((std::string(PATH_MAX - 1, 'd') + '/').c_str()), -1);
    EXPECT_STREQ(getAgentLogPath(""), "/tmp/one/");
}

TEST_F(LogPath, TakesTheLongestThatFits) {
    const std::string longest = std::string(PATH_MAX - 2, 'd') + '/';
    EXPECT_EQ(tqa::setAgentLogPath(std::string(PATH_MAX - 2, 'd').c_str()), 0);
    EXPECT_EQ(getAgentLogPath(""), longest);
    EXPECT_EQ(tqa::setAgentLogPath(longest.c_str()), 0);
    EXPECT_EQ(getAgentLogPath(""), longest);
}

}  // namespace
