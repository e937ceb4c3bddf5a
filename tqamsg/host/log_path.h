// Where the agent's log files go.
//
// A host process may bring its own getAgentLogPath: it then leaves log_path.cpp out of the build,
// and setAgentLogPath does not exist.
#pragma once

#include "tqamsg/export.h"

// The directory of the agent's log files, ending in "/"; "./" until it is set. The argument is
// there for hosts that keep several directories and is not looked at here; the library passes "".
// The text belongs to the library and keeps its address for the life of the process, so a logger
// may hold on to the pointer and sees a directory that is set later.
TQA_API const char* getAgentLogPath(const char* name);

namespace tqa {

// Makes dir the directory of the log files; the text is copied and "/" is added when it is
// missing. 0, or -1 and no change when dir is null, empty or longer than a path may be. Not
// synchronised with loggers: to be called before the process starts threads.
TQA_API int setAgentLogPath(const char* dir);

}  // namespace tqa
