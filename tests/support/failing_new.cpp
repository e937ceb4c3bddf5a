#include "tests/support/failing_new.h"

#include <cstddef>
#include <dlfcn.h>
#include <new>

namespace {

constexpr int kNever = -1;

// How many allocations of this thread still succeed before one fails.
thread_local int remaining = kNever;

// The function that would be called if this program did not replace it: the standard library's, or
// the sanitizer's, which keeps track of what came from new.
template <class Function>
Function* replaced(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

namespace tqa_test {

FailingNew::FailingNew(int allocationsBefore) {
    remaining = allocationsBefore;
}

FailingNew::~FailingNew() {
    remaining = kNever;
}

bool FailingNew::hasFailed() const {
    return remaining == kNever;
}

bool FailingNew::works() {
    const FailingNew failing(0);
    operator delete(operator new(1, std::nothrow));
    return failing.hasFailed();
}

}  // namespace tqa_test

void* operator new(std::size_t size) {
    static auto* const next = replaced<void*(std::size_t)>("_Znwm");
    if (remaining != kNever && remaining-- == 0) throw std::bad_alloc();
    return next(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept try {
    return operator new(size);
} catch (const std::bad_alloc&) {
    return nullptr;
}

void operator delete(void* memory) noexcept {
    static auto* const next = replaced<void(void*)>("_ZdlPv");
    next(memory);
}

void operator delete(void* memory, std::size_t size) noexcept {
    static auto* const next = replaced<void(void*, std::size_t)>("_ZdlPvm");
    next(memory, size);
}
