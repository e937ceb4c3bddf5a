// Message text files, kept in memory.

#include "fuzz/target.h"
#include "tests/support/plain_text.h"
#include "tests/support/usage.h"

#include <sys/mman.h>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace tqa_test;

namespace {

class MemoryFile {
  public:
    explicit MemoryFile(std::string_view content)
        : descriptor_(memfd_create("message", MFD_CLOEXEC)) {
        EXPECT_EQ(write(descriptor_, content.data(), content.size()),
                  static_cast<ssize_t>(content.size()));
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { close(descriptor_); }

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

  private:
    int descriptor_;
};

}  // namespace

TQA_TARGET(text_file) {
    const MemoryFile file(input);
    const Message m = emptyMessage();
    const bool reads = plainRead(input, 0).has_value();
    EXPECT_EQ(m->fromTextFile(file.path()), reads ? 0 : -1);
    if (!reads) return;
    EXPECT_EQ(m->toTextFile(file.path()), 0);
    const Message again = emptyMessage();
    EXPECT_EQ(again->fromTextFile(file.path()), plainRead(text(m), 0) ? 0 : -1);
}
