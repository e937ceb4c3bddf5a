// A fuzz target: one door of the library, opened with any bytes.
//
//     TQA_TARGET(frame) { use(input); }
//
// What must hold is checked with the EXPECT_ macros. Under the fuzzer a failure ends the process,
// and the sanitizers see what is read and written; in the test program the same targets replay the
// corpus and the golden files.
#pragma once

#include <string_view>
#include <vector>

namespace tqa_fuzz {

struct Target {
    const char* name;
    void (*run)(std::string_view input);
};

// Every target of the program.
std::vector<Target>& targets();

struct Registration {
    explicit Registration(const Target& target) { targets().push_back(target); }
};

}  // namespace tqa_fuzz

#define TQA_TARGET(name)                                                          \
    static void run_##name(std::string_view input);                               \
    static const tqa_fuzz::Registration registration_##name({#name, run_##name}); \
    static void run_##name(std::string_view input)
