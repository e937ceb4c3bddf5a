// `tqamsg set`: changes the value of one element.

#include "tools/verb.h"

namespace tool {

namespace {

struct Assignment {
    std::string path;
    std::string value;
};

Assignment parse(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw CLI::ValidationError("PATH=VALUE", "'" + text + "' is no assignment");
    }
    return {text.substr(0, equals), text.substr(equals + 1)};
}

// Makes each element of the path that is missing and gives the last one its value.
void assign(TQAMessage& message, const Assignment& wanted) {
    const Iterator it(message.newIterator());
    std::size_t start = 0;
    while (start < wanted.path.size()) {
        const std::size_t end = std::min(wanted.path.find('/', start), wanted.path.size());
        const std::string word = wanted.path.substr(start, end - start);
        if (!word.empty() && it->seek(word) != 0 && it->newChild(word, "") != 0) {
            throw Failure(kMalformed, wanted.path + ": cannot make \"" + word + "\"");
        }
        start = end + 1;
    }
    if (it->putValue(wanted.value, 0) != 0) {
        throw Failure(kMalformed, wanted.path + ": holds elements, not a value");
    }
}

}  // namespace

void addSet(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("set", "Set the value of an element, in the same form");
    const auto assignment = std::make_shared<std::string>();
    const auto file = std::make_shared<std::string>();
    verb->add_option("PATH=VALUE", *assignment, "path from the root, e.g. data/vem/veid=101")
        ->required();
    verb->add_option("FILE", *file, "message in XML or binary form")->required();
    verb->callback([assignment, file] {
        const Assignment wanted = parse(*assignment);
        forEachMessage(*file, [&wanted](const Message& message, Form form) {
            assign(*message, wanted);
            writeOutput(inForm(*message, form));
        });
    });
}

}  // namespace tool
