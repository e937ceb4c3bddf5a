#include "tqamsg/util/process_id.h"

#include <atomic>
#include <cstddef>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// A page that comes empty to a child: unlike a fork handler it misses none, not even one that was
// made by clone(). It is part of the library's own memory, so it goes when the library is unloaded.
constexpr std::size_t kPage = 4096;
struct alignas(kPage) KeptId {
    std::atomic<pid_t> id;
};
constinit KeptId kept = {};

// False before this file's initialisation, and where pages are larger.
const bool isWiped = madvise(&kept, sizeof kept, MADV_WIPEONFORK) == 0;

}  // namespace

pid_t tqa::processId() noexcept {
    if (!isWiped) return getpid();
    pid_t id = kept.id.load(std::memory_order_relaxed);
    if (id == 0) kept.id.store(id = getpid(), std::memory_order_relaxed);
    return id;
}
