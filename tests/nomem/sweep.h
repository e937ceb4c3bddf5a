// Every allocation that an operation makes fails in turn: alone, and with all that follow it.
//
//     const Scenario<Stage> kScenarios[] = {
//         {"addVE", [](Stage& s) { return s.message->... }},
//     };
//     sweepAll("authorization", kScenarios, [] { return std::make_unique<Stage>(); });
//
// A stage is what an operation works on and where its results go. It has
//     std::string outcome();  what the operation made of it: results and content
//     std::string state();    what a failed operation leaves as it was, to the byte
//     void rewind();          for operations that end elsewhere when they fail: back to the start
//     void reload();          for those that lose the content: loads it again
//     void again();           arguments that the first call took are there for the second
// Each failure is injected on a stage of its own. The operation then gives its documented failure,
// the state is what it was and the same call on the same stage succeeds with the usual outcome; or
// it gives success and the usual outcome, as it did without the memory. Nothing may leak either
// way.
#pragma once

#include "tests/nomem/allocations.h"

#include <memory>
#include <new>
#include <string>

#include <gtest/gtest.h>

namespace tqa_test {

// The failure of an operation that std::bad_alloc leaves.
constexpr int kThrew = -100;

// What an operation does otherwise than most.
enum Trait : unsigned {
    kMayThrow = 1,      // std::bad_alloc may leave it
    kMoves = 2,         // a failure may leave the iterator elsewhere
    kInPart = 4,        // a failure may leave a part of the result
    kLosesContent = 8,  // a failed parse leaves the message on what was read
    kMayLack = 16,      // what it could not have is missing in what it gives with success
    kAnyFailure = 32,   // the failures differ
};

template <class Stage>
struct Scenario {
    const char* name;
    int (*run)(Stage& stage);
    unsigned traits = 0;
    int failure = -1;
};

struct SweepCount {
    long scenarios = 0;
    long injections = 0;
    long refused = 0;
};

// Adds to what is printed at the end.
void report(const char* what, const SweepCount& count);

template <class Stage>
int attempt(const Scenario<Stage>& scenario, Stage& stage) {
    try {
        return scenario.run(stage);
    } catch (const std::bad_alloc&) {
        return kThrew;
    }
}

template <class Stage>
bool isDocumented(const Scenario<Stage>& scenario, int status) {
    if (status == kThrew) return (scenario.traits & kMayThrow) != 0;
    return status == scenario.failure || (scenario.traits & kAnyFailure) != 0;
}

// The operation without one allocation, or without all from there on.
template <class Stage, class Make>
void withoutMemory(const Scenario<Stage>& scenario, Make make, const std::string& wanted, long from,
                   Refusing how) {
    const std::unique_ptr<Stage> stage = make();
    const std::string before = stage->state();
    int status = 0;
    long refused = 0;
    {
        const Injection injection(from, how);
        status = attempt(scenario, *stage);
        refused = Injection::refused();
    }
    EXPECT_GT(refused, 0);
    if (status == 0) {
        if ((scenario.traits & kMayLack) == 0) {
            EXPECT_EQ(stage->outcome(), wanted);
        }
        return;
    }
    EXPECT_TRUE(isDocumented(scenario, status)) << status;
    const unsigned traits = scenario.traits;
    if ((traits & kLosesContent) != 0) stage->reload();
    if ((traits & (kMoves | kLosesContent)) != 0) stage->rewind();
    if ((traits & (kInPart | kLosesContent)) == 0) {
        EXPECT_EQ(stage->state(), before);
    }
    stage->again();
    EXPECT_EQ(attempt(scenario, *stage), 0);
    EXPECT_EQ(stage->outcome(), wanted);
}

template <class Stage, class Make>
void sweep(const Scenario<Stage>& scenario, Make make, SweepCount& count) {
    SCOPED_TRACE(scenario.name);
    std::string wanted;
    long allocations = 0;
    // The first time round settles what is kept for ever.
    for (int round = 0; round < 2; ++round) {
        const std::unique_ptr<Stage> stage = make();
        {
            const Injection none;
            ASSERT_EQ(attempt(scenario, *stage), 0);
            allocations = Injection::asked();
        }
        wanted = stage->outcome();
    }
    ++count.scenarios;
    for (const Refusing how : {Refusing::Once, Refusing::FromThere}) {
        for (long from = 0; from < allocations; ++from) {
            SCOPED_TRACE((how == Refusing::Once ? "without " : "from ") + std::to_string(from));
            const Blocks before = liveBlocks();
            withoutMemory(scenario, make, wanted, from, how);
            EXPECT_EQ(liveBlocks(), before);
            ++count.injections;
        }
    }
}

template <class Stage, std::size_t size, class Make>
void sweepAll(const char* what, const Scenario<Stage> (&scenarios)[size], Make make) {
    SweepCount count;
    const long refusedBefore = allRefused();
    for (const Scenario<Stage>& scenario : scenarios) sweep(scenario, make, count);
    count.refused = allRefused() - refusedBefore;
    report(what, count);
    EXPECT_GT(count.injections, 0);
}

}  // namespace tqa_test
