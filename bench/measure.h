// How a benchmark is registered and timed.
//
//     const bool added = bench::add("parse/small", bench::kOurs, [](benchmark::State& state) {
//         const Workload& work = small();
//         measure(state, [&] { benchmark::DoNotOptimize(parse(work)); });
//     });
//
// A name is a row of the report and who runs it: "parse/small/tqamsg". Workloads are made in the
// body, so a run that leaves a benchmark out does not make them.
#pragma once

#include "bench/allocations.h"

#include <functional>
#include <string>

#include <benchmark/benchmark.h>

namespace bench {

inline constexpr char kOurs[] = "tqamsg";

using Body = std::function<void(benchmark::State&)>;

// Registers `row`/`who`; true, so that it can initialise a constant. An exception that leaves the
// body is reported as the benchmark's error.
bool add(const std::string& row, const std::string& who, Body body);

// Notes which version of a peer is measured.
bool notePeer(const std::string& peer, const std::string& version);

// Throws unless `holds`: what is compared must do the same work, or there is nothing to compare.
void require(bool holds, const char* what);

// Counts the allocations of one call.
template <class Op>
void countAllocations(benchmark::State& state, Op op) {
    const long before = allocations();
    op();
    state.counters["allocations"] = static_cast<double>(allocations() - before);
}

// Times `op`, and counts the allocations of one call more.
template <class Op>
void measure(benchmark::State& state, Op op) {
    op();
    for ([[maybe_unused]] const auto _ : state) op();
    countAllocations(state, op);
}

}  // namespace bench
