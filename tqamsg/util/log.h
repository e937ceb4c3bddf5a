// The process-wide logger.
//
//     debug_level = 3;                              // the host asks for everything up to "info"
//     debug(2, "no answer from %s", name.c_str());  // 2 <= 3: logged
//
// A line that is let through is echoed on standard error and appended to the day's file in the
// agent's log directory, for example 2006.03.07-compat.log:
//
//     T=2006.03.07 14:05:09.042; L=(warning) ; PID=812; TID=-1214; no answer from backm
//
// Levels: 0 undefined, 1 error, 2 warning, 3 info, 4 debug, 5 packet, 6 packets.
//
// Any thread may log. Each line is one append-mode write, so lines of several threads and
// processes never run into each other. Nothing here reports a failure, throws or changes errno: a
// line whose file cannot be opened is lost, after its echo was written. A child that was made by
// fork() may log, whatever the other threads of its parent were about; fork() waits for their
// echoes to be written.
#pragma once

#include "tqamsg/export.h"
#include "tqamsg/host/lock.h"

#include <cstdarg>
#include <ctime>
#include <string>
#include <sys/time.h>

// Holds a lock as long as it lives.
class TQALockGuard {
  public:
    explicit TQALockGuard(TQALock& lock) : lock_(lock) { lock_.lock(); }
    TQALockGuard(const TQALockGuard&) = delete;
    TQALockGuard& operator=(const TQALockGuard&) = delete;
    ~TQALockGuard() { lock_.unlock(); }

  private:
    TQALock& lock_;
};

// Writes lines to the daily files of one directory.
class TQA_API Logger {
  public:
    // `directory` ends with "/" and is kept as a pointer, so it must live as long as the logger.
    // With a null directory lines are only echoed.
    explicit Logger(const char* directory);
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;
    ~Logger();

    // Writes one line whatever `debug_level` says, unless the format is null. A line has room for
    // 4211 characters: a longer message is cut and "..." added.
    [[gnu::format(printf, 3, 0)]] void print(int level, const char* format, std::va_list args);

    // print() as of a given moment. A change of the time zone shows from the next second on.
    [[gnu::format(printf, 4, 0)]] void printAt(const timeval& moment, int level, const char* format,
                                               std::va_list args);

    // Writes one line if `level` <= `debug_level`; without a level it counts as level 0.
    [[gnu::format(printf, 3, 4)]] void put(int level, const char* format, ...);
    [[gnu::format(printf, 2, 3)]] void put(const char* format, ...);

  private:
    TQA_LOCAL int openFileOf(const std::tm& now);

    TQALock lock_;      // guards the path and its day
    std::string path_;  // directory and file name of `day_`
    int day_ = 0;       // day of the month, 0 before the first line
    const char* directory_;
};

// The verbosity: calls of this level and below are logged. -1, the value at load, logs nothing.
extern TQA_API int debug_level;

// A name of the host process's choice; the library does not use it.
extern TQA_API std::string debug_name;

// The logger on the agent's log directory.
extern TQA_API Logger Log;

// Serialises the echo of all loggers. Never held together with a logger's own lock.
extern TQA_API TQALock commonOutLock;

// Writes one line to `Log` if `level` <= `debug_level`.
[[gnu::format(printf, 2, 3)]] TQA_API void debug(int level, const char* format, ...);

// "(info) " for 3 and so on, with the blank; "(unknown) " for any other number than 0 to 6.
TQA_API const char* getLogLevelName(int level);

// The echo: level name, message (never cut) and line break on standard error, whatever
// `debug_level` says. Nothing for a null format.
[[gnu::format(printf, 2, 0)]] TQA_API void vdebug_print(int level, const char* format,
                                                        std::va_list args);
