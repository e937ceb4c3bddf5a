// The command line as a whole: usage, help, manual pages, completions, colours, output.

#include "tests/tools/support/tool.h"

#include <filesystem>
#include <regex>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;

// The verbs, as the help lists them.
std::vector<std::string> verbs() {
    std::istringstream help(run("tqamsg --help").output);
    std::vector<std::string> names;
    bool isList = false;
    for (std::string line; std::getline(help, line);) {
        if (line == "Subcommands:") isList = true;
        if (line.empty()) isList = false;
        std::smatch match;
        if (isList && std::regex_search(line, match, std::regex("^  ([a-z-]+) ")))
            names.push_back(match[1]);
    }
    return names;
}

// The long options of a verb, as its help lists them.
std::set<std::string> optionsOf(const std::string& verb) {
    const std::string help = run("tqamsg " + verb + " --help").output;
    std::set<std::string> names = {"--color"};
    const std::regex option("\n  (?:-[a-z],)?(--[a-z-]+)");
    for (std::sregex_iterator at(help.begin(), help.end(), option), end; at != end; ++at)
        names.insert((*at)[1]);
    return names;
}

bool has(const std::string& program) {
    return run("command -v " + program + " > /dev/null").status == 0;
}

TEST(ToolCommandLine, ExitsWithTwoWhenItIsWrong) {
    for (const char* command :
         {"tqamsg", "tqamsg nonsense", "tqamsg convert xml:yaml -", "tqamsg show",
          "tqamsg show a b", "tqamsg show --nonsense -", "tqamsg show --depth x -", "tqamsg diff a",
          "tqamsg auth -", "tqamsg soap-response --soap 2 -", "tqamsg log",
          "tqamsg log --level bad -", "tqamsg show --color sometimes -", "tqamsg tap --listen a"}) {
        const Result result = runWithErrors(command);
        EXPECT_EQ(result.status, 2) << command;
        EXPECT_EQ(result.output.substr(0, 8), "tqamsg: ") << command;
    }
}

TEST(ToolCommandLine, PrintsHelpAndVersion) {
    const Result help = run("tqamsg --help");
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.output.find("Exit status:\n  0  done, or yes\n"), std::string::npos);
    EXPECT_EQ(run("tqamsg --version").output.substr(0, 7), "tqamsg ");
    EXPECT_EQ(verbs().size(), 18U);
    for (const std::string& verb : verbs())
        EXPECT_EQ(run("tqamsg " + verb + " --help").status, 0) << verb;
}

TEST(ToolCommandLine, TakesCommonOptionsOnBothSidesOfTheVerb) {
    const std::string coloured = run("tqamsg --color always show " + kRequest).output;
    EXPECT_EQ(coloured, run("tqamsg show --color always " + kRequest).output);
    EXPECT_NE(coloured.find('\x1b'), std::string::npos);
}

TEST(ToolCommandLine, EndsQuietlyWhenItsReaderHasGone) {
    // With SIGPIPE ignored, as programs that start others often leave it, and with it.
    for (const char* trap : {"", "trap '' PIPE; "}) {
        const Result result = runWithErrors(std::string(trap) +
                                            "tqamsg gen --count 5000 | tqamsg show - | head -n 1; "
                                            "echo ${PIPESTATUS[@]}");
        EXPECT_EQ(result.output, "packet #1398 Container\n0 0 0\n");
    }
}

TEST(ToolCommandLine, SaysWhenTheOutputCannotBeWritten) {
    expectFailures({
        {"echo '<packet/>' | tqamsg convert xml:bin - > /dev/full", 4,
         "tqamsg: standard output cannot be written\n"},
        {"tqamsg --help > /dev/full", 4, "tqamsg: standard output cannot be written\n"},
    });
}

// --- colours and progress, on a terminal --------------------------------------------------------

// Runs a script with its output on a terminal; what the terminal got.
std::string onTerminal(const Folder& folder, const std::string& script) {
    const std::string file = folder.write("script", "tqamsg() { " TQA_TOOL " \"$@\"; }; " + script);
    return run("script -qefc 'bash " + file + "' /dev/null < /dev/null").output;
}

TEST(ToolTerminal, GetsColoursUnlessTheyAreUnwanted) {
    Folder folder;
    struct Row {
        const char* script;
        bool isColoured;
    };
    const Row rows[] = {
        {"env -u NO_COLOR " TQA_TOOL " show ", true},
        {"NO_COLOR=1 tqamsg show ", false},
        {"NO_COLOR= tqamsg show ", true},
        {"NO_COLOR=1 tqamsg show --color always ", true},
        {"env -u NO_COLOR " TQA_TOOL " show --color never ", false},
    };
    for (const Row& row : rows) {
        const std::string output = onTerminal(folder, row.script + kRequest);
        EXPECT_NE(output.find("c4001"), std::string::npos) << row.script << output;
        EXPECT_EQ(output.find('\x1b') != std::string::npos, row.isColoured) << row.script;
    }
    EXPECT_EQ(run("tqamsg show " + kRequest).output.find('\x1b'), std::string::npos);
}

TEST(ToolTerminal, GetsLogLinesThatDoNotMoveItsCursor) {
    Folder folder;
    const std::string line =
        "T=2006.03.07 14:05:09.042; L=(info) ; PID=1; TID=2; a\tb\x1b[2J\xC2\x9B";
    const std::string file = folder.write("log", line + "\n");
    const std::string shown = onTerminal(folder, "tqamsg log " + file);
    EXPECT_NE(shown.find("a\tb\\x1b[2J\\xc2\\x9b"), std::string::npos) << shown;
    EXPECT_EQ(run("tqamsg log " + file).output, line + "\n");
}

TEST(ToolTerminal, GetsAProgressBarForLongStreamsOnly) {
    Folder folder;
    const std::string stream = folder.path("stream");
    // 65 MiB of one message.
    run("tqamsg gen --size 30000 > " + folder.path("one") + "; n=$(stat -c %s " +
        folder.path("one") + "); for ((i = 0; i <= 68157440 / n; ++i)); do cat " +
        folder.path("one") + "; done > " + stream);
    const std::string command = "tqamsg header " + stream + " > /dev/null";
    const std::string bar = onTerminal(folder, command);
    EXPECT_TRUE(std::regex_search(bar, std::regex("\\[#* *\\] [0-9]+ % [0-9]+ MiB"))) << bar;
    EXPECT_NE(bar.find("\r\x1b[K"), std::string::npos);
    EXPECT_NE(onTerminal(folder, "cat " + stream + " | tqamsg header - > /dev/null").find(" MiB"),
              std::string::npos);
    EXPECT_EQ(onTerminal(folder, "tqamsg header " + folder.path("one") + " > /dev/null"), "");
    EXPECT_EQ(run(command + " 2>&1").output, "");
}

// --- what is made from the table ----------------------------------------------------------------

TEST(ToolGenerated, IsWhatTheToolWritesNow) {
    Folder folder;
    EXPECT_EQ(run("tqamsg generate " + folder.path("now")).status, 0);
    const Result result = run("diff -r " + folder.path("now") + " " + kGenerated);
    EXPECT_EQ(result.status, 0) << result.output;
    expectFailures({{"tqamsg generate /dev/null 2>&1 | grep -c tqamsg:", 4, "1\n"}});
}

TEST(ToolGenerated, ManualPagesNameEveryVerbAndOption) {
    const std::string main = bytesIn(kGenerated + "/man1/tqamsg.1");
    for (const std::string& verb : verbs()) {
        const std::string page = run("MANPAGER=cat MANWIDTH=200 man -l " + kGenerated +
                                     "/man1/tqamsg-" + verb + ".1 | col -b")
                                     .output;
        for (const std::string& option : optionsOf(verb)) {
            if (option == "--help") continue;
            EXPECT_NE(page.find(option), std::string::npos) << verb << " " << option;
        }
        std::string name = "tqamsg\\-" + verb;
        if (const std::size_t dash = name.find("p-"); dash != std::string::npos)
            name.insert(dash + 1, "\\");
        EXPECT_NE(main.find(name), std::string::npos) << verb;
    }
}

TEST(ToolGenerated, ManualPagesAreSound) {
    for (const auto& entry : std::filesystem::directory_iterator(kGenerated + "/man1")) {
        const std::string page = entry.path().string();
        if (has("mandoc")) {
            EXPECT_EQ(runWithErrors("mandoc -Tlint " + page).output, "");
        }
        if (has("man")) {
            EXPECT_EQ(
                runWithErrors("LC_ALL=C.UTF-8 man --warnings -l " + page + " > /dev/null").output,
                "");
        }
    }
}

// What bash would offer for the words, the last of which is being written.
std::string offered(const std::string& words) {
    return run("source " + kGenerated + "/bash/tqamsg; COMP_WORDS=(" + words +
               "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _tqamsg; echo \"${COMPREPLY[@]}\"")
        .output;
}

TEST(ToolGenerated, BashCompletesVerbsOptionsAndValues) {
    EXPECT_EQ(offered("tqamsg soap"), "soap-request soap-response\n");
    EXPECT_EQ(offered("tqamsg show --o"), "--offsets\n");
    EXPECT_EQ(offered("tqamsg show --color ''"), "auto always never\n");
    EXPECT_EQ(offered("tqamsg --color ''"), "auto always never\n");
    EXPECT_EQ(offered("tqamsg --color never gen --to j"), "json\n");
    EXPECT_EQ(offered("tqamsg show fi"), "\n");  // file names, by bash itself
    for (const std::string& verb : verbs()) {
        const std::string options = " " + offered("tqamsg " + verb + " --") + " ";
        for (const std::string& option : optionsOf(verb))
            EXPECT_NE(options.find(option), std::string::npos) << verb << " " << option;
    }
}

TEST(ToolGenerated, ZshAndFishCompleteToo) {
    if (has("zsh")) {
        EXPECT_EQ(runWithErrors("zsh -n " + kGenerated + "/zsh/_tqamsg").output, "");
    }
    if (has("fish")) {
        const std::string source =
            "fish -c \"source " + kGenerated + "/fish/tqamsg.fish; complete -C ";
        EXPECT_EQ(run(source + "'tqamsg sho'\"").output, "show\tshow the tree of a message\n");
        EXPECT_EQ(run(source + "'tqamsg gen --to j'\"").output, "json\tform of the output (bin)\n");
    }
    const std::string zsh = bytesIn(kGenerated + "/zsh/_tqamsg");
    const std::string fish = bytesIn(kGenerated + "/fish/tqamsg.fish");
    for (const std::string& verb : verbs()) {
        EXPECT_NE(zsh.find("            " + verb + ")\n"), std::string::npos) << verb;
        for (const std::string& option : optionsOf(verb)) {
            EXPECT_TRUE(std::regex_search(zsh, std::regex("'\\*?" + option + "\\[")))
                << verb << " " << option;
            EXPECT_TRUE(std::regex_search(
                fish, std::regex("from " + verb + "'[^\n]* -l " + option.substr(2) + "\\b")))
                << verb << " " << option;
        }
    }
}

}  // namespace
