// The messages that everything is measured on: shaped like the agent's traffic, with words of the
// vocabulary and seeded values. They are made when they are first asked for and kept.
#pragma once

#include "bench/script.h"

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

const Workload& small();      // a request of 600 bytes
const Workload& veStatus();   // a reply of 60 KB: 200 VEs, six levels, numbers
const Workload& processes();  // 4 MB: tens of thousands of small elements
const Workload& textHeavy();  // 4 MB: values of 2 to 8 KB with entities
const Workload& deep();       // 10,000 nested elements

// The same by the names that they have in benchmarks.
struct Source {
    const char* name;
    const Workload& (*make)();
};

inline constexpr Source kWorkloads[] = {{"small", small},
                                        {"ve_status", veStatus},
                                        {"processes", processes},
                                        {"textheavy", textHeavy},
                                        {"deep", deep}};

const Workload& processesOf(std::size_t kilobytes);
const Workload& deepOf(int levels);

inline constexpr int kFourTimesDeep = 40000;

// The sizes at which cost is plotted, in kilobytes of `processes`.
inline constexpr std::size_t kSizes[] = {16, 64, 256, 1024, 4096};

// What one VE of veStatus() reports, for the builders that are written by hand as a user would.
struct VeRecord {
    int veid;
    int state, transition;
    int user, system, idle;
    long long memoryUsed, memoryTotal;
    int diskspace, inodes;
};

struct VeReply {
    std::string id, version, origin, target, cookie;
    int priority;
    std::vector<VeRecord> ves;
};

const VeReply& veReply();

}  // namespace bench
