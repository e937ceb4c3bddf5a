// A text in memory that can't be written and ends, with its zero byte, where nothing more can be
// read: code that writes into its text or looks behind it does not survive.
#pragma once

#include <cstdlib>
#include <cstring>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace tqa_test {

class GuardedText {
  public:
    explicit GuardedText(std::string_view text) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t room = (text.size() + page) / page * page;
        size_ = room + page;
        void* mapped =
            mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapped == MAP_FAILED) std::abort();
        start_ = static_cast<char*>(mapped);
        text_ = start_ + room - text.size() - 1;
        if (!text.empty()) std::memcpy(text_, text.data(), text.size());
        if (mprotect(start_, room, PROT_READ) != 0) std::abort();
        if (mprotect(start_ + room, page, PROT_NONE) != 0) std::abort();
    }
    GuardedText(const GuardedText&) = delete;
    GuardedText& operator=(const GuardedText&) = delete;
    ~GuardedText() { munmap(start_, size_); }

    // Not const, as the readers take it so.
    char* data() const { return text_; }

  private:
    char* start_;
    char* text_;
    std::size_t size_;
};

}  // namespace tqa_test
