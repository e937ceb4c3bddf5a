// The gateway's way through a reply.

#include "tools/element.h"
#include "tools/explain.h"
#include "tools/message.h"

#include <cstdlib>

namespace tool {

namespace {

std::string namespaceStory(TQAMessage& reply) {
    const auto versioned = [](int version, const std::string& source) {
        return inQuotes(TQASoapConverter::getTQAWsdlURI(version)) + ", for the version in " +
               source;
    };
    std::string session;
    if (reply.getSession(&session) == 0 && !session.empty()) {
        const std::size_t first = session.find('.');
        const std::size_t last = session.rfind('.');
        if (first == last)
            return "the base without a version: the session " + inQuotes(session) + " names none";
        const std::string text = session.substr(first + 1, last - first - 1);
        return versioned(static_cast<int>(std::strtol(text.c_str(), nullptr, 10)),
                         "the session " + inQuotes(session));
    }
    int version = 0;
    if (reply.getVersion(&version) == 0) return versioned(version, "the header");
    return "the base without a version: there is no session and no version";
}

std::size_t errorsAt(TQAMessageIterator& it) {
    if (it.seek("error") != 0) return 0;
    std::size_t count = 1;
    while (it.nextSibling("error") == 0) ++count;
    return count;
}

std::string found(std::size_t errors, const std::string& where) {
    return std::to_string(errors) + " in " + where + ": the answer is a fault with them as detail";
}

// Whether the reply carries errors; what is written says where.
bool tellErrors(TQAMessageIterator& it, std::string& story) {
    if (it.seek("data") != 0) {
        story += "none: there is no \"data\"";
        return false;
    }
    if (const std::size_t errors = errorsAt(it)) {
        story += found(errors, "\"data\"");
        return true;
    }
    it.firstChild();
    const std::string operatorName = it.curName();
    if (const std::size_t errors = errorsAt(it)) {
        story += found(errors, inQuotes(operatorName));
        return true;
    }
    story += "none in \"data\" nor in its first element";
    return false;
}

std::string bodyStory(TQAMessageIterator& it) {
    it.seekRoot();
    if (it.seek("data") != 0) return "empty: there is no \"data\"";
    if (it.firstChild() != 0) return "\"data\" itself: it holds nothing";
    const std::string operatorName = it.curName();
    const std::string source = "the operator " + inQuotes(operatorName) + ", first in \"data\": ";
    if (operatorName == "system" && it.seekPresence("configuration") == 0)
        return source + "its whole element, because it has a \"configuration\"";
    return source +
           (it.firstChild() == 0 ? "what is in its element" : "its element, which is empty");
}

}  // namespace

std::string explainResponse(TQAMessage& reply) {
    std::string story = "namespace: " + namespaceStory(reply) + "\nerrors: ";
    const Iterator it(reply.newIterator());
    const bool failed = tellErrors(*it, story);
    it->seekRoot();
    std::string operation;
    it->getValue(&operation, "cookie");
    if (operation.empty()) return story += "\noperation: not found: \"cookie\" holds no text\n";
    story += "\noperation: " + inQuotes(operation) + ", from \"cookie\"\n";
    if (!failed) story += "body: " + bodyStory(*it) + "\n";
    return story += "header block: the packet without \"data\" becomes \"packet_header\"\n";
}

}  // namespace tool
