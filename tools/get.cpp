// `tqamsg get`: the values that a path leads to.

#include "tools/element.h"
#include "tools/message_reader.h"
#include "tools/output.h"
#include "tools/path.h"
#include "tools/verbs.h"

namespace tool {

namespace {

using tqa::ElementView;

// The library's booleans.
bool isTrue(ElementView element) {
    const std::string value = rawValue(element);
    return element.isContainer() || !(value.empty() || value == "0" || value == "false");
}

std::string subtreeText(TQAMessage& message, int offset) {
    std::string text;
    int at = offset;
    if (binaryOf(message).toText(text, at, 0, 0, false, "", "") < 0) {
        throw Failure(kMalformed, "the element cannot be printed");
    }
    return text;
}

void print(TQAMessage& message, ElementView root, const BinaryPath& way, bool isRaw) {
    const ElementView element = elementAt(root, way);
    if (element.isContainer()) {
        writeOutput(subtreeText(message, way.back().offset));
    } else {
        writeOutput((isRaw ? rawValue(element) : shownValue(element)) + '\n');
    }
}

Exit get(const Arguments& arguments) {
    const Path path(arguments.text("PATH"));
    bool isFound = false;
    bool isLastTrue = false;
    forEachMessage(arguments.text("FILE"), [&](TQAMessage& message, Form) {
        const ElementView root = rootOf(message);
        for (const BinaryPath& way : path.find(root, !arguments.has("--all"))) {
            print(message, root, way, arguments.has("--raw"));
            isFound = true;
            isLastTrue = isTrue(elementAt(root, way));
        }
    });
    return (arguments.has("--exit-status") ? isLastTrue : isFound) ? kOk : kNo;
}

}  // namespace

Verb getVerb() {
    return {
        "get",
        "print the values at a path",
        "Prints the value of the first element at PATH, as show prints values; an element that "
        "holds elements is printed as XML text. The exit status is 1 when no message of the input "
        "has such an element.\n\n"
        "A path starts below the root: data/vem/veid. Its steps are words; \"@\" and a word for a "
        "header attribute; \"#\" and a number for an identifier that is no word, #0 being raw "
        "elements; or \"*\" for any element. \"[n]\" behind a step takes the n-th of those that "
        "match, from 1: data/ve[2]/@type. \"/\" is the root.",
        {
            flag("-a,--all", "all elements at the path, one a line"),
            flag("-r,--raw", "the value as it is: texts without quotes, bytes as bytes"),
            flag("-e,--exit-status",
                 "exit with 1 also when the last value is false: empty, \"0\" or \"false\""),
            operand("PATH", Takes::Text, "where the values are"),
            operand("FILE", Takes::File, "the message, or several in a row"),
        },
        {
            {"tqamsg get -r @id request.bin", "the message's id"},
            {"tqamsg get --all 'data/vem/*/veid' reply.bin", "every veid two levels down"},
        },
        get,
    };
}

}  // namespace tool
