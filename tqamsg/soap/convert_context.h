// What one conversion knows: the SOAP version, the request and the fault it ended with.
#pragma once

#include "tqamsg/export.h"
#include "tqamsg/soap/fault.h"
#include "tqamsg/soap/ignore_case.h"
#include "tqamsg/soap/namespaces.h"

#include <memory>
#include <string_view>
#include <utility>

class TQA_API TQASoapConvertContext {
  public:
    TQASoapConvertContext();
    TQASoapConvertContext(const TQASoapConvertContext&) = delete;
    TQASoapConvertContext& operator=(const TQASoapConvertContext&) = delete;
    ~TQASoapConvertContext();

    // Starts a conversion: SOAP 1.1, no fault, no request text.
    void init();

    void setSoapVersion(SoapVersion version) { soapVersion = version; }
    SoapVersion getSoapVersion() const { return soapVersion; }

    // Takes the fault over, which may be null, and deletes the one before it.
    void setFault(TQASoapFault* newFault);
    // The fault stays the context's.
    TQASoapFault* getFault() const { return fault.get(); }

    // The request text; the getter gives a copy, the view lasts until the text changes.
    void setMessage(tqa::IgnoreCaseString text) { message = std::move(text); }
    tqa::IgnoreCaseString getMessage() const { return message; }
    std::string_view viewMessage() const { return {message.data(), message.size()}; }

  private:
    // Frozen order.
    SoapVersion soapVersion = SOAP_11;
    std::unique_ptr<TQASoapFault> fault;
    tqa::IgnoreCaseString message;
};
