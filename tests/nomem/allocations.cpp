#include "tests/nomem/allocations.h"

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

// The linker gives these names to the functions that are wrapped and to those that wrap them.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_realloc(void* block, std::size_t size);
void __wrap_free(void* block);
}

namespace {

constexpr long kNever = std::numeric_limits<long>::max();

struct {
    long asked = 0;
    long refused = 0;
    long first = kNever;
    long last = kNever;
} injected;

long refusedInAll = 0;

tqa_test::Blocks live;

bool isRefused() {
    const long number = injected.asked++;
    if (number < injected.first || number > injected.last) return false;
    ++injected.refused;
    ++refusedInAll;
    return true;
}

void* counted(void* block, long& count) {
    if (block != nullptr) ++count;
    return block;
}

void* allocate(std::size_t size) noexcept {
    return isRefused() ? nullptr : counted(__real_malloc(size == 0 ? 1 : size), live.fromNew);
}

void* allocateOrThrow(std::size_t size) {
    void* const block = allocate(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void release(void* block) noexcept {
    if (block != nullptr) --live.fromNew;
    __real_free(block);
}

}  // namespace

void* __wrap_malloc(std::size_t size) {
    return isRefused() ? nullptr : counted(__real_malloc(size), live.fromMalloc);
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
    return isRefused() ? nullptr : counted(__real_calloc(count, size), live.fromMalloc);
}

void* __wrap_realloc(void* block, std::size_t size) {
    if (isRefused()) return nullptr;
    void* const moved = __real_realloc(block, size);
    return block == nullptr ? counted(moved, live.fromMalloc) : moved;
}

void __wrap_free(void* block) {
    if (block != nullptr) --live.fromMalloc;
    __real_free(block);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

void* operator new(std::size_t size) {
    return allocateOrThrow(size);
}

void* operator new[](std::size_t size) {
    return allocateOrThrow(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}

void operator delete(void* block) noexcept {
    release(block);
}

void operator delete[](void* block) noexcept {
    release(block);
}

void operator delete(void* block, std::size_t) noexcept {
    release(block);
}

void operator delete[](void* block, std::size_t) noexcept {
    release(block);
}

namespace tqa_test {

std::ostream& operator<<(std::ostream& out, const Blocks& blocks) {
    return out << blocks.fromNew << " from new, " << blocks.fromMalloc << " from malloc";
}

Blocks liveBlocks() {
    return live;
}

Injection::Injection() : Injection(kNever, Refusing::Once) {}

Injection::Injection(long first, Refusing how) {
    injected = {0, 0, first, how == Refusing::Once ? first : kNever};
}

Injection::~Injection() {
    injected.first = kNever;
}

long Injection::asked() {
    return injected.asked;
}

long Injection::refused() {
    return injected.refused;
}

long allRefused() {
    return refusedInAll;
}

}  // namespace tqa_test
