// Loads and unloads the shared library a thousand times, with some use in between: it must go each
// time, and leave nothing behind. reload LIBRARY
#include "tests/lifecycle/loaded.h"

#include <cstdio>
#include <fstream>

namespace {

constexpr int kTimes = 1000;
constexpr int kWarmUp = 100;
constexpr long kMayGrow = 64;  // pages: what the loader and the heap need for themselves

long residentPages() {
    long size = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident;
}

}  // namespace

int main(int, char** argv) {
    long before = 0;
    for (int i = 0; i < kTimes; ++i) {
        if (i == kWarmUp) before = residentPages();
        {
            const lifecycle::Library library(argv[1], LM_ID_BASE);
            library.use();
        }
        lifecycle::require(dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD) == nullptr, "it stays loaded");
    }
    const long growth = residentPages() - before;
    std::printf("%ld pages more after %d times\n", growth, kTimes - kWarmUp);
    lifecycle::require(growth <= kMayGrow, "memory is left behind");
    return 0;
}
