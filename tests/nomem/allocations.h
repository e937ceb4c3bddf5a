// The allocations of this program: counted, refused on demand, and balanced.
//
//     const Blocks before = liveBlocks();
//     {
//         const Injection no(3, Refusing::FromThere);  // the fourth one fails and all after it
//         convert();
//     }
//     EXPECT_EQ(liveBlocks(), before);                 // nothing leaked, nothing freed twice
//
// malloc, calloc, realloc and free as the library's objects and the tests call them are replaced by
// the linker (--wrap), operator new and delete by their definitions here. What the C library
// allocates for itself is neither counted nor refused. One thread only.
#pragma once

#include <ostream>

namespace tqa_test {

// Blocks that were allocated and not yet freed. Memory from new that is freed with free() shows in
// both.
struct Blocks {
    long fromNew = 0;
    long fromMalloc = 0;

    bool operator==(const Blocks&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Blocks& blocks);

Blocks liveBlocks();

enum class Refusing { Once, FromThere };

// As long as it lives the allocations are numbered from 0, and those that were chosen are refused.
class Injection {
  public:
    Injection();  // refuses none
    Injection(long first, Refusing how);
    Injection(const Injection&) = delete;
    Injection& operator=(const Injection&) = delete;
    ~Injection();

    static long asked();
    static long refused();
};

// Of the whole process.
long allRefused();

}  // namespace tqa_test
