#include "tools/progress.h"

#include <chrono>
#include <cstdio>
#include <string>
#include <unistd.h>

namespace tool {

namespace {

constexpr int kWidth = 40;
constexpr std::chrono::milliseconds kPause(100);

bool isShown = false;
std::chrono::steady_clock::time_point lastDrawn;

bool isTime() {
    const auto now = std::chrono::steady_clock::now();
    if (now - lastDrawn < kPause) return false;
    lastDrawn = now;
    return true;
}

std::string barOf(std::int64_t done, std::int64_t total) {
    const auto filled = static_cast<std::size_t>(kWidth * done / total);
    return "[" + std::string(filled, '#') + std::string(kWidth - filled, ' ') + "] " +
           std::to_string(100 * done / total) + " %";
}

}  // namespace

void showProgress(std::int64_t done, std::int64_t total) {
    if (done <= kLongInput && total <= kLongInput) return;
    static const bool isTerminal = ::isatty(STDERR_FILENO) == 1;
    if (!isTerminal || !isTime()) return;
    const std::string bar = total >= done ? barOf(done, total) : "";
    std::fprintf(stderr, "\r%s %lld MiB\x1b[K", bar.c_str(), static_cast<long long>(done >> 20));
    isShown = true;
}

void hideProgress() {
    if (!isShown) return;
    std::fputs("\r\x1b[K", stderr);
    isShown = false;
}

}  // namespace tool
