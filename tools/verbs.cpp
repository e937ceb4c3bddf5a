// The table of verbs, and what its rows are made with.

#include "tools/verbs.h"

#include <cerrno>
#include <cstdlib>
#include <sstream>

namespace tool {

Option flag(const char* names, const char* help) {
    return {names, "", Takes::Nothing, Times::AtMostOnce, help};
}

Option option(const char* names, const char* value, Takes takes, const char* help) {
    return {names, value, takes, Times::AtMostOnce, help};
}

Option choice(const char* names, const char* value, std::vector<std::string> choices,
              const char* help) {
    return {names, value, Takes::Choice, Times::AtMostOnce, help, std::move(choices)};
}

Option operand(const char* name, Takes takes, const char* help) {
    return {name, "", takes, Times::Once, help};
}

Option times(Times times, Option option) {
    option.times = times;
    return option;
}

std::string Option::fullHelp() const {
    if (choices.empty() || help.find(choices.back()) != std::string::npos) return help;
    std::string text = help + ":";
    for (const std::string& each : choices) text += (text.ends_with(':') ? " " : ", ") + each;
    return text;
}

std::string wrapped(const std::string& paragraph) {
    constexpr std::size_t kWidth = 78;
    std::istringstream words(paragraph);
    std::string out;
    std::size_t lineStart = 0;
    for (std::string word; words >> word;) {
        const bool isFirst = out.size() == lineStart;
        const bool fits = out.size() - lineStart + 1 + word.size() <= kWidth;
        if (!isFirst) out += fits ? ' ' : '\n';
        if (!fits) lineStart = out.size();
        out += word;
    }
    return out + "\n";
}

std::vector<std::string> paragraphsOf(const std::string& text) {
    std::vector<std::string> all;
    std::size_t start = 0;
    for (std::size_t gap = 0; (gap = text.find("\n\n", start)) != std::string::npos;) {
        all.push_back(text.substr(start, gap - start));
        start = gap + 2;
    }
    all.push_back(text.substr(start));
    return all;
}

std::string Arguments::text(const std::string& key, const std::string& otherwise) const {
    const std::vector<std::string>& values = all(key);
    return values.empty() ? otherwise : values.back();
}

long Arguments::number(const std::string& key, long otherwise) const {
    if (!has(key)) return otherwise;
    const std::string digits = text(key);
    char* end = nullptr;
    errno = 0;
    const long number = std::strtol(digits.c_str(), &end, 10);
    if (errno != 0 || end == digits.c_str() || *end != '\0' || number < 0) {
        throw Failure(kUsage, key + ": '" + digits + "' is no number from 0 up");
    }
    return number;
}

const std::vector<Verb>& verbs() {
    static const std::vector<Verb> all = {
        showVerb(), convertVerb(), getVerb(),         setVerb(),          addVerb(),
        delVerb(),  diffVerb(),    validateVerb(),    headerVerb(),       replyVerb(),
        authVerb(), wordsVerb(),   soapRequestVerb(), soapResponseVerb(), sendVerb(),
        tapVerb(),  genVerb(),     logVerb(),         generateVerb(),
    };
    return all;
}

const std::vector<Option>& commonOptions() {
    static const std::vector<Option> all = {
        choice(
            "--color", "WHEN", {"auto", "always", "never"},
            "colours: auto (the default: on a terminal unless NO_COLOR is set), always or never"),
    };
    return all;
}

const char* overview() {
    return "A FILE may be - for standard input. The form of a message is told by its content: "
           "binary, XML text, JSON, or the bytes in hexadecimal. Several messages in a row are a "
           "stream; texts may be parted by zero bytes.\n\n"
           "For streams of more than 64 MiB a bar on standard error shows the progress, if that is "
           "a terminal. When whoever reads standard output has gone, the tool ends without a word "
           "and with exit status 0.";
}

const std::vector<ExitRow>& exitRows() {
    static const std::vector<ExitRow> all = {
        {kOk, "done, or yes"},
        {kNo, "no: not found, differs, not allowed"},
        {kUsage, "the command line is wrong"},
        {kMalformed, "the input is malformed; the message says where"},
        {kInputOutput, "a file, a connection or the output failed"},
        {kOtherSide, "the other side answered with a fault or an error"},
    };
    return all;
}

}  // namespace tool
