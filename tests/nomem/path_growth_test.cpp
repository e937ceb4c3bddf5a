// The one failure that is not reported: a path that cannot grow ends the process. A path is the way
// to an element and has room for 32 levels in itself, so all other tests stay above that. Here each
// allocation of an operation below it fails in a process of its own, which either ends by abort()
// or finds what every other failure leaves.

#include "tqamsg/vocabulary/word_ids.h"

#include "tests/nomem/message_stage.h"
#include "tests/nomem/sweep.h"

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace tqa_test;
using S = MessageStage;

constexpr int kInlineLevels = 32;

// From the root to the last level without memory; and beyond.
std::string way(int levels) {
    std::string path;
    for (int level = 1; level < levels; ++level) path += level == 1 ? "alerts" : "/alerts";
    return path;
}

const std::string kBeyond = "alerts/alerts/alerts/veid";
const std::string kVeid = "veid";
const std::string kNothing;

std::string deepContent() {
    return message(
        container(tqa::Tag_packet, nested(tqa::Tag_alerts, 40, intElement(tqa::Tag_veid, 5))));
}

std::unique_ptr<S> makeStage(int levels) {
    return std::make_unique<S>(deepContent(), Condition::Private, way(levels));
}

// `deaths` of its allocations are path growths.
struct DeepScenario {
    Scenario<S> scenario;
    int levels;
    int deaths;
};

const DeepScenario kScenarios[] = {
    {{"seek", [](S& s) { return s.at->seek(tqa::Tag_alerts); }}, kInlineLevels, 1},
    {{"firstChild", [](S& s) { return s.at->firstChild(); }}, kInlineLevels, 1},
    {{"newChild", [](S& s) { return s.at->newChild(kVeid, kNothing); }}, kInlineLevels, 1},
    {{"getValue", [](S& s) { return s.at->getValue(&s.text, kVeid); }, 0, -1}, 41, 0},
    {{"putValue of much", [](S& s) { return s.at->putValue(kHuge, kVeid); }}, 41, 0},
    {{"newIterator", [](S& s) { return S::take(s.at->newIterator()); }}, 41, 1},
    {{"seekPresence", [](S& s) { return s.at->seekPresence(kVeid); }}, 41, 1},
    {{"toTextFromChild", [](S& s) { return s.take(s.at->toTextFromChild()); }}, 30, 0},
    {{"encodeToChild",
      [](S& s) {
          return s.at->encodeToChild(const_cast<char*>(typedContent().data()),
                                     static_cast<int>(typedContent().size()));
      }},
     kInlineLevels,
     1},
};

// How the process ended that ran the operation without one allocation.
int statusWithout(const DeepScenario& deep, long allocation) {
    const pid_t child = fork();
    if (child == 0) {
        withoutMemory(
            deep.scenario, [&] { return makeStage(deep.levels); },
            [&] {
                const auto usual = makeStage(deep.levels);
                attempt(deep.scenario, *usual);
                return usual->outcome();
            }(),
            allocation, Refusing::Once);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
}

TEST(NoMemory, APathThatCannotGrowEndsTheProcessAndNothingElseDoes) {
    SweepCount count;
    for (const DeepScenario& deep : kScenarios) {
        SCOPED_TRACE(deep.scenario.name);
        long allocations = 0;
        {
            const auto stage = makeStage(deep.levels);
            const Injection none;
            ASSERT_EQ(attempt(deep.scenario, *stage), 0);
            allocations = Injection::asked();
        }
        int deaths = 0;
        for (long i = 0; i < allocations; ++i) {
            const int status = statusWithout(deep, i);
            const bool died = WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT;
            if (died) ++deaths;
            EXPECT_TRUE(died || status == 0) << i << ": " << status;
            ++count.injections;
            ++count.refused;
        }
        EXPECT_EQ(deaths, deep.deaths);
        ++count.scenarios;
    }
    report("paths of more than 32 levels", count);
}

}  // namespace
