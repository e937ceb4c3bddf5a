// One use of each part of the library that a program may do at any moment of its life, with what it
// must give. For programs without a test framework.
#pragma once

#include "tqamsg/tqa.h"

#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>

namespace lifecycle {

// Ends the process; also good where exit() has already begun.
[[noreturn]] inline void fail(const char* what) {
    std::cerr << "not as it should be: " << what << '\n';
    std::_Exit(1);
}

inline void require(bool holds, const char* what) {
    if (!holds) fail(what);
}

inline constexpr char kPacket[] =
    "<packet id=\"1\">\n<target>vem</target>\n<data>\n<veid>5</veid>\n</data>\n</packet>\n";

// Needs nothing that is built at load.
inline void useMessages() {
    TQABinary* const message = new TQABinary;
    std::string text = kPacket;
    require(message->fromText(text.data(), nullptr) == 0, "parsing");
    {
        TQABinaryIterator it(message);
        int veid = 0;
        require(it.seek("data") == 0 && it.getValue(&veid, "veid") == 0 && veid == 5, "reading");
        require(it.putValue("name", "hostname") == 0, "writing");
        require(it.seek("hostname") == 0 && it.deleteFromChild() == 0, "deleting");
    }
    const tqa::CText printed(message->toText(nullptr, false, ""));
    require(printed && std::string(printed.get()).ends_with(kPacket), "printing");
    message->destroy();
    std::string bytes;
    require(Base64::decode(Base64::encode("ABC"), &bytes) == 0 && bytes == "ABC", "Base64");
}

// The registry, the dictionaries, replies and the gateway.
inline void useEverything() {
    useMessages();
    const tqa::Message request = tqa::Message::parse(kPacket);
    require(static_cast<bool>(request), "the registry");
    require(static_cast<bool>(request.reply("vem")), "a reply");
    require(IDTextMap.find(tqa::Tag_packet)->second == "packet", "the dictionaries");
    const std::string soap =
        "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\"><s:Body>"
        "<get_info xmlns=\"http://www.tqagent.example/webservices/tqa/4.0.0/vem\"></get_info>"
        "</s:Body></s:Envelope>";
    TQASoapConverter converter;
    const tqa::Message taken(TQAMsgFactory::createNew());
    require(converter.soapToTqamsg(soap.c_str(), *taken) == 0, "the gateway");
    debug(1, "a line of %d", 5);
}

}  // namespace lifecycle
