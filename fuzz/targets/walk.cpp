// A walk through every element of a received message; each is read by every reader.

#include "fuzz/support.h"
#include "fuzz/target.h"
#include "tests/support/usage.h"

#include <gtest/gtest.h>

using namespace tqa_test;

TQA_TARGET(walk) {
    const auto [m, encoded, script] = tqa_fuzz::split(input);
    if (m == nullptr) return;
    const std::string before = bytes(m);
    EXPECT_LE(walk(m), static_cast<int>(before.size()) / tqa::kEmptyElementSize);
    askEverything(*m);
    EXPECT_EQ(bytes(m), before);
}
