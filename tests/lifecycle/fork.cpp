// Forks while other threads log and use messages: each child must do the same and end, whatever the
// threads of its parent were in the middle of. fork DIRECTORY
#include "tests/lifecycle/everything.h"

#include <atomic>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kThreads = 4;
constexpr int kChildren = 300;
constexpr unsigned kSeconds = 20;  // that a child may take

// Lines of two loggers, one of which has to look for its file's name each time.
void logLines(const char* directory) {
    Logger fresh(directory);
    for (int i = 0; i < 5; ++i) {
        debug(1, "line %d", i);
        fresh.put(1, "line %d", i);
    }
}

[[noreturn]] void child(const char* directory) {
    alarm(kSeconds);
    logLines(directory);
    lifecycle::useEverything();
    std::_Exit(0);
}

}  // namespace

int main(int, char** argv) {
    const std::string directory = std::string(argv[1]) + "/";
    lifecycle::require(tqa::setAgentLogPath(directory.c_str()) == 0, "the log's directory");
    debug_level = 1;
    std::atomic<bool> done = false;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            while (!done) {
                logLines(directory.c_str());
                lifecycle::useEverything();
            }
        });
    }
    for (int i = 0; i < kChildren; ++i) {
        const pid_t id = fork();
        if (id == 0) child(directory.c_str());
        int status = -1;
        lifecycle::require(waitpid(id, &status, 0) == id && status == 0, "a child");
    }
    done = true;
    for (std::thread& thread : threads) thread.join();
    return 0;
}
