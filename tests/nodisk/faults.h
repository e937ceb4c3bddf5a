// Input and output that fail on demand.
//
//     const Faults faults(2, Fault::NoSpace);   // the third call fails
//     EXPECT_EQ(message->toTextFile(path), -1);
//
// open, read, write, close, fopen, fwrite, fclose, fflush, fputs, fputc, vfprintf, vsnprintf and
// localtime_r, as they are called from the library's objects, are replaced by the linker (--wrap).
// Threads may call them at once.
#pragma once

namespace tqa_test {

enum class Fault {
    Failure,       // EIO
    NoSpace,       // ENOSPC; what reads fails with EIO
    NoDescriptor,  // EMFILE
    Interrupted,   // EINTR
    Short,         // half of it is read or written, or nothing if that can't be; others succeed
};

inline constexpr Fault kFaults[] = {Fault::Failure, Fault::NoSpace, Fault::NoDescriptor,
                                    Fault::Interrupted, Fault::Short};

inline constexpr long kForEver = 1L << 40;

// As long as it lives the calls are numbered from 0, and the chosen one fails, or all up to `last`.
class Faults {
  public:
    Faults();  // none fails
    Faults(long first, Fault how, long last = -1);
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;
    ~Faults();

    static long calls();
    // The name of the call that failed first, "" for none.
    static const char* failed();
};

// Descriptors that the library has opened and not closed.
long openByLibrary();

// Of the whole process.
long allFaults();

}  // namespace tqa_test
