// An agent in one program, for run.py: reads a SOAP request from standard input, answers it and
// writes the response or fault to standard output. Exit status 0 for a response, 3 for a fault.
//
// Its one operation, vem's "get_info", tells a VE's host name; it knows no VE 404.

#include "tqamsg/tqamsg.h"

#include <iostream>
#include <iterator>
#include <memory>
#include <string>

namespace {

constexpr int kFaultStatus = 3;
constexpr int kUnknownVE = 404;

int send(TQASoapEnvelope& envelope) {
    char* const text = envelope.toText();
    std::cout << text;
    std::free(text);
    return dynamic_cast<TQASoapFault*>(&envelope) == nullptr ? 0 : kFaultStatus;
}

void getInfo(TQAMessageIterator& request, TQAMessageIterator& reply) {
    int veid = 0;
    request.seek("/data/vem/get_info");
    request.getValue(&veid, "veid");
    reply.seek("/data");
    reply.newChild("vem", "");
    if (veid == kUnknownVE) {
        reply.newChild("error", "");
        reply.putValue(veid, "code");
        reply.putValue("no such VE", "message");
        return;
    }
    reply.newChild("ve", "");
    reply.putValue(veid, "veid");
    reply.putValue("ve" + std::to_string(veid) + " <&>", "hostname");
}

}  // namespace

int main() {
    const std::string text{std::istreambuf_iterator<char>(std::cin), {}};
    TQASoapConverter converter;
    const auto_destroy<TQAMessage> request(TQAMsgFactory::createNew());
    if (converter.soapToTqamsg(text.c_str(), **request) != 0) return send(*converter.getFault());

    const SoapVersion version = converter.getSoapVersion();
    const auto_destroy<TQAMessage> reply(request->genReply("vem"));
    const std::unique_ptr<TQAMessageIterator> from(request->newIterator());
    const std::unique_ptr<TQAMessageIterator> to(reply->newIterator());
    getInfo(*from, *to);

    TQASoapEnvelope* answer = nullptr;
    if (converter.tqamsgToSoap(**reply, version, answer) != 0) return send(*converter.getFault());
    const std::unique_ptr<TQASoapEnvelope> owner(answer);
    return send(*answer);
}
