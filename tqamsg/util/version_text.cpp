#include "tqamsg/util/version_text.h"

#include "tqamsg/util/number_text.h"
#include "tqamsg/util/scan.h"

int tqa::textToVersion(std::string_view text) noexcept {
    // Unsigned, so that a version out of range wraps.
    unsigned int version = 0;
    unsigned int group = 0;
    for (const char c : text) {
        if (isDigit(c)) {
            group = group * 10 + static_cast<unsigned int>(c - '0');
        } else {
            version = version * 100 + group;
            group = 0;
        }
    }
    return static_cast<int>(version * 100 + group);
}

std::string_view tqa::versionToText(int version, char* buf) noexcept {
    char* end = writeInteger(buf, version / 10000);
    *end++ = '.';
    end = writeInteger(end, version / 100 % 100);
    *end++ = '.';
    end = writeInteger(end, version % 100);
    return {buf, static_cast<std::size_t>(end - buf)};
}
