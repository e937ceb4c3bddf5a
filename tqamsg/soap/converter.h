// The SOAP gateway: SOAP requests become messages, replies become SOAP responses.
//
//     TQASoapConverter converter;
//     auto_destroy<TQAMessage> request(TQAMsgFactory::createNew());
//     if (converter.soapToTqamsg(text, **request) != 0) return converter.getFault()->toText();
//     ...                                                       // the agent answers
//     TQASoapEnvelope* answer = nullptr;
//     if (converter.tqamsgToSoap(**reply, version, answer) == 0) return answer->toText();
//
// A converter is used again and again, by one thread at a time. Each conversion drops the fault of
// the one before. docs/soap.md shows what becomes what, and which requests are understood.
//
// Any input gives 0 or -1. std::bad_alloc is the only exception that leaves a converter; it stays
// usable then, and the message need only be destroyed.
#pragma once

#include "tqamsg/export.h"
#include "tqamsg/msg/fwd.h"
#include "tqamsg/soap/convert_context.h"
#include "tqamsg/soap/envelope.h"
#include "tqamsg/soap/fault.h"
#include "tqamsg/soap/ignore_case.h"
#include "tqamsg/soap/namespaces.h"

#include <memory>
#include <string>
#include <string_view>

class TQA_API TQASoapConverter {
  public:
    TQASoapConverter();
    TQASoapConverter(const TQASoapConverter&) = delete;
    TQASoapConverter& operator=(const TQASoapConverter&) = delete;

    // Frozen order: the virtual operations are called by slot from programs that were compiled
    // against an earlier release.

    virtual ~TQASoapConverter();

    // The two steps of soapToTqamsg(), for subclasses that replace one of them. Both give 0, or -1
    // with the fault in the context. A header without "packet_header" (null for none) makes an
    // empty packet; the body adds target, cookie and data to the message.
    virtual int convertHeader(const char* header, TQAMessage& msg);
    virtual int convertBody(const char* body, TQAMessage& msg);

    // Turns a request (zero-terminated) into a packet. -1 with a fault in the request's SOAP
    // version, or in SOAP 1.1 while that is not known; the caller then discards the message.
    int soapToTqamsg(const char* soap, TQAMessage& msg);

    // Turns a reply into a response envelope, or into a fault when the reply carries errors: 0,
    // and `out` is the caller's to delete. -1 with `out` null and a fault in the context when the
    // reply does not name its operation, the version is unsupported or memory runs out while the
    // reply is printed.
    // The reply's data is deleted on the way.
    // Kept: after an unsupported version on the way to a response getFault() is null.
    int tqamsgToSoap(TQAMessage& msg, SoapVersion version, TQASoapEnvelope*& out);

    // The last request's SOAP version and the last conversion's fault, which stays the converter's
    // and lives until the next conversion.
    SoapVersion getSoapVersion() const { return context->getSoapVersion(); }
    TQASoapFault* getFault() const { return context->getFault(); }

    // The namespace base of a protocol version: 40000 gives the base followed by "4.0.0/".
    static std::string getTQAWsdlURI(int version);

    // The envelope namespace of a SOAP version, "" for an unsupported one.
    static std::string getSoapURIByVersion(SoapVersion version);

    // Erases every attribute that starts with "xmlns", with the blank before it; -1 always.
    // Kept: texts that look like a declaration are erased too, and one without a closing quote
    // takes the rest of the text with it.
    static int removeNamespaces(tqa::IgnoreCaseString& text);

  protected:
    // Leaves a fault in the context's SOAP version; -1.
    int fail(TQASoapFault::Code code, const char* reason);

    // The same in a given version, or "Unsupported soap version" in SOAP 1.1 when it has no faults.
    int failIn(SoapVersion version, TQASoapFault::Code code, const char* reason);

    std::unique_ptr<TQASoapConvertContext> context;

  private:
    // The two steps on texts that need not be terminated.
    TQA_LOCAL int readHeader(std::string_view header, TQAMessage& msg);
    TQA_LOCAL int readBody(std::string_view body, TQAMessage& msg);
};
