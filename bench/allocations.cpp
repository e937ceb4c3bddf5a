#include "bench/allocations.h"

#include <cstddef>

namespace {

// Everything that is measured runs on one thread, and a plain counter costs less than an atomic.
constinit long made = 0;

}  // namespace

long bench::allocations() noexcept {
    return made;
}

// What glibc's allocator is called beneath its replaceable names. operator new calls malloc.
extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* malloc(std::size_t size) noexcept {
    ++made;
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    ++made;
    return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) noexcept {
    ++made;
    return __libc_realloc(block, size);
}

}  // extern "C"
