// Eight threads, each with messages of its own, do everything at once that the library can do, and
// log meanwhile. ThreadSanitizer sees what they share.
#include "tqamsg/binary/verify.h"
#include "tqamsg/tqa.h"

#include "tests/support/gateway.h"
#include "tests/support/usage.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;

constexpr int kThreads = 8;
constexpr int kRounds = 100;

constexpr char kPacket[] =
    "<packet version=\"4.0.0\" id=\"c1\" priority=\"5\"><origin>a</origin><target>vem</target>"
    "<src><target>t</target><index>1</index></src><cookie><veid>1</veid></cookie>"
    "<auth><ve_list><veid>5</veid><ve_range><start_veid>7</start_veid></ve_range></ve_list></auth>"
    "<data><vem><zz "
    "a=\"1\">raw</zz><veid>5</veid><time>2006-03-07T14:05:09+0000</time></vem></data>"
    "</packet>";

// Ids and namespaces without a word, which print all the same.
void printUnknownWords() {
    const Message m = create(5000);
    const Cursor it = cursor(m);
    EXPECT_EQ(it->newChild(4999, 300), 0);
    EXPECT_EQ(it->putValue("text", 4998), 0);
    EXPECT_EQ(it->curName(), "");
    EXPECT_NE(text(m).find("INVALID_TAG"), std::string::npos);
    print(m);
    EXPECT_EQ(IDTextMap.find(5000), IDTextMap.end());
}

void useMessages(int variation) {
    const Message m = parse(kPacket);
    walk(m);
    print(m);
    expectTravels(m);
    append(m);
    changeEverywhere(m, variation);
    askEverything(*m);
    const std::string encoded = bytes(m);
    EXPECT_EQ(tqa::verify(encoded.data(), static_cast<int>(encoded.size()), nullptr), 0);
    EXPECT_EQ(TQAMsgFactory::kindOf(encoded.data()), "TQABinary");
    const tqa::Message made(tqa::Builder().open("packet").put("veid", variation).closeAll());
    EXPECT_TRUE(made.copy().bytes());
}

void useTheRest() {
    EXPECT_TRUE(convert(request("<get_info xmlns=\"urn:x/4.0.0/vem\"></get_info>")).succeeded);
    EXPECT_TRUE(answer("<packet><cookie>op</cookie><data><vem/></data></packet>", 2).succeeded);
    EXPECT_FALSE(convert("nothing").succeeded);
    EXPECT_EQ(Base64::decode(Base64::encode("ABC")), "ABC");
}

int linesIn(const std::string& directory) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);) ++count;
    }
    return count;
}

TEST(Threads, DoEverythingWithMessagesOfTheirOwn) {
    std::string directory = testing::TempDir() + "tqamsg-threads-XXXXXX";
    ASSERT_NE(mkdtemp(directory.data()), nullptr);
    ASSERT_EQ(tqa::setAgentLogPath(directory.c_str()), 0);
    debug_level = 4;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([thread] {
            Logger own(getAgentLogPath(""));
            for (int round = 0; round < kRounds; ++round) {
                debug(3, "thread %d in round %d", thread, round);
                printUnknownWords();
                useMessages(thread + round);
                own.put("%s", kPacket);
                useTheRest();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    debug_level = -1;
    EXPECT_EQ(linesIn(directory), 2 * kThreads * kRounds);
    std::filesystem::remove_all(directory);
}

}  // namespace
