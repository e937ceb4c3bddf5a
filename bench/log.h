// What a log line is measured on: a log directory of its own, and an echo that nobody sees.
#pragma once

#include <string>

namespace bench {

// A new directory for log files, removed with all that is in it.
class LogDirectory {
  public:
    LogDirectory();
    LogDirectory(const LogDirectory&) = delete;
    LogDirectory& operator=(const LogDirectory&) = delete;
    ~LogDirectory();

    // Ends in "/".
    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

// Standard error goes to /dev/null while this lives.
class SilentEcho {
  public:
    SilentEcho();
    SilentEcho(const SilentEcho&) = delete;
    SilentEcho& operator=(const SilentEcho&) = delete;
    ~SilentEcho();

  private:
    int kept_;
};

inline constexpr char kLogOperator[] = "backm";
inline constexpr int kLogAttempt = 3;

}  // namespace bench
