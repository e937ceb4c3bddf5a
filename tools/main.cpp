// The command line of the tool: `tqamsg VERB ...`.

#include "tools/verb.h"

#include <exception>
#include <iostream>

namespace {

int run(int argc, char** argv) {
    CLI::App app("Reads, shows and changes messages of the agent.");
    app.footer(
        "FILE may be - for standard input.\n"
        "Exit status: 0 done, 2 usage, 3 malformed input, 4 input or output failed.");
    app.require_subcommand(1);
    tool::addShow(app);
    tool::addConvert(app);
    tool::addReply(app);
    tool::addSet(app);
    tool::addSoapRequest(app);
    tool::addSoapResponse(app);
    try {
        app.parse(argc, argv);
        std::cout.flush();
        if (!std::cout)
            throw tool::Failure(tool::kInputOutput, "standard output cannot be written");
        return tool::kOk;
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? tool::kOk : tool::kUsage;
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    try {
        return run(argc, argv);
    } catch (const tool::Failure& failure) {
        std::cout.flush();
        std::cerr << "tqamsg: " << failure.what() << '\n';
        return failure.code();
    } catch (const std::exception& error) {
        std::cerr << "tqamsg: " << error.what() << '\n';
        return tool::kInputOutput;
    }
}
