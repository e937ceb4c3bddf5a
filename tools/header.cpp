// `tqamsg header`: who sends what to whom.

#include "tools/colour.h"
#include "tools/element.h"
#include "tools/json_form.h"
#include "tools/message_reader.h"
#include "tools/output.h"
#include "tools/verbs.h"

#include <functional>
#include <set>

namespace tool {

namespace {

using tqa::ElementView;

using Use = std::function<void(const std::string& name, ElementView element)>;

// The header attributes and the routing elements of the root, those in "src" and "dst" under paths.
void eachField(ElementView root, const Use& use) {
    for (ElementView child = root.firstChild(); child; child = child.next(root.end())) {
        const std::string name = nameOf(child.id());
        if (!child.isContainer()) {
            use(name, child);
            continue;
        }
        if (child.id() != tqa::Tag_src && child.id() != tqa::Tag_dst) continue;
        for (ElementView part = child.firstChild(); part; part = part.next(child.end()))
            if (!part.isContainer()) use(name + "/" + nameOf(part.id()), part);
    }
}

// The operator and the operation, when "data" holds them in the usual shape.
std::string operationOf(ElementView root) {
    const ElementView data = root.childWithId(tqa::Tag_data);
    const ElementView operatorElement = data ? data.firstChild() : ElementView();
    if (!operatorElement) return {};
    const ElementView operation = operatorElement.firstChild();
    return nameOf(operatorElement.id()) + (operation ? "/" + nameOf(operation.id()) : "");
}

std::string textOf(ElementView root) {
    std::string text;
    const auto line = [&text](const std::string& name, const std::string& value) {
        text += painted(Paint::Name, name) + " " + painted(Paint::Text, value) + "\n";
    };
    eachField(root, [&](const std::string& name, ElementView element) {
        line(name, shownValue(element));
    });
    const std::string operation = operationOf(root);
    if (!operation.empty()) line("data", operation);
    return text;
}

// The first field of a name counts, as it does for the library.
std::string jsonOf(ElementView root) {
    std::string text = "{";
    std::set<std::string> names;
    const auto member = [&](const std::string& name, const std::string& value) {
        if (!names.insert(name).second) return;
        text += (names.size() > 1 ? "," : "") + jsonString(name) + ":" + jsonString(value);
    };
    eachField(root, [&](const std::string& name, ElementView element) {
        const bool isBytes = element.kind() == tqa::Kind::Base64;
        member(name, isBytes ? shownValue(element) : rawValue(element));
    });
    const std::string operation = operationOf(root);
    if (!operation.empty()) member("data", operation);
    return text += "}\n";
}

Exit header(const Arguments& arguments) {
    bool isFirst = true;
    forEachMessage(arguments.text("FILE"), [&](TQAMessage& message, Form) {
        const ElementView root = rootOf(message);
        if (!arguments.has("--json") && !isFirst) writeOutput("\n");
        writeOutput(arguments.has("--json") ? jsonOf(root) : textOf(root));
        isFirst = false;
    });
    return kOk;
}

}  // namespace

Verb headerVerb() {
    return {
        "header",
        "show the header and the routing of a message",
        "Prints the header attributes of a message and the values that stand directly in its "
        "root, one a line, then the operator and the operation that \"data\" holds. Messages are "
        "parted by an empty line. With --json each message is one object on a line; of several "
        "fields of one name it has the first.",
        {
            flag("--json", "one JSON object a message"),
            operand("FILE", Takes::File, "the message, or several in a row"),
        },
        {{"tqamsg header --json stream.bin | jq -r .target", "who is asked, message by message"}},
        header,
    };
}

}  // namespace tool
