// The command line: `tqamsg VERB ...`, read as the table of verbs says.
#pragma once

#include "tools/verb.h"

namespace tool {

// Runs the verb that the command line names, or prints the help that it asks for. Failures leave as
// exceptions.
Exit runCommandLine(int argc, char** argv);

}  // namespace tool
