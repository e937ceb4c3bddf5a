#include "tqamsg/msg/message_factory.h"

#include "tqamsg/msg/auto_destroy.h"

TQAMsgFactory::~TQAMsgFactory() = default;

TQAMessage* TQAMsgFactory::newMessage(char* buf, int len) {
    auto_destroy<TQAMessage> message(newMessage());
    if (*message == nullptr || message->init(buf, len) != 0) return nullptr;
    return message.release();
}

TQAMessage* TQAMsgFactory::createNew() {
    return TQAMessage::Factory == nullptr ? nullptr : TQAMessage::Factory->newMessage();
}

std::string TQAMsgFactory::kindOf(const char* buf) {
    if (MsgVocabulary != nullptr && buf != nullptr) {
        for (const auto& [name, factory] : *MsgVocabulary) {
            // The virtual test keeps its signature; it only reads.
            if (factory->isOfTheKind(const_cast<char*>(buf))) return name;
        }
    }
    return "TQAMessage";
}

int TQAMsgFactory::setDefaultProtocol(const std::string& name) {
    if (MsgVocabulary == nullptr) return -1;
    const auto found = MsgVocabulary->find(name);
    if (found == MsgVocabulary->end()) return -1;
    TQAMessage::Factory = found->second;
    return 0;
}

int TQAMsgFactory::setDefaultProtocol(const std::type_info& type) {
    if (MsgVocabulary == nullptr) return -1;
    for (const auto& entry : *MsgVocabulary) {
        TQAMsgFactory* factory = entry.second;
        if (factory->messageTypeid() == type) return setDefaultProtocol(factory->messageType());
    }
    return -1;
}

void TQAMsgFactory::registerAs(const std::string& name) {
    TQAMessage::Factory = this;
    if (MsgVocabulary == nullptr) MsgVocabulary = new std::map<std::string, TQAMsgFactory*>;
    (*MsgVocabulary)[name] = this;
}
