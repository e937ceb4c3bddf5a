// The worked example in docs/soap.md.

#include "tests/support/gateway.h"

#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

// The fenced blocks: what stands behind the opening fence, and the text inside.
std::vector<std::pair<std::string, std::string>> blocksOf(const std::string& path) {
    std::vector<std::pair<std::string, std::string>> blocks;
    std::ifstream file(path);
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("```")) {
            inside = !inside;
            if (inside) blocks.emplace_back(line.substr(3), "");
        } else if (inside) {
            blocks.back().second += line + "\n";
        }
    }
    return blocks;
}

TEST(SoapDocumentTest, TheWorkedExampleIsWhatTheLibraryGives) {
    std::string request;
    std::string reply;
    int checked = 0;
    for (const auto& [kind, text] : blocksOf(TQA_DOCS_DIR "/soap.md")) {
        if (kind == "xml request") request = text;
        if (kind == "xml reply") reply = text;
        const bool message = kind == "xml message";
        if (!message && !kind.starts_with("xml response SOAP 1.")) continue;
        EXPECT_EQ(text, message ? tqa_test::converted(request)
                                : tqa_test::answered(reply, kind.back() - '0') + "\n");
        ++checked;
    }
    EXPECT_EQ(5, checked);
}

}  // namespace
