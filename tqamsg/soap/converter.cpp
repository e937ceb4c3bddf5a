#include "tqamsg/soap/converter.h"

TQASoapConverter::TQASoapConverter() : context(std::make_unique<TQASoapConvertContext>()) {}

TQASoapConverter::~TQASoapConverter() = default;

int TQASoapConverter::fail(TQASoapFault::Code code, const char* reason) {
    context->setFault(TQASoapFault::createSoapFault(context->getSoapVersion(), code, reason));
    return -1;
}
