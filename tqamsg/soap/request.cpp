// SOAP request to message. Requests are flat text here: everything is found by searching.

#include "tqamsg/msg/message.h"
#include "tqamsg/msg/message_iterator.h"
#include "tqamsg/soap/converter.h"
#include "tqamsg/util/version_text.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <typeinfo>

namespace {

using tqa::findIgnoreCase;
using tqa::IgnoreCaseString;

constexpr std::size_t npos = std::string_view::npos;

// The reasons of the faults.
constexpr char kVersionMismatch[] = "Version mismatch";
constexpr char kWrongHeader[] = "Wrong packet header";
constexpr char kUnreadableHeader[] = "Soap header cannot be converted to TQAgent message";
constexpr char kNoOperation[] = "No TQAgent operation was specified";
constexpr char kNoBodyEnd[] = "Cannot parse soap message body";
constexpr char kNoOperator[] = "No TQAgent target operator was specified";
constexpr char kUnreadableBody[] = "Soap message body cannot be converted to TQAgent message";

// What the body asks for.
struct Operation {
    std::string_view element;  // the operation element and what follows it in the body
    std::string_view prefix;
    std::string name;
    std::string operatorName;
    std::string_view version;  // as the namespace spells it, "4.0.0"; may be empty
};

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), tqa::toLowerCase);
    return result;
}

// The position behind the comment, CDATA section or declaration at `at`; npos when it has no end.
std::size_t skipMarkup(std::string_view text, std::size_t at) {
    const std::string_view rest = text.substr(at);
    const bool comment = rest.starts_with("<!--");
    const std::string_view end = comment ? "-->" : rest.starts_with("<![CDATA[") ? "]]>" : ">";
    const std::size_t found = text.find(end, at + (comment ? 4 : 2));
    return found == npos ? npos : found + end.size();
}

// The first "<" behind the body's own that starts an element (or an end tag).
std::size_t findOperationTag(std::string_view body) {
    std::size_t at = body.find('<', 1);
    while (at != npos && body.substr(at).starts_with("<!")) {
        const std::size_t behind = skipMarkup(body, at);
        at = behind == npos ? npos : body.find('<', behind);
    }
    return at;
}

// The functions that fill an Operation give null, or the reason why they could not.

const char* findElement(std::string_view body, Operation& operation) {
    const std::size_t start = findOperationTag(body);
    if (start == npos || start + 1 >= body.size()) return kNoOperation;
    const std::size_t end = body.rfind("</");
    if (end == npos || end < start) return kNoBodyEnd;
    operation.element = body.substr(start, end - start);
    return nullptr;
}

const char* readName(Operation& operation) {
    const std::string_view element = operation.element;
    const std::size_t tagEnd = element.find('>');
    if (tagEnd == npos) return kNoOperation;
    // Kept: of all white space only a blank ends the name.
    const std::string_view qualified = element.substr(1, std::min(element.find(' '), tagEnd) - 1);
    if (qualified.empty()) return kNoOperation;
    const std::size_t colon = qualified.find(':');
    if (colon != npos) operation.prefix = qualified.substr(0, colon);
    operation.name = lowered(qualified.substr(colon == npos ? 0 : colon + 1));
    return nullptr;
}

// What follows the word "xmlns" of the default declaration, up to the tag's end.
const char* findDefaultDeclaration(std::string_view element, std::string_view& declaration) {
    constexpr std::string_view kWord = "xmlns";
    const std::size_t blank = element.find(' ');
    const std::size_t tagEnd = blank == npos ? npos : element.find('>', blank);
    if (tagEnd == npos) return kNoOperation;
    const std::string_view attributes = element.substr(blank, tagEnd + 1 - blank);
    std::size_t at = 0;
    while ((at = findIgnoreCase(attributes, kWord, at)) != npos) {
        at += kWord.size();
        if (attributes[at] == ':') continue;
        declaration = attributes.substr(at);
        return nullptr;
    }
    return kNoOperator;
}

// Kept: an attribute whose name merely starts like the declaration, anywhere in the request, is
// taken for it.
const char* findPrefixDeclaration(std::string_view request, std::string_view prefix,
                                  std::string_view& declaration) {
    const std::size_t at = findIgnoreCase(request, std::string("xmlns:").append(prefix));
    const auto value = tqa::findQuoted(request, at);
    if (!value) return kNoOperator;
    declaration = request.substr(at, value->end + 1 - at);
    return nullptr;
}

// Reads operator and version from <base><version>/<operator>.
const char* readNamespace(std::string_view declaration, Operation& operation) {
    const auto value = tqa::findQuoted(declaration, declaration.find('='));
    if (!value) return kNoOperator;
    const std::string_view uri = value->of(declaration);
    const std::size_t slash = uri.rfind('/');
    if (slash == npos) return kNoOperator;
    operation.operatorName = lowered(uri.substr(slash + 1));
    const std::string_view base = uri.substr(0, slash);
    const std::size_t baseSlash = base.rfind('/');
    if (baseSlash != npos) operation.version = base.substr(baseSlash + 1);
    return nullptr;
}

const char* readOperation(std::string_view body, std::string_view request, Operation& operation) {
    if (const char* reason = findElement(body, operation)) return reason;
    if (const char* reason = readName(operation)) return reason;
    std::string_view declaration;
    const char* const reason = operation.prefix.empty()
                                   ? findDefaultDeclaration(operation.element, declaration)
                                   : findPrefixDeclaration(request, operation.prefix, declaration);
    return reason != nullptr ? reason : readNamespace(declaration, operation);
}

// Gives the root the value under `name`, in the child that it has (`reuse`) or in a new one.
// Kept: a child that cannot take it, as a cookie of several elements, stays as it is.
bool putText(TQAMessageIterator& it, const char* name, const std::string& value, bool reuse) {
    const bool found = reuse && it.seek(name) == 0;
    if (!found && it.newChild(name, "") != 0) return false;
    bool done = it.putValue(value, 0) == 0;
    // One that is there and holds elements keeps them.
    if (!done && found && it.firstChild() == 0) {
        done = true;
        it.seekUp();
    }
    it.seekUp();
    return done;
}

// Adds target, cookie and data to the packet.
bool addOperation(const Operation& operation, TQAMessage& msg) {
    const auto element = std::make_unique_for_overwrite<char[]>(operation.element.size() + 1);
    *tqa::copyWithoutNamespaces(operation.element, element.get()) = '\0';

    const std::unique_ptr<TQAMessageIterator> it(msg.newIterator());
    if (!it) return false;
    const bool addressed =
        operation.operatorName == "system" || putText(*it, "target", operation.operatorName, false);
    if (!addressed || !putText(*it, "cookie", operation.name, true) ||
        it->newChild("data", "") != 0)
        return false;
    // Kept: an operator whose name is no word gets no element; its operation stands in "data".
    it->newChild(operation.operatorName, "");
    return it->fromTextToChild(element.get()) >= 0;
}

}  // namespace

int TQASoapConverter::soapToTqamsg(const char* soap, TQAMessage& msg) {
    context->init();
    if (soap != nullptr) context->setMessage(soap);
    const auto envelope = tqa::findEnvelope(context->viewMessage());
    const auto version = envelope ? tqa::soapVersionOf(envelope->uri) : std::nullopt;
    if (!version) return fail(TQASoapFault::VersionMismatch, kVersionMismatch);
    context->setSoapVersion(*version);
    // A body can be most of a large request: only subclasses, which may have replaced the steps,
    // get copies with a terminator.
    if (typeid(*this) == typeid(TQASoapConverter))
        return readHeader(envelope->header, msg) == 0 ? readBody(envelope->body, msg) : -1;
    if (convertHeader(std::string(envelope->header).c_str(), msg) != 0) return -1;
    return convertBody(std::string(envelope->body).c_str(), msg) == 0 ? 0 : -1;
}

int TQASoapConverter::convertHeader(const char* header, TQAMessage& msg) {
    return readHeader(header == nullptr ? "" : header, msg);
}

int TQASoapConverter::convertBody(const char* body, TQAMessage& msg) {
    return readBody(body == nullptr ? "" : body, msg);
}

int TQASoapConverter::readHeader(std::string_view text, TQAMessage& msg) {
    const std::size_t start = findIgnoreCase(text, "<packet_header");
    if (start == npos) {
        msg.create("packet");
        return 0;
    }
    constexpr std::string_view kEndTag = "/packet_header>";
    std::size_t end = findIgnoreCase(text, kEndTag, start);
    if (end != npos)
        end += kEndTag.size();
    else if ((end = text.find("/>", start)) != npos)
        end += 2;
    else
        return fail(TQASoapFault::Client, kWrongHeader);

    IgnoreCaseString packet(text.data() + start, end - start);
    srch_repl(packet, "packet_header", "packet");
    removeNamespaces(packet);
    if (packet.ends_with("/>")) packet.replace(packet.size() - 2, 2, "></packet>");
    const std::size_t packetEnd = packet.rfind("</packet>");
    if (packetEnd == npos) return fail(TQASoapFault::Client, kWrongHeader);
    packet.insert(packetEnd, "<cookie></cookie>");
    if (msg.fromText(packet.data(), nullptr) < 0)
        return fail(TQASoapFault::Client, kUnreadableHeader);
    return 0;
}

int TQASoapConverter::readBody(std::string_view body, TQAMessage& msg) {
    Operation operation;
    if (const char* reason = readOperation(body, context->viewMessage(), operation))
        return fail(TQASoapFault::Client, reason);
    if (!addOperation(operation, msg)) return fail(TQASoapFault::Client, kUnreadableBody);
    if (operation.version.empty()) return 0;
    const int status = msg.setVersion(tqa::textToVersion(operation.version));
    return status == 0 ? 0 : fail(TQASoapFault::Client, kUnreadableBody);
}
