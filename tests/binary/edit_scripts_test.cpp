#include "tests/support/edit_script.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

namespace {

void run(unsigned int seed, int maxTextLength, int steps) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    tqa_test::EditScript script(std::mt19937(seed), maxTextLength);
    for (int step = 0; step < steps; ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        script.step();
        if (testing::Test::HasFatalFailure()) return;
    }
    script.finish();
}

TEST(EditScripts, ManyShortOnes) {
    for (unsigned int seed = 0; seed < 400 && !HasFatalFailure(); ++seed) run(seed, 20, 60);
}

TEST(EditScripts, ALongOneWithLongTexts) {
    for (unsigned int seed = 1000; seed < 1005 && !HasFatalFailure(); ++seed) run(seed, 600, 1000);
}

}  // namespace
