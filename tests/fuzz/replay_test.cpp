// The fuzz targets on what they once found, and on everything that is kept as a file.

#include "fuzz/target.h"
#include "tests/support/golden.h"

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

struct File {
    std::string name;
    std::string content;
};

// Every file in the folder and below; none when there is no such folder.
std::vector<File> filesIn(const std::string& folder) {
    std::vector<File> files;
    if (!fs::exists(folder)) return files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (!entry.is_regular_file()) continue;
        files.push_back({entry.path(), tqa_test::contentOf(entry.path())});
    }
    return files;
}

class Replay : public testing::TestWithParam<tqa_fuzz::Target> {
  protected:
    static void run(const std::string& name, const std::string& input) {
        SCOPED_TRACE(name);
        GetParam().run(input);
    }
};

INSTANTIATE_TEST_SUITE_P(, Replay, testing::ValuesIn(tqa_fuzz::targets()),
                         [](const auto& target) { return target.param.name; });

TEST_P(Replay, EveryFinding) {
    for (const File& file : filesIn(TQA_FUZZ_CORPUS_DIR "/" + std::string(GetParam().name))) {
        run(file.name, file.content);
    }
}

TEST_P(Replay, EveryMessage) {
    run("nothing", "");
    for (const auto& each : tqa_test::allGolden()) {
        run(each.name, each.encoded);
        run(each.name, each.encoded + each.encoded);
        run(each.name, each.printed);
        run(each.name, each.printed + '\0' + each.encoded);
    }
}

TEST_P(Replay, EveryOtherFile) {
    for (const char* folder : {TQA_TEST_DATA_DIR, TQA_EXAMPLE_DATA_DIR}) {
        for (const File& file : filesIn(folder)) {
            run(file.name, file.content);
            run(file.name, file.content + '\0');
        }
    }
}

}  // namespace
