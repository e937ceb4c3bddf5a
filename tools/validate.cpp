// `tqamsg validate`: the strict check of a message.

#include "tools/message_reader.h"
#include "tools/output.h"
#include "tools/verbs.h"

#include <cstdio>

namespace tool {

namespace {

// The path as get takes it: without the root's word.
std::string pathBelowRoot(const std::string& path) {
    const std::size_t slash = path.find('/');
    return slash == std::string::npos ? "/" : path.substr(slash + 1);
}

// A fault ends the verb with its place; a warning goes to standard error.
void check(MessageReader& reader) {
    const std::string bytes = bytesOf(reader.message());
    tqa::Report report;
    const int status = tqa::verify(bytes.data(), static_cast<int>(bytes.size()), &report);
    if (status == -2) throw Failure(kInputOutput, "out of memory");
    if (status != 0) {
        throw Failure(kMalformed, reader.placeOf(reader.offset() + report.offset) + ": " +
                                      pathBelowRoot(report.path) + ": " + report.text);
    }
    if (report.unknownCount > 0) {
        std::fprintf(stderr, "tqamsg: %s: %s: %d not in the vocabulary, this is the first\n",
                     reader.placeOf(reader.offset() + report.unknownOffset).c_str(),
                     pathBelowRoot(report.unknownPath).c_str(), report.unknownCount);
    }
}

Exit validate(const Arguments& arguments) {
    MessageReader reader(arguments.text("FILE"));
    long count = 0;
    while (reader.next()) {
        check(reader);
        ++count;
        if (count == 2 && !arguments.has("--stream"))
            throw Failure(kMalformed, reader.place() + ": a second message (see --stream)");
    }
    if (arguments.has("--stream")) writeOutput(std::to_string(count) + " messages\n");
    return kOk;
}

}  // namespace

Verb validateVerb() {
    return {
        "validate",
        "check a message strictly",
        "Checks every element of a message: that it lies inside the one around it, that its kind "
        "is known and its length right, that texts end in a zero byte. The first fault ends the "
        "check with exit status 3, and standard error tells the file, the offset, the path as get "
        "takes it, and the fault. Elements that are not in the vocabulary are no fault; their "
        "number and the first of them are told. Nothing is printed for a sound message.\n\n"
        "For other forms than binary, offsets behind the start of the message are those in the "
        "binary message that it becomes.",
        {
            flag("-s,--stream", "allow several messages in a row, and print their number"),
            operand("FILE", Takes::File, "the message"),
        },
        {{"tqamsg gen --count 1000 | tqamsg validate --stream -", "the generator under test"}},
        validate,
    };
}

}  // namespace tool
