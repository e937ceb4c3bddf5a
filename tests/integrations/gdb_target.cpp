// The program that gdb looks into: objects of every kind, all in sight of stopHere().

#include "tqamsg/binary/layout.h"
#include "tqamsg/tqa.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

[[gnu::noinline]] void stopHere(const void* keep) {
    asm volatile("" : : "r"(keep) : "memory");
}

bool load(TQAMessage& message, const char* file) {
    std::ifstream in(file, std::ios::binary);
    std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
    return message.init(bytes.data(), static_cast<int>(bytes.size())) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    const auto_destroy<TQAMessage> owner(TQAMsgFactory::createNew());
    const auto_destroy<TQAMessage> nobody;
    const auto_destroy<TQAMessage> unfilled(TQAMsgFactory::createNew());
    if (argc != 2 || !load(**owner, argv[1])) return 1;

    TQAMessage* const message = *owner;
    const TQAMessage& reference = *message;
    auto& binary = dynamic_cast<TQABinary&>(*message);
    TQABinaryIterator it(&binary);
    TQABinaryIterator nowhere(&binary);
    if (nowhere.seekUp() != 0) return 1;
    static_cast<void>(it.firstChild("target"));
    const tqa::ElementView view = tqa::elementOf(it);
    const tqa::ElementView noView;
    const tqa::Message copy(message->copy(false));
    const tqa::Message noCopy;
    const tqa::Cursor cursor(view);
    const tqa::Cursor noCursor;
    const TQABinaryInternals record;
    BinaryPath path;
    path.push_back(tqa::Tag_packet, 8);
    path.push_back(tqa::Tag_data, 64);

    stopHere(&reference);
    std::_Exit(view && !noView && copy && !noCopy && cursor && !noCursor && record.used == 0 &&
                       nobody.operator->() == nullptr
                   ? 0
                   : 1);
}
