// The factory of binary messages, which registers the kind "TQABinary" when the library is loaded
// and is the default one.
#pragma once

#include "tqamsg/binary/binary.h"
#include "tqamsg/export.h"
#include "tqamsg/msg/message_factory.h"

extern TQA_API TQAMessageFactory<TQABinary> factoryTQABinary;
