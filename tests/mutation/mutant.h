// What the rewritten sources ask at each mutant: whether it is the one of this run. The compiler is
// told to include this in front of every source.
//
//     TQA_MUTANT=7              the mutant that is active; none without it
//     TQA_MUTANTS_REACHED=FILE  a file of kMost bytes, in which each mutant that is asked for sets
//                               its own; child processes write to the same file
#pragma once

#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <type_traits>
#include <unistd.h>

namespace mutant {

inline constexpr int kMost = 1 << 14;

// Each program and each shared library has its own.
[[gnu::visibility("hidden")]] inline unsigned char nobodyLooks[kMost];
[[gnu::visibility("hidden")]] inline unsigned char* reached = nobodyLooks;
[[gnu::visibility("hidden")]] inline int chosen = 0;

// Before all other code, which may have mutants. Every source brings this, the first that runs does
// it. The system is called directly, for some tests put themselves before open() and close().
[[gnu::constructor(101), maybe_unused]] static void choose() {
    if (const char* id = std::getenv("TQA_MUTANT")) chosen = std::atoi(id);
    const char* path = std::getenv("TQA_MUTANTS_REACHED");
    if (path == nullptr || reached != nobodyLooks) return;
    const int file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, O_RDWR));
    if (file < 0) return;
    void* shared = mmap(nullptr, kMost, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (shared != MAP_FAILED) reached = static_cast<unsigned char*>(shared);
    syscall(SYS_close, file);
}

inline bool isChosen(int id) {
    reached[id] = 1;
    return id == chosen;
}

// False for the compiler, which computes with the original.
constexpr bool active(int id) {
    return std::is_constant_evaluated() ? false : isChosen(id);
}

}  // namespace mutant
