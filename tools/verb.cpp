#include "tools/verb.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <unistd.h>

namespace tool {

namespace {

// The length of the frame at the start of the bytes; a text may end with the input.
std::size_t frameAt(const std::string& bytes, std::size_t offset) {
    const std::size_t rest = bytes.size() - offset;
    const char* start = bytes.data() + offset;
    const int whole = TQAMessage::isComplete(start, static_cast<int>(rest));
    if (whole > 0) return static_cast<std::size_t>(whole);
    return TQABinary::isOfTheKind(start) != 0 ? 0 : rest;
}

Message load(std::string bytes) {
    Message message(TQAMsgFactory::createNew());
    // The reader wants a text to end in a zero byte, which the string has behind it.
    const int length = static_cast<int>(bytes.size());
    const bool isText = formOf(bytes) == Form::Xml;
    const int status =
        isText ? message->fromText(bytes.data(), nullptr) : message->init(bytes.data(), length);
    return status == 0 ? std::move(message) : nullptr;
}

bool isBlank(const std::string& bytes, std::size_t from) {
    return bytes.find_first_not_of(" \t\r\n", from) == std::string::npos;
}

}  // namespace

std::string nameOf(const std::string& file) {
    return file == "-" ? "standard input" : file;
}

std::string readInput(const std::string& file) {
    const auto fail = [&file] {
        throw Failure(kInputOutput, nameOf(file) + ": " + std::strerror(errno));
    };
    const int descriptor = file == "-" ? STDIN_FILENO : ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) fail();
    constexpr std::size_t kStep = 1 << 16;
    std::string bytes;
    for (ssize_t count = 1; count > 0;) {
        const std::size_t size = bytes.size();
        bytes.resize(size + kStep);
        count = ::read(descriptor, bytes.data() + size, kStep);
        if (count < 0) fail();
        bytes.resize(size + static_cast<std::size_t>(count));
    }
    if (file != "-") ::close(descriptor);
    return bytes;
}

void writeOutput(const std::string& bytes) {
    std::cout.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!std::cout) throw Failure(kInputOutput, "standard output cannot be written");
}

Form formOf(const std::string& bytes) {
    return TQABinary::isOfTheKind(bytes.c_str()) != 0 ? Form::Binary : Form::Xml;
}

void forEachMessage(const std::string& file, const UseMessage& use) {
    const std::string bytes = readInput(file);
    std::size_t offset = 0;
    do {
        const std::size_t length = frameAt(bytes, offset);
        const std::string frame = bytes.substr(offset, length);
        Message message = length == 0 ? nullptr : load(frame);
        if (message == nullptr) {
            const char* fault = formOf(bytes.substr(offset, 4)) == Form::Binary
                                    ? "a binary message that is cut short or damaged"
                                    : "text that is not a message";
            throw Failure(kMalformed,
                          nameOf(file) + ": offset " + std::to_string(offset) + ": " + fault);
        }
        use(std::move(message), formOf(frame));
        offset += length;
    } while (offset < bytes.size() && !isBlank(bytes, offset));
}

std::string inForm(TQAMessage& message, Form form) {
    char* bytes = nullptr;
    int length = 0;
    if (form == Form::Xml) {
        bytes = message.toText(nullptr, false, "");
        length = bytes == nullptr ? 0 : static_cast<int>(std::strlen(bytes));
    } else if (message.decode(&bytes, &length, nullptr) != 0) {
        bytes = nullptr;
    }
    const Bytes owned(bytes);
    if (owned == nullptr) throw Failure(kMalformed, "the message cannot be written");
    return {owned.get(), static_cast<std::size_t>(length)};
}

}  // namespace tool
