// Messages as text files.

#include "tqamsg/msg/message.h"
#include "tqamsg/util/c_text.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace {

constexpr std::size_t kStep = 4096;
constexpr int kOutOfMemory = -2;

class OpenFile {
  public:
    explicit OpenFile(int descriptor) : descriptor_(descriptor) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() {
        if (isOpen()) ::close(descriptor_);
    }

    bool isOpen() const { return descriptor_ >= 0; }

    // Up to `size` bytes at `to`; 0 at the end of the file, -1 on failure.
    ssize_t read(char* to, std::size_t size) const {
        ssize_t count;
        do count = ::read(descriptor_, to, size);
        while (count < 0 && errno == EINTR);
        return count;
    }

  private:
    int descriptor_;
};

// Reads the rest of the file.
int readAll(const OpenFile& file, tqa::TextBuffer& text) {
    for (;;) {
        char* at = text.grow(kStep);
        if (at == nullptr) return kOutOfMemory;
        const ssize_t count = file.read(at, kStep);
        if (count <= 0) return count < 0 ? -1 : 0;
        text.commit(static_cast<std::size_t>(count));
    }
}

}  // namespace

int TQAMessage::toTextFile(const std::string& path) {
    const tqa::CText text(toText(nullptr, false, std::string()));
    if (text == nullptr) return -1;
    std::FILE* file = std::fopen(path.c_str(), "w+");
    if (file == nullptr) return -1;
    const std::size_t length = std::strlen(text.get());
    const bool written = std::fwrite(text.get(), 1, length, file) == length;
    // A full disk may show only when the last bytes are flushed.
    const bool closed = std::fclose(file) == 0;
    return written && closed ? 0 : -1;
}

int TQAMessage::fromTextFile(const std::string& path) {
    tqa::TextBuffer text;
    {
        const OpenFile file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        if (!file.isOpen()) return -1;
        const int status = readAll(file, text);
        if (status != 0) return status;
    }
    const tqa::CText whole(text.release());
    return whole == nullptr ? kOutOfMemory : fromText(whole.get(), nullptr);
}
