// SOAP faults: envelopes that say why there is no answer, in either SOAP version.
//
//     std::unique_ptr<TQASoapFault> fault(
//         TQASoapFault::createSoapFault(SOAP_12, TQASoapFault::Client, "Version mismatch"));
//     char* text = fault->toText();  // freed by the caller
#pragma once

#include "tqamsg/export.h"
#include "tqamsg/soap/envelope.h"
#include "tqamsg/soap/namespaces.h"

#include <string>

class TQA_API TQASoapFault : public TQASoapEnvelope {
  public:
    // Frozen numbers. SOAP 1.2 calls Client "Sender" and Server "Receiver" (Part 1, section 5.4.6).
    enum Code : int { VersionMismatch, MustUnderstand, Client, Server };

    TQASoapFault(const std::string& namespaceUri, Code faultCode, const std::string& faultReason);
    ~TQASoapFault() override;

    // Writes the fault element into `body`, replacing it, and assembles the envelope: the text is
    // the caller's to free, null when memory runs out. std::bad_alloc may leave it.
    // Kept: reason and detail are put in as they stand, without escaping.
    char* toText() override = 0;

    // The code's name without prefix, "" for any other number.
    virtual std::string faultCodeToString(Code code) const;

    // A fault in the given version, deleted by the caller; null for an unsupported version.
    static TQASoapFault* createSoapFault(SoapVersion version, Code code, const std::string& reason);

    // Frozen order. `detail` is XML text for the detail element; there is none when it is empty.
    Code code;
    std::string reason;
    std::string detail;
};

// SOAP 1.1 (W3C Note of 8 May 2000), section 4.4.
class TQA_API TQASoapFault11 : public TQASoapFault {
  public:
    TQASoapFault11(Code faultCode, const std::string& faultReason);
    ~TQASoapFault11() override;
    char* toText() override;
    std::string faultCodeToString(Code code) const override;
};

// SOAP 1.2 Part 1 (W3C Recommendation), section 5.4. Kept: the text element carries no language
// and the detail element no prefix; readers of earlier answers rely on that.
class TQA_API TQASoapFault12 : public TQASoapFault {
  public:
    TQASoapFault12(Code faultCode, const std::string& faultReason);
    ~TQASoapFault12() override;
    char* toText() override;
    std::string faultCodeToString(Code code) const override;
};
