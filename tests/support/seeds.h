// Sound messages to damage: generated ones, the same at every run, and the small golden ones.
#pragma once

#include <string>
#include <vector>

namespace tqa_test {

struct Seed {
    std::string name;
    std::string encoded;
    std::string xml;
};

inline constexpr unsigned kGeneratedSeeds = 200;

// Every kind, nested and empty elements, attributes, namespaces, raw texts and messages, and what
// blank text leaves behind.
std::vector<Seed> seedMessages();

}  // namespace tqa_test
