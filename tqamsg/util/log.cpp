#include "tqamsg/util/log.h"

#include "tqamsg/util/process_id.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <mutex>
#include <new>
#include <pthread.h>
#include <string_view>
#include <unistd.h>

int debug_level = -1;

namespace {

constexpr std::array kLevelNames = {"(undefined) ", "(error) ",  "(warning) ", "(info) ",
                                    "(debug) ",     "(packet) ", "(packets) "};

constexpr std::size_t kLineCapacity = 4224;

// What prefix and message may take, the zero byte that ends them included.
constexpr std::size_t kTextCapacity = 4212;

// The longest prefix and some more.
constexpr std::size_t kPrefixCapacity = 256;

constexpr char kCutMark[] = "...\n";

// A child has only the thread that forked: a lock that another one held at that moment would stay
// locked in it for ever. So fork() waits until nobody is inside one of these, which stand around
// all that is locked here: the echo's lock, and those of the loggers and of the time zone.
constinit std::mutex echoGate;
constinit std::mutex fileGate;

void closeGates() {
    echoGate.lock();
    fileGate.lock();
}

void openGates() {
    fileGate.unlock();
    echoGate.unlock();
}

[[maybe_unused]] const int forkHandlers = pthread_atfork(closeGates, openGates, openGates);

// Logging must not disturb the errno that the caller is about to report.
class ErrnoKeeper {
  public:
    ErrnoKeeper() = default;
    ErrnoKeeper(const ErrnoKeeper&) = delete;
    ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;
    ~ErrnoKeeper() { errno = kept_; }

  private:
    const int kept_ = errno;
};

// A second of local time, broken down and as it begins a line.
struct Second {
    std::time_t time = 0;
    std::tm fields = {};
    char text[64] = {};
    std::size_t length = 0;
};

// Each thread keeps its last one: making it costs as much as the rest of a line. Null when the
// second has no date.
const Second* secondOf(std::time_t time) {
    static thread_local constinit Second kept;
    if (kept.length != 0 && kept.time == time) return &kept;
    std::tm now;
    {
        const std::lock_guard gate(fileGate);
        if (localtime_r(&time, &now) == nullptr) return nullptr;
    }
    kept.time = time;
    kept.fields = now;
    kept.length = static_cast<std::size_t>(std::snprintf(
        kept.text, sizeof kept.text, "T=%4d.%02d.%02d %02d:%02d:%02d.", now.tm_year + 1900,
        now.tm_mon + 1, now.tm_mday, now.tm_hour, now.tm_min, now.tm_sec));
    return &kept;
}

// What stands before the message in the file.
class Prefix {
  public:
    Prefix(const Second& second, long microseconds, int level) {
        const int milliseconds = static_cast<int>(microseconds / 1000);
        add({second.text, second.length});
        add(milliseconds < 10 ? "00" : milliseconds < 100 ? "0" : "");
        add(milliseconds);
        add("; L=");
        add(getLogLevelName(level));
        add("; PID=");
        add(tqa::processId());
        add("; TID=");
        add(static_cast<int>(pthread_self()));
        add("; ");
    }

    std::string_view text() const { return {text_, length_}; }

  private:
    void add(std::string_view part) { length_ += part.copy(text_ + length_, part.size()); }
    void add(int number) {
        char* const end = std::to_chars(text_ + length_, std::end(text_), number).ptr;
        length_ = static_cast<std::size_t>(end - text_);
    }

    char text_[kPrefixCapacity];
    std::size_t length_ = 0;
};

// A message, formatted once, with room before it for what each destination puts there.
class Line {
  public:
    [[gnu::format(printf, 2, 0)]] Line(const char* format, std::va_list args)
        : length_(std::vsnprintf(message(), kLineCapacity, format, args)) {}

    // Whether the message and a line break have room.
    bool isWhole() const { return length_ >= 0 && length() + 1 < kLineCapacity; }

    // The whole line behind a prefix. It lasts until the next one is asked for.
    std::string_view behind(std::string_view prefix) {
        message()[length()] = '\n';
        return {put(prefix), prefix.size() + length() + 1};
    }

    // The line as the file takes it.
    std::string_view cutBehind(std::string_view prefix) {
        const std::size_t room = kTextCapacity - prefix.size();
        if (isWhole() && length() < room) return behind(prefix);
        // What a failed formatter leaves behind is undefined.
        if (length_ < 0) std::memset(message(), 0, kLineCapacity);
        std::memcpy(message() + (length_ < 0 ? 0 : room - 1), kCutMark, sizeof kCutMark);
        // Kept: the count takes the room for full although its last byte was the terminator, so a
        // cut line is written with the zero byte that follows its line break.
        return {put(prefix), kTextCapacity + std::strlen(kCutMark)};
    }

  private:
    char* message() { return text_ + kPrefixCapacity; }
    std::size_t length() const { return static_cast<std::size_t>(length_); }
    const char* put(std::string_view prefix) {
        char* const start = message() - prefix.size();
        prefix.copy(start, prefix.size());
        return start;
    }

    char text_[kPrefixCapacity + kLineCapacity];
    int length_;  // of the whole message, negative when it could not be formatted
};

// Format and arguments serve again for a message without room.
[[gnu::format(printf, 3, 0)]] void echo(Line& line, int level, const char* format,
                                        std::va_list args) {
    const char* const name = getLogLevelName(level);
    const std::lock_guard gate(echoGate);
    const TQALockGuard guard(commonOutLock);
    if (line.isWhole()) {
        const std::string_view text = line.behind(name);
        std::fwrite(text.data(), 1, text.size(), stderr);
    } else {
        std::fputs(name, stderr);
        std::vfprintf(stderr, format, args);
        std::fputc('\n', stderr);
    }
    std::fflush(stderr);
}

}  // namespace

const char* getLogLevelName(int level) {
    const auto index = static_cast<std::size_t>(level);
    return index < kLevelNames.size() ? kLevelNames[index] : "(unknown) ";
}

void vdebug_print(int level, const char* format, std::va_list args) {
    if (format == nullptr) return;
    std::va_list again;
    va_copy(again, args);
    Line line(format, args);
    echo(line, level, format, again);
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
    std::va_list again;
    va_copy(again, args);
    Line line(format, args);
    // Kept: the echo carries the name of the verbosity, not that of the line's own level.
    echo(line, debug_level, format, again);
    va_end(again);

    const Second* const second = secondOf(moment.tv_sec);
    if (second == nullptr) return;
    const int file = openFileOf(second->fields);
    if (file < 0) return;
    const Prefix prefix(*second, moment.tv_usec, level);
    const std::string_view text = line.cutBehind(prefix.text());
    // One write only: a second one for the rest could land inside another process's line.
    [[maybe_unused]] const ssize_t written = write(file, text.data(), text.size());
    close(file);
}

// Opened for every line: there is no handle to lose when the file is moved away.
int Logger::openFileOf(const std::tm& now) try {
    const std::lock_guard gate(fileGate);
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
