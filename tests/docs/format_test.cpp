// The annotated dump in docs/format.md is the message that it says it is.

#include "tqamsg/tqamsg.h"
#include "tqamsg/util/c_text.h"

#include <cstdlib>
#include <fstream>
#include <regex>
#include <string>

#include <gtest/gtest.h>

namespace {

struct Dump {
    std::string xml;
    std::string bytes;
};

Dump readDump() {
    const std::regex title("`(<packet.*>)` in ([0-9]+) bytes.*");
    const std::regex row("([0-9]+) +((?:[0-9a-f]{2} )*[0-9a-f]{2})  .*");
    std::ifstream in(TQA_DOCS_DIR "/format.md");
    Dump dump;
    std::smatch found;
    for (std::string line; std::getline(in, line);) {
        if (std::regex_match(line, found, title)) dump.xml = found[1];
        if (dump.xml.empty() || !std::regex_match(line, found, row)) continue;
        EXPECT_EQ(std::stoul(found[1]), dump.bytes.size()) << line;
        const std::string hex = found[2];
        for (std::size_t i = 0; i < hex.size(); i += 3) {
            dump.bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
        }
    }
    return dump;
}

TEST(FormatDocument, DumpIsTheMessage) {
    Dump dump = readDump();
    ASSERT_EQ(dump.bytes.size(), 80U);
    const auto_destroy<TQAMessage> message(TQAMsgFactory::createNew());
    ASSERT_EQ(message->fromText(dump.xml.data(), nullptr), 0);
    char* bytes = nullptr;
    int length = 0;
    ASSERT_EQ(message->decode(&bytes, &length, nullptr), 0);
    const tqa::CText owned(bytes);
    EXPECT_EQ(std::string(bytes, static_cast<std::size_t>(length)), dump.bytes);
}

}  // namespace
