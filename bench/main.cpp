// The benchmark program: bench/report.py runs it row by row and makes the tables. By hand:
//
//     build/bench/bench/tqamsg_bench --benchmark_filter=parse/ve_status
//     build/bench/bench/tqamsg_bench --seed=7     other values in the messages
#include "bench/values.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <benchmark/benchmark.h>

namespace {

constexpr std::string_view kSeedOption = "--seed=";

// Takes the seed's option out of the arguments.
void takeSeed(int* argc, char** argv) {
    int kept = 0;
    for (int i = 0; i < *argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument.starts_with(kSeedOption))
            bench::setSeed(std::strtoull(argv[i] + kSeedOption.size(), nullptr, 10));
        else
            argv[kept++] = argv[i];
    }
    *argc = kept;
}

// glibc keeps freed memory for itself according to the largest block that was freed so far. After
// this one every benchmark finds the heap of a process that has been at work for a while, whatever
// ran before it.
void warmHeap() {
    constexpr std::size_t kLargest = std::size_t{31} << 20;
    void* block = std::malloc(kLargest);
    if (block != nullptr) std::memset(block, 1, kLargest);
    benchmark::DoNotOptimize(block);
    std::free(block);
}

}  // namespace

int main(int argc, char** argv) {
    takeSeed(&argc, argv);
    warmHeap();
    benchmark::AddCustomContext("compiler", __VERSION__);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
