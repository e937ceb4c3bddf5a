// The logger when the disk fails: a line may be lost, the next one is not, and nobody waits for
// ever.

#include "tqamsg/util/log.h"

#include "tests/nodisk/faults.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

using namespace tqa_test;

constexpr timeval kMoment = {1141740309, 42999};  // 2006-03-07 14:05:09 UTC
constexpr char kFileName[] = "2006.03.07-compat.log";

class NoDiskLog : public testing::Test {
  protected:
    NoDiskLog() {
        setenv("TZ", "UTC", 1);
        tzset();
        std::string pattern = testing::TempDir() + "tqamsg_nodisk_log_XXXXXX";
        directory_ = std::string(mkdtemp(pattern.data())) + '/';
        debug_level = 3;
    }
    ~NoDiskLog() override {
        debug_level = -1;
        fs::remove_all(directory_);
    }

    std::string file() const { return directory_ + kFileName; }
    std::string content() const {
        std::ifstream in(file(), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    std::string directory_;
};

[[gnu::format(printf, 2, 3)]] void print(Logger& logger, const char* format, ...) {
    std::va_list args;
    va_start(args, format);
    logger.printAt(kMoment, 1, format, args);
    va_end(args);
}

// What a line's echo would say is of no interest here.
class QuietErrors {
  public:
    QuietErrors() { testing::internal::CaptureStderr(); }
    QuietErrors(const QuietErrors&) = delete;
    QuietErrors& operator=(const QuietErrors&) = delete;
    ~QuietErrors() { testing::internal::GetCapturedStderr(); }
};

TEST_F(NoDiskLog, AnyCallMayFailAndTheNextLineIsWritten) {
    const QuietErrors quiet;
    const std::string tooLong(5000, 'x');
    for (const std::string& message : {std::string("lost"), tooLong}) {
        long calls = 1;
        for (const Fault fault : kFaults) {
            for (long call = 0; call < calls; ++call) {
                for (const long last : {call, kForEver}) {
                    fs::remove(file());
                    Logger logger(directory_.c_str());
                    errno = 42;
                    {
                        const Faults faults(call, fault, last);
                        print(logger, "%s", message.c_str());
                        calls = std::max(calls, Faults::calls());
                    }
                    EXPECT_EQ(errno, 42) << call;
                    EXPECT_EQ(openByLibrary(), 0) << call;
                    print(logger, "found");
                    EXPECT_TRUE(content().ends_with("; found\n")) << call << content();
                }
            }
        }
        EXPECT_GE(calls, 5);
    }
}

// Nothing of it in a second write: it could land inside the line of another process.
TEST_F(NoDiskLog, ALineOfWhichThereWasRoomForAPartIsNotContinued) {
    const QuietErrors quiet;
    Logger logger(directory_.c_str());
    print(logger, "first");
    const std::string line = content();
    long calls = 0;
    {
        const Faults none;
        print(logger, "first");
        calls = Faults::calls();
    }
    const Faults faults(calls - 2, Fault::Short);  // the one before close()
    print(logger, "first");
    EXPECT_STREQ(Faults::failed(), "write");
    EXPECT_EQ(content(), line + line + line.substr(0, line.size() / 2));
}

// --- the system itself --------------------------------------------------------------------------

TEST_F(NoDiskLog, LinesAreWrittenAgainWhenTheDirectoryIsBack) {
    const QuietErrors quiet;
    Logger logger(directory_.c_str());
    print(logger, "before");
    fs::remove_all(directory_);
    print(logger, "lost");
    EXPECT_FALSE(fs::exists(directory_));
    fs::create_directory(directory_);
    print(logger, "after");
    EXPECT_EQ(content().find("lost"), std::string::npos);
    EXPECT_TRUE(content().ends_with("; after\n"));
}

TEST_F(NoDiskLog, LinesAreWrittenAgainWhenTheDiskHasRoom) {
    const QuietErrors quiet;
    fs::create_symlink("/dev/full", file());
    Logger logger(directory_.c_str());
    print(logger, "lost");
    fs::remove(file());
    print(logger, "after");
    EXPECT_TRUE(content().ends_with("; after\n"));
}

TEST_F(NoDiskLog, AFileInTheDirectorysPlaceIsNoHarm) {
    const QuietErrors quiet;
    fs::remove_all(directory_);
    std::ofstream(directory_.substr(0, directory_.size() - 1)) << "a file";
    Logger logger(directory_.c_str());
    print(logger, "lost");
    fs::remove(directory_.substr(0, directory_.size() - 1));
    fs::create_directory(directory_);
    print(logger, "after");
    EXPECT_TRUE(content().ends_with("; after\n"));
}

// In a process of its own: what it does to its descriptors and limits ends with it.
template <class Act>
int statusOf(Act act) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(20);  // stuck is a failure
        act();
        _exit(0);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
}

TEST_F(NoDiskLog, LinesAreWrittenWithoutStandardError) {
    EXPECT_EQ(statusOf([&] {
                  close(STDERR_FILENO);
                  Logger logger(directory_.c_str());
                  print(logger, "first");
                  print(logger, "%s", std::string(5000, 'x').c_str());
                  print(logger, "after");
              }),
              0);
    EXPECT_TRUE(content().ends_with("; after\n"));
}

TEST_F(NoDiskLog, LinesAreWrittenWhenStandardErrorIsFull) {
    EXPECT_EQ(statusOf([&] {
                  if (std::freopen("/dev/full", "w", stderr) == nullptr) _exit(1);
                  Logger logger(directory_.c_str());
                  print(logger, "first");
                  print(logger, "after");
              }),
              0);
    EXPECT_TRUE(content().ends_with("; after\n"));
}

TEST_F(NoDiskLog, LinesAreLostWithoutDescriptorsAndWrittenAgainLater) {
    EXPECT_EQ(statusOf([&] {
                  Logger logger(directory_.c_str());
                  rlimit limit = {};
                  getrlimit(RLIMIT_NOFILE, &limit);
                  const rlimit none = {0, limit.rlim_max};
                  setrlimit(RLIMIT_NOFILE, &none);
                  print(logger, "lost");
                  setrlimit(RLIMIT_NOFILE, &limit);
                  print(logger, "after");
              }),
              0);
    EXPECT_EQ(content().find("lost"), std::string::npos);
    EXPECT_TRUE(content().ends_with("; after\n"));
}

TEST_F(NoDiskLog, ThreadsDoNotWaitForOneThatFailed) {
    EXPECT_EQ(statusOf([&] {
                  std::freopen("/dev/null", "w", stderr);
                  Logger logger(directory_.c_str());
                  const Faults faults(100, Fault::Failure, 3000);
                  std::vector<std::thread> threads;
                  for (int i = 0; i < 4; ++i) {
                      threads.emplace_back([&logger] {
                          for (int line = 0; line < 500; ++line) print(logger, "line %d", line);
                      });
                  }
                  for (std::thread& thread : threads) thread.join();
                  print(logger, "after");
              }),
              0);
    EXPECT_TRUE(content().ends_with("; after\n"));
}

}  // namespace
