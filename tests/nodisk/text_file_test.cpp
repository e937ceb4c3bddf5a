// Text files when the disk fails: every call in turn, a full disk, no more descriptors.

#include "tests/nodisk/faults.h"
#include "tests/support/messages.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;

class NoDisk : public testing::Test {
  protected:
    NoDisk() {
        std::string pattern = testing::TempDir() + "tqamsg_nodisk_XXXXXX";
        folder_ = mkdtemp(pattern.data());
        path_ = folder_ + "/message.xml";
    }
    ~NoDisk() override { std::filesystem::remove_all(folder_); }

    std::string content() const {
        std::ifstream in(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    std::string folder_;
    std::string path_;
    // Several steps of reading long, and more than a stream keeps before it writes.
    const Message large_ = parse("<packet><data><vem><name>" + std::string(20000, 'x') +
                                 "</name></vem></data></packet>");
    const Message small_ = parse("<packet><data/></packet>");
};

long callsOf(const auto& act) {
    const Faults none;
    act();
    return Faults::calls();
}

TEST_F(NoDisk, ATextFileThatCannotBeWrittenIsMinusOneAndCanBeWrittenLater) {
    for (const Message* message : {&small_, &large_}) {
        const auto write = [&] { return (*message)->toTextFile(path_); };
        const long calls = callsOf(write);
        ASSERT_GE(calls, 3);
        for (const Fault fault : kFaults) {
            for (long call = 0; call < calls; ++call) {
                for (const long last : {call, kForEver}) {
                    const std::string before = bytes(*message);
                    {
                        const Faults faults(call, fault, last);
                        EXPECT_EQ(write(), -1) << Faults::failed() << call;
                    }
                    EXPECT_EQ(openByLibrary(), 0) << call;
                    EXPECT_EQ(bytes(*message), before);
                    EXPECT_EQ(write(), 0);
                    EXPECT_EQ(content(), text(*message));
                }
            }
        }
    }
}

// Interruptions and short reads are no failures, and what was read is not lost for a failed close.
bool isHarmless(Fault fault, std::string_view call) {
    if (call == "read") return fault == Fault::Interrupted || fault == Fault::Short;
    return call == "close";
}

TEST_F(NoDisk, ATextFileThatCannotBeReadIsMinusOneAndCanBeReadLater) {
    ASSERT_EQ(large_->toTextFile(path_), 0);
    const std::string wanted = text(large_);
    const long calls = callsOf([&] { return parse("<packet/>")->fromTextFile(path_); });
    ASSERT_GE(calls, 7);
    for (const Fault fault : kFaults) {
        for (long call = 0; call < calls; ++call) {
            const Message message = parse("<packet><origin>vem</origin></packet>");
            const std::string before = bytes(message);
            int status = 0;
            {
                const Faults faults(call, fault);
                status = message->fromTextFile(path_);
                EXPECT_EQ(status, isHarmless(fault, Faults::failed()) ? 0 : -1)
                    << Faults::failed() << call;
            }
            EXPECT_EQ(openByLibrary(), 0) << call;
            EXPECT_EQ(status == 0 ? text(message) : bytes(message), status == 0 ? wanted : before);
            EXPECT_EQ(message->fromTextFile(path_), 0);
            EXPECT_EQ(text(message), wanted);
        }
    }
}

TEST_F(NoDisk, AFileIsReadHoweverOftenThatIsInterruptedAndHoweverLittleComes) {
    ASSERT_EQ(large_->toTextFile(path_), 0);
    const Message message = parse("<packet/>");
    {
        const Faults faults(1, Fault::Interrupted, 50);
        EXPECT_EQ(message->fromTextFile(path_), 0);
        EXPECT_GT(Faults::calls(), 50);
    }
    EXPECT_EQ(text(message), text(large_));
    {
        const Faults faults(1, Fault::Short, 1000);
        EXPECT_EQ(message->fromTextFile(path_), 0);
    }
    EXPECT_EQ(text(message), text(large_));
}

// --- the system itself --------------------------------------------------------------------------

TEST_F(NoDisk, AFullDeviceIsMinusOne) {
    for (const Message* message : {&small_, &large_}) {
        EXPECT_EQ((*message)->toTextFile("/dev/full"), -1);
        EXPECT_EQ((*message)->toTextFile(path_), 0);
    }
}

// The exit status of a process that has this limit.
template <class Act>
int limited(__rlimit_resource resource, rlim_t limit, Act act) {
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit both = {limit, limit};
        setrlimit(resource, &both);
        _exit(act() ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
}

TEST_F(NoDisk, AFileThatTakesAPartOnlyIsMinusOne) {
    for (const rlim_t limit : {rlim_t{0}, rlim_t{1}, rlim_t{4095}, rlim_t{4096}, rlim_t{20000}}) {
        EXPECT_EQ(limited(RLIMIT_FSIZE, limit, [&] { return large_->toTextFile(path_) == -1; }), 0)
            << limit;
    }
}

// Each is called before: a sanitizer needs descriptors to look at an object that it has not seen.
TEST_F(NoDisk, WithoutDescriptorsFilesCanNeitherBeReadNorWritten) {
    ASSERT_EQ(small_->toTextFile(path_), 0);
    ASSERT_EQ(small_->fromTextFile(path_), 0);
    const auto fails = [&] {
        return small_->toTextFile(path_) == -1 && small_->fromTextFile(path_) == -1;
    };
    EXPECT_EQ(limited(RLIMIT_NOFILE, 0, fails), 0);
    EXPECT_EQ(content(), text(small_));
}

}  // namespace
