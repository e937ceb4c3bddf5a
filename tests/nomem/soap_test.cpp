// The SOAP gateway without memory. Texts may throw std::bad_alloc there; a converter stays usable.

#include "tqamsg/soap/converter.h"

#include "tests/nomem/sweep.h"
#include "tests/support/messages.h"

namespace {

using namespace tqa_test;
using tqa::IgnoreCaseString;

const std::string kLong(200, 'x');

const std::string kHeader =
    "<packet_header xmlns=\"http://www.tqagent.example/webservices/tqa/4.0.0/protocol\" id=\"" +
    kLong + "\"><origin>panel</origin><session>panel.30002.7</session></packet_header>";

std::string requestIn(const std::string& uri, const std::string& header, const std::string& body) {
    return "<soap:Envelope xmlns:soap=\"" + uri + "\">" +
           (header.empty() ? "" : "<soap:Header>" + header + "</soap:Header>") + "<soap:Body>" +
           body + "</soap:Body></soap:Envelope>";
}

const char kUri11[] = "http://schemas.xmlsoap.org/soap/envelope/";
const char kUri12[] = "http://www.w3.org/2003/05/soap-envelope";

const std::string kUpload =
    "<upload xmlns=\"http://www.tqagent.example/webservices/tqa/4.0.0/filem\"><path>" + kLong +
    "</path><foreign>7</foreign></upload>";
const std::string kPrefixed =
    "<" + kLong + ":upload xmlns:" + kLong +
    "=\"http://www.tqagent.example/webservices/tqa/4.0.0/filem\"><path>/tmp</path></" + kLong +
    ":upload>";

const std::string kRequests[] = {
    requestIn(kUri11, "", kUpload),
    requestIn(kUri12, kHeader, kUpload),
    requestIn(kUri12, kHeader, kPrefixed),
};
const std::string kRefused[] = {
    "<packet/>",
    requestIn(kUri11, "<packet_header", kUpload),
    requestIn(kUri12, "", "<x/>"),
    requestIn(kUri12, "", "<upload xmlns=\"no\"></upload>"),
};

const std::string kReply =
    "<packet version=\"4.0.0\"><origin>vem</origin><session>a.40000.b</session><cookie>" + kLong +
    "</cookie><data><vem><veid>5</veid><name>" + kLong + "</name></vem></data></packet>";
const std::string kErrorReply =
    "<packet version=\"4.0.0\"><cookie>stop</cookie><data><error><code>404</code>"
    "<message>" +
    kLong + "</message></error></data></packet>";
const std::string kNamelessReply = "<packet version=\"4.0.0\"><data><vem/></data></packet>";

// A subclass gets the two steps' texts as copies.
class OwnConverter : public TQASoapConverter {};

std::string taken(char* text) {
    const tqa::CText owned(text);
    return owned == nullptr ? "none" : owned.get();
}

struct SoapStage {
    Message message = emptyMessage();
    Message reply = parse(kReply);
    Message errorReply = parse(kErrorReply);
    Message namelessReply = parse(kNamelessReply);
    TQASoapConverter converter;
    OwnConverter own;
    std::unique_ptr<TQASoapEnvelope> envelope;
    std::unique_ptr<TQASoapFault> fault{
        TQASoapFault::createSoapFault(SOAP_12, TQASoapFault::Server, kLong)};
    tqa::CText block;
    std::string text;
    IgnoreCaseString folded;
    IgnoreCaseString argument = kRequests[1].c_str();

    // A conversion that failed left its fault, whoever asks for it.
    int fromSoap(TQASoapConverter& by, const std::string& soap) {
        return by.soapToTqamsg(soap.c_str(), *message);
    }
    int refuse(const std::string& soap) {
        return converter.soapToTqamsg(soap.c_str(), *message) == -1 &&
                       converter.getFault() != nullptr
                   ? 0
                   : -1;
    }
    int toSoap(TQABinary& from, SoapVersion version) {
        TQASoapEnvelope* made = nullptr;
        const int status = converter.tqamsgToSoap(from, version, made);
        envelope.reset(made);
        return status;
    }
    int take(char* fresh) {
        block.reset(fresh);
        return fresh == nullptr ? -1 : 0;
    }

    std::string outcome() const {
        std::string all = tree(message) + '\n' + text + '\n' + std::string(folded.c_str()) + '\n' +
                          (block == nullptr ? "" : block.get()) + '\n';
        if (envelope != nullptr) all += taken(envelope->toText());
        TQASoapFault* const left = converter.getFault();
        return left == nullptr ? all : all + left->reason;
    }
    // What a failed conversion leaves in its message is to be discarded.
    static std::string state() { return ""; }
    void rewind() {}
    // A failed answer has taken the data out already.
    void reload() {
        message = emptyMessage();
        reply = parse(kReply);
        errorReply = parse(kErrorReply);
        namelessReply = parse(kNamelessReply);
    }
    void again() { argument = kRequests[1].c_str(); }
};

using S = SoapStage;

constexpr unsigned kConverts = kMayThrow | kLosesContent;
// The fault may give another reason: what there was no memory for comes first.
constexpr unsigned kRefuses = kConverts | kMayLack;

const Scenario<S> kScenarios[] = {
    {"a converter", [](S&) { return TQASoapConverter().getFault() == nullptr ? 0 : -1; },
     kMayThrow},
    {"a request without header", [](S& s) { return s.fromSoap(s.converter, kRequests[0]); },
     kConverts},
    {"a request", [](S& s) { return s.fromSoap(s.converter, kRequests[1]); }, kConverts},
    {"a request with a long prefix", [](S& s) { return s.fromSoap(s.converter, kRequests[2]); },
     kConverts},
    {"a request by a subclass", [](S& s) { return s.fromSoap(s.own, kRequests[1]); }, kConverts},
    {"no envelope", [](S& s) { return s.refuse(kRefused[0]); }, kRefuses},
    {"a header without end", [](S& s) { return s.refuse(kRefused[1]); }, kRefuses},
    {"no operator", [](S& s) { return s.refuse(kRefused[2]); }, kRefuses},
    {"no such operator", [](S& s) { return s.refuse(kRefused[3]); }, kRefuses},
    {"an answer in SOAP 1.1", [](S& s) { return s.toSoap(*s.reply, SOAP_11); }, kConverts},
    {"an answer in SOAP 1.2", [](S& s) { return s.toSoap(*s.reply, SOAP_12); }, kConverts},
    {"an answer with errors", [](S& s) { return s.toSoap(*s.errorReply, SOAP_12); }, kConverts},
    {"an answer without a name",
     [](S& s) {
         return s.toSoap(*s.namelessReply, SOAP_12) == -1 && s.converter.getFault() != nullptr ? 0
                                                                                               : -1;
     },
     kRefuses},
    {"an envelope from text",
     [](S& s) {
         s.envelope.reset(TQASoapEnvelope::fromText(kRequests[1].c_str()));
         return s.envelope == nullptr ? -1 : 0;
     },
     kMayThrow},
    {"an envelope's text",
     [](S& s) {
         TQASoapEnvelope envelope(kLong);
         return s.take(envelope.toText());
     },
     kMayThrow},
    {"an envelope, put together", [](S& s) { return s.take(s.fault->assembly()); }},
    {"a fault in SOAP 1.1",
     [](S& s) {
         const std::unique_ptr<TQASoapFault> fault(
             TQASoapFault::createSoapFault(SOAP_11, TQASoapFault::Client, kLong));
         return s.take(fault->toText());
     },
     kMayThrow},
    {"a fault in SOAP 1.2",
     [](S& s) {
         const std::unique_ptr<TQASoapFault> fault(
             TQASoapFault::createSoapFault(SOAP_12, TQASoapFault::VersionMismatch, kLong));
         fault->detail = kLong;
         return s.take(fault->toText());
     },
     kMayThrow},
    {"a namespace of a version",
     [](S& s) { return s.text = TQASoapConverter::getTQAWsdlURI(40000), 0; }, kMayThrow},
    {"a namespace of SOAP",
     [](S& s) { return s.text = TQASoapConverter::getSoapURIByVersion(SOAP_12), 0; }, kMayThrow},
    {"removeNamespaces", [](S& s) { return TQASoapConverter::removeNamespaces(s.argument) + 1; },
     kMayThrow},
    {"srch_repl",
     [](S& s) {
         return srch_repl(s.argument, "packet_header", "packet") == std::string::npos ? 0 : -1;
     },
     kMayThrow},
    {"toLower", [](S& s) { return s.folded = toLower(s.argument), 0; }, kMayThrow},
    {"toUpper", [](S& s) { return s.folded = toUpper(s.argument), 0; }, kMayThrow},
};

TEST(NoMemory, TheGatewayFailsAndGoesOn) {
    sweepAll("gateway", kScenarios, [] { return std::make_unique<S>(); });
}

}  // namespace
