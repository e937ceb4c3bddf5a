// `tqamsg convert`: between the forms of a message.

#include "tools/verb.h"

namespace tool {

namespace {

void convert(const std::string& file, Form from, Form to) {
    forEachMessage(file, [&](const Message& message, Form form) {
        if (form != from) {
            throw Failure(kMalformed, form == Form::Xml
                                          ? "the input is text, not a binary message"
                                          : "the input is a binary message, not text");
        }
        writeOutput(inForm(*message, to));
    });
}

}  // namespace

void addConvert(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("convert", "Convert between XML and binary form");
    const auto direction = std::make_shared<std::string>();
    const auto file = std::make_shared<std::string>();
    verb->add_option("FROM:TO", *direction, "xml:bin or bin:xml")
        ->required()
        ->check(CLI::IsMember({"xml:bin", "bin:xml"}));
    verb->add_option("FILE", *file, "the message, or several in a row")->required();
    verb->callback([direction, file] {
        const bool toBinary = *direction == "xml:bin";
        convert(*file, toBinary ? Form::Xml : Form::Binary, toBinary ? Form::Binary : Form::Xml);
    });
}

}  // namespace tool
