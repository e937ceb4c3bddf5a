#include "tools/input.h"

#include "tools/output.h"
#include "tools/progress.h"
#include "tools/verb.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tool {

namespace {

constexpr std::size_t kFileStep = 1 << 20;
constexpr std::size_t kPipeStep = 1 << 16;

[[noreturn]] void fail(const std::string& name) {
    throw Failure(kInputOutput, name + ": " + std::strerror(errno));
}

std::int64_t sizeOfFile(int descriptor) {
    struct stat status = {};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : 0;
}

}  // namespace

std::string nameOf(const std::string& file) {
    return file == "-" ? "standard input" : file;
}

Input::Input(const std::string& file)
    : name_(nameOf(file)),
      descriptor_(file == "-" ? STDIN_FILENO : ::open(file.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (descriptor_ < 0) fail(name_);
    total_ = sizeOfFile(descriptor_);
}

Input::~Input() {
    if (descriptor_ != STDIN_FILENO) ::close(descriptor_);
}

bool Input::more() {
    if (isAtEnd_) return false;
    if (total_ == 0) flushOutput();
    // Moved only when that is no more work than what was consumed.
    if (from_ >= size()) {
        buffer_.erase(0, from_);
        from_ = 0;
    }
    const std::size_t old = buffer_.size();
    buffer_.resize(old + (total_ > 0 ? kFileStep : kPipeStep));
    ssize_t count = 0;
    while ((count = ::read(descriptor_, buffer_.data() + old, buffer_.size() - old)) < 0 &&
           errno == EINTR) {
    }
    if (count < 0) fail(name_);
    buffer_.resize(old + static_cast<std::size_t>(count));
    isAtEnd_ = count == 0;
    read_ += count;
    showProgress(read_, total_);
    return !isAtEnd_;
}

void Input::fill(std::size_t count) {
    while (size() < count && more()) {
    }
}

void Input::consume(std::size_t count) {
    from_ += count;
    offset_ += static_cast<std::int64_t>(count);
}

void Input::replace(std::string bytes) {
    buffer_ = std::move(bytes);
    from_ = 0;
    offset_ = 0;
    isAtEnd_ = true;
}

std::string readAll(const std::string& file) {
    Input input(file);
    while (input.more()) {
    }
    return std::string(input.rest());
}

}  // namespace tool
