// A program outside the tree, as a user of the installed library would write it: it makes messages
// by way of the registry only, and so shows that the binary kind registers at load.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <tqamsg/tqamsg.h>

namespace {

constexpr char kPacket[] =
    "<packet version=\"4.0.0\" id=\"7\"><origin>console</origin><target>vem</target>"
    "<data><vem><ve_config><veid>101</veid></ve_config></vem></data></packet>";

int fail(const char* what) {
    std::fprintf(stderr, "install check: %s\n", what);
    return 1;
}

// The id of the one VE that the message names; -1 when it cannot be read.
int veidIn(TQAMessage& message) {
    const std::unique_ptr<TQAMessageIterator> it(message.newIterator());
    int veid = -1;
    return it->seek("/data/vem/ve_config") == 0 && it->getValue(&veid, "veid") == 0 ? veid : -1;
}

}  // namespace

int main() {
    const auto_destroy<TQAMessage> message(TQAMsgFactory::createNew());
    if (*message == nullptr) return fail("createNew() gives no message");
    std::string xml = kPacket;
    if (message->fromText(xml.data(), nullptr) != 0) return fail("the packet does not parse");

    char* bytes = nullptr;
    int length = 0;
    if (message->decode(&bytes, &length, nullptr) != 0) return fail("the message does not export");
    const std::unique_ptr<char, decltype(&std::free)> owner(bytes, &std::free);
    if (TQAMessage::isComplete(bytes, length) != length) return fail("the bytes are not framed");
    if (TQAMsgFactory::kindOf(bytes) != "TQABinary") return fail("the bytes are of no known kind");

    const auto_destroy<TQAMessage> loaded(TQAMessage::Factory->newMessage(bytes, length));
    if (*loaded == nullptr) return fail("the bytes do not load");
    if (veidIn(**loaded) != 101) return fail("the VE id is lost");

    const std::unique_ptr<char, decltype(&std::free)> text(loaded->toText(nullptr, false, ""),
                                                           &std::free);
    if (text == nullptr) return fail("the message does not print");
    std::puts(text.get());
    return 0;
}
