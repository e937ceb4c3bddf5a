// Pairs of files: a request and the message that it becomes, a reply and the answers to it. See
// tests/data/soap/README.md.

#include "tests/support/gateway.h"
#include "tests/support/xml.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

const fs::path kFolder = fs::path(TQA_TEST_DATA_DIR) / "soap";

std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

// The cases that have a file with this ending, without it.
std::vector<std::string> casesWith(const std::string& ending) {
    std::vector<std::string> cases;
    for (const auto& entry : fs::directory_iterator(kFolder)) {
        const std::string name = entry.path().filename();
        if (name.ends_with(ending)) cases.push_back(name.substr(0, name.size() - ending.size()));
    }
    std::sort(cases.begin(), cases.end());
    return cases;
}

TEST(SoapGoldenTest, RequestsBecomeMessagesOrFaults) {
    const auto cases = casesWith(".request.xml");
    EXPECT_LE(12u, cases.size());
    for (const std::string& name : cases) {
        const auto outcome = tqa_test::convert(contentOf(kFolder / (name + ".request.xml")));
        const char* const ending = outcome.succeeded ? ".message.xml" : ".fault.xml";
        EXPECT_EQ(contentOf(kFolder / (name + ending)), outcome.text) << name;
        EXPECT_TRUE(outcome.succeeded || tqa_test::Xml(outcome.text).wellFormed()) << name;
    }
}

// One document, in the right envelope, with either a fault or a response and its header, both in
// the agent's namespaces.
void checkAnswer(const std::string& name, const std::string& text, int version) {
    const std::string soap = version == 1 ? "soap11:" : "soap12:";
    const std::string body = "/" + soap + "Envelope/" + soap + "Body";
    const tqa_test::Xml xml(text);
    ASSERT_TRUE(xml.wellFormed()) << name;
    EXPECT_EQ("1", xml.value("count(" + body + "/*)")) << name;
    if (xml.value("count(" + body + "/" + soap + "Fault)") == "1") return;
    const std::string base =
        xml.value("substring-before(namespace-uri(/" + soap + "Envelope/" + soap +
                  "Header/*[local-name()='packet_header']), 'protocol')");
    EXPECT_TRUE(base.ends_with("/")) << name;
    EXPECT_EQ("true", xml.value("starts-with(namespace-uri(" + body + "/*), '" + base + "')"))
        << name;
}

TEST(SoapGoldenTest, RepliesBecomeAnswersInEachVersion) {
    const auto cases = casesWith(".reply.xml");
    EXPECT_LE(12u, cases.size());
    for (const std::string& name : cases)
        for (const int version : {1, 2}) {
            const auto outcome =
                tqa_test::answer(contentOf(kFolder / (name + ".reply.xml")), version);
            const fs::path file = kFolder / (name + (version == 1 ? ".soap11.xml" : ".soap12.xml"));
            EXPECT_EQ(contentOf(file), outcome.text) << name;
            checkAnswer(name, outcome.text, version);
        }
}

}  // namespace
