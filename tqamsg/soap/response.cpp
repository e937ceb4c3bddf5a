// Message to SOAP response.

#include "tqamsg/msg/message.h"
#include "tqamsg/msg/message_iterator.h"
#include "tqamsg/soap/converter.h"
#include "tqamsg/util/c_text.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>
#include <utility>

namespace {

// The reasons of the faults.
constexpr char kNoOperationName[] = "Cannot get original operation name from TQAgent message";
constexpr char kUnsupportedVersion[] = "Unsupported soap version";
constexpr char kAgentError[] = "TQAgent responded with error";
constexpr char kUnreadableReply[] = "TQAgent message cannot be converted to soap envelope";

// std::atoi() with a defined result for every text.
int toInt(const std::string& text) {
    constexpr long kMin = std::numeric_limits<int>::min();
    constexpr long kMax = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(std::strtol(text.c_str(), nullptr, 10), kMin, kMax));
}

// The namespace base of the answer: that of the version in the session ("<a>.<version>.<b>"), of
// the header's version when there is no session, or the current base without a version.
std::string namespaceOf(TQAMessage& msg) {
    std::string session;
    if (msg.getSession(&session) == 0 && !session.empty()) {
        const std::size_t first = session.find('.');
        const std::size_t last = session.rfind('.');
        return first == last ? tqa::kNamespaceBase
                             : TQASoapConverter::getTQAWsdlURI(
                                   toInt(session.substr(first + 1, last - first - 1)));
    }
    int version = 0;
    return msg.getVersion(&version) == 0 ? TQASoapConverter::getTQAWsdlURI(version)
                                         : tqa::kNamespaceBase;
}

// Walks one reply and prints what it stands on in the answer's namespaces.
//
// Kept: below "data" the moves are not checked. One that finds nothing leaves the walk where it
// was, so an operator without children, or a "data" without an operator, is written itself.
class ReplyReader {
  public:
    ReplyReader(TQAMessage& msg, TQAMessageIterator& it)
        : msg_(msg), it_(it), base_(namespaceOf(msg)) {}

    // Whether everything that was read could be printed, and the data be taken out.
    bool complete() const { return complete_; }

    std::string operationName() {
        std::string name;
        it_.seekRoot();
        it_.getValue(&name, "cookie");
        return name;
    }

    // Appends the "error" elements of "data", or else those of the operator element; false when
    // there is none.
    bool takeErrors(std::string& text) {
        if (!seekData()) return false;
        if (errorsBelow(text)) return true;
        it_.firstChild();
        return errorsBelow(text);
    }

    // The response element of an operation; an empty one when there is no "data".
    std::string response(const std::string& operation) {
        const std::string start = "<" + operation + "Response";
        const std::string end = "</" + operation + "Response>\n";
        if (!seekData()) return start + " xmlns=\"" + base_ + "\">\n" + end;
        it_.firstChild();
        const std::string operatorName = it_.curName();
        std::string text = start;
        // Kept: an operator without a name leaves the start tag open.
        if (!operatorName.empty()) text += " xmlns=\"" + base_ + operatorName + "\">\n";
        // A configuration is only one together with its "system" element.
        if (operatorName != "system" || it_.seekPresence("configuration") != 0) it_.firstChild();
        do {
            print(text);
        } while (it_.nextSibling() == 0);
        return text + end;
    }

    void dropData() {
        if (seekData() && it_.deleteFromChild() != 0) complete_ = false;
    }

    // The whole message as the text of the SOAP header.
    std::string header() {
        it_.seekRoot();
        std::string text;
        print(text);
        srch_repl(text, "<packet", "<packet_header xmlns=\"" + base_ + "protocol\"");
        srch_repl(text, "/packet>", "/packet_header>");
        return text;
    }

  private:
    bool seekData() {
        it_.seekRoot();
        return it_.seek("data") == 0;
    }

    void print(std::string& text) {
        const tqa::CText printed(msg_.toText(&it_, true, base_));
        if (printed)
            text += printed.get();
        else
            complete_ = false;
    }

    bool errorsBelow(std::string& text) {
        if (it_.seek("error") != 0) return false;
        do {
            print(text);
        } while (it_.nextSibling("error") == 0);
        return true;
    }

    TQAMessage& msg_;
    TQAMessageIterator& it_;
    const std::string base_;
    bool complete_ = true;
};

}  // namespace

int TQASoapConverter::failIn(SoapVersion version, TQASoapFault::Code code, const char* reason) {
    context->setFault(TQASoapFault::createSoapFault(version, code, reason));
    return getFault() != nullptr ? -1 : fail(TQASoapFault::Client, kUnsupportedVersion);
}

int TQASoapConverter::tqamsgToSoap(TQAMessage& msg, SoapVersion version, TQASoapEnvelope*& out) {
    context->init();
    out = nullptr;
    // Before the walk: printing would do it too, and could move what the walk stands on.
    const bool saved = msg.saveChanges() == 0;
    const std::unique_ptr<TQAMessageIterator> it(msg.newIterator());
    if (!it || !saved) return failIn(version, TQASoapFault::Server, kUnreadableReply);
    ReplyReader reply(msg, *it);

    std::string errors;
    const bool failed = reply.takeErrors(errors);
    const std::string operation = reply.operationName();
    if (operation.empty()) return failIn(version, TQASoapFault::Client, kNoOperationName);
    auto answer = std::make_unique<TQASoapEnvelope>(tqa::soapUriOf(version));
    if (!failed) answer->body = reply.response(operation);
    reply.dropData();
    answer->header = reply.header();
    // Half an answer would look like a whole one.
    if (!reply.complete()) return failIn(version, TQASoapFault::Server, kUnreadableReply);

    if (failed) {
        std::unique_ptr<TQASoapFault> fault(
            TQASoapFault::createSoapFault(version, TQASoapFault::Server, kAgentError));
        if (!fault) return fail(TQASoapFault::Client, kUnsupportedVersion);
        fault->detail = std::move(errors);
        answer = std::move(fault);
    }
    // Kept: an unsupported version leaves no fault here.
    if (answer->uri.empty()) return -1;
    out = answer.release();
    return 0;
}
