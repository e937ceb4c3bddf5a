// The packets in tests/data/messages; its README says what is in them.
//
//     for (const Golden& each : allGolden()) EXPECT_EQ(text(load(each.encoded)), each.printed);
#pragma once

#include "tests/support/messages.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace tqa_test {

struct Golden {
    std::string name;
    std::string xml;  // empty when there is nothing to read
    std::string encoded;
    std::string printed;
};

inline std::string contentOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline Golden golden(const std::string& name) {
    const std::string base = std::string(TQA_TEST_DATA_DIR) + "/messages/" + name;
    std::istringstream rows(contentOf(base + ".hex"));
    std::string digits;
    for (std::string row; std::getline(rows, row);) digits += row.substr(0, row.find('#'));
    Golden made{name, contentOf(base + ".xml"), fromHex(digits), contentOf(base + ".printed.xml")};
    if (made.printed.empty()) made.printed = made.xml;
    return made;
}

// In the order of their names.
inline std::vector<Golden> allGolden() {
    std::vector<std::string> names;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::string(TQA_TEST_DATA_DIR) + "/messages")) {
        if (entry.path().extension() == ".hex") names.push_back(entry.path().stem());
    }
    std::sort(names.begin(), names.end());
    std::vector<Golden> all;
    for (const std::string& name : names) all.push_back(golden(name));
    return all;
}

}  // namespace tqa_test
