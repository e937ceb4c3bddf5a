#include "tools/edit.h"

#include "tools/element.h"
#include "tools/message_reader.h"
#include "tools/output.h"

namespace tool {

using tqa::Kind;

Option kindOption() {
    return choice("-k,--kind", "KIND",
                  {"untyped", "int", "string", "longlong", "double", "base64", "time", "unparsed"},
                  "kind of the value");
}

std::optional<Kind> kindIn(const Arguments& arguments) {
    return kindNamed(arguments.text("--kind"));
}

std::string payloadFor(const Assignment& wanted, Kind kind) {
    auto payload = payloadOf(kind, wanted.value);
    if (!payload) {
        throw Failure(kUsage, wanted.path + ": '" + wanted.value + "' is no value of the kind " +
                                  nameOf(kind));
    }
    return *std::move(payload);
}

Kind usualKind(int id) {
    switch (id) {
        case 0:
            return Kind::Unparsed;
        case tqa::Attr_priority:
        case tqa::Attr_type:
        case tqa::Attr_uid:
        case tqa::Attr_timeout:
        case tqa::Attr_timeout_limit:
            return Kind::Int;
        case tqa::Attr_time:
            return Kind::Time;
        default:
            return Kind::String;
    }
}

void makeSteps(TQABinary& message, const Path& path, std::size_t from, BinaryPath& way) {
    for (std::size_t i = from; i < path.steps().size(); ++i) {
        const Path::Step& step = path.steps()[i];
        const auto empty = static_cast<int>(tqa::kindWord(Kind::Untyped));
        if (step.isAny || step.position > 1 ||
            message.insertID(way, step.id, empty, nullptr, 0) != 0) {
            throw Failure(kMalformed, path.text() + ": cannot make \"" + step.text + "\"");
        }
    }
}

void putValue(TQABinary& message, const Assignment& wanted, BinaryPath way, Kind kind) {
    const std::string payload = payloadFor(wanted, kind);
    if (message.insertValue(way, static_cast<int>(kind), payload.data(),
                            static_cast<int>(payload.size())) != 0) {
        refuseContainer(wanted);
    }
}

void refuseContainer(const Assignment& wanted) {
    throw Failure(kMalformed, wanted.path + ": holds elements, not a value");
}

Exit editMessages(const std::string& file, const std::function<bool(TQABinary& message)>& edit) {
    Exit status = kOk;
    forEachMessage(file, [&](TQAMessage& message, Form form) {
        if (!edit(binaryOf(message))) status = kNo;
        writeOutput(inForm(message, form));
    });
    return status;
}

}  // namespace tool
