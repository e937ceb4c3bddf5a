// `tqamsg reply`: what an operator answers to a request before it fills "data".

#include "tools/verb.h"

namespace tool {

namespace {

void reply(TQAMessage& request, Form form, const std::string& name) {
    const std::string target = request.getTarget();
    const std::string replier = name.empty() ? target : name;
    const Message answer(request.genReply(replier));
    if (answer == nullptr) throw Failure(kMalformed, "no reply can be made");
    writeOutput(inForm(*answer, form));
}

}  // namespace

void addReply(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("reply", "Make the reply to a request, in the same form");
    const auto name = std::make_shared<std::string>();
    const auto file = std::make_shared<std::string>();
    verb->add_option("--as", *name, "the replying operator (the request's target if not given)");
    verb->add_option("FILE", *file, "the request in XML or binary form")->required();
    verb->callback([name, file] {
        forEachMessage(*file,
                       [name](const Message& message, Form form) { reply(*message, form, *name); });
    });
}

}  // namespace tool
