// Runs the tests and says how many failures were injected.

#include "tests/nodisk/faults.h"

#include <cstdio>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const int status = RUN_ALL_TESTS();
    std::printf("%ld calls of input and output failed\n", tqa_test::allFaults());
    return status;
}
