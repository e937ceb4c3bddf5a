#include "tqamsg/util/strings.h"

#include <ctype.h>
#include <string.h>

namespace {

bool isWhite(char c) {
    return isspace(static_cast<unsigned char>(c)) != 0;
}

}  // namespace

char* strip_spaces(char*& s) {
    while (isWhite(*s)) ++s;
    char* end = s + strlen(s);
    while (end > s && isWhite(end[-1])) --end;
    *end = '\0';
    return s;
}

std::string& strip_spaces(std::string& s) {
    constexpr const char* kBlank = " \n\t";
    chomp(s, kBlank);
    s.erase(0, s.find_first_not_of(kBlank));
    return s;
}

std::string& chomp(std::string& s, const char* set) {
    s.erase(s.find_last_not_of(set) + 1);  // npos + 1 is 0
    return s;
}

std::string toLower(const std::string& text) {
    return toCase<tolower>(text);
}

std::string toUpper(const std::string& text) {
    return toCase<toupper>(text);
}
