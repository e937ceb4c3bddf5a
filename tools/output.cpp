#include "tools/output.h"

#include "tools/progress.h"
#include "tools/verb.h"

#include <cerrno>
#include <string>
#include <unistd.h>
#include <utility>

namespace tool {

namespace {

constexpr std::size_t kPiece = 1 << 16;

std::string pending;

void writeAll(std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(STDOUT_FILENO, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && errno == EPIPE) throw ReaderGone();
        if (count < 0) throw Failure(kInputOutput, "standard output cannot be written");
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

}  // namespace

void writeOutput(std::string_view text) {
    pending += text;
    if (pending.size() >= kPiece) flushOutput();
}

void flushOutput() {
    if (pending.empty()) return;
    hideProgress();
    // What cannot be written is not tried again.
    writeAll(std::exchange(pending, {}));
}

}  // namespace tool
