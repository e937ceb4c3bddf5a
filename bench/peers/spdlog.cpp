// spdlog, for comparison: the same line to a file and to standard error, both flushed line by line.
// It keeps its file open, so a file that is moved away is not noticed.
#include "bench/log.h"
#include "bench/measure.h"

#include <memory>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>
#include <string>

namespace bench {

namespace {

constexpr char kPeer[] = "spdlog";

void writeLine(benchmark::State& state) {
    const LogDirectory directory;
    const SilentEcho silent;
    auto file = std::make_shared<spdlog::sinks::basic_file_sink_st>(directory.path() + "log");
    file->set_pattern("T=%Y.%m.%d %H:%M:%S.%e; L=(%l) ; PID=%P; TID=%t; %v");
    auto echo = std::make_shared<spdlog::sinks::stderr_sink_st>();
    echo->set_pattern("(%l) %v");
    spdlog::logger logger("bench", {file, echo});
    logger.flush_on(spdlog::level::trace);
    measure(state,
            [&] { logger.warn("no answer from {}, attempt {}", kLogOperator, kLogAttempt); });
}

const bool added = [] {
    notePeer(kPeer, std::to_string(SPDLOG_VER_MAJOR) + "." + std::to_string(SPDLOG_VER_MINOR) +
                        "." + std::to_string(SPDLOG_VER_PATCH));
    return add("log/line", kPeer, writeLine);
}();

}  // namespace

}  // namespace bench
