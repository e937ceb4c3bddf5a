// The command line tool `tqamsg`: its exit status, and what it says when it fails.

#include "tools/command_line.h"
#include "tools/output.h"
#include "tools/progress.h"

#include <csignal>
#include <cstdio>
#include <exception>

namespace {

void complain(const char* what) {
    tool::hideProgress();
    std::fprintf(stderr, "tqamsg: %s\n", what);
}

int run(int argc, char** argv) {
    try {
        const tool::Exit status = tool::runCommandLine(argc, argv);
        tool::flushOutput();
        tool::hideProgress();
        return status;
    } catch (const tool::Failure& failure) {
        tool::flushOutput();  // what was done before the failure
        complain(failure.what());
        return failure.code();
    }
}

}  // namespace

int main(int argc, char** argv) {
    // A reader that goes away is noticed where the output is written.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return run(argc, argv);
    } catch (const tool::ReaderGone&) {
        return tool::kOk;
    } catch (const tool::Failure& failure) {
        complain(failure.what());
        return failure.code();
    } catch (const std::exception& error) {
        complain(error.what());
        return tool::kInputOutput;
    }
}
