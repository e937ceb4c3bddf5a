#include "tqamsg/util/log.h"

#include "tqamsg/host/log_path.h"

#include "tests/support/failing_new.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <regex.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

// A directory of its own for each test, ending in "/" as loggers want it.
class LogTest : public testing::Test {
  protected:
    LogTest() {
        std::string pattern = testing::TempDir() + "tqamsg-log-XXXXXX";
        directory_ = std::string(mkdtemp(pattern.data())) + "/";
        setenv("TZ", "UTC", 1);
        tzset();
    }
    ~LogTest() override {
        debug_level = -1;
        fs::remove_all(directory_);
    }

    // The files of the directory: name and content.
    std::map<std::string, std::string> files() const {
        std::map<std::string, std::string> found;
        for (const auto& entry : fs::directory_iterator(directory_)) {
            std::ifstream file(entry.path(), std::ios::binary);
            found[entry.path().filename()] = {std::istreambuf_iterator<char>(file), {}};
        }
        return found;
    }

    // The content of the only file.
    std::string line() const {
        const auto found = files();
        EXPECT_EQ(1u, found.size());
        return found.empty() ? "" : found.begin()->second;
    }

    std::string directory_;
};

// One line as of a moment in UTC, and 42.999 ms; returns its echo.
[[gnu::format(printf, 4, 5)]] std::string printAt(Logger& logger, const char* moment, int level,
                                                  const char* format, ...) {
    std::tm fields = {};
    strptime(moment, "%Y-%m-%d %H:%M:%S", &fields);
    const timeval when = {timegm(&fields), 42999};
    const int before = errno;
    testing::internal::CaptureStderr();
    errno = before;
    std::va_list args;
    va_start(args, format);
    logger.printAt(when, level, format, args);
    va_end(args);
    const int after = errno;
    std::string echo = testing::internal::GetCapturedStderr();
    errno = after;
    return echo;
}

// The text that an extended regular expression and its parentheses match; nothing when it does not.
std::vector<std::string> match(const std::string& text, const char* expression) {
    regex_t compiled;
    EXPECT_EQ(0, regcomp(&compiled, expression, REG_EXTENDED));
    std::vector<regmatch_t> spans(compiled.re_nsub + 1);
    std::vector<std::string> parts;
    if (regexec(&compiled, text.c_str(), spans.size(), spans.data(), 0) == 0)
        for (const regmatch_t& span : spans)
            parts.emplace_back(text, static_cast<std::size_t>(span.rm_so),
                               static_cast<std::size_t>(span.rm_eo - span.rm_so));
    regfree(&compiled);
    return parts;
}

// What a line holds in front of the message.
std::string prefixOf(const std::string& moment, const char* levelName) {
    return "T=" + moment + "; L=" + levelName + "; PID=" + std::to_string(getpid()) +
           "; TID=" + std::to_string(static_cast<int>(pthread_self())) + "; ";
}

TEST_F(LogTest, LevelsHaveNames) {
    const std::vector<std::pair<int, std::string>> names = {
        {0, "(undefined) "},
        {1, "(error) "},
        {2, "(warning) "},
        {3, "(info) "},
        {4, "(debug) "},
        {5, "(packet) "},
        {6, "(packets) "},
        {7, "(unknown) "},
        {-1, "(unknown) "},
        {std::numeric_limits<int>::min(), "(unknown) "},
        {std::numeric_limits<int>::max(), "(unknown) "}};
    for (const auto& [level, name] : names) EXPECT_EQ(name, getLogLevelName(level)) << level;
}

TEST_F(LogTest, NothingIsLoggedAtLoad) {
    EXPECT_EQ(-1, debug_level);
    EXPECT_EQ("", debug_name);
    Logger logger(directory_.c_str());
    testing::internal::CaptureStderr();
    logger.put(1, "one");
    logger.put("two");
    debug(1, "three");
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_TRUE(files().empty());
}

TEST_F(LogTest, ALineIsLoggedWhenItsLevelIsWithinTheVerbosity) {
    for (int verbosity = -1; verbosity <= 7; ++verbosity)
        for (int level = -1; level <= 7; ++level) {
            debug_level = verbosity;
            Logger logger(directory_.c_str());
            testing::internal::CaptureStderr();
            logger.put(level, "x");
            const bool logged = level <= verbosity;
            EXPECT_EQ(logged, !testing::internal::GetCapturedStderr().empty());
            EXPECT_EQ(logged, !files().empty()) << level << " at " << verbosity;
            for (const auto& file : files()) fs::remove(directory_ + file.first);
        }
}

TEST_F(LogTest, ALineHasMomentLevelProcessAndThread) {
    Logger logger(directory_.c_str());
    printAt(logger, "2006-03-07 14:05:09", 3, "no %s from %d", "answer", 5);
    const auto found = files();
    ASSERT_EQ(1u, found.count("2006.03.07-compat.log"));
    EXPECT_EQ(prefixOf("2006.03.07 14:05:09.042", "(info) ") + "no answer from 5\n",
              found.at("2006.03.07-compat.log"));
}

TEST_F(LogTest, EachLineHasItsOwnSecondAndMillisecond) {
    Logger logger(directory_.c_str());
    constexpr std::time_t kMoment = 1141740309;  // 2006-03-07 14:05:09
    const timeval moments[] = {{kMoment, 0},
                               {kMoment, 7999},
                               {kMoment + 1, 10000},
                               {kMoment + 1, 123456},
                               {kMoment, 999999},
                               {kMoment - 9, 0},
                               {0, 0},
                               {kMoment + 60, 1000}};
    std::va_list unused = {};
    testing::internal::CaptureStderr();
    for (const timeval& moment : moments) logger.printAt(moment, 1, "x", unused);
    testing::internal::GetCapturedStderr();
    std::string wanted;
    for (const char* time :
         {"2006.03.07 14:05:09.000", "2006.03.07 14:05:09.007", "2006.03.07 14:05:10.010",
          "2006.03.07 14:05:10.123", "2006.03.07 14:05:09.999", "2006.03.07 14:05:00.000",
          "2006.03.07 14:06:09.001"})
        wanted += prefixOf(time, "(error) ") + "x\n";
    auto found = files();
    EXPECT_EQ(prefixOf("1970.01.01 00:00:00.000", "(error) ") + "x\n",
              found["1970.01.01-compat.log"]);
    found.erase("1970.01.01-compat.log");
    std::string text;
    for (const auto& [name, content] : found) text += content;
    EXPECT_EQ(wanted, text);
}

TEST_F(LogTest, TheClockIsTheSystems) {
    debug_level = 0;
    Logger logger(directory_.c_str());
    const std::time_t before = std::time(nullptr);
    testing::internal::CaptureStderr();
    logger.put("x");
    testing::internal::GetCapturedStderr();
    const std::time_t after = std::time(nullptr);
    const std::string text = line();
    const auto parts = match(text,
                             "^T=([0-9]{4}\\.[0-9]{2}\\.[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2})"
                             "\\.[0-9]{3}; L=\\(undefined\\) ; PID=[0-9]+; TID=-?[0-9]+; x\n$");
    ASSERT_EQ(2u, parts.size()) << text;
    std::tm fields = {};
    strptime(parts[1].c_str(), "%Y.%m.%d %H:%M:%S", &fields);
    EXPECT_LE(before, timegm(&fields));
    EXPECT_GE(after, timegm(&fields));
}

TEST_F(LogTest, MomentsAreLocal) {
    setenv("TZ", "XYZ-3", 1);
    tzset();
    Logger logger(directory_.c_str());
    printAt(logger, "2006-03-31 22:00:00", 1, "x");
    EXPECT_EQ(1u, files().count("2006.04.01-compat.log"));
    EXPECT_EQ(0u, line().find("T=2006.04.01 01:00:00.042; "));
}

TEST_F(LogTest, TheEchoCarriesTheNameOfTheVerbosity) {
    debug_level = 4;
    Logger logger(directory_.c_str());
    testing::internal::CaptureStderr();
    logger.put(1, "%s", "failed");
    EXPECT_EQ("(debug) failed\n", testing::internal::GetCapturedStderr());
    EXPECT_NE(std::string::npos, line().find("; L=(error) ; "));
}

TEST_F(LogTest, PutWithoutALevelCountsAsLevelZero) {
    debug_level = 0;
    Logger logger(directory_.c_str());
    testing::internal::CaptureStderr();
    logger.put("x");
    EXPECT_EQ("(undefined) x\n", testing::internal::GetCapturedStderr());
    EXPECT_NE(std::string::npos, line().find("; L=(undefined) ; "));
}

TEST_F(LogTest, TheGlobalLoggerWritesToTheAgentsDirectory) {
    ASSERT_EQ(0, tqa::setAgentLogPath(directory_.c_str()));
    debug_level = 3;
    testing::internal::CaptureStderr();
    debug(3, "%d apples", 3);
    debug(4, "unheard");
    EXPECT_EQ("(info) 3 apples\n", testing::internal::GetCapturedStderr());
    const std::string text = line();
    EXPECT_NE(std::string::npos, text.find("; L=(info) ; ")) << text;
    EXPECT_TRUE(text.ends_with("; 3 apples\n")) << text;
}

TEST_F(LogTest, AMessageThatFitsIsWrittenExactly) {
    Logger logger(directory_.c_str());
    const std::string prefix = prefixOf("2006.03.07 00:00:00.042", "(error) ");
    const std::string message(4211 - prefix.size(), 'x');
    printAt(logger, "2006-03-07 00:00:00", 1, "%s", message.c_str());
    EXPECT_EQ(prefix + message + "\n", line());
}

TEST_F(LogTest, ALongerMessageIsCutAndFollowedByAZeroByte) {
    const std::string prefix = prefixOf("2006.03.07 00:00:00.042", "(error) ");
    const std::size_t room = 4211 - prefix.size();
    for (const std::size_t length : {room + 1, std::size_t{10000}}) {
        Logger logger(directory_.c_str());
        printAt(logger, "2006-03-07 00:00:00", 1, "%s", std::string(length, 'x').c_str());
        const std::string text = line();
        EXPECT_EQ(prefix + std::string(room, 'x') + "...\n" + '\0', text) << length;
        EXPECT_EQ(4216u, text.size());
        fs::remove(directory_ + "2006.03.07-compat.log");
    }
}

TEST_F(LogTest, AMessageThatCannotBeFormattedLeavesOnlyTheCutMark) {
    Logger logger(directory_.c_str());
    const wchar_t noCharacter[] = {0x7fffffff, 0};
    printAt(logger, "2006-03-07 00:00:00", 1, "a%ls", noCharacter);
    const std::string visible = prefixOf("2006.03.07 00:00:00.042", "(error) ") + "...\n";
    EXPECT_EQ(visible + std::string(4216 - visible.size(), '\0'), line());
}

TEST_F(LogTest, TheEchoIsNeverCut) {
    debug_level = 1;
    Logger logger(directory_.c_str());
    for (const std::size_t length : {4210u, 4214u, 4215u, 4216u, 4217u, 10000u, 100000u}) {
        const std::string message(length, 'x');
        testing::internal::CaptureStderr();
        logger.put(1, "%s", message.c_str());
        EXPECT_EQ("(error) " + message + "\n", testing::internal::GetCapturedStderr());
    }
}

TEST_F(LogTest, ANullFormatLogsNothing) {
    debug_level = 1;
    Logger logger(directory_.c_str());
    const char* none = nullptr;
    testing::internal::CaptureStderr();
    logger.put(1, none, "unused");
    logger.put(none, "unused");
    debug(1, none, "unused");
    std::va_list unused = {};
    vdebug_print(1, none, unused);
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_TRUE(files().empty());
}

TEST_F(LogTest, EachDayHasItsFile) {
    Logger logger(directory_.c_str());
    printAt(logger, "2006-03-30 10:00:00", 1, "a");
    printAt(logger, "2006-03-30 23:59:59", 1, "b");
    printAt(logger, "2006-03-31 00:00:00", 1, "c");
    printAt(logger, "2006-04-01 00:00:00", 1, "d");
    std::map<std::string, std::string> messages;
    for (const auto& [name, text] : files()) {
        std::istringstream lines(text);
        for (std::string one; std::getline(lines, one);) messages[name] += one.back();
    }
    const std::map<std::string, std::string> wanted = {{"2006.03.30-compat.log", "ab"},
                                                       {"2006.03.31-compat.log", "c"},
                                                       {"2006.04.01-compat.log", "d"}};
    EXPECT_EQ(wanted, messages);
}

TEST_F(LogTest, OnlyTheDayOfTheMonthIsCompared) {
    Logger logger(directory_.c_str());
    printAt(logger, "2006-03-07 10:00:00", 1, "a");
    printAt(logger, "2006-04-07 10:00:00", 1, "b");
    EXPECT_EQ(1u, files().size());
    EXPECT_EQ(1u, files().count("2006.03.07-compat.log"));
}

TEST_F(LogTest, TheDirectoryIsKeptAsAPointer) {
    std::string later = directory_;
    later[0] = '#';
    Logger logger(later.c_str());
    later[0] = '/';
    printAt(logger, "2006-03-07 10:00:00", 1, "a");
    EXPECT_EQ(1u, files().size());
}

TEST_F(LogTest, ALineWhoseFileCannotBeOpenedIsLostAfterItsEcho) {
    const std::string missing = directory_ + "missing/";
    for (const char* directory : {missing.c_str(), static_cast<const char*>(nullptr)}) {
        Logger logger(directory);
        debug_level = 1;
        EXPECT_EQ("(error) a\n", printAt(logger, "2006-03-07 10:00:00", 1, "a"));
        EXPECT_TRUE(files().empty());
    }
    fs::create_directory(missing);
    Logger logger(missing.c_str());
    printAt(logger, "2006-03-07 10:00:00", 1, "b");
    EXPECT_TRUE(fs::exists(missing + "2006.03.07-compat.log"));
}

TEST_F(LogTest, AReadOnlyDirectoryLosesLinesSilently) {
    ASSERT_EQ(0, chmod(directory_.c_str(), 0555));
    constexpr uid_t kNobody = 65534;
    const bool root = geteuid() == 0;  // who may write anywhere
    ASSERT_EQ(0, seteuid(root ? kNobody : geteuid()));
    Logger logger(directory_.c_str());
    debug_level = 1;
    testing::internal::CaptureStderr();
    logger.put(1, "a");
    EXPECT_EQ("(error) a\n", testing::internal::GetCapturedStderr());
    ASSERT_EQ(0, seteuid(root ? 0 : geteuid()));
    ASSERT_EQ(0, chmod(directory_.c_str(), 0755));
    EXPECT_TRUE(files().empty());
}

TEST_F(LogTest, ALineThatFindsNoMemoryForItsFilesNameIsLost) {
    if (!tqa_test::FailingNew::works()) GTEST_SKIP() << "operator new is not the test's";
    Logger logger(directory_.c_str());
    std::va_list unused = {};
    testing::internal::CaptureStderr();
    {
        const tqa_test::FailingNew failing(0);
        logger.printAt({1, 0}, 1, "a", unused);
        EXPECT_TRUE(failing.hasFailed());
    }
    EXPECT_TRUE(files().empty());
    logger.printAt({1, 0}, 1, "b", unused);
    EXPECT_EQ("(unknown) a\n(unknown) b\n", testing::internal::GetCapturedStderr());
    EXPECT_TRUE(line().ends_with("; b\n")) << line();
}

TEST_F(LogTest, AMomentWithoutADateIsLostAfterItsEcho) {
    Logger logger(directory_.c_str());
    std::va_list unused = {};
    testing::internal::CaptureStderr();
    logger.printAt({std::numeric_limits<time_t>::max(), 0}, 1, "a", unused);
    EXPECT_EQ("(unknown) a\n", testing::internal::GetCapturedStderr());
    EXPECT_TRUE(files().empty());
}

TEST_F(LogTest, FilesAreCreatedReadableForAll) {
    const mode_t before = umask(0);
    Logger logger(directory_.c_str());
    printAt(logger, "2006-03-07 10:00:00", 1, "a");
    umask(before);
    struct stat status = {};
    ASSERT_EQ(0, stat((directory_ + "2006.03.07-compat.log").c_str(), &status));
    EXPECT_EQ(0644u, status.st_mode & 07777u);
}

TEST_F(LogTest, ErrnoIsKept) {
    const std::string missing = directory_ + "missing/";
    const std::string format = "a: %m";
    for (const std::string& directory : {directory_, missing}) {
        Logger logger(directory.c_str());
        errno = EDOM;
        const std::string echo = printAt(logger, "2006-03-07 10:00:00", 1, format.c_str(), 0);
        EXPECT_EQ(EDOM, errno);
        EXPECT_EQ("(unknown) a: " + std::string(strerror(EDOM)) + "\n", echo);
    }
    EXPECT_TRUE(line().ends_with("; a: " + std::string(strerror(EDOM)) + "\n")) << line();
}

TEST_F(LogTest, AGuardHoldsItsLock) {
    TQALock lock;
    long count = 0;
    const auto work = [&] {
        for (int i = 0; i < 20000; ++i) {
            const TQALockGuard guard(lock);
            ++count;
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(40000, count);
}

constexpr int kLines = 300;

// Of all lengths up to the longest that fits, and some that are cut.
std::string payload(int writer, int number) {
    return std::string(static_cast<std::size_t>(number * 15), static_cast<char>('a' + writer)) +
           ".";
}

void logMany(Logger& logger, int writer) {
    for (int i = 0; i < kLines; ++i)
        logger.put(1, "%d:%d:%s", writer, i, payload(writer, i).c_str());
}

void logFromTwoThreads(Logger& logger, int firstWriter) {
    std::thread other([&] { logMany(logger, firstWriter); });
    logMany(logger, firstWriter + 1);
    other.join();
}

TEST_F(LogTest, LinesOfTwoThreadsInEachOfTwoProcessesAreNeverTorn) {
    debug_level = 1;
    Logger logger(directory_.c_str());
    testing::internal::CaptureStderr();
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    logFromTwoThreads(logger, child == 0 ? 0 : 2);
    if (child == 0) _exit(0);
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    testing::internal::GetCapturedStderr();

    std::string text;
    for (const auto& [name, content] : files()) text += content;  // two around midnight
    std::map<int, int> next;
    std::istringstream lines(text);
    for (std::string one; std::getline(lines, one);) {
        if (one[0] == '\0') one.erase(0, 1);  // from behind the cut line before
        if (one.empty()) continue;            // the last line was a cut one
        const auto parts = match(
            one, "^T=[0-9. :]{23}; L=\\(error\\) ; PID=[0-9]+; TID=-?[0-9]+; ([0-3]):([0-9]+):");
        ASSERT_EQ(3u, parts.size()) << one;
        const int writer = std::stoi(parts[1]);
        const int number = std::stoi(parts[2]);
        EXPECT_EQ(next[writer]++, number) << writer;
        std::string whole = parts[0] + payload(writer, number);
        if (whole.size() > 4211) whole = whole.substr(0, 4211) + "...";
        EXPECT_EQ(whole, one);
    }
    for (int writer = 0; writer < 4; ++writer) EXPECT_EQ(kLines, next[writer]);
}

[[gnu::format(printf, 2, 3)]] void printNow(int level, const char* format, ...) {
    std::va_list args;
    va_start(args, format);
    vdebug_print(level, format, args);
    va_end(args);
}

TEST_F(LogTest, ALineThatIsOnlyEchoedIsSoWhateverTheVerbosity) {
    testing::internal::CaptureStderr();
    printNow(2, "%d lines", 5);
    EXPECT_EQ("(warning) 5 lines\n", testing::internal::GetCapturedStderr());
    EXPECT_TRUE(files().empty());
}

}  // namespace
