// The verbs that answer questions: validate, diff, header, auth, words, reply, log.

#include "tqamsg/tqamsg.h"

#include "tests/tools/support/tool.h"

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;

TEST(ToolValidate, SaysNothingOfASoundMessage) {
    const Result result = runWithErrors("tqamsg validate " + kRequest);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "");
}

TEST(ToolValidate, TellsThePathAndTheOffsetOfTheFirstFault) {
    // The second veid claims more than what is around it has.
    const std::string damaged =
        "echo '{\"tqamsg\":1,\"root\":{\"name\":\"packet\",\"kind\":\"Container\",\"children\":["
        "{\"name\":\"veid\",\"kind\":\"Int\",\"value\":1},"
        "{\"name\":\"veid\",\"kind\":\"Int\",\"bytes\":\"01 02\"}]}}' | ";
    const Result result = runWithErrors(damaged + "tqamsg validate -");
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.output.substr(0, result.output.rfind(':')),
              "tqamsg: standard input: offset 48: veid[2]");
    const Result later = runWithErrors("(echo '<packet/>' | tqamsg convert :bin -; " + damaged +
                                       "tqamsg convert :bin -) | tqamsg validate --stream -");
    EXPECT_EQ(later.status, 3);
    EXPECT_EQ(later.output.substr(0, later.output.rfind(':')),
              "tqamsg: standard input: offset 72: veid[2]");
}

TEST(ToolValidate, WarnsOfWordsThatNobodyKnows) {
    const Result result = runWithErrors(
        "echo '{\"tqamsg\":1,\"root\":{\"name\":\"packet\",\"kind\":\"Container\",\"children\":["
        "{\"name\":\"#5000\",\"kind\":\"Int\",\"value\":1}]}}' | tqamsg validate -");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(
        result.output,
        "tqamsg: standard input: offset 24: #5000: 1 not in the vocabulary, this is the first\n");
}

TEST(ToolValidate, TakesOneMessageUnlessAStreamIsAskedFor) {
    EXPECT_EQ(run("tqamsg gen --count 2 --size 0 | tqamsg validate - 2> /dev/null").status, 3);
    EXPECT_EQ(run("tqamsg gen --count 2 --size 0 | tqamsg validate --stream -").output,
              "2 messages\n");
    EXPECT_EQ(runWithErrors("printf '' | tqamsg validate -").status, 3);
}

TEST(ToolDiff, SaysNothingOfTheSame) {
    const Result result = runWithErrors("tqamsg diff " + kReply + " " + kReply);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "");
}

TEST(ToolDiff, TellsWhatDiffersByPath) {
    const Result result = run("tqamsg diff <(tqamsg del data/vem/get_info/options " + kRequest +
                              " | tqamsg set origin=x -) <(tqamsg add -k int data/vem/veid=7 " +
                              kRequest + " | tqamsg set src/index=18 - | tqamsg add session=2 -)");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output,
              "~ origin Untyped \"x\" -> Untyped \"ve_status\"\n"
              "~ src/index Untyped \"17\" -> Untyped \"18\"\n"
              "+ data/vem/get_info/options Untyped \"cpu &amp; disk\"\n"
              "+ data/vem/veid Untyped \"7\"\n"
              "+ session[2] Untyped \"2\"\n");
}

TEST(ToolDiff, LeavesOutWhatIsIgnored) {
    const std::string other =
        "<(tqamsg set @id=c1 " + kRequest +
        " | tqamsg set data/vem/get_info/options=1 - | tqamsg add src/id=1 -)";
    EXPECT_EQ(run("tqamsg diff " + kRequest + " " + other).status, 1);
    const Result result = runWithErrors("tqamsg diff --ignore @id -i data/vem/get_info -i src/* " +
                                        kRequest + " " + other);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "");
}

TEST(ToolDiff, ComparesKindsOnlyUnlessAskedForTheText) {
    const std::string files =
        "<(tqamsg gen --seed 5 --count 20) "
        "<(tqamsg gen --seed 5 --count 20 | tqamsg convert :xml -)";
    EXPECT_EQ(run("tqamsg diff " + files).status, 1);
    // Every trip through text turns the header attributes round, which changes no path.
    const Result result = runWithErrors("tqamsg diff --as-text " + files);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "");
}

TEST(ToolDiff, ComparesStreamsMessageByMessage) {
    const Result result =
        run("tqamsg diff <(cat " + kRequest + " " + kRequest + ") <(cat " + kRequest +
            "; "
            "tqamsg set origin=x " +
            kRequest + "; cat " + kRequest + ")");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output,
              "message 2:\n~ origin Untyped \"ve_status\" -> Untyped \"x\"\n"
              "message 3:\n+ / the message\n");
}

TEST(ToolHeader, ShowsWhoAsksWhomForWhat) {
    const Result result = run("tqamsg header " + kRequest);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output,
              "@id \"c4001\"\ntarget \"vem\"\norigin \"ve_status\"\nsession \"s1.40000.7\"\n"
              "src/target \"ve_status\"\nsrc/director \"gend\"\nsrc/index \"17\"\n"
              "cookie \"refresh-12\"\ndata vem/get_info\n");
    EXPECT_EQ(run("tqamsg header --json " + kRequest).output,
              "{\"@id\":\"c4001\",\"target\":\"vem\",\"origin\":\"ve_status\","
              "\"session\":\"s1.40000.7\",\"src/target\":\"ve_status\",\"src/director\":\"gend\","
              "\"src/index\":\"17\",\"cookie\":\"refresh-12\",\"data\":\"vem/get_info\"}\n");
}

TEST(ToolAuth, AnswersForEachIdAndRange) {
    const std::string list =
        "echo '<packet><auth><ve_list><veid>3</veid><ve_range><start_veid>10</start_veid>"
        "<end_veid>20</end_veid></ve_range></ve_list></auth></packet>' | tqamsg auth - ";
    struct Row {
        const char* ids;
        int status;
    };
    for (const Row& row : {Row{"15", 0}, Row{"3 10-20", 0}, Row{"5", 1}, Row{"18-25", 1}}) {
        const Result result = run(list + row.ids);
        EXPECT_EQ(result.status, row.status) << row.ids;
        EXPECT_EQ(result.output,
                  std::string(row.status == 0 ? "yes" : "no") + ", access list \"3,10-20\"\n");
    }
}

TEST(ToolAuth, KnowsTheListsThatAllowEverythingAndNothing) {
    EXPECT_EQ(run("echo '<packet/>' | tqamsg auth - 5").output, "yes, no access list\n");
    EXPECT_EQ(run("echo '<packet><auth><veid>0</veid></auth></packet>' | tqamsg auth - 5").output,
              "yes, access list \"0\"\n");
    const Result malformed = run("echo '<packet><auth/></packet>' | tqamsg auth - 5");
    EXPECT_EQ(malformed.status, 1);
    EXPECT_EQ(malformed.output, "no, access list \"\", malformed\n");
}

TEST(ToolWords, FindsByWordPartWildcardAndIdentifier) {
    EXPECT_EQ(run("tqamsg words 1398").output, "1398  tag        packet\n");
    EXPECT_EQ(run("tqamsg words get_i*fo").output, "1111  tag        get_info\n");
    EXPECT_EQ(run("tqamsg words --in attribute time").output,
              " 104  attribute  time\n 107  attribute  timeout\n 108  attribute  timeout_limit\n");
    EXPECT_EQ(run("tqamsg words --json 201").output,
              "{\"id\":201,\"space\":\"namespace\",\"word\":\"alerts\"}\n");
    EXPECT_EQ(run("tqamsg words | wc -l").output,
              std::to_string(IDAttrMap.size() + NSIDTextMap.size() + IDTextMap.size()) + "\n");
    const Result none = run("tqamsg words no_such_word");
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(none.output, "");
}

TEST(ToolReply, AnswersInTheFormOfTheRequest) {
    const Result text = run("tqamsg reply --as backm " + kRequest);
    EXPECT_EQ(text.status, 0);
    EXPECT_EQ(text.output,
              "<packet id=\"c4001\">\n<origin>backm</origin>\n<session>s1.40000.7</session>\n"
              "<target>ve_status</target>\n<dst>\n<target>ve_status</target>\n"
              "<director>gend</director>\n<index>17</index>\n</dst>\n<cookie>refresh-12</cookie>\n"
              "<data/>\n</packet>\n");
    const Result binary = run("tqamsg convert xml:bin " + kRequest +
                              " | tqamsg reply --as backm - | tqamsg convert bin:xml -");
    EXPECT_EQ(binary.output, text.output);
    EXPECT_EQ(run("tqamsg reply " + kRequest + " | tqamsg get -r origin -").output, "vem\n");
}

// --- log ----------------------------------------------------------------------------------------

const char* const kLog =
    "T=2006.03.07 14:05:09.042; L=(warning) ; PID=812; TID=-1214; no answer from backm\n"
    "second line\n"
    "T=2006.03.07 15:00:00.000; L=(info) ; PID=812; TID=7; \xff\"\n"
    "T=2006.03.08 00:00:00.001; L=(error) ; PID=1; TID=2; out of memory\n"
    "T=2006.03.08 01:00:00.000; L=(unknown) ; PID=1; TID=2; what is this?\n";

TEST(ToolLog, PrintsTheRecordsOfALevelAndThoseBeforeIt) {
    Folder folder;
    const std::string file = folder.write("2006.03.07-compat.log", kLog);
    EXPECT_EQ(run("tqamsg log " + file).output, kLog);
    EXPECT_EQ(run("tqamsg log --level warning " + file).output,
              "T=2006.03.07 14:05:09.042; L=(warning) ; PID=812; TID=-1214; no answer from backm\n"
              "second line\n"
              "T=2006.03.08 00:00:00.001; L=(error) ; PID=1; TID=2; out of memory\n");
}

TEST(ToolLog, PrintsTheRecordsSinceATime) {
    Folder folder;
    const std::string file = folder.write("log", kLog);
    EXPECT_EQ(run("tqamsg log --since 2006.03.08 " + file + " | wc -l").output, "2\n");
    EXPECT_EQ(run("tqamsg log --since '2006.03.07 15:00' " + file + " | wc -l").output, "3\n");
    EXPECT_EQ(run("tqamsg log --since 2007.01.01 " + file).status, 1);
}

TEST(ToolLog, WritesRecordsAsJson) {
    Folder folder;
    const std::string file = folder.write("log", kLog);
    EXPECT_EQ(run("tqamsg log --json --level info " + file + " | head -n 2").output,
              "{\"time\":\"2006.03.07 14:05:09.042\",\"level\":\"warning\",\"pid\":812,"
              "\"tid\":-1214,\"message\":\"no answer from backm\\nsecond line\"}\n"
              "{\"time\":\"2006.03.07 15:00:00.000\",\"level\":\"info\",\"pid\":812,\"tid\":7,"
              "\"message\":\"\xef\xbf\xbd\\\"\"}\n");
}

TEST(ToolLog, ReadsWhatTheLoggerWrites) {
    Folder folder;
    const std::string directory = folder.path("");
    Logger logger(directory.c_str());
    debug_level = 4;
    testing::internal::CaptureStderr();
    logger.put(3, "veid %d", 101);
    logger.put(1, "%s", std::string(10000, 'x').c_str());
    logger.put(4, "behind the line that was cut");
    debug_level = -1;
    testing::internal::GetCapturedStderr();
    const Result result = run("tqamsg log --json " + folder.path("*-compat.log") +
                              " | sed 's/.*\"message\":\"//' | cut -c 1-40");
    EXPECT_EQ(result.output,
              "veid 101\"}\n" + std::string(40, 'x') + "\nbehind the line that was cut\"}\n");
}

TEST(ToolInspect, FailsWithAStatusAndOneLine) {
    expectFailures({
        {"echo '<packet/>' | tqamsg auth - x", 2,
         "tqamsg: 'x' is no VE id, nor a range as 101-110\n"},
        {"echo '<packet/>' | tqamsg auth - 9-3", 2, "tqamsg: '9-3' ends before it begins\n"},
        {"echo '<packet/>' | tqamsg auth - 4294967296", 2,
         "tqamsg: '4294967296' is no VE id, nor a range as 101-110\n"},
        {"echo x | tqamsg auth - 5", 3,
         "tqamsg: standard input: offset 0: text that is no message\n"},
        {"echo x | tqamsg header -", 3,
         "tqamsg: standard input: offset 0: text that is no message\n"},
        {"echo x | tqamsg reply -", 3,
         "tqamsg: standard input: offset 0: text that is no message\n"},
        {"echo x | tqamsg diff - /dev/null", 3,
         "tqamsg: standard input: offset 0: text that is no message\n"},
        {"echo '<packet/>' | tqamsg diff --ignore '' - /dev/null", 2,
         "tqamsg: an empty path; the root is /\n"},
        {"tqamsg diff - - < /dev/null", 2, "tqamsg: only one of A and B can be standard input\n"},
        {"echo x | tqamsg log -", 3,
         "tqamsg: standard input: offset 0: no line of the agent's log\n"},
        {"echo x | tqamsg log --since yesterday -", 2,
         "tqamsg: --since: 'yesterday' is no 2006.03.07 14:05:09\n"},
        {"tqamsg log /no/such/file", 4, "tqamsg: /no/such/file: No such file or directory\n"},
        {"tqamsg show --depth -1 /dev/null", 2, "tqamsg: --depth: '-1' is no number from 0 up\n"},
    });
}

}  // namespace
