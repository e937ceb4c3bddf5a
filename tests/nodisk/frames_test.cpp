// Frames on a descriptor that fails.

#include "tqamsg/cpp/frames.h"

#include "tests/nodisk/faults.h"

#include <cerrno>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;

// Writes a frame into a pipe while the first call of write() fails, and gives what came out.
struct Written {
    int status = 0;
    int error = 0;
    std::string bytes;

    explicit Written(Fault how) {
        int ends[2];
        if (::pipe(ends) != 0) return;
        {
            const Faults first(0, how);
            status = tqa::writeFrame(ends[1], "<packet/>");
            error = errno;
        }
        ::close(ends[1]);
        char byte;
        while (::read(ends[0], &byte, 1) == 1) bytes += byte;
        ::close(ends[0]);
    }
};

TEST(NoDiskFrames, AnInterruptedOrShortWriteGoesOn) {
    for (const Fault how : {Fault::Interrupted, Fault::Short}) {
        const Written written(how);
        EXPECT_EQ(written.status, 0);
        EXPECT_EQ(written.bytes, "<packet/>");
    }
}

TEST(NoDiskFrames, AFailedWriteIsAnErrorWithItsNumber) {
    const Written written(Fault::NoSpace);
    EXPECT_EQ(written.status, -1);
    EXPECT_EQ(written.error, ENOSPC);
    EXPECT_EQ(written.bytes, "");
}

}  // namespace
