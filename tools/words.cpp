// `tqamsg words`: the vocabulary.

#include "tqamsg/tqamsg.h"

#include "tools/colour.h"
#include "tools/json_form.h"
#include "tools/output.h"
#include "tools/verbs.h"

#include <algorithm>
#include <fnmatch.h>
#include <vector>

namespace tool {

namespace {

struct Entry {
    int id;
    const char* space;
    std::string word;
};

void append(std::vector<Entry>& entries, const HashMap<int, std::string>& words,
            const char* space) {
    for (const auto& [id, word] : words) entries.push_back({id, space, word});
}

// Header attributes, namespaces and tags, by identifier.
std::vector<Entry> vocabulary() {
    std::vector<Entry> entries;
    append(entries, IDAttrMap, "attribute");
    append(entries, NSIDTextMap, "namespace");
    append(entries, IDTextMap, "tag");
    std::sort(entries.begin(), entries.end(),
              [](const Entry& a, const Entry& b) { return a.id < b.id; });
    return entries;
}

bool matches(const Entry& entry, const std::string& pattern) {
    if (pattern == std::to_string(entry.id)) return true;
    if (pattern.find_first_of("*?[") != std::string::npos)
        return ::fnmatch(pattern.c_str(), entry.word.c_str(), 0) == 0;
    return entry.word.find(pattern) != std::string::npos;
}

std::string textLine(const Entry& entry) {
    const std::string id = std::to_string(entry.id);
    return std::string(4 - std::min<std::size_t>(id.size(), 4), ' ') + painted(Paint::Id, id) +
           "  " + painted(Paint::Kind, entry.space) +
           std::string(11 - std::string(entry.space).size(), ' ') +
           painted(Paint::Name, entry.word) + "\n";
}

std::string jsonLine(const Entry& entry) {
    return "{\"id\":" + std::to_string(entry.id) + ",\"space\":\"" + entry.space +
           "\",\"word\":" + jsonString(entry.word) + "}\n";
}

Exit words(const Arguments& arguments) {
    const std::string pattern = arguments.text("PATTERN");
    const std::string space = arguments.text("--in");
    bool isFound = false;
    for (const Entry& entry : vocabulary()) {
        if ((!space.empty() && space != entry.space) || !matches(entry, pattern)) continue;
        writeOutput(arguments.has("--json") ? jsonLine(entry) : textLine(entry));
        isFound = true;
    }
    return isFound ? kOk : kNo;
}

}  // namespace

Verb wordsVerb() {
    return {
        "words",
        "look words up in the vocabulary",
        "Prints the words that match PATTERN, or all words, one a line: identifier, space and "
        "word. The spaces are the header attributes, the namespaces and the element tags. PATTERN "
        "is an identifier, a part of a word, or a whole word with the wildcards of the shell (*, "
        "?, [...]). The exit status is 1 when no word matches.",
        {
            choice("--in", "SPACE", {"attribute", "namespace", "tag"}, "only this space"),
            flag("--json", "one JSON object a line"),
            times(Times::AtMostOnce, operand("PATTERN", Takes::Text, "which words")),
        },
        {
            {"tqamsg words 1398", "what is 1398?"},
            {"tqamsg words --in namespace 'ba*'", "the namespaces that begin with ba"},
        },
        words,
    };
}

}  // namespace tool
