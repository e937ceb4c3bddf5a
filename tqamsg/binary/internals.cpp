#include "tqamsg/binary/internals.h"

#include "tqamsg/binary/layout.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::int64_t kPage = 4096;

std::int64_t wholePages(std::int64_t n) {
    return (n + kPage - 1) / kPage * kPage;
}

std::size_t bytes(std::int64_t n) {
    return static_cast<std::size_t>(n);
}

}  // namespace

std::uint64_t TQABinaryInternals::nextSerial() {
    static std::atomic<std::uint64_t> last = 0;
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

TQABinaryInternals::TQABinaryInternals(const TQABinaryInternals& other) {
    if (expand(other.used) == nullptr || other.used == 0) return;
    std::memcpy(append(other.used), other.buf, bytes(other.used));
}

TQABinaryInternals::~TQABinaryInternals() {
    std::free(block);
}

char* TQABinaryInternals::grow(std::int64_t n) {
    if (buf != block) {
        std::memmove(block, buf, bytes(used));
        takeFront();
        if (capacity > used + n) return buf;
    }
    // Doubling keeps repeated appends cheap; near the limit the buffer takes what is left.
    const std::int64_t wanted = capacity + (n >= capacity ? wholePages(n) : capacity);
    const std::int64_t target = std::min(wanted, tqa::kMaxCapacity);
    if (target < used + n || (target > allocated && !allocate(target))) return nullptr;
    capacity = static_cast<std::int32_t>(target);
    changeStamp();
    return buf;
}

bool TQABinaryInternals::allocate(std::int64_t target) {
    const std::int64_t wish = std::clamp(wholePages(expected), target, tqa::kMaxCapacity);
    std::int64_t size = wish;
    void* grown = std::realloc(block, bytes(size));
    if (grown == nullptr && wish > target) {
        size = target;
        grown = std::realloc(block, bytes(size));
    }
    if (grown == nullptr) return false;
    buf = block = static_cast<char*>(grown);
    allocated = size;
    return true;
}

char* TQABinaryInternals::copy(const char* message, int) {
    const int size = tqa::wholeMessageSize(message, tqa::kMaxCapacity);
    if (size == 0 || expand(size) == nullptr) return nullptr;
    std::memcpy(append(size), message, bytes(size));
    return buf;
}

void TQABinaryInternals::resize(int n) {
    if (used + n > touched) {
        std::memset(buf + touched, 0, bytes(used + n - touched));
        touched = used + n;
    }
    used += n;
    ++version;
}

void TQABinaryInternals::remove(int from, int n) {
    const int behind = used - from - n;
    edits.add(from);
    if (behind <= kPage || behind <= from) {
        std::memmove(buf + from, buf + from + n, bytes(behind));
        resize(-n);
        return;
    }
    std::memmove(buf + n, buf, bytes(from));
    buf += n;
    capacity -= n;
    touched -= n;
    used -= n;
    ++version;
}

// The block is in use from its start again. What is to stay has been moved there.
void TQABinaryInternals::takeFront() {
    capacity += front();
    touched += front();
    buf = block;
}

void TQABinaryInternals::clear() {
    takeFront();
    if (touched > 0) std::memset(buf, 0, bytes(touched));
    touched = 0;
    used = 0;
    edits.add(0);
    changeStamp();
}

void TQABinaryInternals::drop(TQABinaryInternals* record) {
    if (record != nullptr && --record->holders == 0) delete record;
}
