// `tqamsg del`: removes elements.

#include "tools/edit.h"
#include "tools/verbs.h"

#include <algorithm>

namespace tool {

namespace {

bool remove(TQABinary& message, const Path& path, bool isFirst) {
    std::vector<BinaryPath> ways = path.find(rootOf(message), isFirst);
    // From the last one, so that those before it stay where they were found.
    std::reverse(ways.begin(), ways.end());
    for (BinaryPath& way : ways) {
        if (message.deleteID(way) != 0) throw Failure(kMalformed, path.text() + ": cannot go");
    }
    return !ways.empty();
}

Exit del(const Arguments& arguments) {
    const Path path(arguments.text("PATH"));
    if (path.steps().empty()) throw Failure(kUsage, "the root cannot be deleted");
    return editMessages(arguments.text("FILE"), [&](TQABinary& message) {
        return remove(message, path, !arguments.has("--all"));
    });
}

}  // namespace

Verb delVerb() {
    return {
        "del",
        "delete an element",
        "Writes the message, in the form it came in, without the first element at PATH and what is "
        "in it. The exit status is 1 when there was none in a message, which is then written as it "
        "was. Paths are those of get.",
        {
            flag("-a,--all", "delete all elements at the path"),
            operand("PATH", Takes::Text, "what to delete"),
            operand("FILE", Takes::File, "the message, or several in a row"),
        },
        {{"tqamsg del --all data/vem/ve reply.bin", "the reply without its list"}},
        del,
    };
}

}  // namespace tool
