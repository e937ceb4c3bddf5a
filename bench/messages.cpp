#include "bench/messages.h"

#include "tqamsg/util/c_text.h"

#include "bench/measure.h"

#include <cstddef>

namespace bench {

namespace {

int put(TQAMessageIterator& it, const Step& step) {
    switch (step.kind) {
        case Step::kOpen:
        case Step::kOpenList:
            return it.newChild(step.id, 0);
        case Step::kClose:
            return it.seekUp();
        case Step::kInt:
            return it.putValue(static_cast<int>(step.number), step.id);
        case Step::kLongLong:
            return it.putValueLongLong(step.number, step.id);
        case Step::kText:
            break;
    }
    return it.putValue(step.text.data(), static_cast<int>(step.text.size()), step.id);
}

}  // namespace

void parse(const Workload& work, TQAMessage& message) {
    // The reader takes a writable text and leaves it as it was.
    char* text = const_cast<char*>(work.xml.c_str());
    require(message.fromText(text, nullptr) == 0, "the text was not read");
}

void build(const Workload& work, TQAMessage& message) {
    require(message.create(wordOf(work.steps.front().id).c_str()) == 0, "no root");
    const Iterator it(message.newIterator());
    for (std::size_t i = 1; i < work.steps.size(); ++i) {
        require(put(*it, work.steps[i]) == 0, "a step was refused");
    }
}

const char* nameOf(Form form) {
    return form == Form::kParsed ? "parsed" : "typed";
}

void make(const Workload& work, Form form, TQAMessage& message) {
    form == Form::kParsed ? parse(work, message) : build(work, message);
}

std::string textOf(TQAMessage& message) {
    const tqa::CText text(message.toText(nullptr, false, ""));
    require(text != nullptr, "no text");
    return text.get();
}

std::string bytesOf(TQAMessage& message) {
    char* bytes = nullptr;
    int length = 0;
    require(message.decode(&bytes, &length, nullptr) == 0, "no bytes");
    const tqa::CText owned(bytes);
    return {bytes, static_cast<std::size_t>(length)};
}

std::string bytesOf(const Workload& work, Form form) {
    const Message message(TQAMsgFactory::createNew());
    make(work, form, **message);
    return bytesOf(**message);
}

}  // namespace bench
