// `tqamsg convert`: the forms of a message, the JSON form above all.

#include "tests/tools/support/tool.h"

#include <filesystem>
#include <random>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;

TEST(ToolConvert, GoesToBinaryAndBackToTheSameText) {
    for (const std::string& file : {kRequest, kReply}) {
        const Result result = run("tqamsg convert xml:bin " + file + " | tqamsg convert bin:xml -");
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.output, bytesIn(file));
    }
}

TEST(ToolConvert, ConvertsEachMessageOfAStream) {
    const Result result = run("(tqamsg convert xml:bin " + kRequest + "; tqamsg convert xml:bin " +
                              kReply + ") | tqamsg convert bin:xml -");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, bytesIn(kRequest) + bytesIn(kReply));
}

TEST(ToolConvert, WritesTheSameJsonEveryTime) {
    const Result result = run("tqamsg convert hex:json " + kMessages + "/typed.hex");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, bytesIn(kToolData + "/typed.json"));
}

TEST(ToolConvert, WritesHexInRowsOfSixteen) {
    const Result result = run("echo '<packet><veid>7</veid></packet>' | tqamsg convert xml:hex -");
    EXPECT_EQ(result.output,
              "98 ba dc fe 00 00 00 00 76 05 00 00 32 00 00 00\n"
              "10 00 00 00 00 00 00 00 ea 03 00 00 00 00 00 00\n"
              "02 00 00 00 37 00 00 00\n\n");
}

TEST(ToolConvert, GivesTheBytesOfEveryGoldenMessageBackFromJson) {
    for (const auto& entry : std::filesystem::directory_iterator(kMessages)) {
        if (entry.path().extension() != ".hex") continue;
        const std::string bytes = run("tqamsg convert hex:bin " + entry.path().string()).output;
        const Result result = run("tqamsg convert hex:json " + entry.path().string() +
                                  " | tqamsg convert json:bin -");
        EXPECT_FALSE(bytes.empty());
        EXPECT_EQ(result.output, bytes) << entry.path();
    }
}

TEST(ToolConvert, GivesTheBytesOfRandomMessagesBackFromJsonAndHex) {
    for (const char* form : {"json", "hex"}) {
        for (int seed = 1; seed <= 5; ++seed) {
            const std::string gen = "tqamsg gen --count 200 --seed " + std::to_string(seed);
            const Result result = run("cmp <(" + gen + ") <(" + gen + " | tqamsg convert :" + form +
                                      " - | tqamsg convert " + form + ":bin -)");
            EXPECT_EQ(result.status, 0) << form << " " << seed << result.output;
        }
    }
}

// Whatever can be loaded comes back byte for byte, sound or not.
TEST(ToolConvert, GivesTheBytesOfDamagedMessagesBackFromJson) {
    const std::string sound = run("tqamsg gen --seed 3 --size 30").output;
    Folder folder;
    std::mt19937 random(7);
    for (int i = 0; i < 60; ++i) {
        std::string damaged = sound;
        // The root's length stays, or nothing could be loaded.
        for (int k = 0; k < 8; ++k)
            damaged[24 + random() % (damaged.size() - 24)] = static_cast<char>(random());
        const std::string file = folder.write("damaged", damaged);
        const Result result =
            run("tqamsg convert bin:json " + file + " | tqamsg convert json:bin -");
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.output, damaged) << i;
    }
}

TEST(ToolConvert, MakesJsonThatItsDocumentShows) {
    const std::string document = bytesIn(TQA_DOCS_DIR "/json.md");
    const auto block = [&](const std::string& language) {
        const std::string fence = "```" + language + "\n";
        const std::size_t start = document.find(fence) + fence.size();
        return document.substr(start, document.find("```", start) - start);
    };
    Folder folder;
    const std::string file = folder.write("example.json", block("json"));
    EXPECT_EQ(run("tqamsg convert json:xml " + file).output, block("xml"));
    EXPECT_EQ(run("tqamsg convert :json " + file).output, block("json"));
}

TEST(ToolConvert, ConvertsSoapBothWays) {
    const std::string request = TQA_EXAMPLE_DATA_DIR "/soap12_request.xml";
    EXPECT_EQ(run("tqamsg convert soap:xml " + request).output,
              run("tqamsg soap-request " + request).output);
    const std::string reply = TQA_TEST_DATA_DIR "/soap/reply.reply.xml";
    EXPECT_EQ(run("tqamsg convert --soap 1.2 :soap " + reply).output,
              run("tqamsg soap-response --soap 1.2 " + reply).output);
}

TEST(ToolConvert, RefusesWhatIsNotInTheFormThatWasSaid) {
    expectFailures({
        {"echo '<packet/>' | tqamsg convert bin:xml -", 3,
         "tqamsg: standard input: offset 0: the input is XML text, not a binary message\n"},
        {"echo '<packet/>' | tqamsg convert xml:bin - | tqamsg convert xml:bin -", 3,
         "tqamsg: standard input: offset 0: the input is a binary message, not XML text\n"},
        {"echo '<packet/>' | tqamsg convert :json - | tqamsg convert hex:bin -", 3,
         "tqamsg: standard input: offset 0: the input is JSON, not hexadecimal text\n"},
        {"echo x | tqamsg convert xml -", 2, "tqamsg: 'xml' is no pair of forms, as xml:bin is\n"},
        {"echo x | tqamsg convert soap:soap -", 2,
         "tqamsg: 'soap:soap' is no pair of forms, as xml:bin is\n"},
        {"echo x | tqamsg convert yaml:bin -", 2,
         "tqamsg: 'yaml:bin' is no pair of forms, as xml:bin is\n"},
    });
}

TEST(ToolConvert, RefusesJsonThatIsNoMessage) {
    const std::string refused = "tqamsg: standard input: offset 0: ";
    struct Row {
        const char* json;
        const char* complaint;
    };
    const Row rows[] = {
        {"{}", "/: \"tqamsg\" is not 1"},
        {R"({"tqamsg":2,"root":{}})", "/: \"tqamsg\" is not 1"},
        {R"({"tqamsg":1})", "/: no \"root\""},
        {R"({"tqamsg":1,"root":{},"more":1})", "\"more\" is no member of the form"},
        {R"({"tqamsg":1,"root":7})", "/root: an element is an object"},
        {R"({"tqamsg":1,"root":{"kind":"Int","value":1}})", "/root: an element without \"name\""},
        {R"({"tqamsg":1,"root":{"name":"zz","kind":"Container"}})",
         "/root: \"zz\" is no word of the vocabulary"},
        {R"({"tqamsg":1,"root":{"name":"list"}})", "/root: \"kind\" is no number from 0 to 65535"},
        {R"({"tqamsg":1,"root":{"name":"list","kind":"Integer"}})",
         "/root: \"Integer\" is no kind"},
        {R"({"tqamsg":1,"root":{"name":"list","kind":"Int","value":"1"}})",
         "/root: \"value\" is no number"},
        {R"({"tqamsg":1,"root":{"name":"list","kind":"Int","value":4294967296}})",
         "/root: \"value\" does not fit the kind"},
        {R"({"tqamsg":1,"root":{"name":"list","kind":"Int","ns":"zz","value":1}})",
         "/root: \"zz\" is no namespace"},
        {R"({"tqamsg":1,"root":{"name":"list","kind":"Container","children":[{"name":"id",)"
         R"("kind":"Container","children":[{"name":"id","kind":"Base64","value":"?"}]}]}})",
         "/root/children/0/children/0: \"value\" does not fit the kind"},
        {R"({"tqamsg":1,"root":{"name":"list","kind":"Container","length":99}})",
         "/root: \"length\" does not fit the children"},
        {R"({"tqamsg":1,"root":{"name":"list","kind":"String","bytes":"4"}})",
         "/root: \"bytes\" is no hexadecimal text"},
        {R"({"tqamsg":1,"root":{"name":"list","kind":"Int","value":1,"padding":"00"}})",
         "/root: \"padding\" has another length"},
        {R"({"tqamsg":1,"root":{"name":"list","kind":"Int","value":1,"children":[]}})",
         "/root: \"children\" in an element that is no Container"},
        {R"({"tqamsg":1,"root":{"name":"list","kind":"Double","value":1e999}})",
         "a number that is too large"},
        {R"({"tqamsg":1,"root":{"name":"list",})", "byte 35: no JSON"},
    };
    for (const Row& row : rows) {
        const Result result = runWithErrors("echo '" + std::string(row.json) + "' | tqamsg show -");
        EXPECT_EQ(result.status, 3) << row.json;
        EXPECT_EQ(result.output, refused + row.complaint + "\n") << row.json;
    }
}

// Each member holds arrays so deep that a step of the stack for each would be too many.
TEST(ToolConvert, RefusesJsonThatIsTooDeepForItsMembers) {
    Folder folder;
    const std::string deep = std::string(400000, '[') + std::string(400000, ']');
    const std::string element = R"({"tqamsg":1,"root":{"name":"list","kind":)";
    for (const std::string& json :
         {R"({"tqamsg":)" + deep + "}", R"({"tqamsg":1,"root":)" + deep + "}",
          element + deep + "}}", element + R"("Int","ns":)" + deep + "}}",
          element + R"("Int","value":)" + deep + "}}", element + R"("Int","bytes":)" + deep + "}}",
          element + R"("Container","length":)" + deep + "}}",
          element + R"("Container","children":)" + deep + "}}"}) {
        const Result result =
            runWithErrors("tqamsg validate " + folder.write("deep", json) + " > /dev/null");
        EXPECT_EQ(result.status, 3) << json.substr(0, 60) << result.output;
    }
}

TEST(ToolConvert, TakesLargeNumbersAsNumbersOrTexts) {
    const char* const json =
        R"({"tqamsg":1,"root":{"name":"id","kind":"LongLong","value":9007199254740993}})";
    const Result number = run("echo '" + std::string(json) + "' | tqamsg convert :json -");
    EXPECT_EQ(number.output,
              "{\"tqamsg\":1,\"root\":\n"
              " {\"name\":\"id\",\"kind\":\"LongLong\",\"value\":\"9007199254740993\"}}\n");
    const Result text =
        run("echo '" + std::string(json) + "' | tqamsg convert :json - | tqamsg convert :json -");
    EXPECT_EQ(text.output, number.output);
}

}  // namespace
