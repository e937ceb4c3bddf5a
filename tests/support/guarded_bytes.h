// Bytes in memory that end where nothing more can be read or written: code that steps behind them
// does not survive, whatever it is built with.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace tqa_test {

class GuardedBytes {
  public:
    explicit GuardedBytes(std::size_t size) : size_(size) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t room = (size + page) / page * page;
        mappedSize_ = room + page;
        mapped_ =
            mmap(nullptr, mappedSize_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapped_ == MAP_FAILED) std::abort();
        char* const end = static_cast<char*>(mapped_) + room;
        if (mprotect(end, page, PROT_NONE) != 0) std::abort();
        bytes_ = end - size;
    }
    explicit GuardedBytes(std::string_view content) : GuardedBytes(content.size()) {
        if (!content.empty()) std::memcpy(bytes_, content.data(), content.size());
    }
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;
    ~GuardedBytes() { munmap(mapped_, mappedSize_); }

    char* data() const { return bytes_; }
    std::string_view view() const { return {bytes_, size_}; }

  private:
    void* mapped_;
    std::size_t mappedSize_ = 0;
    char* bytes_;
    std::size_t size_;
};

}  // namespace tqa_test
