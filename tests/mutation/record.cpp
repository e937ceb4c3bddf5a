// Writes to the file TQA_MUTANTS_RECORD which mutants each test reaches, one line a test: its name,
// its milliseconds, the mutants. The first line is what the program reaches before its first test.

#include <cstdio>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace {

class Recorder : public testing::EmptyTestEventListener {
  public:
    explicit Recorder(const char* path) : path_(path) {}

    void OnTestProgramStart(const testing::UnitTest&) override { write("", 0); }
    void OnTestStart(const testing::TestInfo&) override { clear(); }
    void OnTestEnd(const testing::TestInfo& test) override {
        write(std::string(test.test_suite_name()) + "." + test.name(),
              static_cast<long>(test.result()->elapsed_time()));
    }

  private:
    static void clear() { std::memset(mutant::reached, 0, mutant::kMost); }

    void write(const std::string& name, long milliseconds) const {
        std::FILE* file = std::fopen(path_, "a");
        if (file == nullptr) return;
        std::fprintf(file, "%s\t%ld\t", name.c_str(), milliseconds);
        for (int id = 1; id < mutant::kMost; ++id) {
            if (mutant::reached[id] != 0) std::fprintf(file, "%d ", id);
        }
        std::fputc('\n', file);
        std::fclose(file);
    }

    const char* path_;
};

[[maybe_unused]] const bool isListening = [] {
    const char* path = std::getenv("TQA_MUTANTS_RECORD");
    if (path == nullptr) return false;
    testing::UnitTest::GetInstance()->listeners().Append(new Recorder(path));
    return true;
}();

}  // namespace
