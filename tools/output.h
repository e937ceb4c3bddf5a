// Standard output, gathered in large pieces.
#pragma once

#include <string_view>

namespace tool {

// Thrown when whoever read the output has gone: the tool ends, without a word and with success.
struct ReaderGone {};

// Both throw Failure(kInputOutput) when the output cannot be written.
void writeOutput(std::string_view text);
void flushOutput();

}  // namespace tool
