#include "tqamsg/util/process_id.h"

#include <csignal>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

TEST(ProcessId, IsThatOfTheProcess) {
    EXPECT_EQ(getpid(), tqa::processId());
    EXPECT_EQ(getpid(), tqa::processId());
}

// What waitpid tells of a child that ends with 0 when it sees its own id, and its child as well.
void expectOwnIds(pid_t child) {
    ASSERT_GE(child, 0);
    if (child == 0) {
        const bool own = tqa::processId() == getpid();
        const pid_t grandchild = fork();
        if (grandchild == 0) _exit(tqa::processId() == getpid() ? 0 : 1);
        int status = -1;
        waitpid(grandchild, &status, 0);
        _exit(own && status == 0 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
}

TEST(ProcessId, AForkedChildSeesItsOwn) {
    tqa::processId();
    expectOwnIds(fork());
    EXPECT_EQ(getpid(), tqa::processId());
}

// As programs do that start containers: no fork handler runs.
TEST(ProcessId, AClonedChildSeesItsOwn) {
    tqa::processId();
    expectOwnIds(static_cast<pid_t>(syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0)));
    EXPECT_EQ(getpid(), tqa::processId());
}

}  // namespace
