#include "tqamsg/soap/convert_context.h"

TQASoapConvertContext::TQASoapConvertContext() = default;

TQASoapConvertContext::~TQASoapConvertContext() = default;

void TQASoapConvertContext::init() {
    soapVersion = SOAP_11;
    fault.reset();
    message.clear();
}

void TQASoapConvertContext::setFault(TQASoapFault* newFault) {
    if (newFault != fault.get()) fault.reset(newFault);
}
