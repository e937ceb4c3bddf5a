// `tqamsg set`: changes the value of an element, which is made if it is missing.

#include "tools/edit.h"
#include "tools/element.h"
#include "tools/verbs.h"

#include <string>
#include <vector>

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

// A new value for the element at the end of `way`.
struct Change {
    BinaryPath* way;
    ElementView old;
    Kind kind;
    std::string payload;

    int length() const { return static_cast<int>(payload.size()); }
    std::int64_t delta() const { return tqa::elementSize(length()) - old.size(); }
};

// The message with all changes, which are in document order, made in one pass: made one by one,
// each would move all that follows.
std::string changed(std::string bytes, const std::vector<Change>& changes) {
    auto size = static_cast<std::int64_t>(bytes.size());
    for (const Change& change : changes) size += change.delta();
    if (size > tqa::kMaxCapacity) throw Failure(kMalformed, "the message becomes too long");
    for (const Change& change : changes) {
        const tqa::PathEntry* const last = change.way->end() - 1;
        for (const tqa::PathEntry* entry = change.way->begin(); entry != last; ++entry)
            tqa::addToChildren(bytes.data() + entry->offset, static_cast<int>(change.delta()));
    }
    std::string out;
    std::size_t done = 0;
    for (const Change& change : changes) {
        const auto at = static_cast<std::size_t>(change.way->back().offset);
        out.append(bytes, done, at - done);
        out.resize(out.size() + static_cast<std::size_t>(tqa::elementSize(change.length())));
        tqa::writeElement(out.data() + out.size() - tqa::elementSize(change.length()),
                          change.old.id(), tqa::kindWord(change.kind), change.payload.data(),
                          change.length());
        done = at + static_cast<std::size_t>(change.old.size());
    }
    return out.append(bytes, done);
}

bool setAll(TQABinary& message, const Path& path, const Assignment& wanted,
            std::optional<Kind> kind) {
    const ElementView root = rootOf(message);
    std::vector<BinaryPath> ways = path.find(root, false);
    std::vector<Change> changes;
    for (BinaryPath& way : ways) {
        const ElementView old = elementAt(root, way);
        if (old.isContainer()) refuseContainer(wanted);
        const Kind newKind = kind.value_or(kindToKeep(old));
        changes.push_back({&way, old, newKind, payloadFor(wanted, newKind)});
    }
    if (changes.empty()) return false;
    std::string bytes = changed(bytesOf(message), changes);
    if (message.init(bytes.data(), static_cast<int>(bytes.size())) != 0)
        throw Failure(kInputOutput, "out of memory");
    return true;
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
