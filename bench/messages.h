// The workloads as the library's messages.
#pragma once

#include "tqamsg/msg/auto_destroy.h"
#include "tqamsg/msg/message.h"
#include "tqamsg/msg/message_factory.h"
#include "tqamsg/msg/message_iterator.h"

#include "bench/script.h"

#include <memory>
#include <string>

namespace bench {

using Message = auto_destroy<TQAMessage>;
using Iterator = std::unique_ptr<TQAMessageIterator>;

// Reads the XML into `message`; builds it with typed values.
void parse(const Workload& work, TQAMessage& message);
void build(const Workload& work, TQAMessage& message);

// Whether values came from text or were put typed.
enum class Form { kParsed, kTyped };

inline constexpr Form kForms[] = {Form::kParsed, Form::kTyped};

const char* nameOf(Form form);
void make(const Workload& work, Form form, TQAMessage& message);

// The message as text; its bytes. Two messages with the same content have the same text, but their
// bytes may differ in the padding.
std::string textOf(TQAMessage& message);
std::string bytesOf(TQAMessage& message);
std::string bytesOf(const Workload& work, Form form);

}  // namespace bench
