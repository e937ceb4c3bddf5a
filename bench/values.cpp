#include "bench/values.h"

namespace bench {

namespace {

constinit std::uint64_t chosen = 20260101;

}  // namespace

void setSeed(std::uint64_t seed) {
    chosen = seed;
}

std::uint64_t seed() {
    return chosen;
}

}  // namespace bench
