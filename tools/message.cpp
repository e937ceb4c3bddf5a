#include "tools/message.h"

#include "tools/hex.h"
#include "tools/json_form.h"
#include "tools/verb.h"

#include <cstring>

namespace tool {

namespace {

struct FormRow {
    Form form;
    const char* shortName;
    const char* description;
};

constexpr FormRow kForms[] = {
    {Form::Xml, "xml", "XML text"},
    {Form::Binary, "bin", "a binary message"},
    {Form::Json, "json", "JSON"},
    {Form::Hex, "hex", "hexadecimal text"},
    {Form::Soap, "soap", "a SOAP envelope"},
};

std::string xmlOf(TQAMessage& message) {
    const Bytes text(message.toText(nullptr, false, ""));
    if (text == nullptr) throw Failure(kMalformed, "the message cannot be printed");
    return text.get();
}

}  // namespace

const char* shortNameOf(Form form) {
    return kForms[static_cast<int>(form)].shortName;
}

std::optional<Form> formNamed(const std::string& shortName) {
    for (const FormRow& row : kForms)
        if (row.shortName == shortName) return row.form;
    return std::nullopt;
}

const char* describe(Form form) {
    return kForms[static_cast<int>(form)].description;
}

Message newMessage() {
    Message message(TQAMsgFactory::createNew());
    if (message == nullptr) throw Failure(kInputOutput, "out of memory");
    return message;
}

Message messageOf(const std::string& bytes) {
    Message message = newMessage();
    // init() takes a writable pointer but only reads.
    char* const start = const_cast<char*>(bytes.data());
    if (!tqa::startsWithMagic(start, static_cast<std::int64_t>(bytes.size()))) return nullptr;
    return message->init(start, static_cast<int>(bytes.size())) == 0 ? std::move(message) : nullptr;
}

tqa::ElementView rootOf(TQAMessage& message) {
    const Iterator it(message.newIterator());
    return tqa::elementOf(dynamic_cast<TQABinaryIterator&>(*it));
}

TQABinary& binaryOf(TQAMessage& message) {
    return dynamic_cast<TQABinary&>(message);
}

std::string bytesOf(TQAMessage& message, TQAMessageIterator* from) {
    char* bytes = nullptr;
    int length = 0;
    if (message.decode(&bytes, &length, from) != 0) {
        throw Failure(kInputOutput, "out of memory");
    }
    const Bytes owned(bytes);
    return {bytes, static_cast<std::size_t>(length)};
}

std::string inForm(TQAMessage& message, Form form) {
    switch (form) {
        case Form::Binary:
            return bytesOf(message);
        case Form::Json:
            return writeJson(message);
        case Form::Hex:
            return writeHex(bytesOf(message));
        default:
            return xmlOf(message);
    }
}

}  // namespace tool
