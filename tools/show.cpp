// `tqamsg show`: the tree, one element a line.

#include "tools/show.h"

#include "tools/colour.h"
#include "tools/element.h"
#include "tools/json_form.h"
#include "tools/message_reader.h"
#include "tools/output.h"
#include "tools/verbs.h"

#include <algorithm>
#include <climits>

namespace tool {

namespace {

using tqa::ElementView;

struct Look {
    bool offsets;
    bool json;
    int depth;  // of the deepest elements shown
};

std::string textLine(const Walk& walk, int offset, const Look& look) {
    constexpr int kDeepestIndent = 40;
    const ElementView element = walk.element();
    std::string line;
    if (look.offsets) {
        const std::string digits = std::to_string(offset);
        line = std::string(8 - std::min<std::size_t>(digits.size(), 8), ' ') + digits + "  ";
    }
    line.append(2 * static_cast<std::size_t>(std::min(walk.depth(), kDeepestIndent)), ' ');
    line += painted(Paint::Name, nameOf(element.id())) + ' ' +
            painted(Paint::Id, "#" + std::to_string(element.id())) + ' ' +
            painted(Paint::Kind, nameOf(element.kind()));
    if (element.ns() != 0) line += " ns=" + namespaceOf(element.ns());
    const std::string value = shownValue(element);
    if (!value.empty()) line += ' ' + painted(Paint::Text, value);
    return line += '\n';
}

std::string jsonLine(const Walk& walk, int offset) {
    const ElementView element = walk.element();
    std::string line = "{\"depth\":" + std::to_string(walk.depth()) +
                       ",\"offset\":" + std::to_string(offset) +
                       ",\"id\":" + std::to_string(element.id());
    appendJsonElement(line, element);
    return line += "}\n";
}

void showMessage(TQAMessage& message, const Look& look) {
    const ElementView root = rootOf(message);
    for (Walk walk(root); walk; walk.next(walk.depth() < look.depth)) {
        const auto offset =
            static_cast<int>(walk.element().begin() - root.begin()) + tqa::kRootOffset;
        writeOutput(look.json ? jsonLine(walk, offset) : textLine(walk, offset, look));
    }
}

Exit show(const Arguments& arguments) {
    const long depth = std::min<long>(arguments.number("--depth", INT_MAX), INT_MAX);
    const Look look{arguments.has("--offsets"), arguments.has("--json"), static_cast<int>(depth)};
    forEachMessage(arguments.text("FILE"),
                   [&look](TQAMessage& message, Form) { showMessage(message, look); });
    return kOk;
}

}  // namespace

void showTree(TQAMessage& message) {
    showMessage(message, {false, false, INT_MAX});
}

Verb showVerb() {
    return {
        "show",
        "show the tree of a message",
        "Prints one element a line: its name (\"@\" marks header attributes), its identifier, its "
        "kind, its namespace if it has one, and its value. Texts stand in double quotes, with "
        "everything written out that would move a terminal's cursor; bytes stand in Base64.\n\n"
        "With --json each line is an object with the members depth, offset, id, name, ns, kind and "
        "value or bytes.",
        {
            flag("-o,--offsets", "begin each line with the element's place in the binary message"),
            option("-d,--depth", "N", Takes::Number,
                   "show the elements that have up to N around them; 0 is the root"),
            flag("--json", "one JSON object a line"),
            operand("FILE", Takes::File, "the message, or several in a row"),
        },
        {
            {"tqamsg show --depth 1 request.xml", "the root and what stands directly in it"},
            {"tqamsg show --offsets request.bin", "where each element lies"},
        },
        show,
    };
}

}  // namespace tool
