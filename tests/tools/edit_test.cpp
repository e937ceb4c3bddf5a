// `tqamsg get`, `set`, `add` and `del`: elements by path.

#include "tests/tools/support/tool.h"

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;

// A message with siblings, attributes on the way, and a raw element.
const std::string kTree =
    "echo '<packet id=\"c1\"><target>vem</target><data>"
    "<ve type=\"1\"><veid>101</veid></ve><ve type=\"2\"><veid>102</veid><unknown_word/></ve>"
    "<name>a&lt;b</name><list/></data></packet>' | ";

Result tree(const std::string& command) {
    return run(kTree + command);
}

TEST(ToolGet, PrintsTheFirstElementAtThePath) {
    struct Row {
        const char* path;
        const char* output;
    };
    const Row rows[] = {
        {"target", "\"vem\"\n"},
        {"/target", "\"vem\"\n"},
        {"@id", "\"c1\"\n"},
        {"data/ve/veid", "\"101\"\n"},
        {"data/ve[2]/veid", "\"102\"\n"},
        {"data/ve[2]/@type", "\"2\"\n"},
        {"data/*[3]", "\"a&lt;b\"\n"},
        {"\"#1401\"", "\"vem\"\n"},
        {"\"data/ve[2]/#0\"", "\"<unknown_word/>\"\n"},
        {"data/list", "\n"},
        {"data/ve[2]", "<ve type=\"2\">\n<veid>102</veid>\n<unknown_word/>\n</ve>\n"},
    };
    for (const Row& row : rows) {
        const Result result = tree("tqamsg get " + std::string(row.path) + " -");
        EXPECT_EQ(result.status, 0) << row.path;
        EXPECT_EQ(result.output, row.output) << row.path;
    }
    EXPECT_EQ(tree("tqamsg get / - | head -n 1").output, "<packet id=\"c1\">\n");
}

TEST(ToolGet, PrintsAllElementsAtThePathInOrder) {
    EXPECT_EQ(tree("tqamsg get --all data/ve/veid -").output, "\"101\"\n\"102\"\n");
    EXPECT_EQ(tree("tqamsg get -a 'data/*/@type' -").output, "\"1\"\n\"2\"\n");
    EXPECT_EQ(tree("tqamsg get -a -r 'data/ve/*[2]' -").output, "101\n102\n");
}

TEST(ToolGet, PrintsValuesOfEveryKindAsTheyAre) {
    const std::string file = kMessages + "/typed.hex";
    const Result result = run("tqamsg get --all -r '*/*/*' " + file);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, bytesIn(kToolData + "/typed.values.bin"));
}

TEST(ToolGet, SaysNoWhenNoMessageHasTheElement) {
    EXPECT_EQ(tree("tqamsg get origin -").status, 1);
    EXPECT_EQ(tree("tqamsg get data/ve[3] -").status, 1);
    const Result second = run("(echo '<packet/>'; " + kTree + "cat) | tqamsg get -r target -");
    EXPECT_EQ(second.status, 0);
    EXPECT_EQ(second.output, "vem\n");
}

TEST(ToolGet, TellsFalseValuesByItsStatusWhenAsked) {
    struct Row {
        const char* value;
        int status;
    };
    for (const Row& row : {Row{"0", 1}, Row{"false", 1}, Row{"", 1}, Row{"00", 0}, Row{"off", 0}}) {
        const std::string script =
            "echo '<packet><type>" + std::string(row.value) + "</type></packet>' | tqamsg get ";
        EXPECT_EQ(run(script + "-e type -").status, row.status) << row.value;
        EXPECT_EQ(run(script + "type -").status, 0) << row.value;
    }
    EXPECT_EQ(tree("tqamsg get -e data -").status, 0);
    EXPECT_EQ(tree("tqamsg get -e origin -").status, 1);
}

TEST(ToolSet, ReplacesAValueAndMakesWhatIsMissing) {
    const Result result =
        run("echo '<packet><target>vem</target></packet>' | tqamsg set target=backm - | "
            "tqamsg set data/vem/veid=7 -");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output,
              "<packet>\n<target>backm</target>\n<data>\n<vem>\n<veid>7</veid>\n</vem>\n</data>\n"
              "</packet>\n");
}

TEST(ToolSet, KeepsKindsAndGivesHeaderAttributesTheirOwn) {
    const Result result =
        run("tqamsg gen --seed 1 --size 0 | tqamsg set @priority=5 - | tqamsg set @time=86400 - | "
            "tqamsg set -k double origin=0.5 - | tqamsg set origin=2 - | tqamsg show - | "
            "grep -E 'priority|@time|origin'");
    EXPECT_EQ(result.output,
              "  @priority #103 Int 5\n"
              "  origin #1337 Double 2.000000\n"
              "  @time #104 Time \"1970-01-02T00:00:00+0000\"\n");
}

TEST(ToolSet, KeepsRawElementsRaw) {
    const Result changed = tree(
        "tqamsg convert :bin - | tqamsg set 'data/ve[2]/#0=<another_word/>' - | "
        "tqamsg get 'data/ve[2]' -");
    EXPECT_EQ(changed.output, "<ve type=\"2\">\n<veid>102</veid>\n<another_word/>\n</ve>\n");
    EXPECT_EQ(run("echo '<packet/>' | tqamsg add '#0=<another_word/>' -").output,
              "<packet>\n<another_word/>\n</packet>\n");
}

TEST(ToolSet, ChangesAllElementsAtThePath) {
    const Result result = tree(
        "tqamsg set --all data/ve/veid=a_much_longer_value - | "
        "tqamsg get --all -r data/ve/veid -");
    EXPECT_EQ(result.output, "a_much_longer_value\na_much_longer_value\n");
    const Result none = tree("tqamsg set --all data/ve/name=1 -");
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(none.output, tree("tqamsg convert :xml -").output);
}

// All at once or one after another: the same elements at the same places. What was in the padding
// before is gone when they change at once.
TEST(ToolSet, ChangesAllAsItChangesOneAfterAnother) {
    Folder folder;
    const std::string file = folder.path("message");
    for (const char* value : {"", "1", "a_much_longer_value_than_any_before"}) {
        tree("tqamsg convert :bin - > " + file);
        const std::string all = "tqamsg set --all 'data/ve/veid=" + std::string(value) + "' ";
        const std::string one = "tqamsg set 'data/ve[1]/veid=" + std::string(value) + "' ";
        const std::string other = "tqamsg set 'data/ve[2]/veid=" + std::string(value) + "' ";
        const std::string show = "| tqamsg show --offsets -";
        EXPECT_EQ(run(all + file + show).output,
                  run(other + file + " | " + one + "- " + show).output);
        EXPECT_EQ(run(all + file + "| tqamsg validate -").status, 0);
    }
    EXPECT_EQ(tree("tqamsg set --all data/ve=1 - 2>&1").output,
              "tqamsg: data/ve: holds elements, not a value\n");
}

TEST(ToolSet, ChangesAllOfVeryManyInOnePass) {
    Folder folder;
    const std::string file = folder.path("message");
    run("{ echo '<packet><data>'; yes '<veid>7</veid>' | head -n 300000; echo '</data></packet>'; }"
        " | tqamsg convert :bin - > " +
        file);
    // One by one they would move a million megabytes.
    const Result result = run("(ulimit -t 20; tqamsg set --all data/veid=a_much_longer_value " +
                              file + " | tqamsg get --all -r data/veid - | sort -u)");
    EXPECT_EQ(result.output, "a_much_longer_value\n");
}

TEST(ToolSet, TakesValuesWithEqualsSigns) {
    EXPECT_EQ(tree("tqamsg set target=a=b - | tqamsg get -r target -").output, "a=b\n");
}

TEST(ToolAdd, AppendsBehindTheChildren) {
    const Result result =
        tree("tqamsg add data/ve[2]/veid=103 - | tqamsg get --all data/ve/veid -");
    EXPECT_EQ(result.output, "\"101\"\n\"102\"\n\"103\"\n");
}

TEST(ToolAdd, MakesTheWayTheKindAndTheNamespace) {
    const Result result =
        run("echo '<packet/>' | tqamsg convert :bin - | "
            "tqamsg add --ns types --kind int data/vem/veid=7 - | "
            "tqamsg add data/vem/list - | tqamsg show -");
    EXPECT_EQ(result.output,
              "packet #1398 Container\n"
              "  data #1307 Container\n"
              "    vem #1546 Container\n"
              "      veid #1002 Int ns=types 7\n"
              "      list #1009 Untyped\n");
}

TEST(ToolDel, DeletesTheFirstElementOrAll) {
    EXPECT_EQ(tree("tqamsg del data/ve - | tqamsg get --all data/ve/veid -").output, "\"102\"\n");
    const Result all = tree("tqamsg del --all data/ve - | tqamsg get --all 'data/*' -");
    EXPECT_EQ(all.output, "\"a&lt;b\"\n\n");
    EXPECT_EQ(tree("tqamsg del @id - | head -n 1").output, "<packet>\n");
}

TEST(ToolDel, SaysNoAndLosesNothingWhenThereIsNone) {
    const Result result = tree("tqamsg del origin -");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, tree("tqamsg convert :xml -").output);
}

TEST(ToolEdit, WritesEachMessageInTheFormItCameIn) {
    for (const char* form : {"bin", "json", "hex", "xml"}) {
        const Result result = tree("tqamsg convert :" + std::string(form) +
                                   " - | tqamsg set target=vem - | "
                                   "tqamsg convert " +
                                   form + ":xml - | tqamsg get target -");
        EXPECT_EQ(result.output, "\"vem\"\n") << form;
    }
}

TEST(ToolEdit, FailsWithAStatusAndOneLine) {
    expectFailures({
        {"echo '<packet/>' | tqamsg get zz/list -", 2,
         "tqamsg: zz/list: 'zz' is no word of the vocabulary\n"},
        {"echo '<packet/>' | tqamsg get '' -", 2, "tqamsg: an empty path; the root is /\n"},
        {"echo '<packet/>' | tqamsg get list[0] -", 2,
         "tqamsg: list[0]: 'list[0]': positions count from 1\n"},
        {"echo '<packet/>' | tqamsg get @zz -", 2,
         "tqamsg: @zz: '@zz' is no word of the vocabulary\n"},
        {"echo '<packet' | tqamsg get list -", 3,
         "tqamsg: standard input: offset 8: text that is no message\n"},
        {"echo '<packet/>' | tqamsg set list -", 2, "tqamsg: 'list' is no PATH=VALUE\n"},
        {"echo '<packet/>' | tqamsg set -k int list=1x -", 2,
         "tqamsg: list: '1x' is no value of the kind Int\n"},
        {"echo '<packet/>' | tqamsg set -k base64 list=? -", 2,
         "tqamsg: list: '?' is no value of the kind Base64\n"},
        {"echo '<packet/>' | tqamsg set @time=today -", 2,
         "tqamsg: @time: 'today' is no value of the kind Time\n"},
        {"echo '<packet/>' | tqamsg set 'data/*=1' -", 3, "tqamsg: data/*: cannot make \"*\"\n"},
        {"echo '<packet/>' | tqamsg set 'data[2]=1' -", 3,
         "tqamsg: data[2]: cannot make \"data[2]\"\n"},
        {"echo '<packet><data><vem/></data></packet>' | tqamsg set data=1 -", 3,
         "tqamsg: data: holds elements, not a value\n"},
        {"echo '<packet><data>1</data></packet>' | tqamsg add data/vem=1 -", 3,
         "tqamsg: data/vem: cannot make \"vem\"\n"},
        {"echo '<packet/>' | tqamsg add /=1 -", 2, "tqamsg: a message has one root\n"},
        {"echo '<packet/>' | tqamsg add 'list[1]' -", 2,
         "tqamsg: list[1]: 'list[1]' cannot be added\n"},
        {"echo '<packet/>' | tqamsg add --ns zz list -", 2, "tqamsg: --ns: 'zz' is no namespace\n"},
        {"echo '<packet/>' | tqamsg del / -", 2, "tqamsg: the root cannot be deleted\n"},
    });
}

}  // namespace
