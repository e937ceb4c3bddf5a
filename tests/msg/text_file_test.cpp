#include "tqamsg/msg/message.h"

#include "tests/support/fake_message.h"
#include "tests/util/out_of_memory.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

using tqa_test::fake;
using tqa_test::FakeMessage;
using tqa_test::FakePtr;

class TextFile : public testing::Test {
  protected:
    TextFile() {
        std::string pattern = testing::TempDir() + "tqamsg_text_file_XXXXXX";
        folder_ = mkdtemp(pattern.data());
    }
    ~TextFile() override { std::filesystem::remove_all(folder_); }

    std::string path(const std::string& name) const { return folder_ + "/" + name; }

    std::string fileWith(const std::string& content) const {
        std::ofstream(path("in"), std::ios::binary) << content;
        return path("in");
    }

    static std::string contentOf(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    std::string folder_;
    const FakePtr message_{new FakeMessage};
};

// A message whose text has this size.
std::string textOfSize(std::size_t size) {
    const std::string start = "(packet \"";
    return start + std::string(size - start.size() - 2, 'x') + "\")";
}

TEST_F(TextFile, HoldsTheTextAndNothingElse) {
    const FakePtr message = fake("(packet (origin \"vem\"))");
    EXPECT_EQ(message->toTextFile(path("out")), 0);
    EXPECT_EQ(contentOf(path("out")), "(packet (origin \"vem\"))");
}

TEST_F(TextFile, ReplacesALongerFile) {
    const std::string file = fileWith(std::string(10000, 'x'));
    EXPECT_EQ(fake("(packet)")->toTextFile(file), 0);
    EXPECT_EQ(contentOf(file), "(packet)");
}

TEST_F(TextFile, ReadsBackWhatWasWrittenAtEverySize) {
    // The file is read in steps of 4096 bytes.
    for (const std::size_t size :
         {12U, 4095U, 4096U, 4097U, 8191U, 8192U, 8193U, 12288U, 100000U}) {
        const std::string text = textOfSize(size);
        ASSERT_EQ(fake(text)->toTextFile(path("out")), 0);
        ASSERT_EQ(std::filesystem::file_size(path("out")), size);
        EXPECT_EQ(message_->fromTextFile(path("out")), 0) << size;
        EXPECT_EQ(tqa_test::text(*message_), text) << size;
    }
}

TEST_F(TextFile, ReadsAFileThatComesInPieces) {
    const std::string pipe = path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const std::string text = textOfSize(10000);
    const pid_t writer = fork();
    if (writer == 0) {
        const int out = open(pipe.c_str(), O_WRONLY);
        std::size_t written = 0;
        while (written < text.size()) {
            const ssize_t count = write(out, text.data() + written,
                                        std::min<std::size_t>(777, text.size() - written));
            if (count < 0) _exit(1);
            written += static_cast<std::size_t>(count);
        }
        _exit(0);
    }
    EXPECT_EQ(message_->fromTextFile(pipe), 0);
    EXPECT_EQ(tqa_test::text(*message_), text);
    EXPECT_EQ(waitpid(writer, nullptr, 0), writer);
}

TEST_F(TextFile, EndsAtAZeroByte) {
    EXPECT_EQ(message_->fromTextFile(fileWith(std::string("(packet)\0(more)", 15))), 0);
    EXPECT_EQ(tqa_test::text(*message_), "(packet)");
}

TEST_F(TextFile, GivesTheReadersStatus) {
    EXPECT_EQ(message_->fromTextFile(fileWith("(packet")), -1);
    EXPECT_EQ(message_->fromTextFile(fileWith("")), -1);
    EXPECT_EQ(message_->fromTextFile("/dev/null"), -1);
}

TEST_F(TextFile, CannotBeReadWhenMissing) {
    EXPECT_EQ(message_->fromTextFile(path("missing")), -1);
    EXPECT_EQ(message_->fromTextFile(""), -1);
}

TEST_F(TextFile, CannotBeReadWithoutPermission) {
    if (geteuid() == 0) GTEST_SKIP() << "root may read everything";
    const std::string file = fileWith("(packet)");
    ASSERT_EQ(chmod(file.c_str(), 0), 0);
    EXPECT_EQ(message_->fromTextFile(file), -1);
}

TEST_F(TextFile, CannotBeReadWhenItIsAFolder) {
    EXPECT_EQ(message_->fromTextFile(folder_), -1);
}

TEST_F(TextFile, CannotBeReadWhenItsBytesCannot) {
    // It opens, but nothing is mapped at its start.
    EXPECT_EQ(message_->fromTextFile("/proc/self/mem"), -1);
}

TEST_F(TextFile, CannotBeWrittenIntoAMissingFolder) {
    EXPECT_EQ(fake("(packet)")->toTextFile(path("missing/out")), -1);
    EXPECT_EQ(fake("(packet)")->toTextFile(folder_), -1);
}

TEST_F(TextFile, CannotBeWrittenToAFullDevice) {
    // A short text fails when it is flushed, a long one earlier.
    EXPECT_EQ(fake("(packet)")->toTextFile("/dev/full"), -1);
    EXPECT_EQ(fake(textOfSize(1000000))->toTextFile("/dev/full"), -1);
}

TEST_F(TextFile, IsLeftAloneWhenThereIsNoText) {
    const std::string file = fileWith("before");
    EXPECT_EQ(message_->toTextFile(file), -1);
    EXPECT_EQ(message_->toTextFile(path("new")), -1);
    EXPECT_EQ(contentOf(file), "before");
    EXPECT_FALSE(std::filesystem::exists(path("new")));
}

TEST_F(TextFile, LeavesNoDescriptorOpen) {
    const auto openDescriptors = [] {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return std::distance(begin(all), end(all));
    };
    const auto before = openDescriptors();
    const FakePtr message = fake("(packet)");
    message->toTextFile(path("out"));
    message->toTextFile("/dev/full");
    message_->fromTextFile(path("out"));
    message_->fromTextFile(folder_);
    EXPECT_EQ(openDescriptors(), before);
}

// 0 when reading a file that is larger than all memory gives -2.
[[noreturn]] void readWithoutMemory(const std::string& file) {
    FakeMessage message;
    tqa_test::starve();
    _exit(message.fromTextFile(file) == -2 ? 0 : 1);
}

using TextFileDeathTest = TextFile;

TEST_F(TextFileDeathTest, TellsWhenMemoryRunsOutWhileItIsRead) {
    if (!TQA_CAN_STARVE) GTEST_SKIP() << "not under a sanitizer";
    const std::string file = fileWith("");
    ASSERT_EQ(truncate(file.c_str(), 64 << 20), 0);
    EXPECT_EXIT(readWithoutMemory(file), testing::ExitedWithCode(0), "");
}

}  // namespace
