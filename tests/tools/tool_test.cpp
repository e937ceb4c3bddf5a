// The tool as its users see it: what goes in, what comes out, the exit status.

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/wait.h>

#include <gtest/gtest.h>

namespace {

const std::string kRequest = TQA_EXAMPLE_DATA_DIR "/request.xml";
const std::string kReply = TQA_EXAMPLE_DATA_DIR "/ve_status_reply.xml";

struct Result {
    int status;
    std::string output;  // standard output, with standard error behind it where asked for
};

// Runs a shell command in which "tqamsg" is the tool.
Result run(const std::string& command) {
    const std::string script = "tqamsg() { " TQA_TOOL " \"$@\"; }; set -o pipefail; " + command;
    std::FILE* pipe = ::popen(("bash -c '" + script + "'").c_str(), "r");
    if (pipe == nullptr) return {-1, ""};
    std::string output;
    char buffer[4096];
    while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) {
        output.append(buffer, count);
    }
    const int status = ::pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

std::string contentOf(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(Tool, ShowsNameIdKindAndValueOfEachElement) {
    const Result result = run("tqamsg show " + kRequest);
    EXPECT_EQ(result.status, 0);
    const std::string first =
        "packet #1398 Container\n"
        "  @id #102 Untyped \"c4001\"\n"
        "  target #1401 Untyped \"vem\"\n";
    EXPECT_EQ(result.output.substr(0, first.size()), first);
}

TEST(Tool, ShowsWhatWouldMoveTheCursorWrittenOut) {
    const Result result =
        run("printf \"<packet><name>a\\\\x1b[2J\\\\\\\\ \\\"\\n</name></packet>\" | tqamsg show -");
    EXPECT_EQ(result.output,
              "packet #1398 Container\n"
              "  name #1026 Untyped \"a\\x1b[2J\\\\ \\\"\\n\"\n");
}

TEST(Tool, ConvertsToBinaryAndBackToTheSameText) {
    for (const std::string& file : {kRequest, kReply}) {
        const Result result = run("tqamsg convert xml:bin " + file + " | tqamsg convert bin:xml -");
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.output, contentOf(file));
    }
}

TEST(Tool, TakesSeveralMessagesInARowAsAStream) {
    const Result result = run("(tqamsg convert xml:bin " + kRequest + "; tqamsg convert xml:bin " +
                              kReply + ") | tqamsg convert bin:xml -");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, contentOf(kRequest) + contentOf(kReply));
}

TEST(Tool, RepliesInTheFormOfTheRequest) {
    const Result text = run("tqamsg reply --as backm " + kRequest);
    EXPECT_EQ(text.status, 0);
    EXPECT_EQ(text.output,
              "<packet id=\"c4001\">\n"
              "<origin>backm</origin>\n"
              "<session>s1.40000.7</session>\n"
              "<target>ve_status</target>\n"
              "<dst>\n"
              "<target>ve_status</target>\n"
              "<director>gend</director>\n"
              "<index>17</index>\n"
              "</dst>\n"
              "<cookie>refresh-12</cookie>\n"
              "<data/>\n"
              "</packet>\n");
    const Result binary = run("tqamsg convert xml:bin " + kRequest +
                              " | tqamsg reply --as backm - | tqamsg convert bin:xml -");
    EXPECT_EQ(binary.output, text.output);
}

TEST(Tool, SetReplacesAValueAndMakesWhatIsMissing) {
    const Result result =
        run("echo \"<packet><target>vem</target></packet>\" | tqamsg set target=backm - | "
            "tqamsg set data/vem/veid=7 -");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output,
              "<packet>\n<target>backm</target>\n<data>\n<vem>\n<veid>7</veid>\n</vem>\n</data>\n"
              "</packet>\n");
}

TEST(Tool, FailsWithAStatusAndOneLine) {
    struct Row {
        const char* command;
        int status;
        const char* line;
    };
    const Row rows[] = {
        {"echo \"<packet\" | tqamsg show -", 3,
         "tqamsg: standard input: offset 0: text that is not a message\n"},
        {"printf \"\" | tqamsg show -", 3,
         "tqamsg: standard input: offset 0: text that is not a message\n"},
        {"printf \"\\\\x98\\\\xba\\\\xdc\\\\xfe\" | tqamsg convert bin:xml -", 3,
         "tqamsg: standard input: offset 0: a binary message that is cut short or damaged\n"},
        {"echo \"<packet/>\" | tqamsg convert bin:xml -", 3,
         "tqamsg: the input is text, not a binary message\n"},
        {"echo \"<packet/>\" | tqamsg convert xml:bin - | tqamsg convert xml:bin -", 3,
         "tqamsg: the input is a binary message, not text\n"},
        {"echo \"<packet/>\" | tqamsg set nonsense/word=1 -", 3,
         "tqamsg: nonsense/word: cannot make \"nonsense\"\n"},
        {"echo \"<packet><data><vem/></data></packet>\" | tqamsg set data=1 -", 3,
         "tqamsg: data: holds elements, not a value\n"},
        {"tqamsg show /no/such/file", 4, "tqamsg: /no/such/file: No such file or directory\n"},
        {"tqamsg show /", 4, "tqamsg: /: Is a directory\n"},
        {"echo \"<packet/>\" | tqamsg convert xml:bin - > /dev/full", 4,
         "tqamsg: standard output cannot be written\n"},
    };
    for (const Row& row : rows) {
        const Result result = run("(" + std::string(row.command) + ") 2>&1");
        EXPECT_EQ(result.status, row.status) << row.command;
        EXPECT_EQ(result.output, row.line) << row.command;
    }
}

TEST(Tool, UsageErrorsExitWithTwo) {
    for (const char* command :
         {"tqamsg", "tqamsg nonsense", "tqamsg convert xml:json -", "tqamsg show",
          "tqamsg set novalue " TQA_EXAMPLE_DATA_DIR "/request.xml"}) {
        EXPECT_EQ(run("(" + std::string(command) + ") 2>&1").status, 2) << command;
    }
    EXPECT_EQ(run("tqamsg --help").status, 0);
}

}  // namespace
