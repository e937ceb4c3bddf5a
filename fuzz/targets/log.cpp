// Log lines: messages of any bytes and length, in formats put together from conversions of all
// kinds, beside what the C library prints.

#include "tqamsg/util/log.h"

#include "fuzz/support.h"
#include "fuzz/target.h"

#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

namespace {

constexpr timeval kMoment = {86400, 42999};
constexpr std::size_t kRoom = 4211;

// A folder in memory, if there is one, as long as the program runs.
class Folder {
  public:
    Folder() {
        const bool inMemory = std::filesystem::exists("/dev/shm");
        path_ = (inMemory ? "/dev/shm" : testing::TempDir()) + "/tqamsg-fuzz-XXXXXX";
        EXPECT_NE(mkdtemp(path_.data()), nullptr);
        path_ += '/';
    }
    ~Folder() { std::filesystem::remove_all(path_); }

    const char* path() const { return path_.c_str(); }

    // The content of the only file, which goes.
    std::string take() const {
        std::string content;
        for (const auto& entry : std::filesystem::directory_iterator(path_)) {
            std::ifstream in(entry.path(), std::ios::binary);
            content.assign(std::istreambuf_iterator<char>(in), {});
            std::filesystem::remove(entry.path());
        }
        return content;
    }

  private:
    std::string path_;
};

[[gnu::format(printf, 3, 4)]] void printTo(Logger& logger, int level, const char* format, ...) {
    std::va_list args;
    va_start(args, format);
    logger.printAt(kMoment, level, format, args);
    va_end(args);
}

// A format for the arguments of print() below: literal bytes of the input and one conversion for
// each of them, with flags, widths and precisions.
std::string formatOf(tqa_fuzz::Numbers& numbers) {
    static const char* const kFlags[] = {"",  "-",   "0",  "+",  " ",  "#",
                                         "5", "-40", "06", ".3", "3.1"};
    static const char* const kConversions[] = {"d", "s", "lld", "f", "c", "x", "p"};
    std::string format;
    for (const char* conversion : kConversions) {
        for (auto count = numbers() % 5; count > 0; --count) {
            const auto literal = static_cast<char>(numbers());
            format += literal == '%' ? "%%" : std::string(literal != '\0' ? 1 : 0, literal);
        }
        format += '%';
        format += kFlags[numbers() % std::size(kFlags)];
        format += conversion;
    }
    return format;
}

// What a line becomes: whole, or cut and marked.
void expectLine(const std::string& line, const std::string& level, const std::string& message) {
    const std::size_t start = line.find("; TID=");
    ASSERT_NE(start, std::string::npos);
    const std::size_t prefix = line.find("; ", start + 2) + 2;
    EXPECT_NE(line.find("; L=" + level + "; PID="), std::string::npos);
    if (prefix + message.size() <= kRoom) {
        EXPECT_EQ(line.substr(prefix), message + '\n');
    } else {
        EXPECT_EQ(line.substr(prefix), message.substr(0, kRoom - prefix) + "..." + '\n' + '\0');
    }
}

}  // namespace

TQA_TARGET(log) {
    static const Folder folder;
    static Logger logger(folder.path());
    const tqa_fuzz::Quiet quiet;
    const std::string text(input.substr(0, input.find('\0')));
    tqa_fuzz::Numbers numbers(input);

    const auto level = static_cast<int>(numbers() - 2);
    printTo(logger, level, "%s", text.c_str());
    expectLine(folder.take(), getLogLevelName(level), text);

    const std::string format = formatOf(numbers);
    const auto number = static_cast<int>(numbers());
    const auto wide = static_cast<long long>(numbers()) << 31;
    const auto real = static_cast<double>(number) / 7;
    const auto character = static_cast<int>(numbers() % 255 + 1);
    const void* pointer = &folder;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::vector<char> expected(format.size() + text.size() + 1000);
    std::snprintf(expected.data(), expected.size(), format.c_str(), number, text.c_str(), wide,
                  real, character, number, pointer);
    printTo(logger, 3, format.c_str(), number, text.c_str(), wide, real, character, number,
            pointer);
#pragma GCC diagnostic pop
    expectLine(folder.take(), getLogLevelName(3), expected.data());
}
