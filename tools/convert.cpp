// `tqamsg convert`: between the forms of a message.

#include "tools/message_reader.h"
#include "tools/output.h"
#include "tools/soap.h"
#include "tools/verbs.h"

#include <algorithm>

namespace tool {

namespace {

struct Direction {
    std::optional<Form> from;  // nothing: whatever the input is in
    Form to;
};

Direction directionIn(const std::string& text) {
    const std::size_t colon = std::min(text.find(':'), text.size());
    const std::string from = text.substr(0, colon);
    const std::optional<Form> known = formNamed(from);
    const std::optional<Form> to = formNamed(text.substr(std::min(colon + 1, text.size())));
    const bool isSoapTwice = from == "soap" && to == Form::Soap;
    if (!to || (!known && !from.empty()) || isSoapTwice)
        throw Failure(kUsage, "'" + text + "' is no pair of forms, as xml:bin is");
    return {known, *to};
}

void convertMessages(const std::string& file, Direction direction, SoapVersion version) {
    MessageReader reader(file);
    while (reader.next()) {
        if (direction.from && reader.form() != *direction.from) {
            throw Failure(kMalformed, reader.place() + ": the input is " + describe(reader.form()) +
                                          ", not " + describe(*direction.from));
        }
        writeOutput(direction.to == Form::Soap ? soapResponseTo(reader.message(), version, file)
                                               : inForm(reader.message(), direction.to));
    }
}

Exit convert(const Arguments& arguments) {
    const Direction direction = directionIn(arguments.text("FROM:TO"));
    const std::string file = arguments.text("FILE");
    if (direction.from == Form::Soap) {
        writeOutput(inForm(*messageOfSoap(readAll(file), file), direction.to));
    } else {
        convertMessages(file, direction, soapVersionNamed(arguments.text("--soap")));
    }
    return kOk;
}

}  // namespace

Verb convertVerb() {
    return {
        "convert",
        "convert between the forms of a message",
        "FROM and TO are xml, bin, json, hex or soap; without FROM (\":json\") the form of each "
        "message is told by its content. An input in another form than FROM is refused.\n\n"
        "The JSON form gives the same bytes back. XML text keeps no kinds: what comes back from it "
        "is text throughout. From soap a request becomes a message, as with soap-request; to soap "
        "a reply becomes a response or a fault, as with soap-response.",
        {
            choice("--soap", "VERSION", {"1.1", "1.2"}, "SOAP version of responses (1.1)"),
            operand("FROM:TO", Takes::Text, "two forms, as xml:bin"),
            operand("FILE", Takes::File, "the message, or several in a row"),
        },
        {
            {"tqamsg convert xml:bin request.xml > request.bin", "the bytes that travel"},
            {"tqamsg convert :json request.bin", "whatever it is, as JSON"},
        },
        convert,
    };
}

}  // namespace tool
