#include "tests/tools/support/tool.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/wait.h>

#include <gtest/gtest.h>

namespace tqa_test {

const std::string kRequest = TQA_EXAMPLE_DATA_DIR "/request.xml";
const std::string kReply = TQA_EXAMPLE_DATA_DIR "/ve_status_reply.xml";
const std::string kMessages = TQA_TEST_DATA_DIR "/messages";
const std::string kToolData = TQA_TEST_DATA_DIR "/tool";
const std::string kGenerated =
    std::filesystem::path(TQA_TOOL).parent_path().string() + "/generated";

namespace {

std::string quotedForShell(const std::string& text) {
    std::string out = "'";
    for (const char c : text) out += c == '\'' ? "'\\''" : std::string(1, c);
    return out + "'";
}

}  // namespace

Result run(const std::string& script) {
    const std::string whole = "tqamsg() { " TQA_TOOL " \"$@\"; }; set -o pipefail; " + script;
    std::FILE* pipe = ::popen(("timeout 60 bash -c " + quotedForShell(whole)).c_str(), "r");
    if (pipe == nullptr) return {-1, ""};
    std::string output;
    char buffer[4096];
    while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) {
        output.append(buffer, count);
    }
    const int status = ::pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

Result runWithErrors(const std::string& script) {
    return run("(" + script + ") 2>&1");
}

std::string bytesIn(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    EXPECT_TRUE(in) << file;
    return {std::istreambuf_iterator<char>(in), {}};
}

Folder::Folder() {
    char name[] = "/tmp/tqamsg-test-XXXXXX";
    path_ = ::mkdtemp(name) != nullptr ? name : "";
}

Folder::~Folder() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

std::string Folder::write(const std::string& name, const std::string& content) const {
    std::ofstream(path(name), std::ios::binary) << content;
    return path(name);
}

void expectFailures(const std::vector<FailingCommand>& rows) {
    for (const FailingCommand& row : rows) {
        const Result result = runWithErrors(row.script);
        EXPECT_EQ(result.status, row.status) << row.script;
        EXPECT_EQ(result.output, row.output) << row.script;
    }
}

}  // namespace tqa_test
