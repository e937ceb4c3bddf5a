// `tqamsg show`, and what all verbs make of their input.

#include "tests/tools/support/tool.h"

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;

TEST(ToolShow, TellsNameIdKindAndValueOfEachElement) {
    const Result result = run("tqamsg show " + kRequest);
    EXPECT_EQ(result.status, 0);
    const std::string first =
        "packet #1398 Container\n"
        "  @id #102 Untyped \"c4001\"\n"
        "  target #1401 Untyped \"vem\"\n";
    EXPECT_EQ(result.output.substr(0, first.size()), first);
}

TEST(ToolShow, TellsEveryKindAndTheNamespaces) {
    const Result result = run("tqamsg show " + kMessages + "/typed.hex");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, bytesIn(kToolData + "/typed.show.txt"));
}

TEST(ToolShow, WritesOutWhatWouldMoveTheCursor) {
    const Result result =
        run("printf '<packet><name>a\\x1b[2J\\\\ \"\\n</name></packet>' | tqamsg show -");
    EXPECT_EQ(result.output,
              "packet #1398 Container\n"
              "  name #1026 Untyped \"a\\x1b[2J\\\\ \\\"\\n\"\n");
}

TEST(ToolShow, KeepsCharactersAndWritesOutControlsAndWhatIsNoUtf8) {
    const struct {
        const char* value;  // for printf
        const char* shown;
    } rows[] = {
        {"\\xC3\\xA4\\xE2\\x82\\xAC\\xF0\\x9F\\x98\\x80", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"a\\x7F", "a\\x7f"},
        {"\\xC2\\x9B2J", "\\xc2\\x9b2J"},  // the terminal's CSI in one character
        {"\\xC2\\xA0", "\xC2\xA0"},
        {"\\x9B2J", "\\x9b2J"},
        {"\\xC3(", "\\xc3("},
        {"\\xE2\\x82", "\\xe2\\x82"},
        {"\\xC1\\x9B\\xFF", "\\xc1\\x9b\\xff"},
    };
    for (const auto& row : rows) {
        const Result result = run(std::string("printf '<packet><name>") + row.value +
                                  "</name></packet>' | tqamsg show -");
        EXPECT_EQ(result.output, std::string("packet #1398 Container\n  name #1026 Untyped \"") +
                                     row.shown + "\"\n")
            << row.value;
    }
}

TEST(ToolShow, NamesIdentifiersThatAreNoWordsByTheirNumber) {
    const Result result =
        run("echo '{\"tqamsg\":1,\"root\":{\"name\":\"#9999\",\"ns\":999,\"kind\":77,"
            "\"bytes\":\"41 42\"}}' | tqamsg show -");
    EXPECT_EQ(result.output, "#9999 #9999 77 ns=999 \"AB\"\n");
}

TEST(ToolShow, TellsOffsetsThatLeadToTheBytes) {
    const Result result = run("tqamsg show --offsets " + kRequest + " | head -n 2");
    EXPECT_EQ(result.output,
              "       8  packet #1398 Container\n"
              "      24    @id #102 Untyped \"c4001\"\n");
    EXPECT_EQ(run("tqamsg convert :bin " + kRequest + " | tail -c +25 | head -c 1").output, "f");
}

TEST(ToolShow, StopsAtTheDepth) {
    const std::string xml = "'<packet><data><vem/></data><target>vem</target></packet>'";
    EXPECT_EQ(run("echo " + xml + " | tqamsg show --depth 0 -").output, "packet #1398 Container\n");
    EXPECT_EQ(run("echo " + xml + " | tqamsg show -d 1 -").output,
              "packet #1398 Container\n"
              "  data #1307 Container\n"
              "  target #1401 Untyped \"vem\"\n");
}

TEST(ToolShow, WritesOneJsonObjectALine) {
    const Result result = run("tqamsg show --json " + kRequest + " | head -n 2");
    EXPECT_EQ(result.output,
              "{\"depth\":0,\"offset\":8,\"id\":1398,\"name\":\"packet\",\"kind\":\"Container\"}\n"
              "{\"depth\":1,\"offset\":24,\"id\":102,\"name\":\"@id\",\"kind\":\"Untyped\","
              "\"value\":\"c4001\"}\n");
}

TEST(ToolShow, ShowsAMessageOfAHundredThousandLevels) {
    EXPECT_EQ(run("{ for ((i = 0; i < 1000; ++i)); do printf '<list>%.0s' {1..100}; done; "
                  "printf '<list/>'; for ((i = 0; i < 1000; ++i)); do printf '</list>%.0s' "
                  "{1..100}; done; } | tqamsg convert :json - | tqamsg show - | wc -l")
                  .output,
              "100001\n");
}

// --- input --------------------------------------------------------------------------------------

TEST(ToolInput, TellsTheFormByTheContent) {
    const std::string shown = run("tqamsg show " + kRequest).output;
    for (const char* form : {"bin", "json", "hex", "xml"}) {
        const Result result =
            run("tqamsg convert :" + std::string(form) + " " + kRequest + " | tqamsg show -");
        EXPECT_EQ(result.output, shown) << form;
    }
}

TEST(ToolInput, TakesSeveralMessagesInARowWhateverTheirForms) {
    Folder folder;
    const std::string file = folder.path("stream");
    const Result result =
        run("{ for form in bin json xml bin json; do tqamsg convert :$form " + kRequest +
            "; done; printf '\\0\\n'; tqamsg convert :hex " + kRequest + "; } > " + file +
            "; tqamsg header " + file + " | grep -c @id; tqamsg validate --stream " + file);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "6\n6 messages\n");
}

TEST(ToolInput, ReadsTextsThatAreLongerThanAPiece) {
    // Texts before, at and behind the sizes in which the input is looked at.
    for (const int length : {16000, 16383, 16384, 16385, 70000, 1100000}) {
        const std::string count = std::to_string(length);
        const Result result = run("for i in 1 2 3; do printf '<packet><name>%0" + count +
                                  "d</name></packet>\\n' 0; done | tqamsg get name - | wc -c");
        EXPECT_EQ(result.output, std::to_string(3 * (length + 3)) + "\n") << length;
    }
}

TEST(ToolInput, ShowsTheMessagesOfAPipeAsTheyCome) {
    const Result result =
        run("coproc { tqamsg header -; }; in=${COPROC[1]}; out=${COPROC[0]}; "
            "printf '<packet><target>vem</target></packet>\\0' >&$in; "
            "read -t 10 line <&$out; echo \"$line\"; eval \"exec $in>&-\"; wait");
    EXPECT_EQ(result.output, "target \"vem\"\n");
}

TEST(ToolInput, NamesTheFileAndTheOffsetOfAFault) {
    expectFailures({
        {"echo '<packet' | tqamsg show -", 3,
         "tqamsg: standard input: offset 8: text that is no message\n"},
        {"echo '<packet><data>x</date></packet>' | tqamsg show -", 3,
         "tqamsg: standard input: offset 14: text that is no message\n"},
        {"echo '<packet nonsense=\"1\"></packet>' | tqamsg show -", 3,
         "tqamsg: standard input: offset 20: text that is no message\n"},
        {"printf '' | tqamsg show -", 3, "tqamsg: standard input: offset 0: no message\n"},
        {"printf ' \\n' | tqamsg show -", 3, "tqamsg: standard input: offset 2: no message\n"},
        {"printf 'hello' | tqamsg show -", 3,
         "tqamsg: standard input: offset 0: text that is no message\n"},
        {"printf '\\x98\\xba\\xdc\\xfe' | tqamsg show -", 3,
         "tqamsg: standard input: offset 0: a binary message that is cut short or damaged\n"},
        {"{ tqamsg gen --size 0; printf '\\x98\\xba\\xdc\\xfe'; } > $$.in; tqamsg header $$.in > "
         "/dev/null 2> $$.err; s=$?; sed \"s/$$/N/; s/[0-9][0-9]*:/N:/\" $$.err; rm $$.in $$.err; "
         "exit $s",
         3, "tqamsg: N.in: offset N: a binary message that is cut short or damaged\n"},
        {"echo '{\"tqamsg\":1,' | tqamsg show -", 3,
         "tqamsg: standard input: offset 0: byte 14: no JSON\n"},
        {"echo '{\"tqamsg\":1,\"root\":1e999}' | tqamsg show -", 3,
         "tqamsg: standard input: offset 0: a number that is too large\n"},
        {"echo '98ba xy' | tqamsg show -", 3,
         "tqamsg: standard input: offset 5: neither a message nor hexadecimal text\n"},
        {"echo '0102030405060708' | tqamsg show -", 3,
         "tqamsg: standard input: offset 0: no message in these bytes\n"},
        {"tqamsg show /no/such/file", 4, "tqamsg: /no/such/file: No such file or directory\n"},
        {"tqamsg show /", 4, "tqamsg: /: Is a directory\n"},
    });
}

TEST(ToolInput, RefusesANegativeLengthAtOnce) {
    // The pipe stays open: whoever waits for more bytes waits for ever.
    const Result result =
        runWithErrors("timeout 4 " TQA_TOOL
                      " show - < <(printf '\\x98\\xba\\xdc\\xfe\\0\\0\\0\\0\\0\\0\\0\\0\\0\\0\\0\\0"
                      "\\xff\\xff\\xff\\xff\\0\\0\\0\\0\\0\\0\\0\\0'; exec sleep 5 2> /dev/null)");
    EXPECT_EQ(result.status, 3);
}

}  // namespace
