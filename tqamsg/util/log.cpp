#include "tqamsg/util/log.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <pthread.h>
#include <unistd.h>

int debug_level = -1;

namespace {

constexpr std::array kLevelNames = {"(undefined) ", "(error) ",  "(warning) ", "(info) ",
                                    "(debug) ",     "(packet) ", "(packets) "};

constexpr std::size_t kLineCapacity = 4224;

// What prefix and message may take, the zero byte that ends them included.
constexpr std::size_t kTextCapacity = 4212;

constexpr char kCutMark[] = "...";

// Logging must not disturb the errno that the caller is about to report, nor the one that a "%m"
// in the format is to print.
class ErrnoKeeper {
  public:
    ErrnoKeeper() = default;
    ErrnoKeeper(const ErrnoKeeper&) = delete;
    ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;
    ~ErrnoKeeper() { restore(); }

    void restore() const { errno = kept_; }

  private:
    const int kept_ = errno;
};

std::size_t formatPrefix(char* line, const std::tm& now, long microseconds, int level) {
    const int length = std::snprintf(
        line, kLineCapacity - 1, "T=%4d.%02d.%02d %02d:%02d:%02d.%03d; L=%s; PID=%d; TID=%d; ",
        now.tm_year + 1900, now.tm_mon + 1, now.tm_mday, now.tm_hour, now.tm_min, now.tm_sec,
        static_cast<int>(microseconds / 1000), getLogLevelName(level), getpid(),
        static_cast<int>(pthread_self()));
    return static_cast<std::size_t>(length);
}

// Appends message and line break to the prefix and returns how many bytes to write.
[[gnu::format(printf, 3, 0)]] std::size_t formatMessage(char* line, std::size_t prefix,
                                                        const char* format, std::va_list args) {
    const std::size_t room = kTextCapacity - prefix;
    const int length = std::vsnprintf(line + prefix, room, format, args);
    if (length >= 0 && static_cast<std::size_t>(length) < room) {
        line[prefix + static_cast<std::size_t>(length)] = '\n';
        return prefix + static_cast<std::size_t>(length) + 1;
    }
    // What a failed formatter leaves behind is undefined.
    if (length < 0) std::memset(line + prefix, 0, kLineCapacity - prefix);
    std::strcat(line, kCutMark);
    std::strcat(line, "\n");
    // Kept: the count takes the room for full although its last byte was the terminator, so a cut
    // line is written with the zero byte that follows its line break.
    return kTextCapacity + std::strlen(kCutMark) + 1;
}

}  // namespace

const char* getLogLevelName(int level) {
    const auto index = static_cast<std::size_t>(level);
    return index < kLevelNames.size() ? kLevelNames[index] : "(unknown) ";
}

void vdebug_print(int level, const char* format, std::va_list args) {
    if (format == nullptr) return;
    char line[kLineCapacity];
    const char* const name = getLogLevelName(level);
    const std::size_t prefix = std::strlen(name);
    std::memcpy(line, name, prefix);
    std::va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(line + prefix, kLineCapacity - prefix, format, args);
    const std::size_t end = prefix + static_cast<std::size_t>(length);

    const TQALockGuard guard(commonOutLock);
    if (length >= 0 && end < kLineCapacity) {
        line[end] = '\n';
        std::fwrite(line, 1, end + 1, stderr);
    } else {
        std::fputs(name, stderr);
        std::vfprintf(stderr, format, again);
        std::fputc('\n', stderr);
    }
    std::fflush(stderr);
    va_end(again);
}

Logger::Logger(const char* directory) : directory_(directory) {}

Logger::~Logger() = default;

void Logger::print(int level, const char* format, std::va_list args) {
    timeval now;
    gettimeofday(&now, nullptr);
    printAt(now, level, format, args);
}

void Logger::printAt(const timeval& moment, int level, const char* format, std::va_list args) {
    if (format == nullptr) return;
    const ErrnoKeeper callersErrno;
    std::va_list echoed;
    va_copy(echoed, args);
    // Kept: the echo carries the name of the verbosity, not that of the line's own level.
    vdebug_print(debug_level, format, echoed);
    va_end(echoed);

    std::tm now;
    if (localtime_r(&moment.tv_sec, &now) == nullptr) return;
    const int file = openFileOf(now);
    if (file < 0) return;
    char line[kLineCapacity];
    const std::size_t prefix = formatPrefix(line, now, moment.tv_usec, level);
    callersErrno.restore();
    const std::size_t length = formatMessage(line, prefix, format, args);
    // One write only: a second one for the rest could land inside another process's line.
    [[maybe_unused]] const ssize_t written = write(file, line, length);
    close(file);
}

// Opened for every line: there is no handle to lose when the file is moved away.
int Logger::openFileOf(const std::tm& now) try {
    const TQALockGuard guard(lock_);
    if (directory_ == nullptr) return -1;
    // Kept: only the day of the month is compared.
    if (day_ != now.tm_mday) {
        char name[256];
        std::snprintf(name, sizeof name, "%04d.%02d.%02d-compat.log", now.tm_year + 1900,
                      now.tm_mon + 1, now.tm_mday);
        day_ = 0;
        path_ = directory_;
        path_ += name;
        day_ = now.tm_mday;
    }
    return open(path_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
} catch (const std::bad_alloc&) {
    return -1;
}

void Logger::put(int level, const char* format, ...) {
    if (level > debug_level) return;
    std::va_list args;
    va_start(args, format);
    print(level, format, args);
    va_end(args);
}

void Logger::put(const char* format, ...) {
    if (debug_level < 0) return;
    std::va_list args;
    va_start(args, format);
    print(0, format, args);
    va_end(args);
}

void debug(int level, const char* format, ...) {
    if (level > debug_level) return;
    std::va_list args;
    va_start(args, format);
    Log.print(level, format, args);
    va_end(args);
}
