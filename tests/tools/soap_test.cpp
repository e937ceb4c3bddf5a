// `tqamsg soap-request` and `tqamsg soap-response`, with the explanations.

#include "tests/tools/support/tool.h"

#include <filesystem>
#include <regex>

#include <gtest/gtest.h>

namespace {

using namespace tqa_test;

const std::string kSoap = TQA_TEST_DATA_DIR "/soap";

std::string explanation(const std::string& command) {
    return run(command + " 2>&1 > /dev/null").output;
}

// The text in quotes behind "STEP: ", or "" when the step is not told.
std::string told(const std::string& story, const std::string& step) {
    std::smatch match;
    const std::regex line("(?:^|\n)" + step + ": \"([^\"]*)\"");
    return std::regex_search(story, match, line) ? match[1].str() : "";
}

TEST(ToolSoapRequest, WritesTheMessageOrTheFault) {
    EXPECT_EQ(run("tqamsg soap-request " + kSoap + "/prefixed.request.xml").output,
              bytesIn(kSoap + "/prefixed.message.xml"));
    const Result fault =
        run("tqamsg soap-request " + kSoap + "/no_operator.request.xml 2> /dev/null");
    EXPECT_EQ(fault.status, 3);
    EXPECT_EQ(fault.output, bytesIn(kSoap + "/no_operator.fault.xml") + "\n");
    EXPECT_EQ(run("tqamsg soap-request --binary " + kSoap +
                  "/prefixed.request.xml | tqamsg convert bin:xml -")
                  .output,
              bytesIn(kSoap + "/prefixed.message.xml"));
}

TEST(ToolSoapRequest, ExplainsWhichRuleFoundWhat) {
    EXPECT_EQ(
        explanation("tqamsg soap-request --explain " TQA_EXAMPLE_DATA_DIR "/soap11_request.xml"),
        "envelope: the first \":Envelope \", with the prefix \"soap\" (offset 39)\n"
        "SOAP namespace: \"http://schemas.xmlsoap.org/soap/envelope/\", the first "
        "declaration that begins with \"xmlns:soap\" (offset 54)\n"
        "SOAP version: 1.1\n"
        "SOAP header: 161 bytes (offset 173)\n"
        "header block: the first \"<packet_header\" becomes the packet, with a cookie added "
        "(offset 187)\n"
        "body: 73 bytes (offset 335)\n"
        "operation: the body's first element (offset 347)\n"
        "operation's name: \"get_info\", in lower case, without its prefix; it goes into "
        "\"cookie\"\n"
        "namespace: \"http://www.tqagent.example/webservices/tqa/4.0.0/vem\", the request's "
        "first declaration that begins with \"xmlns:v\" (offset 109)\n"
        "operator: \"vem\", the namespace's last segment in lower case; it goes into "
        "\"target\"; the operation stands in its element\n"
        "version: \"4.0.0\", the segment before the operator\n");
}

// The explanation searches by itself; here it is held against what the gateway found.
TEST(ToolSoapRequest, ExplainsWhatTheGatewayFoundInEveryGoldenRequest) {
    int converted = 0;
    for (const auto& entry : std::filesystem::directory_iterator(kSoap)) {
        const std::string file = entry.path().string();
        if (!file.ends_with(".request.xml")) continue;
        const std::string story = explanation("tqamsg soap-request --explain " + file);
        const Result message = run("tqamsg soap-request " + file + " 2> /dev/null");
        if (message.status != 0) {
            EXPECT_EQ(message.status, 3);
            continue;
        }
        ++converted;
        const auto field = [&](const std::string& path) {
            const std::string value =
                run("tqamsg soap-request " + file + " | tqamsg get -r " + path + " -").output;
            return value.substr(0, value.find('\n'));
        };
        EXPECT_EQ(told(story, "operation's name"), field("cookie")) << file;
        const std::string operatorName = told(story, "operator");
        if (operatorName == "system") {
            EXPECT_EQ(run("tqamsg soap-request " + file + " | tqamsg get target -").status, 1);
        } else {
            EXPECT_EQ(operatorName, field("target")) << file;
        }
        EXPECT_EQ(story.find("not found"), std::string::npos) << file << story;
    }
    EXPECT_GT(converted, 10);
}

TEST(ToolSoapRequest, ExplainsWhatWasLookedForInVain) {
    struct Row {
        const char* request;
        const char* line;
    };
    const Row rows[] = {
        {"not_an_envelope", "envelope: not found: "},
        {"no_operation", "operation: not found: no element in the body\n"},
        {"no_operator", "namespace: not found: the request's first declaration that begins with "},
        {"unknown_soap_version", "SOAP version: not found: this namespace belongs to none\n"},
    };
    for (const Row& row : rows) {
        const std::string story = explanation("tqamsg soap-request --explain " + kSoap + "/" +
                                              row.request + ".request.xml");
        EXPECT_NE(story.find(row.line), std::string::npos) << row.request << "\n" << story;
    }
}

TEST(ToolSoapResponse, WritesTheResponseInEitherVersion) {
    for (const char* version : {"1.1", "1.2"}) {
        const std::string name = version == std::string("1.1") ? "soap11" : "soap12";
        const Result result = run("tqamsg soap-response --soap " + std::string(version) + " " +
                                  kSoap + "/reply.reply.xml");
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.output, bytesIn(kSoap + "/reply." + name + ".xml") + "\n");
    }
}

TEST(ToolSoapResponse, ExplainsTheAnswer) {
    struct Row {
        const char* reply;
        const char* line;
    };
    const Row rows[] = {
        {"session_version",
         "namespace: \"http://www.tqagent.example/webservices/tqa/3.0.3/\", for the version in the "
         "session \"a.30003.b\"\n"},
        {"no_version",
         "namespace: the base without a version: there is no session and no version\n"},
        {"error_under_data", "errors: 1 in \"data\": the answer is a fault with them as detail\n"},
        {"error_under_operator", "errors: 2 in \"vem\": the answer is a fault"},
        {"reply", "errors: none in \"data\" nor in its first element\n"},
        {"no_operation_name", "operation: not found: \"cookie\" holds no text\n"},
        {"system_configuration", "its whole element, because it has a \"configuration\"\n"},
        {"empty_data", "body: \"data\" itself: it holds nothing\n"},
        {"no_data", "body: empty: there is no \"data\"\n"},
        {"empty_operator",
         "body: the operator \"vem\", first in \"data\": its element, which is empty\n"},
    };
    for (const Row& row : rows) {
        const std::string story =
            explanation("tqamsg soap-response --explain " + kSoap + "/" + row.reply + ".reply.xml");
        EXPECT_NE(story.find(row.line), std::string::npos) << row.reply << "\n" << story;
    }
}

TEST(ToolSoap, FailsWithAStatusAndOneLine) {
    expectFailures({
        {"tqamsg soap-request /no/such/file", 4,
         "tqamsg: /no/such/file: No such file or directory\n"},
        {"echo x | tqamsg soap-response -", 3,
         "tqamsg: standard input: offset 0: text that is no message\n"},
    });
    EXPECT_EQ(run("echo x | tqamsg soap-request - 2> /dev/null").status, 3);
    EXPECT_EQ(run("tqamsg soap-response --soap 1.3 " + kReply + " 2> /dev/null").status, 2);
}

}  // namespace
