// `tqamsg add`: appends an element.

#include "tools/edit.h"
#include "tools/element.h"
#include "tools/verbs.h"

namespace tool {

namespace {

int namespaceIn(const Arguments& arguments) {
    if (!arguments.has("--ns")) return 0;
    const std::string word = arguments.text("--ns");
    const auto found = TextNSIDMap.find(word);
    if (found == TextNSIDMap.end()) throw Failure(kUsage, "--ns: '" + word + "' is no namespace");
    return found->second;
}

// The element and its value in one step: a value that is put in later clears the namespace.
void append(TQABinary& message, BinaryPath& way, int id, tqa::Kind kind, int ns,
            const std::string& payload, const Path& path) {
    const auto word = static_cast<int>(tqa::kindWord(kind, ns));
    if (message.insertID(way, id, word, payload.data(), static_cast<int>(payload.size())) != 0) {
        throw Failure(kMalformed,
                      path.text() + ": cannot make \"" + path.steps().back().text + "\"");
    }
}

Exit add(const Arguments& arguments) {
    const Assignment wanted = assignmentIn(arguments.text("PATH[=VALUE]"));
    const Path path(wanted.path);
    if (path.steps().empty()) throw Failure(kUsage, "a message has one root");
    const Path::Step last = path.steps().back();
    if (last.isAny || last.position != 0)
        throw Failure(kUsage, wanted.path + ": '" + last.text + "' cannot be added");
    const Path parent(wanted.path.substr(0, wanted.path.rfind(last.text)) + "/");
    const tqa::Kind kind = kindIn(arguments).value_or(usualKind(last.id));
    const std::string payload = wanted.hasValue ? payloadFor(wanted, kind) : "";
    const int ns = namespaceIn(arguments);
    return editMessages(arguments.text("FILE"), [&](TQABinary& message) {
        BinaryPath way;
        makeSteps(message, parent, parent.reach(rootOf(message), &way), way);
        append(message, way, last.id, wanted.hasValue ? kind : tqa::Kind::Untyped, ns, payload,
               path);
        return true;
    });
}

}  // namespace

Verb addVerb() {
    return {
        "add",
        "append an element",
        "Writes the message, in the form it came in, with one element more: the last step of PATH, "
        "behind the children of the element that the other steps lead to. Those are made if they "
        "are missing. Without a value the element is empty, ready to hold elements. Paths are "
        "those of get, kinds those of set.",
        {
            kindOption(),
            option("--ns", "WORD", Takes::Text, "namespace of the element"),
            operand("PATH[=VALUE]", Takes::Text, "where, and what value"),
            operand("FILE", Takes::File, "the message, or several in a row"),
        },
        {{"tqamsg add data/vem/veid=102 request.bin", "one more veid"}},
        add,
    };
}

}  // namespace tool
