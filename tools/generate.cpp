// `tqamsg generate`, not in the help: the build makes the manual pages and the completions with it.

#include "tools/generate.h"

#include "tools/verbs.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace tool {

namespace {

void writeFile(const std::filesystem::path& path, const std::string& text) {
    std::error_code ignored;  // what was not made cannot be opened
    std::filesystem::create_directories(path.parent_path(), ignored);
    std::ofstream file(path, std::ios::binary);
    file << text << std::flush;
    if (!file) throw Failure(kInputOutput, path.string() + ": " + std::strerror(errno));
}

Exit generate(const Arguments& arguments) {
    const std::filesystem::path directory = arguments.text("DIRECTORY");
    writeFile(directory / "man1" / "tqamsg.1", mainPage());
    for (const Verb& verb : verbs()) {
        if (!verb.isHidden)
            writeFile(directory / "man1" / ("tqamsg-" + std::string(verb.name) + ".1"),
                      verbPage(verb));
    }
    writeFile(directory / "bash" / "tqamsg", bashCompletion());
    writeFile(directory / "zsh" / "_tqamsg", zshCompletion());
    writeFile(directory / "fish" / "tqamsg.fish", fishCompletion());
    return kOk;
}

}  // namespace

Verb generateVerb() {
    return {
        "generate",
        "write the manual pages and the completions",
        "Writes man1/*.1, bash/tqamsg, zsh/_tqamsg and fish/tqamsg.fish below DIRECTORY.",
        {operand("DIRECTORY", Takes::File, "where to")},
        {},
        generate,
        true,
    };
}

}  // namespace tool
