#include "tqamsg/host/log_path.h"

#include <climits>
#include <cstddef>
#include <cstring>

namespace {

// Constant-initialised: loggers built at load, in whatever order, find a directory here.
constinit char logPath[PATH_MAX] = "./";

}  // namespace

const char* getAgentLogPath(const char* /*name*/) {
    return logPath;
}

int tqa::setAgentLogPath(const char* dir) {
    if (dir == nullptr || *dir == '\0') return -1;
    std::size_t length = std::strlen(dir);
    const bool needsSlash = dir[length - 1] != '/';
    if (length + (needsSlash ? 1 : 0) >= sizeof logPath) return -1;

    std::memmove(logPath, dir, length);  // dir may be logPath itself
    if (needsSlash) logPath[length++] = '/';
    logPath[length] = '\0';
    return 0;
}
