// The messages of an input, one after another, whatever form each is in.
#pragma once

#include "tools/input.h"
#include "tools/message.h"

#include <functional>
#include <string>

namespace tool {

// The form is told by the content: the magic, "<", "{", hexadecimal digits. Binary messages end by
// their length, JSON objects by their brace, texts where their root ends; hexadecimal text is bytes
// written out and goes to the end of the input.
class MessageReader {
  public:
    explicit MessageReader(const std::string& file) : input_(file) {}

    // To the next message; false behind the last. Throws Failure(kMalformed), naming the place, for
    // what is no message and for an input that holds none.
    bool next();

    // The message that next() found; the caller's to keep.
    Message take() { return std::move(message_); }
    TQAMessage& message() const { return *message_; }
    Form form() const { return form_; }

    // Where it began, and how complaints call a place of the input.
    std::int64_t offset() const { return offset_; }
    std::string place() const { return placeOf(offset_); }
    std::string placeOf(std::int64_t offset) const;

  private:
    bool skipBlanks();
    Form detect();
    void read();
    void readBinary();
    void readText();
    bool tryText(std::size_t limit, bool isWhole);
    void readJsonObject();
    void readHexText();
    void accept(Message message, std::size_t length);
    [[noreturn]] void refuse(std::size_t at, const std::string& what) const;

    Input input_;
    Message message_;
    Form form_ = Form::Xml;
    std::int64_t offset_ = 0;
    bool isHex_ = false;
    bool hadOne_ = false;
};

// Calls `use` with each message of the input and the form it came in.
using UseMessage = std::function<void(TQAMessage& message, Form form)>;
void forEachMessage(const std::string& file, const UseMessage& use);

}  // namespace tool
