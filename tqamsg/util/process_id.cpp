#include "tqamsg/util/process_id.h"

#include <atomic>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using KeptId = std::atomic<pid_t>;

// A page that comes empty to a child: unlike a fork handler it misses none, not even one that was
// made by clone(). Null when there is no such page. It stays to the end of the process.
KeptId* makePage() noexcept {
    void* const page =
        mmap(nullptr, sizeof(KeptId), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED) return nullptr;
    if (madvise(page, sizeof(KeptId), MADV_WIPEONFORK) == 0) return new (page) KeptId(0);
    munmap(page, sizeof(KeptId));
    return nullptr;
}

}  // namespace

pid_t tqa::processId() noexcept {
    static KeptId* const kept = makePage();
    if (kept == nullptr) return getpid();
    pid_t id = kept->load(std::memory_order_relaxed);
    if (id == 0) kept->store(id = getpid(), std::memory_order_relaxed);
    return id;
}
