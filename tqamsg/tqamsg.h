// The whole interface of libtqamsg.
//
//     tqamsg/msg         messages, iterators, the registry, access lists
//     tqamsg/binary      the binary message kind
//     tqamsg/vocabulary  words and their identifiers
//     tqamsg/soap        SOAP requests and responses
//     tqamsg/util        Base64, time, number and address texts, the logger
//     tqamsg/host        what a host process may supply itself
#pragma once

#include "tqamsg/binary/binary.h"
#include "tqamsg/binary/binary_iterator.h"
#include "tqamsg/binary/builder.h"
#include "tqamsg/binary/factory.h"
#include "tqamsg/binary/layout.h"
#include "tqamsg/binary/verify.h"
#include "tqamsg/host/id_range_array.h"
#include "tqamsg/host/lock.h"
#include "tqamsg/host/log_path.h"
#include "tqamsg/msg/authorization.h"
#include "tqamsg/msg/auto_destroy.h"
#include "tqamsg/msg/message.h"
#include "tqamsg/msg/message_factory.h"
#include "tqamsg/msg/message_iterator.h"
#include "tqamsg/soap/convert_context.h"
#include "tqamsg/soap/converter.h"
#include "tqamsg/soap/envelope.h"
#include "tqamsg/soap/fault.h"
#include "tqamsg/soap/ignore_case.h"
#include "tqamsg/soap/namespaces.h"
#include "tqamsg/util/base64.h"
#include "tqamsg/util/hash_map.h"
#include "tqamsg/util/ip_text.h"
#include "tqamsg/util/log.h"
#include "tqamsg/util/number_text.h"
#include "tqamsg/util/strings.h"
#include "tqamsg/util/time_text.h"
#include "tqamsg/vocabulary/name.h"
#include "tqamsg/vocabulary/vocabulary.h"
