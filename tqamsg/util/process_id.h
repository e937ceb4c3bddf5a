// The process's id without a system call for each look at it.
#pragma once

#include <sys/types.h>

namespace tqa {

// What getpid() returns, in a child too, however it was made. Any thread may ask.
pid_t processId() noexcept;

}  // namespace tqa
