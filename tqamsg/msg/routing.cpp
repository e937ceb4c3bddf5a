// The routing elements of a message's root.

#include "tqamsg/msg/message.h"
#include "tqamsg/msg/message_iterator.h"

#include <memory>

namespace {

int readText(TQAMessage& message, std::string* text, const char* name) {
    const std::unique_ptr<TQAMessageIterator> it(message.newIterator());
    return it == nullptr ? -1 : it->getValue(text, name);
}

int writeText(TQAMessage& message, const std::string& text, const char* name) {
    const std::unique_ptr<TQAMessageIterator> it(message.newIterator());
    return it == nullptr ? -1 : it->putValue(text, name);
}

}  // namespace

std::string TQAMessage::getOrigin() {
    std::string origin;
    readText(*this, &origin, "origin");
    return origin;
}

int TQAMessage::setOrigin(const std::string& origin) {
    return writeText(*this, origin, "origin");
}

std::string TQAMessage::getTarget() {
    std::string target;
    readText(*this, &target, "target");
    return target;
}

int TQAMessage::setTarget(const std::string& target) {
    return writeText(*this, target, "target");
}

int TQAMessage::getSession(std::string* session) {
    return readText(*this, session, "session");
}

int TQAMessage::setSession(const std::string& session) {
    return writeText(*this, session, "session");
}

int TQAMessageIterator::getOrigin(std::string* origin) {
    return getValue(origin, "/origin");
}
