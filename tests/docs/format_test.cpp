// What docs/format.md says of bytes is so: its dump is the message that it says it is, and its
// tables give the sizes and kinds of the layout.

#include "tqamsg/binary/layout.h"
#include "tqamsg/tqamsg.h"
#include "tqamsg/util/c_text.h"

#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct Dump {
    std::string xml;
    std::size_t size = 0;  // as the document says it
    std::string bytes;
};

Dump readDump() {
    const std::regex title("`(<packet.*>)` in ([0-9]+) bytes.*");
    const std::regex row("([0-9]+) +((?:[0-9a-f]{2} )*[0-9a-f]{2})  .*");
    std::ifstream in(TQA_DOCS_DIR "/format.md");
    Dump dump;
    std::smatch found;
    for (std::string line; std::getline(in, line);) {
        if (std::regex_match(line, found, title)) {
            dump.xml = found[1];
            dump.size = std::stoul(found[2]);
        }
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
    ASSERT_GT(dump.size, 0U);
    ASSERT_EQ(dump.bytes.size(), dump.size);
    const auto_destroy<TQAMessage> message(TQAMsgFactory::createNew());
    ASSERT_EQ(message->fromText(dump.xml.data(), nullptr), 0);
    char* bytes = nullptr;
    int length = 0;
    ASSERT_EQ(message->decode(&bytes, &length, nullptr), 0);
    const tqa::CText owned(bytes);
    EXPECT_EQ(std::string(bytes, static_cast<std::size_t>(length)), dump.bytes);
}

// The numbers in the table row that starts with `name`.
std::vector<int> tableRow(const std::string& name) {
    std::ifstream in(TQA_DOCS_DIR "/format.md");
    std::vector<int> numbers;
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("| " + name + " |", 0) != 0) continue;
        std::istringstream cells(line.substr(name.size() + 4));
        for (std::string cell; std::getline(cells, cell, '|');) numbers.push_back(std::stoi(cell));
        break;
    }
    return numbers;
}

TEST(FormatDocument, SizesAreThoseOfTheLayout) {
    const std::vector<int> lengths = tableRow("length");
    const std::vector<int> offsets = tableRow("payload at");
    const std::vector<int> sizes = tableRow("size");
    ASSERT_EQ(lengths, (std::vector{0, 3, 4, 7, 8, 11, 12}));
    ASSERT_EQ(offsets.size(), lengths.size());
    ASSERT_EQ(sizes.size(), lengths.size());
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        EXPECT_EQ(offsets[i], tqa::payloadOffset(lengths[i], tqa::Kind::Untyped)) << lengths[i];
        EXPECT_EQ(sizes[i], tqa::elementSize(lengths[i])) << lengths[i];
    }
}

}  // namespace
