#include "bench/log.h"

#include "tqamsg/host/log_path.h"
#include "tqamsg/util/log.h"

#include "bench/measure.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <unistd.h>

namespace bench {

LogDirectory::LogDirectory()
    : path_((std::filesystem::temp_directory_path() / "tqamsg-bench-XXXXXX").string()) {
    require(mkdtemp(path_.data()) != nullptr, "no directory for the log");
    path_ += "/";
}

LogDirectory::~LogDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

SilentEcho::SilentEcho() : kept_(dup(STDERR_FILENO)) {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
}

SilentEcho::~SilentEcho() {
    dup2(kept_, STDERR_FILENO);
    close(kept_);
}

namespace {

void writeLine(benchmark::State& state) {
    // The process-wide logger keeps its path until the day changes, so the directory stays.
    static const LogDirectory directory;
    tqa::setAgentLogPath(directory.path().c_str());
    const SilentEcho silent;
    debug_level = 3;
    measure(state, [] { debug(2, "no answer from %s, attempt %d", kLogOperator, kLogAttempt); });
    debug_level = -1;
}

// What the line must cost whoever writes it: the system calls, with nothing to format.
void writeSystemCalls(benchmark::State& state) {
    constexpr std::string_view kLine =
        "T=2026.03.07 14:05:09.042; L=(warning) ; PID=812; TID=-1214; "
        "no answer from backm, attempt 3\n";
    constexpr std::string_view kEcho = "(warning) no answer from backm, attempt 3\n";
    const LogDirectory directory;
    const std::string path = directory.path() + "2026.03.07-compat.log";
    const SilentEcho silent;
    measure(state, [&] {
        ssize_t written = write(STDERR_FILENO, kEcho.data(), kEcho.size());
        const int file = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
        written += write(file, kLine.data(), kLine.size());
        close(file);
        benchmark::DoNotOptimize(written);
    });
}

const bool added = add("log/line", kOurs, writeLine) && add("log/line", "calls", writeSystemCalls);

}  // namespace

}  // namespace bench
