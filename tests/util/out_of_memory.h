// Running out of memory on purpose: from here on the process gets no more of it than what its heap
// still holds. For death tests, whose process ends with the test.
//
// Not under a sanitizer: AddressSanitizer ends a process whose allocator finds no memory, and where
// it is told not to, some tests still end in it, when it wants memory for itself. What fails there
// is seen under it by tests/nomem, which refuses allocations without taking the memory away.
#pragma once

#include <sys/resource.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TQA_CAN_STARVE 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(memory_sanitizer) || \
    __has_feature(thread_sanitizer)
#define TQA_CAN_STARVE 0
#endif
#endif
#ifndef TQA_CAN_STARVE
#define TQA_CAN_STARVE 1
#endif

namespace tqa_test {

inline void starve() {
    const rlimit nothing = {1, RLIM_INFINITY};
    setrlimit(RLIMIT_AS, &nothing);
}

}  // namespace tqa_test
