#include "tools/colour.h"

#include <cstdlib>
#include <unistd.h>

namespace tool {

namespace {

bool isColoured = false;

const char* sequenceOf(Paint paint) {
    switch (paint) {
        case Paint::Name:
            return "\x1b[1m";
        case Paint::Id:
            return "\x1b[2m";
        case Paint::Kind:
            return "\x1b[36m";
        case Paint::Text:
        case Paint::Added:
            return "\x1b[32m";
        case Paint::Removed:
        case Paint::Error:
            return "\x1b[31m";
        case Paint::Changed:
        case Paint::Warning:
            return "\x1b[33m";
    }
    return "";
}

}  // namespace

void chooseColour(const std::string& when) {
    const char* const no = std::getenv("NO_COLOR");
    const bool isWanted = no == nullptr || *no == '\0';
    isColoured = when == "always" || (when == "auto" && isWanted && ::isatty(STDOUT_FILENO) == 1);
}

std::string painted(Paint paint, std::string_view text) {
    if (!isColoured || text.empty()) return std::string(text);
    return sequenceOf(paint) + std::string(text) + "\x1b[0m";
}

}  // namespace tool
