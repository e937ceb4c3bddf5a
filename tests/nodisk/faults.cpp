#include "tests/nodisk/faults.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <limits>
#include <sys/types.h>

// The linker gives these names to the functions that are wrapped and to those that wrap them.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {
int __real_open(const char* path, int flags, ...);
ssize_t __real_read(int file, void* to, std::size_t size);
ssize_t __real_write(int file, const void* from, std::size_t size);
int __real_close(int file);
std::FILE* __real_fopen(const char* path, const char* mode);
std::size_t __real_fwrite(const void* from, std::size_t size, std::size_t count, std::FILE* file);
int __real_fclose(std::FILE* file);
int __real_fflush(std::FILE* file);
int __real_fputs(const char* text, std::FILE* file);
int __real_fputc(int c, std::FILE* file);
int __real_vfprintf(std::FILE* file, const char* format, std::va_list args);
int __real_vsnprintf(char* to, std::size_t size, const char* format, std::va_list args);
std::tm* __real_localtime_r(const std::time_t* time, std::tm* fields);

int __wrap_open(const char* path, int flags, ...);
ssize_t __wrap_read(int file, void* to, std::size_t size);
ssize_t __wrap_write(int file, const void* from, std::size_t size);
int __wrap_close(int file);
std::FILE* __wrap_fopen(const char* path, const char* mode);
std::size_t __wrap_fwrite(const void* from, std::size_t size, std::size_t count, std::FILE* file);
int __wrap_fclose(std::FILE* file);
int __wrap_fflush(std::FILE* file);
int __wrap_fputs(const char* text, std::FILE* file);
int __wrap_fputc(int c, std::FILE* file);
int __wrap_vfprintf(std::FILE* file, const char* format, std::va_list args);
int __wrap_vsnprintf(char* to, std::size_t size, const char* format, std::va_list args);
std::tm* __wrap_localtime_r(const std::time_t* time, std::tm* fields);
}

namespace {

using tqa_test::Fault;

constexpr long kNever = std::numeric_limits<long>::max();

std::atomic<bool> counting = false;
std::atomic<long> called = 0;
std::atomic<long> firstFailing = kNever;
std::atomic<long> lastFailing = kNever;
std::atomic<Fault> fault = Fault::Failure;
std::atomic<const char*> firstFailed = "";
std::atomic<long> opened = 0;
std::atomic<long> faultsInAll = 0;

// Whether this call fails; errno says why.
bool fails(const char* name) {
    if (!counting) return false;
    const long number = called++;
    if (number < firstFailing || number > lastFailing) return false;
    if (*firstFailed == '\0') firstFailed = name;
    ++faultsInAll;
    switch (fault) {
        case Fault::NoSpace:
            errno = ENOSPC;
            break;
        case Fault::NoDescriptor:
            errno = EMFILE;
            break;
        case Fault::Interrupted:
            errno = EINTR;
            break;
        default:
            errno = EIO;
    }
    return true;
}

bool isShort() {
    return fault == Fault::Short;
}

}  // namespace

int __wrap_open(const char* path, int flags, ...) {
    std::va_list args;
    va_start(args, flags);
    const auto mode = (flags & O_CREAT) != 0 ? va_arg(args, unsigned) : 0;
    va_end(args);
    if (fails("open")) return -1;
    const int file = __real_open(path, flags, mode);
    if (file >= 0 && counting) ++opened;
    return file;
}

ssize_t __wrap_read(int file, void* to, std::size_t size) {
    const bool failing = fails("read");
    if (failing && !isShort()) return -1;
    return __real_read(file, to, failing ? (size + 1) / 2 : size);
}

ssize_t __wrap_write(int file, const void* from, std::size_t size) {
    const bool failing = fails("write");
    if (failing && !isShort()) return -1;
    return __real_write(file, from, failing ? size / 2 : size);
}

// A descriptor is closed even when close() fails.
int __wrap_close(int file) {
    const bool failing = fails("close");
    if (counting) --opened;
    const int why = errno;
    const int status = __real_close(file);
    if (!failing) return status;
    errno = why;
    return -1;
}

std::FILE* __wrap_fopen(const char* path, const char* mode) {
    if (fails("fopen")) return nullptr;
    std::FILE* const file = __real_fopen(path, mode);
    if (file != nullptr && counting) ++opened;
    return file;
}

std::size_t __wrap_fwrite(const void* from, std::size_t size, std::size_t count, std::FILE* file) {
    if (!fails("fwrite")) return __real_fwrite(from, size, count, file);
    return isShort() ? __real_fwrite(from, size, count / 2, file) : 0;
}

int __wrap_fclose(std::FILE* file) {
    const bool failing = fails("fclose");
    if (counting) --opened;
    const int status = __real_fclose(file);
    return failing ? EOF : status;
}

int __wrap_fflush(std::FILE* file) {
    return fails("fflush") ? EOF : __real_fflush(file);
}

int __wrap_fputs(const char* text, std::FILE* file) {
    return fails("fputs") ? EOF : __real_fputs(text, file);
}

int __wrap_fputc(int c, std::FILE* file) {
    return fails("fputc") ? EOF : __real_fputc(c, file);
}

int __wrap_vfprintf(std::FILE* file, const char* format, std::va_list args) {
    return fails("vfprintf") ? -1 : __real_vfprintf(file, format, args);
}

int __wrap_vsnprintf(char* to, std::size_t size, const char* format, std::va_list args) {
    return fails("vsnprintf") ? -1 : __real_vsnprintf(to, size, format, args);
}

std::tm* __wrap_localtime_r(const std::time_t* time, std::tm* fields) {
    return fails("localtime_r") ? nullptr : __real_localtime_r(time, fields);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

namespace tqa_test {

Faults::Faults() : Faults(kNever, Fault::Failure) {}

Faults::Faults(long first, Fault how, long last) {
    called = 0;
    firstFailing = first;
    lastFailing = last < 0 ? first : last;
    fault = how;
    firstFailed = "";
    counting = true;
}

Faults::~Faults() {
    counting = false;
}

long Faults::calls() {
    return called;
}

const char* Faults::failed() {
    return firstFailed;
}

long openByLibrary() {
    return opened;
}

long allFaults() {
    return faultsInAll;
}

}  // namespace tqa_test
