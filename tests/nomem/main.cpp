// Runs the tests and says how many failures were injected.

#include "tests/nomem/sweep.h"

#include <cstdio>
#include <map>
#include <string>

namespace {

std::map<std::string, tqa_test::SweepCount> counts;

void print(const char* what, const tqa_test::SweepCount& count) {
    std::printf("%-30s %5ld scenarios %7ld injections %8ld allocations refused\n", what,
                count.scenarios, count.injections, count.refused);
}

tqa_test::SweepCount& operator+=(tqa_test::SweepCount& sum, const tqa_test::SweepCount& count) {
    sum.scenarios += count.scenarios;
    sum.injections += count.injections;
    sum.refused += count.refused;
    return sum;
}

}  // namespace

void tqa_test::report(const char* what, const SweepCount& count) {
    counts[what] += count;
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const int status = RUN_ALL_TESTS();
    tqa_test::SweepCount all;
    for (const auto& [what, count] : counts) {
        print(what.c_str(), count);
        all += count;
    }
    print("in all", all);
    return status;
}
