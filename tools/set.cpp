// `tqamsg set`: changes the value of an element, which is made if it is missing.

#include "tools/edit.h"
#include "tools/element.h"
#include "tools/verbs.h"

#include <algorithm>

namespace tool {

namespace {

using tqa::ElementView;
using tqa::Kind;

// A value that is a number, bytes or a time stays one; a text becomes a String.
Kind kindToKeep(ElementView element) {
    switch (element.kind()) {
        case Kind::Int:
        case Kind::LongLong:
        case Kind::Double:
        case Kind::Base64:
        case Kind::Time:
            return element.kind();
        default:
            return usualKind(element.id());
    }
}

void setOne(TQABinary& message, const Path& path, const Assignment& wanted,
            std::optional<Kind> kind) {
    BinaryPath way;
    const std::size_t steps = path.reach(rootOf(message), &way);
    makeSteps(message, path, steps, way);
    putValue(message, wanted, way, kind.value_or(kindToKeep(elementAt(rootOf(message), way))));
}

bool setAll(TQABinary& message, const Path& path, const Assignment& wanted,
            std::optional<Kind> kind) {
    std::vector<BinaryPath> ways = path.find(rootOf(message), false);
    // From the last one, so that those before it stay where they were found.
    std::reverse(ways.begin(), ways.end());
    for (const BinaryPath& way : ways) {
        putValue(message, wanted, way, kind.value_or(kindToKeep(elementAt(rootOf(message), way))));
    }
    return !ways.empty();
}

Exit set(const Arguments& arguments) {
    const Assignment wanted = assignmentIn(arguments.text("PATH=VALUE"));
    if (!wanted.hasValue) throw Failure(kUsage, "'" + wanted.path + "' is no PATH=VALUE");
    const Path path(wanted.path);
    const auto kind = kindIn(arguments);
    return editMessages(arguments.text("FILE"), [&](TQABinary& message) {
        if (arguments.has("--all")) return setAll(message, path, wanted, kind);
        setOne(message, path, wanted, kind);
        return true;
    });
}

}  // namespace

Verb setVerb() {
    return {
        "set",
        "set the value of an element",
        "Writes the message, in the form it came in, with the first element at PATH changed; what "
        "is missing on the way is made. Paths are those of get.\n\n"
        "Without --kind a number, bytes or a time keep their kind, header attributes get the one "
        "they usually have, raw elements (#0) stay raw, and everything else becomes a String. "
        "Bytes are given in Base64, times as 2005-06-07T08:09:10+0000 or in seconds since 1970. A "
        "changed element loses its namespace.",
        {
            flag("-a,--all",
                 "change all elements at the path and make none; exit with 1 if there is none"),
            kindOption(),
            operand("PATH=VALUE", Takes::Text, "where, and the new value"),
            operand("FILE", Takes::File, "the message, or several in a row"),
        },
        {
            {"tqamsg set data/vem/veid=101 request.xml", "one value"},
            {"tqamsg set @timeout=30 request.bin > later.bin", "a header attribute"},
        },
        set,
    };
}

}  // namespace tool
